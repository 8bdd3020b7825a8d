/// @file
/// The tests of the policy operations: a node with nothing installed.
#pragma once

#include <gtest/gtest.h>

#include "NamedPolicy.h"
#include "PolicyNode.h"

namespace LumConf {

class PolicyOperationTest : public testing::Test {
protected:
    PolicyNode node;
};

}  // namespace LumConf
