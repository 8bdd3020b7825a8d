// Traces, and which of them LUM_TRACE asks for.
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "LocalTime.h"
#include "LogText.h"
#include "LumPalPlainMutex.h"
#include "LumPalTrc.h"
#include "TraceFilter.h"
#include "WriteError.h"

namespace LumPalTrc {

using LumPalStr::String_t;

namespace {

// Bits of TraceObj_t::listening. The first stands until the environment was read.
constexpr unsigned kUnread = 1;
constexpr unsigned kEnvironment = 2;
constexpr unsigned kOneListener = 4;

/// What LUM_TRACE said: read once, constant afterwards.
const TraceFilter& Environment() {
    static const TraceFilter& filter =
        *new TraceFilter(std::getenv("LUM_TRACE"));  // never destroyed: threads trace to the end
    return filter;
}

struct Listeners {
    static Listeners& Get() {
        static Listeners& listeners = *new Listeners;  // never destroyed: threads trace to the end
        return listeners;
    }
    LumPalThread::PlainMutex_t mutex;  // held while they are called
    int lastId LUMPAL_GUARDED_BY(mutex) = 0;
    std::vector<std::pair<int, Listener_t>> all LUMPAL_GUARDED_BY(mutex);
};

thread_local bool isInListener = false;

void CallListeners(const char* component, int level, const String_t& text) {
    if (isInListener) return;
    Listeners& listeners = Listeners::Get();
    const LumPalThread::PlainLock_t lock(listeners.mutex);
    struct Mark {
        Mark() { isInListener = true; }
        ~Mark() { isInListener = false; }
    } const mark;
    for (const auto& [id, listener] : listeners.all) listener(component, level, text);
}

std::string LineOf(const char* component, int level, const String_t& text, const char* file, int line) {
    const char* const slash = std::strrchr(file, '/');
    return LumPal::LocalTimeText(std::chrono::system_clock::now()) + " TRACE " + component + ":" +
           std::to_string(level) + " " + (slash ? slash + 1 : file) + ":" + std::to_string(line) + " " +
           LumPalLog::OneLine(text) + "\n";
}

}  // namespace

constinit std::atomic<unsigned> TraceObj_t::listening{kUnread};

bool TraceObj_t::IsListened(int wanted) const noexcept {
    unsigned now = listening.load(std::memory_order_relaxed);
    if (now & kUnread) {
        if (!Environment().IsEmpty()) listening.fetch_or(kEnvironment, std::memory_order_relaxed);
        now = listening.fetch_and(~kUnread, std::memory_order_relaxed);
    }
    return now >= kOneListener || Environment().IsOn(component, wanted);
}

void TraceObj_t::DoTrace(unsigned, const String_t& text, const char* file, int line) const {
    if (IsOn()) Send(level, text, file, line);
}

void TraceObj_t::Send(int sentLevel, const String_t& text, const char* file, int line) const {
    if (Environment().IsOn(component, sentLevel)) {
        LumPal::WriteError(LineOf(component, sentLevel, text, file, line));
    }
    if (listening.load(std::memory_order_relaxed) >= kOneListener) CallListeners(component, sentLevel, text);
}

ScopedListener_t::ScopedListener_t(Listener_t listener) {
    Listeners& listeners = Listeners::Get();
    const LumPalThread::PlainLock_t lock(listeners.mutex);
    listeners.all.emplace_back(id = ++listeners.lastId, std::move(listener));
    TraceObj_t::AddListener(1);
}

ScopedListener_t::~ScopedListener_t() {
    Listeners& listeners = Listeners::Get();
    const LumPalThread::PlainLock_t lock(listeners.mutex);
    std::erase_if(listeners.all, [this](const auto& entry) { return entry.first == id; });
    TraceObj_t::AddListener(-1);
}

void TraceObj_t::AddListener(int count) noexcept {
    listening.fetch_add(static_cast<unsigned>(count) * kOneListener, std::memory_order_relaxed);
}

BlockTrace_t::BlockTrace_t(const TraceObj_t& object, const char* text, int level, const char* file, int line)
    : object(object), text(text), level(level), file(file), line(line), entered(object.IsOn(level)) {
    if (entered) object.Send(level, String_t("> ") + text, file, line);
}

BlockTrace_t::~BlockTrace_t() {
    if (!entered) return;
    try {
        object.Send(level, String_t("< ") + text, file, line);
    } catch (...) {
        // A scope may be left by an exception: a trace line must not end the process.
    }
}

}  // namespace LumPalTrc
