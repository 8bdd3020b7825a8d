/// @file
/// The tests of installs: a node with nothing installed.
#pragma once

#include <gtest/gtest.h>

#include "NamedPolicy.h"
#include "PolicyNode.h"

namespace LumConf {

class InstallTest : public testing::Test {
protected:
    /// The header as a new start reads it from the store.
    PolicyHeader Stored(const char* id) {
        node->ReinitCache("tester");
        return node.Get(id);
    }
    PolicyNode node;
};

}  // namespace LumConf
