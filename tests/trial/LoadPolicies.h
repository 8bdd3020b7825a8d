/// @file
/// The policies of a load trial, and how a header is shown for comparison.
#pragma once

#include <map>
#include <optional>
#include <sstream>
#include <string>

#include "PolicyContainer.h"
#include "PolicyHeader.h"
#include "TestPolicy.h"

namespace load {

/// What a data file of a policy in a version holds: told apart from any other version's, of some length of its own.
inline std::string Content(const std::string& id, const std::string& version, const std::string& file) {
    std::string content = id + " " + version + " " + file + "\n";
    const std::size_t length = (std::stoul(version) * 397 + file.size()) % 20000;
    while (content.size() < length) content += content;
    return content;
}

/// A policy with two data files, of one of three types that all owners share.
inline TestPolicy MakePolicy(const std::string& owner, int slot, int version) {
    TestPolicy policy;
    policy.id = owner + "-" + std::to_string(slot);
    policy.name = "Größe " + policy.id;
    policy.type = "type" + std::to_string(slot % 3);
    policy.version = std::to_string(version);
    policy.description = "Ausgabe " + policy.version + " &amp; \xE2\x98\x83";
    policy.owner = owner;
    policy.categories = {"made in " + policy.version, "every"};
    policy.attributes = {{"round", policy.version}, {"pair", "a=b"}};
    for (const std::string& file : {policy.id + ".conf", policy.id + ".list"}) {
        policy.data.emplace_back(file, Content(policy.id, policy.version, file));
    }
    return policy;
}

/// All that a list carries of a policy, as one text.
inline std::string Show(const LumConf::PolicyHeader& header) {
    std::ostringstream text;
    const auto put = [&text](const LumPalStr::String_t& field) { text << field.ToUtf8() << " | "; };
    put(header.GetContainerId());
    put(header.GetStatus());
    put(header.GetName());
    put(header.GetVersion());
    put(header.GetDescription());
    put(header.GetOwner());
    put(header.GetTypeName());
    put(header.GetTypeVersion());
    put(header.GetTypeId());
    for (int i = 0; i < header.GetCategoryCount(); ++i) put(header.GetCategory(i));
    for (int i = 0; i < header.GetAttributesCount(); ++i) {
        const LumConf::PolicyAttribute attribute = header.GetAttribute(i);
        put(attribute.GetName() + "=" + attribute.GetValue());
    }
    return text.str();
}

using Shown = std::map<std::string, std::string>;  // id to what Show says

inline Shown ShowAll(const LumConf::PolicyContainer& policies) {
    Shown shown;
    for (int i = 0; i < policies.GetCount(); ++i) {
        const LumConf::PolicyHeader header = policies.GetPolicyHeader(i);
        shown[header.GetContainerId().ToUtf8()] = Show(header);
    }
    return shown;
}

/// What an owner must find of one of its policies: an update keeps status, categories and attributes of the installed
/// one unless they are forced.
struct Expected {
    int version, categories, attributes;
    bool enabled;

    std::string Show(const std::string& owner, int slot) const {
        const TestPolicy now = MakePolicy(owner, slot, version);
        const std::string attributesFrom = std::to_string(attributes);
        return now.id + " | " + (enabled ? "enabled" : "disabled") + " | " + now.name + " | " + now.version +
               " | Ausgabe " + now.version + " & \xE2\x98\x83 | " + owner + " | " + now.type + " | 1 | t-" + now.type +
               " | made in " + std::to_string(categories) + " | every | round=" + attributesFrom + " | pair=a=b | ";
    }
};

}  // namespace load
