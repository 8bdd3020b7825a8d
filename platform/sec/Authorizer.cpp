// LumSecAuth.h: the rights in force.

#include <optional>
#include <utility>

#include "../pal/ThrottledLog.h"
#include "LumPalFileMark.h"
#include "LumPalKeys.h"
#include "LumPalLog.h"
#include "LumPalPlainMutex.h"
#include "LumPalRuntime.h"
#include "LumPalWhole.h"
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
    return name.IsEmpty() || LumPalStr::Compare(name, String_t(LumPalKeys::NsConfCluster), true) == 0 ||
           LumPalStr::Compare(name, String_t(LocalAdministrator()), true) == 0;
}

namespace {

LumPalIo::File_t RightsFile() {
    return LumPalIo::File_t(LumPalRuntime::Dir_t::Path(LumPalRuntime::Etc) + "authorization.ini");
}

/// Writes what is wrong with the file in full once: anybody may have it read again, as often as he likes. Any thread.
class Complaints {
public:
    void Log(const LumPalMsg::MessageList_t& messages) {
        const LumPalThread::PlainLock_t lock(mutex);
        const String_t text = messages.Format(LumPalMsg::Text | LumPalMsg::Details);
        if (messages.GetMessageCount() == 0) {
            last = String_t();
        } else if (text == last) {
            Repeat();
        } else {
            LumPalLog::Log(messages);
            last = text;
        }
    }
    /// Of a file that is as it was.
    void LogAgain() {
        const LumPalThread::PlainLock_t lock(mutex);
        if (last.IsNotEmpty()) Repeat();
    }

private:
    void Repeat() LUMPAL_REQUIRES(mutex) {
        repeated.Warn("What is wrong with the rights in '%1' stands above.", RightsFile().GetAbsolutePath());
    }

    LumPalThread::PlainMutex_t mutex;
    String_t last LUMPAL_GUARDED_BY(mutex);
    LumPalLog::ThrottledLog repeated;
};

using Content = std::optional<LumPalArray::CharArray_t>;
using Mark = std::optional<LumPalIo::FileMark>;

/// Some 40,000 senders; lumtrust writes no more either.
constexpr std::uint64_t kLargestFile = 1u << 20;

/// Of a file that is not there none.
Content ReadContent() {
    const LumPalIo::File_t file = RightsFile();
    if (!file.Exists()) return std::nullopt;
    Content content = LumPalIo::ReadWhole(LumPalIo::FileInputStream_t(file), kLargestFile);
    if (content) return content;
    throw LumPalIo::IOException_t(LumPalMsg::CreateError_t("'%1' is too large: rights of at most %2 KiB are read.")
                                  << file.GetAbsolutePath() << static_cast<int>(kLargestFile >> 10));
}

/// That of a file whose next change is sure to show in it.
Mark MarkAtRest() {
    const Mark mark = LumPalIo::MarkOf(RightsFile(), LumPalIo::Links::Followed);
    return mark && LumPalIo::IsAtRest(*mark) ? mark : std::nullopt;
}

Rights RightsIn(const Content& content, Complaints& complaints) {
    const Rights rights =
        content ? Rights::Read(LumPalIo::CharArrayInputStream_t::Over(*content), RightsFile().ToString()) : Rights();
    complaints.Log(rights.GetProblems());
    return rights;
}

void LogFailure(Complaints& complaints, const char* consequence, const LumPalMsg::Exception_t& cause) {
    complaints.Log(LumPalMsg::CreateError_t(String_t("Cannot load the rights from '%1': ") + consequence)
                       .AddDetails(cause.GetMessageList())
                   << RightsFile().GetAbsolutePath());
}

/// The content's rights, or the given ones when it cannot be read.
Rights RightsOr(const Rights& lastGood, const Content& content, Complaints& complaints, const char* consequence) try {
    return RightsIn(content, complaints);
} catch (const LumPalMsg::Exception_t& e) {
    LogFailure(complaints, consequence, e);
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
        const Mark mark = MarkAtRest();
        if (mark && mark == seen) return complaints.LogAgain();
        seen.reset();
        try {
            LoadLocked(ReadContent(), consequence);
            seen = mark;
        } catch (const LumPalMsg::Exception_t& e) {
            known.reset();
            LogFailure(complaints, consequence, e);
        }
    }
    /// What is as it was is not read once more: anybody may ask for it, and others wait for the lock.
    void LoadLocked(Content content, const char* consequence) LUMPAL_REQUIRES(loading) {
        if (content && known && content->View() == known->View()) return complaints.LogAgain();
        known.reset();
        Set(RightsOr(*Get(), content, complaints, consequence));
        known = std::move(content);
    }

    Complaints complaints;
    LumPalThread::PlainMutex_t loading;
    Content known LUMPAL_GUARDED_BY(loading);  ///< what was taken up, or found broken
    Mark seen LUMPAL_GUARDED_BY(loading);      ///< of the file that held it; none when it may change unseen
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
