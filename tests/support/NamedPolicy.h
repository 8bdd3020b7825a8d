/// @file
/// A policy that is told apart by its id alone.
#pragma once

#include <string>

#include "TestPolicy.h"

namespace LumConf {

/// Named after its id, with two data files whose names and contents hold it.
inline TestPolicy Policy(const std::string& id, const std::string& type = "files") {
    TestPolicy policy;
    policy.id = id;
    policy.name = "name of " + id;
    policy.type = type;
    policy.data = {{id + ".one", "1 of " + id}, {id + ".two", "2 of " + id}};
    return policy;
}

}  // namespace LumConf
