/// @file
/// One of the clients of a load trial.
#pragma once

#include <random>
#include <string>
#include <vector>

#include "Exceptions.h"
#include "InstallOptions.h"
#include "LoadPolicies.h"
#include "LumPalPtr.h"
#include "PolicyForwarder.h"
#include "PolicyForwarderImpl.h"
#include "PolicyPackage.h"
#include "Selection.h"

namespace load {

/// Installs, lists and removes policies of its own, whose state it knows at any time, and some that all clients fight
/// for; now and then it lets the node read its store anew. Speaks to "localhost". Used by one thread; what went wrong
/// stands in Failures().
class Client {
public:
    Client(int number, const std::string& folder)
        : owner("client" + std::to_string(number)),
          folder(folder + "/" + owner),
          random(static_cast<unsigned>(number)),
          slots(kSlots) {}

    void Run(int operations) {
        for (int i = 0; i < operations && failures.size() < 10; ++i) {
            try {
                Step();
            } catch (const std::exception& e) {
                failures += owner + ", operation " + std::to_string(i) + ": " + e.what() + "\n";
            }
        }
    }
    const std::string& Failures() const { return failures; }
    /// What its own policies must look like now.
    Shown Known() const {
        Shown known;
        for (int slot = 0; slot < kSlots; ++slot) {
            if (slots[slot]) known[MakePolicy(owner, slot, 1).id] = slots[slot]->Show(owner, slot);
        }
        return known;
    }

private:
    using String_t = LumPalStr::String_t;
    static constexpr int kSlots = 6;
    static constexpr int kShared = 2;

    int Below(int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); }

    void Step() {
        ++round;
        if (Below(25) == 0) impl->ReinitCache("localhost", "");
        switch (Below(10)) {
            case 0:
            case 1:
            case 2:
            case 3:
                return Install(Below(kSlots));
            case 4:
                return InstallPackage();
            case 5:
            case 6:
                return Remove(Below(kSlots));
            case 7:
                return Below(2) ? InstallShared() : RemoveShared();
            default:
                return List();
        }
    }

    LumPalIo::File_t Write(const TestPolicy& policy) const { return policy.WriteFiles(folder); }

    void Install(int slot) {
        const bool enforce = Below(2) == 0;
        LumConf::InstallOptions options;
        if (enforce) options.SetForceCat(true).SetForceAttr(true).SetDisabled().ForceState();
        forwarder.Install("localhost", Write(MakePolicy(owner, slot, round)), options);
        Note(slot, enforce);
    }
    /// The next two of its policies at once.
    void InstallPackage() {
        LumConf::PolicyPackage package;
        const int first = Below(kSlots), second = (first + 1) % kSlots;
        package.AddPolicy(Write(MakePolicy(owner, first, round)));
        package.AddPolicy(Write(MakePolicy(owner, second, round)));
        package.Install("localhost");
        Note(first, false);
        Note(second, false);
    }
    void Note(int slot, bool enforced) {
        std::optional<Expected>& now = slots[slot];
        if (!now) now = Expected{round, round, round, true};
        now->version = round;
        if (!enforced) return;
        now->categories = now->attributes = round;
        now->enabled = false;
    }
    void Remove(int slot) {
        const String_t id = String_t::FromUtf8(MakePolicy(owner, slot, 1).id);
        const bool removed = Found([&] { forwarder.Remove("localhost", LumConf::Selection().SetPolicyId(id)); });
        if (removed != slots[slot].has_value()) failures += owner + ": a remove did not meet what was there\n";
        slots[slot].reset();
    }
    void InstallShared() { forwarder.Install("localhost", Write(MakePolicy("shared", Below(kShared), round))); }
    void RemoveShared() {
        const String_t owned = "shared";
        Found([&] { forwarder.Remove("localhost", LumConf::Selection().SetPolicyOwner(owned)); });
    }
    void List() {
        Shown listed;
        Found([&] {
            const String_t mine = String_t::FromUtf8(owner);
            listed = ShowAll(forwarder.List("localhost", LumConf::Selection().SetPolicyOwner(mine)));
        });
        if (listed != Known()) failures += owner + ": a list is not what was installed\n";
    }
    /// False when there was nothing to do the request to.
    template <class Request>
    static bool Found(Request&& request) {
        try {
            request();
            return true;
        } catch (const LumConf::PolicyNotFoundError&) {
            return false;
        } catch (const LumConf::NoPoliciesInstalledError&) {
            return false;
        }
    }

    const std::string owner, folder;
    std::mt19937 random;
    std::vector<std::optional<Expected>> slots;
    int round = 0;
    std::string failures;
    LumConf::PolicyForwarder forwarder;
    LumPalPtr::RefPtr_t<LumConf::PolicyForwarderImpl> impl{new LumConf::PolicyForwarderImpl};
};

}  // namespace load
