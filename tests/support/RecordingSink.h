/// @file
/// Settings sinks that note what the policy worker asks of them.
#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "LumPalMsg.h"
#include "SettingsSink.h"

/// What all sinks of one worker were asked, in order. Any thread.
class SinkRecord {
public:
    /// Called for each call of a sink, on the worker's thread, before it is noted; may throw.
    std::function<void(const std::string& call)> onCall;

    void Add(const std::string& call) {
        if (onCall) onCall(call);
        std::lock_guard<std::mutex> lock(mutex);
        calls += call + ";";
        changed.notify_all();
    }
    /// Waits until the record ends with the text, at most ten seconds; returns the whole record.
    std::string WaitFor(const std::string& end) {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait_for(lock, std::chrono::seconds(10), [&] {
            return calls.size() >= end.size() && calls.compare(calls.size() - end.size(), end.size(), end) == 0;
        });
        return calls;
    }
    std::string Calls() {
        std::lock_guard<std::mutex> lock(mutex);
        return calls;
    }
    /// Sinks that note "make" when they are made, and then each call with its ids.
    LumConfPar::SettingsSinkFactory Factory();

private:
    std::mutex mutex;
    std::condition_variable changed;
    std::string calls;  ///< guarded by mutex
};

class RecordingSink : public LumConfPar::SettingsSink {
public:
    explicit RecordingSink(SinkRecord& record) : record(record) { record.Add("make"); }
    void Start() override { record.Add("start"); }
    void Install(const LumPalStr::String_t& ids) override { record.Add("install " + ids.ToUtf8()); }
    void Remove(const LumPalStr::String_t& ids) override { record.Add("remove " + ids.ToUtf8()); }
    void Enable(const LumPalStr::String_t& ids) override { record.Add("enable " + ids.ToUtf8()); }
    void Disable(const LumPalStr::String_t& ids) override { record.Add("disable " + ids.ToUtf8()); }

private:
    SinkRecord& record;
};

inline LumConfPar::SettingsSinkFactory SinkRecord::Factory() {
    return [this] { return std::make_unique<RecordingSink>(*this); };
}
