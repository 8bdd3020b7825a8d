// LumSecAuth.h: the rights in force.

#include "../pal/ThrottledLog.h"
#include "LumPalLog.h"
#include "LumPalPlainMutex.h"
#include "LumPalRuntime.h"
#include "LumSecAuth.h"
#include "Rights.h"

namespace LumSecAuth {

LUMPAL_DEFINE_EXCEPTION(NotAuthorizedException);

using LumPalStr::String_t;

const char* LocalAdministrator() {
    return "local administrator";
}

bool IsReservedId(const String_t& id) {
    // Variants in case and outer blanks are refused too: a person who reads a log takes them for the real ones.
    String_t name(id);
    name.Trim();
    return name.IsEmpty() || LumPalStr::Compare(name, String_t("conf.cluster"), true) == 0 ||
           LumPalStr::Compare(name, String_t(LocalAdministrator()), true) == 0;
}

namespace {

LumPalIo::File_t RightsFile() {
    return LumPalIo::File_t(LumPalRuntime::Dir_t::Path(LumPalRuntime::Etc) + "authorization.ini");
}

/// Writes what is wrong with the file in full once: anybody may have it read again, as often as he likes. Any thread.
class Complaints {
public:
    void Tell(const LumPalMsg::MessageList_t& messages) {
        const LumPalThread::PlainLock_t lock(mutex);
        const String_t text = messages.Format(LumPalMsg::Text | LumPalMsg::Details);
        if (messages.GetMessageCount() == 0) {
            last = String_t();
        } else if (text == last) {
            repeated.Warn("What is wrong with the rights in '%1' stands above.", RightsFile().GetAbsolutePath());
        } else {
            LumPalLog::Log(messages);
            last = text;
        }
    }

private:
    LumPalThread::PlainMutex_t mutex;
    String_t last LUMPAL_GUARDED_BY(mutex);
    LumPalLog::ThrottledLog repeated;
};

Rights LoadRights(Complaints& complaints) {
    Rights rights = Rights::Load(RightsFile());
    complaints.Tell(rights.GetProblems());
    return rights;
}

void TellFailure(Complaints& complaints, const char* consequence, const LumPalMsg::Exception_t& cause) {
    complaints.Tell(LumPalMsg::CreateError_t(String_t("Cannot load the rights from '%1': ") + consequence)
                        .AddDetails(cause.GetMessageList())
                    << RightsFile().GetAbsolutePath());
}

/// The file's rights, or the given ones when it cannot be read.
Rights RightsOr(const Rights& lastGood, Complaints& complaints, const char* consequence) try {
    return LoadRights(complaints);
} catch (const LumPalMsg::Exception_t& e) {
    TellFailure(complaints, consequence, e);
    return lastGood;
}

/// The node's own administrator holds every right on it but signing. No certificate can claim that id.
unsigned Implied(const String_t& sender) {
    return sender == LocalAdministrator() ? kAllRights & ~kSignRight : 0;
}

}  // namespace

LumPalMsg::MessageList_t FindWrongRights() {
    return Rights::Load(RightsFile()).GetProblems();
}

struct Authorizer::Impl {
    /// Replaced as a whole, so that a question never sees half an update.
    std::shared_ptr<const Rights> Get() {
        const LumPalThread::PlainLock_t lock(mutex);
        return rights;
    }
    void Set(Rights next) {
        auto shared = std::make_shared<const Rights>(std::move(next));
        const LumPalThread::PlainLock_t lock(mutex);
        rights.swap(shared);
    }
    /// Takes up what the file grants now; of a broken one the rights held so far stay.
    void Load(const char* consequence) {
        // One at a time: who read the file before a change must not set its rights behind who read it afterwards.
        const LumPalThread::PlainLock_t lock(loading);
        Set(RightsOr(*Get(), complaints, consequence));
    }

    Complaints complaints;
    LumPalThread::PlainMutex_t loading;
    LumPalThread::PlainMutex_t mutex;
    std::shared_ptr<const Rights> rights LUMPAL_GUARDED_BY(mutex) = std::make_shared<Rights>();
};

Authorizer::Authorizer() : impl(std::make_unique<Impl>()) {
    impl->Load("no sender holds any right from it.");
}

Authorizer::~Authorizer() = default;

bool Authorizer::IsAllowed(const String_t& sender, const String_t& domain, unsigned right, int mode) {
    if (sender.IsEmpty() || right == 0 || mode != 0) return false;
    const std::shared_ptr<const Rights> rights = impl->Get();
    const unsigned held = Implied(sender) | rights->Granted(domain, sender);
    return (held & right) == right;
}

void Authorizer::Update() {
    impl->Load("the last good ones stay.");
}

}  // namespace LumSecAuth
