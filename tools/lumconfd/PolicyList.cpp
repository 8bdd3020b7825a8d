#include "lumconfd/PolicyList.h"

#include <algorithm>

#include "ConfigServer.h"
#include "Exceptions.h"
#include "LumPalIo.h"
#include "LumPalLog.h"
#include "LumPalMsg.h"
#include "LumPalRuntime.h"
#include "PolicyContainer.h"

namespace lumconfd {

using LumPalIo::File_t;
using LumPalStr::String_t;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds kLeastPause(500);
constexpr int kPausesPerWriting = 9;
constexpr int kTries = 3;

File_t Folder() {
    return File_t(LumPalRuntime::Dir_t::Path(LumPalRuntime::Root, "conf/conf"));
}

void Dump(const File_t& file) {
    try {
        LumConf::PolicyContainer::Dump(file, "");
    } catch (const LumConf::NoPoliciesInstalledError&) {
        // The file holds the title alone, which is the list of a node without policies.
    }
}

void Fail(const char* text, const File_t& file) {
    throw LumPalIo::IOException_t(LumPalMsg::CreateError_t(String_t(text)) << file.GetAbsolutePath());
}

File_t Aside(const String_t& name) {
    return File_t(Folder(), name + ".tmp");
}

/// What a daemon that was killed has left. Of a root one daemon at a time is at work.
void RemoveLeftAside(const String_t& name) {
    const File_t aside = Aside(name);
    if (!aside.IsDirectory() && !aside.IsSymbolicLink()) aside.Delete();
}

void Write(const String_t& name) {
    const File_t folder = Folder();
    const File_t aside = Aside(name), file(folder, name);
    folder.Mkdirs();
    aside.Delete();  // what a crash left there, or a link, is not written through
    Dump(aside);
    if (!aside.Sync()) Fail("The file '%1' cannot be forced to the disk.", aside);
    if (!aside.RenameTo(file)) Fail("The file '%1' cannot be replaced.", file);
    if (!folder.Sync()) Fail("The folder '%1' cannot be forced to the disk.", folder);
}

void Say(const String_t& name, const LumPalMsg::MessageList_t& reason) {
    LumPalMsg::CreateError_t message(String_t("The merged policy list '%1' could not be written."));
    message << name;
    message.AddDetails(reason);
    LumPalLog::Log(LumPalMsg::MessageList_t(message));
}

}  // namespace

PolicyList::PolicyList()
    : thread("PolicyList", {"The merged policy list cannot be written now: %1", kLeastPause},
             [this](LumPalThread::Bell_t& bell) {
                 bell.Pause(WriteIfWanted(bell));
                 return LumPalThread::StepThread_t::kUntilRing;
             }),
      keys([this] { thread.Ring(); }) {
    RemoveLeftAside(keys.Get().listName);
    LumConf::ConfigServer::TellOfChanges([this] { thread.Ring(); });
    thread.Ring();  // written once, however soon the object goes
    try {
        thread.Start();
    } catch (...) {
        LumConf::ConfigServer::TellOfChanges({});
        throw;
    }
}

PolicyList::~PolicyList() {
    LumConf::ConfigServer::TellOfChanges({});
    thread.Finish();
}

/// @return how long to let be
milliseconds PolicyList::WriteIfWanted(LumPalThread::Bell_t& bell) {
    const DaemonKeys now = keys.Get();
    if (!now.formatPolicyList) return milliseconds(0);
    const auto begun = std::chrono::steady_clock::now();
    Keep(now.listName, bell);
    const auto taken = std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - begun);
    return std::max(kLeastPause, taken * kPausesPerWriting);
}

void PolicyList::Keep(const String_t& name, LumPalThread::Bell_t& bell) {
    // The store is read without holding anybody up: a policy that goes meanwhile can spoil one try.
    for (int left = kTries - 1;; --left) {
        try {
            return Write(name);
        } catch (const LumPalMsg::Exception_t& e) {
            Aside(name).Delete();
            if (left == 0) return Say(name, e.GetMessageList());
        }
        bell.Pause(kLeastPause);
    }
}

}  // namespace lumconfd
