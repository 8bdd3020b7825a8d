/// @file
/// Which policies name a data file.
#pragma once

#include <cstddef>
#include <map>
#include <vector>

#include "LumPalStr.h"
#include "PolicyHeaderImpl.h"

namespace LumConf {

/// The headers that name a data file, found by its name and the policy type: policies of one type share a folder, so
/// that a file of one name is one file. What a header names is taken when it is added, and taken out as it was, also
/// when the header has changed meanwhile. Headers are not owned. No lock: who owns the index has one.
class DataFileIndex {
    struct Use {
        LumPalStr::String_t file, typeName, id;
        bool operator<(const Use& other) const;
    };
    using Uses = std::map<Use, PolicyHeaderImpl*>;

public:
    /// Where one header stands.
    using Places = std::vector<Uses::iterator>;

    /// @param places  gets what was added, also when the memory does not suffice for all of it
    void Add(PolicyHeaderImpl* header, Places& places);
    void Remove(const Places& places);

    /// Calls `call(header)` for the headers of the type that name the file, in ascending order of their ids, until it
    /// answers false.
    template <class Call>
    void Visit(const LumPalStr::String_t& typeName, const LumPalStr::String_t& file, const Call& call) const {
        auto use = uses.lower_bound({file, typeName, LumPalStr::String_t()});
        while (use != uses.end() && use->first.file == file && use->first.typeName == typeName && call(*use->second))
            ++use;
    }
    /// Likewise the headers of all types, type by type.
    template <class Call>
    void VisitAllTypes(const LumPalStr::String_t& file, const Call& call) const {
        auto use = uses.lower_bound({file, LumPalStr::String_t(), LumPalStr::String_t()});
        while (use != uses.end() && use->first.file == file && call(*use->second)) ++use;
    }

private:
    Uses uses;
};

}  // namespace LumConf
