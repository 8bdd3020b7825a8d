/// @file
/// A component of the node that listens to the control service and acknowledges every trigger.
#pragma once

#include <atomic>
#include <initializer_list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "LumCtrl.h"
#include "LumPalIo.h"

/// Needs a service that runs. Ends with the object.
class Consumer {
public:
    using String = LumPalStr::String_t;

    Consumer(const char* name, std::initializer_list<const char*> events)
        : names(events.begin(), events.end()),
          component(name, names.data(), static_cast<int>(names.size())),
          thread([this] { Listen(); }) {}
    ~Consumer() {
        stop = true;
        thread.join();
    }

    /// Every event with "=" and its value, separated by "; ", once all that were sent have arrived: a last trigger,
    /// which the consumer must have registered for, is sent behind them and awaited.
    std::string Heard() {
        LumCtrl::Control::Notify(EndMark(), "", "", LumCtrl::Control::Options());
        std::lock_guard<std::mutex> lock(mutex);
        std::string all;
        all.swap(heard);
        return all;
    }
    static const char* EndMark() { return "CHECK_POLICY:end of the trial"; }

private:
    void Listen() {
        String event, value;
        try {
            while (!stop) {
                if (!component.Next(event, value, 20)) continue;
                Note(event, value);
                component.Acknowledge();
            }
        } catch (const LumPalIo::IOException_t&) {
            // The service went away.
        }
    }
    void Note(const String& event, const String& value) {
        if (event == EndMark()) return;
        std::lock_guard<std::mutex> lock(mutex);
        if (!heard.empty()) heard += "; ";
        heard += event.ToUtf8() + "=" + value.ToUtf8();
    }

    std::vector<String> names;
    LumCtrl::Component component;
    std::mutex mutex;
    std::string heard;  ///< guarded by mutex
    std::atomic<bool> stop{false};
    std::thread thread;
};
