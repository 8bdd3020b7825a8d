#include "Description.h"

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>

namespace sim {
namespace {

using nlohmann::json;

/// A misspelt key would make a test that tests nothing.
void CheckKeys(const json& object, const char* what, const std::set<std::string>& known) {
    if (!object.is_object()) throw std::runtime_error(std::string(what) + " must be an object");
    for (const auto& [key, value] : object.items()) {
        if (!known.count(key)) throw std::runtime_error(std::string(what) + " has no key '" + key + "'");
    }
}

std::string Text(const json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

std::string Text(const json& object, const char* key, const std::string& otherwise = "") {
    return object.contains(key) ? Text(object[key]) : otherwise;
}

std::string FromHex(const std::string& digits) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

System ReadSystem(const json& from, std::size_t index) {
    CheckKeys(from, "a system", {"name", "site", "id", "state"});
    return {Text(from, "name"), Text(from, "site"), Text(from, "id", std::to_string(index)),
            Text(from, "state", "online")};
}

Resource ReadResource(const json& from) {
    CheckKeys(from, "a resource", {"name", "type", "address"});
    return {Text(from, "name"), Text(from, "type"), Text(from, "address")};
}

/// Systems stand as a list of names, each with its index as its priority, or of pairs [name, priority].
void ReadGroupSystems(const json& from, Group& group) {
    for (const json& entry : from) {
        if (entry.is_array()) {
            group.systems.emplace_back(Text(entry.at(0)), Text(entry.at(1)));
        } else {
            group.systems.emplace_back(Text(entry), std::to_string(group.systems.size()));
        }
    }
}

Group ReadGroup(const json& from) {
    CheckKeys(from, "a group", {"name", "systems", "states", "state", "resources", "attributes"});
    Group group;
    group.name = Text(from, "name");
    group.state = Text(from, "state");
    ReadGroupSystems(from.value("systems", json::array()), group);
    const json states = from.value("states", json::object()), attributes = from.value("attributes", json::object());
    for (const auto& [system, state] : states.items()) group.states[system] = Text(state);
    for (const auto& [name, value] : attributes.items()) group.attributes[name] = Text(value);
    for (const json& resource : from.value("resources", json::array())) {
        group.resources.push_back(ReadResource(resource));
    }
    return group;
}

/// A path alone stands for a program that does nothing.
File ReadFile(const json& from) {
    if (from.is_string()) return {from.get<std::string>(), "#!/bin/sh\n"};
    CheckKeys(from, "a file", {"path", "text"});
    return {Text(from, "path"), Text(from, "text")};
}

Conduct ReadConduct(const json& from) {
    CheckKeys(from, "a conduct",
              {"call", "number", "waitFor", "print", "printHex", "error", "repeat", "forever", "child", "close", "hang",
               "signal", "code"});
    Conduct conduct;
    conduct.call = Text(from, "call", "*");
    if (from.contains("number")) conduct.number = from["number"].get<long>();
    conduct.waitFor = Text(from, "waitFor");
    if (from.contains("print")) conduct.print = Text(from, "print");
    if (from.contains("printHex")) conduct.print = FromHex(Text(from, "printHex"));
    conduct.error = Text(from, "error");
    conduct.repeat = from.value("repeat", 1L);
    conduct.forever = from.value("forever", false);
    conduct.child = from.value("child", false);
    conduct.close = from.value("close", false);
    conduct.hang = from.value("hang", false);
    conduct.signal = from.value("signal", 0);
    if (from.contains("code")) conduct.code = from["code"].get<int>();
    return conduct;
}

Description Read(const json& from) {
    CheckKeys(from, "a cluster",
              {"product", "name", "host", "hosts", "files", "missing", "systems", "groups", "conducts", "separators"});
    Description description;
    description.product = Text(from, "product");
    description.name = Text(from, "name");
    description.host = Text(from, "host");
    const json hosts = from.value("hosts", json::object());
    for (const auto& [name, address] : hosts.items()) description.hosts[name] = Text(address);
    description.missing = from.value("missing", Words());
    description.separators = from.value("separators", false);
    for (const json& file : from.value("files", json::array())) description.files.push_back(ReadFile(file));
    for (const json& system : from.value("systems", json::array())) {
        description.systems.push_back(ReadSystem(system, description.systems.size()));
    }
    for (const json& group : from.value("groups", json::array())) description.groups.push_back(ReadGroup(group));
    for (const json& conduct : from.value("conducts", json::array())) {
        description.conducts.push_back(ReadConduct(conduct));
    }
    return description;
}

template <class Item>
const Item* Find(const std::vector<Item>& items, const std::string& wanted) {
    const auto found = std::find_if(items.begin(), items.end(), [&](const Item& i) { return i.name == wanted; });
    return found == items.end() ? nullptr : &*found;
}

}  // namespace

const System* Description::FindSystem(const std::string& wanted) const {
    return Find(systems, wanted);
}

const Group* Description::FindGroup(const std::string& wanted) const {
    return Find(groups, wanted);
}

const Resource* Description::FindResource(const std::string& wanted) const {
    for (const Group& group : groups) {
        if (const Resource* found = Find(group.resources, wanted)) return found;
    }
    return nullptr;
}

Description ReadDescription(const std::string& path) {
    std::ifstream file(path);
    if (!file) throw std::runtime_error(path + ": cannot be read");
    try {
        return Read(json::parse(file, nullptr, true, true));
    } catch (const std::exception& e) {
        throw std::runtime_error(path + ": " + e.what());
    }
}

}  // namespace sim
