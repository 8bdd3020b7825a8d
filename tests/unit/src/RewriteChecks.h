/// @file
/// How tests look at a document that was written anew.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "PolicyDocs.h"

namespace policydocs {

using LumConf::PolicyHeader;

inline bool Holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

inline int Count(const std::string& text, const std::string& part) {
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}

/// Every field of both headers is equal.
inline void ExpectEqual(const PolicyHeader& a, const PolicyHeader& b) {
    const LumConf::PolicyRecord x = a.GetImpl()->Snapshot(), y = b.GetImpl()->Snapshot();
    EXPECT_EQ(x.containerId, y.containerId);
    EXPECT_EQ(x.versionId, y.versionId);
    EXPECT_EQ(x.name, y.name);
    EXPECT_EQ(x.version, y.version);
    EXPECT_EQ(x.description, y.description);
    EXPECT_EQ(x.status, y.status);
    EXPECT_EQ(x.owner, y.owner);
    EXPECT_EQ(x.typeId, y.typeId);
    EXPECT_EQ(x.typeVersion, y.typeVersion);
    EXPECT_EQ(x.typeName, y.typeName);
    EXPECT_EQ(x.categories, y.categories);
    EXPECT_EQ(a.GetImpl()->GetRawSignatures(), b.GetImpl()->GetRawSignatures());
    EXPECT_EQ(a.GetImpl()->GetRawCertificate(), b.GetImpl()->GetRawCertificate());
    ASSERT_EQ(x.dataFiles.size(), y.dataFiles.size());
    for (std::size_t i = 0; i < x.dataFiles.size(); ++i) {
        EXPECT_EQ(x.dataFiles[i].name, y.dataFiles[i].name);
        EXPECT_EQ(x.dataFiles[i].encoding, y.dataFiles[i].encoding);
        EXPECT_EQ(x.dataFiles[i].checksum, y.dataFiles[i].checksum);
    }
    ASSERT_EQ(x.attributes.size(), y.attributes.size());
    for (std::size_t i = 0; i < x.attributes.size(); ++i) {
        EXPECT_EQ(x.attributes[i]->GetName(), y.attributes[i]->GetName());
        EXPECT_EQ(x.attributes[i]->GetValue(), y.attributes[i]->GetValue());
    }
}

}  // namespace policydocs
