/// @file
/// Tracing: off unless somebody listens (LUM_TRACE in the environment, or a listener of a test).
#pragma once

#include <atomic>
#include <functional>

#include "LumPalExport.h"
#include "LumPalStr.h"

namespace LumPalTrc {

/// Receives trace lines of every component; called on the tracing thread.
using Listener_t = std::function<void(const char* component, int level, const LumPalStr::String_t& text)>;
/// Adds a listener; it is removed when the returned object goes.
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
    TraceObj_t(const char* component, int level);
    /// Whether somebody listens: the condition under which a text is worth building.
    bool IsOn() const noexcept;
    void DoTrace(unsigned flags, const LumPalStr::String_t& text, const char* file, int line) const;
    const char* GetComponent() const noexcept { return component; }
    int GetLevel() const noexcept { return level; }

private:
    const char* component;
    int level;
};

/// Marks entry and exit of a scope.
class LUMPAL_API BlockTrace_t {
public:
    BlockTrace_t(const TraceObj_t& object, const char* text, int level, const char* file, int line);
    BlockTrace_t(const BlockTrace_t&) = delete;
    BlockTrace_t& operator=(const BlockTrace_t&) = delete;
    ~BlockTrace_t();

private:
    const TraceObj_t& object;
    const char* text;
    const char* file;
    int line;
    bool entered;
};

/// Builds the text only when somebody listens.
#define LUM_TRACE(object, text) \
    ((object).IsOn() ? (object).DoTrace(0, (text), __FILE__, __LINE__) : static_cast<void>(0))

}  // namespace LumPalTrc
