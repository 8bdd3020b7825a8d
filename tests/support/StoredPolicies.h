/// @file
/// What a node tells of policies that were made up by a test, and what an operator wants of them.
#pragma once

#include <gtest/gtest.h>

#include "LumSecDigest.h"
#include "StoredPolicy.h"
#include "TestPolicy.h"
#include "TransferBytes.h"
#include "lumpolicy/DesiredState.h"

/// As a node answers that has the policy: with digests, or with contents.
inline LumConf::StoredPolicy Stored(const TestPolicy& policy,
                                    LumConf::StoredFiles what = LumConf::StoredFiles::Digests) {
    const std::string bytes = transfer::Package({policy});
    LumConf::StoredPolicy stored =
        LumConf::StoredPolicy::Unpack(LumPalArray::CharArray_t(bytes.data(), bytes.size())).at(0);
    if (what == LumConf::StoredFiles::Contents) return stored;
    for (auto& file : stored.dataFiles) {
        const std::string digest = LumSecCore::Sha256(LumPalIo::CharArrayInputStream_t(file.bytes));
        file.bytes = LumPalArray::CharArray_t(digest.data(), digest.size());
    }
    return stored;
}

/// Writes the files into a folder of their own, and reads them as wanted.
inline lumpolicy::DesiredPolicy Desired(const TestPolicy& policy, const std::string& folder) {
    return lumpolicy::DesiredPolicy::Read(policy.WriteFiles(folder).ToString().ToUtf8());
}
