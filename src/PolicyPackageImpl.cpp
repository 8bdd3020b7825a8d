#include "PolicyPackageImpl.h"

#include "Exceptions.h"
#include "InstallOptions.h"
#include "Messages.h"
#include "Names.h"
#include "PolicyUtil.h"

namespace LumConf {

using LumPalIo::CharArrayOutputStream_t;
using LumPalMsg::IllegalStateError_t;

namespace {
constexpr std::size_t kClearedArrayBytes = 8192;
}

void PolicyPackageImpl::AddPolicy(const LumPalIo::File_t& headerFile) {
    if (finished) Raise<IllegalStateError_t>(msg::PackageFinished);
    collected.Write(PolicyUtil::PackPolicyFile(headerFile));
    ++policyCount;
    initialised = true;
}

void PolicyPackageImpl::FinishLocked() {
    if (finished) return;
    collected.Close();
    CharArrayOutputStream_t package(collected.Size() + sizeof(std::int32_t));
    LumPalIo::DataOutputStream_t data(package);
    data.WriteInt32(policyCount);
    collected.WriteTo(package);
    data.Close();
    array = package.TakeCharArray();
    finished = true;
}

void PolicyPackageImpl::Install(const LumPalStr::String_t& host, const InstallOptions& options) {
    if (!initialised) Raise<IllegalStateError_t>(msg::PackageEmpty);
    {
        LumPalThread::MutexLock_t lock(mutex);
        FinishLocked();
    }
    forwarder.SendInstall(names::InstallMethod, RequestKind::Install, host, "", array, options, InstallMethod::Package);
}

void PolicyPackageImpl::Clear() {
    collected = CharArrayOutputStream_t();
    array.Resize(kClearedArrayBytes);
    initialised = false;
    finished = false;
    policyCount = 0;
}

}  // namespace LumConf
