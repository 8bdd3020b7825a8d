/// @file
/// Tracing: off unless somebody listens (LUM_TRACE in the environment, or a listener of a test).
///
/// LUM_TRACE names components, each with the highest level wanted, and is read once, at the first
/// trace: "conf.policy:3,conf.message". Without a level every level is meant, "*" is every
/// component. The lines go to standard error, one write each, control characters escaped.
#pragma once

#include <atomic>
#include <functional>

#include "LumPalExport.h"
#include "LumPalStr.h"

namespace LumPalTrc {

/// Receives trace lines of every component and level; called on the tracing thread, one call at a
/// time. It must not wait for a lock under which somebody traces; what it traces itself is dropped.
using Listener_t = std::function<void(const char* component, int level, const LumPalStr::String_t& text)>;
/// Adds a listener; it is removed when the object goes, which waits for a call in flight.
class LUMPAL_API ScopedListener_t {
public:
    explicit ScopedListener_t(Listener_t listener);
    ScopedListener_t(const ScopedListener_t&) = delete;
    ScopedListener_t& operator=(const ScopedListener_t&) = delete;
    ~ScopedListener_t();

private:
    int id;
};

/// One trace component at one level (2: steps, 3: blocks). Constant after construction; any thread.
class LUMPAL_API TraceObj_t {
public:
    /// @param component  a literal: it is not copied
    constexpr TraceObj_t(const char* component, int level) noexcept : component(component), level(level) {}
    /// Whether somebody listens: the condition under which a text is worth building.
    /// One relaxed load when nobody listens to anything.
    bool IsOn() const noexcept { return IsOn(level); }
    /// The same for another level of the component.
    bool IsOn(int otherLevel) const noexcept {
        return listening.load(std::memory_order_relaxed) != 0 && IsListened(otherLevel);
    }
    /// Hands the line to whoever listens; nothing when nobody does.
    /// @param flags  none are defined: 0
    void DoTrace(unsigned flags, const LumPalStr::String_t& text, const char* file, int line) const;
    const char* GetComponent() const noexcept { return component; }
    int GetLevel() const noexcept { return level; }

private:
    friend class BlockTrace_t;
    friend class ScopedListener_t;
    static void AddListener(int count) noexcept;
    bool IsListened(int level) const noexcept;
    void Send(int level, const LumPalStr::String_t& text, const char* file, int line) const;

    /// 0 when nobody listens to anything.
    static std::atomic<unsigned> listening;
    const char* component;
    int level;
};

/// Marks entry ("> text") and exit ("< text") of a scope, at the level given here.
class LUMPAL_API BlockTrace_t {
public:
    BlockTrace_t(const TraceObj_t& object, const char* text, int level, const char* file, int line);
    BlockTrace_t(const BlockTrace_t&) = delete;
    BlockTrace_t& operator=(const BlockTrace_t&) = delete;
    ~BlockTrace_t();

private:
    const TraceObj_t& object;
    const char* text;
    int level;
    const char* file;
    int line;
    bool entered;
};

/// Builds the text only when somebody listens.
#define LUM_TRACE(object, text) \
    ((object).IsOn() ? (object).DoTrace(0, (text), __FILE__, __LINE__) : static_cast<void>(0))

}  // namespace LumPalTrc
