#include "LumPalLog.h"
#include "SettingsSink.h"

namespace LumConfPar {

using LumPalStr::String_t;

SettingsSink::~SettingsSink() = default;

namespace {

/// What all sinks of one worker know.
struct Told {
    bool started = false;
    bool told = false;
};

class StoredOnlySettings final : public SettingsSink {
public:
    explicit StoredOnlySettings(std::shared_ptr<Told> state) : state(std::move(state)) {}

    /// The first start is that of the worker; every other one is a reload and stands for a change.
    void Start() override {
        if (state->started) Tell();
        state->started = true;
    }
    void Install(const String_t&) override { Tell(); }
    void Remove(const String_t&) override { Tell(); }
    void Enable(const String_t&) override { Tell(); }
    void Disable(const String_t&) override { Tell(); }

private:
    void Tell() {
        if (state->told) return;
        state->told = true;
        LumPalLog::Log(LumPalMsg::CreateInfo_t(
            "Settings policies are stored on this node, but this build does not apply them to its configuration."));
    }

    std::shared_ptr<Told> state;
};

}  // namespace

SettingsSinkFactory MakeStoredOnlySinks() {
    auto state = std::make_shared<Told>();
    return [state] { return std::make_unique<StoredOnlySettings>(state); };
}

}  // namespace LumConfPar
