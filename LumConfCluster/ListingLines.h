/// @file
/// Lines of the cluster tools' listings.
#pragma once

#include "LumConfCluster/ClusterResourceGroup.h"
#include "LumPalStr.h"

namespace LumConfCluster {

/// Lines of a label and a value.
class Lines {
public:
    Lines& Add(const char* label, const LumPalStr::String_t& value) {
        text += label + value + "\n";
        return *this;
    }
    const LumPalStr::String_t& Text() const { return text; }

private:
    LumPalStr::String_t text;
};

/// The group's address, or "None " where it has none. @throws as ClusterResourceGroup::GetVirtualIP
inline LumPalStr::String_t AddressOf(const ClusterResourceGroup& group) {
    const LumPalStr::String_t address = group.GetVirtualIP();
    return address.IsEmpty() ? "None " : address;  // kept: the blank is there
}

}  // namespace LumConfCluster
