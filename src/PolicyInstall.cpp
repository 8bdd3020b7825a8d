// PolicyOperation: installing a policy or a package.
#include "AuditLog.h"
#include "Exceptions.h"
#include "InstallOptions.h"
#include "InstallOptionsImpl.h"
#include "InstallTask.h"
#include "LumCtrl.h"
#include "LumPalDaemon.h"
#include "LumPalLog.h"
#include "Messages.h"
#include "PolicyArrayReader.h"
#include "PolicyOperation.h"
#include "Trace.h"

namespace LumConf {
namespace {

using LumPalArray::CharArray_t;
using LumPalMsg::MessageList_t;
using LumPalStr::String_t;
using LumPalThread::MutexLock_t;

void TracePolicy(TransferCursor& package) {
    PolicyArrayReader files(package);
    while (files.Next()) {
        trace::Policy().blocks.DoTrace(0, String_t("package holds ") + files.GetName(), __FILE__, __LINE__);
        package.Skip(files.GetLength());
    }
}

// Only shows what a package holds; what is wrong with it is said when it is installed.
void TracePackage(const CharArray_t& data) {
    if (!trace::Policy().blocks.IsOn()) return;
    try {
        TransferCursor package(data);
        for (int left = package.ReadCount(0, PolicyArrayReader::kLeastPolicyBytes); left > 0; --left) {
            TracePolicy(package);
        }
    } catch (const LumPalMsg::Exception_t&) {
    }
}

int ReadPolicyCount(TransferCursor& package) {
    try {
        return package.ReadCount(0, PolicyArrayReader::kLeastPolicyBytes);
    } catch (const LumPalMsg::RuntimeException_t& e) {
        Raise<ConfException>(msg::UnpackError, e);
    }
}

/// A policy that the stopping node did not begin with.
class NotBegun : public ConfException {
public:
    using ConfException::ConfException;
};

/// Of as many bytes the files are placed in a moment. Eight such installs may wait when the node is told to stop, and
/// are still done; what holds the others up for seconds is not begun any more.
constexpr std::size_t kSmallArray = 64u << 10;

// Kept: when consumers cannot be told, the caller hears of that alone. What was refused stands in the log then.
void NotifyOfPackage(PolicyOperation& operation, const String_t& originator, const MessageList_t& refused) {
    try {
        operation.Notify(originator);
    } catch (const LumCtrl::ControlException&) {
        if (refused.GetMessageCount() > 0) LumPalLog::Log(Make(msg::PackageInstallFailed, refused));
        throw;
    }
}

void NotifyWhenStopping(PolicyOperation& operation, const String_t& originator) {
    try {
        operation.Notify(originator);
    } catch (const LumCtrl::ControlException& e) {
        LUMCONF_TRACE(trace::Policy, String_t(e.GetMessageList()));
    }
}

}  // namespace

void PolicyOperation::Install(const String_t& originator, const CharArray_t& data, InstallOptions& options) {
    LUMCONF_BLOCK(trace::Policy, "PolicyOperation::Install");
    TransferCursor array(data);
    InstallOne(originator, array, options);
}

void PolicyOperation::InstallOne(const String_t& originator, TransferCursor& array, const InstallOptions& options) {
    MutexLock_t lock(mutex);
    if (LumPalRuntime::IsStopping() && array.Bytes().Available() > kSmallArray) Raise<NotBegun>(msg::InstallNotBegun);
    InstallTask(*this, originator, options.GetImpl()).Run(array);
}

void PolicyOperation::InstallPackage(const String_t& originator, const CharArray_t& data, InstallOptions& options) {
    LUMCONF_BLOCK(trace::Policy, "PolicyOperation::InstallPackage");
    TracePackage(data);
    TransferCursor package(data);
    const int policies = ReadPolicyCount(package);
    const bool notify = options.GetImpl().GetNotify();
    options.SetNotify(false);
    MessageList_t refused;
    try {
        refused = InstallEach(originator, package, policies, options);
    } catch (const NotBegun&) {
        // Those that are installed are told of: after the stop nobody knows that they were not.
        if (notify) NotifyWhenStopping(*this, originator);
        throw;
    }
    if (notify) {
        options.SetNotify(true);
        NotifyOfPackage(*this, originator, refused);
    }
    if (refused.GetMessageCount() > 0) Raise<NoMultiplePoliciesException>(msg::PackageInstallFailed, refused);
}

// Each policy is read where it stands: the package is not copied. One whose type may have only one policy has been
// read to its end when it is refused, so that the next one follows. A node that stops goes on with no further one.
MessageList_t PolicyOperation::InstallEach(const String_t& originator, TransferCursor& package, int policies,
                                           const InstallOptions& options) {
    MessageList_t refused;
    int installed = 0;
    for (int left = policies; left > 0; --left) {
        try {
            if (policies > 1 && LumPalRuntime::IsStopping()) Raise<NotBegun>(msg::InstallNotBegun);
            InstallOne(originator, package, options);
            ++installed;
        } catch (const NoMultiplePoliciesException& e) {
            refused.Add(e.GetMessageList());
        } catch (const NotBegun&) {
            Raise<NotBegun>(msg::PackageGivenUp, installed, policies, refused);
        }
    }
    return refused;
}

}  // namespace LumConf
