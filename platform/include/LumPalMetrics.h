/// @file
/// What a process counts of itself, for its operator's monitoring: counters, durations and values that are asked for.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "LumPalExport.h"

namespace LumPalMetrics {

/// Values by the names of their labels. Callers choose them from few: each combination is kept to the end of the
/// process.
using Labels = std::map<std::string, std::string>;

/// For counting: what there is no memory for is not counted, and nothing else comes of it.
template <class Count>
void Guarded(Count count) noexcept {
    try {
        count();
    } catch (...) {
    }
}

/// A number that only grows from the start of the process, one for each combination of labels. Never destroyed with
/// what it counted. Any thread.
class LUMPAL_API Counter_t {
public:
    /// @param name  of Prometheus: letters, digits and "_", ending in "_total"; one that no other object bears
    /// @param help  a sentence for people
    Counter_t(const char* name, const char* help);
    /// It is told from now on as 0, for a counter without labels: a first event that is the first to be told is no
    /// growth to whoever watches. Without memory for it nothing happens.
    void BeginAtZero() noexcept;
    /// Adds one. Without memory for a combination that is new it is not counted.
    void Add(const Labels& labels = {}) noexcept;

private:
    void* family;
};

/// Durations in buckets from a millisecond to a minute, for each combination of labels. As a counter else.
class LUMPAL_API Durations_t {
public:
    /// @param name  as a counter's, but ending in "_seconds"
    Durations_t(const char* name, const char* help);
    void Observe(double seconds, const Labels& labels = {}) noexcept;

private:
    void* family;
};

/// A value of the moment.
struct Sample {
    Labels labels;
    double value = 0;
};

/// Values that are asked for whenever they are read, as long as the object lives. Its end waits for a question that is
/// under way.
class LUMPAL_API Values_t {
public:
    using Ask = std::function<std::vector<Sample>()>;
    /// @param ask  may be called by any thread, by one at a time; when it throws, the values are left out of one answer
    Values_t(const char* name, const char* help, Ask ask);
    ~Values_t();
    Values_t(const Values_t&) = delete;
    Values_t& operator=(const Values_t&) = delete;

private:
    class Source;
    Source* source;
};

/// Everything that is counted in this process, in the text format of Prometheus (version 0.0.4), sorted by name. Any
/// thread.
LUMPAL_API std::string WriteText();
/// The media type of that.
inline constexpr const char* kTextType = "text/plain; version=0.0.4; charset=utf-8";

}  // namespace LumPalMetrics
