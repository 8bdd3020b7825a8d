/// @file
/// Policy documents of a given size, and stores full of them.
#pragma once

#include <cstddef>
#include <string>

namespace bench {

/// What makes a document long.
struct DocumentSize {
    int dataFiles, categories, attributes;
    std::size_t certificateBytes;
};
/// About 2 KB: one signed data file, and the certificate of an elliptic key.
inline constexpr DocumentSize kSmall{1, 2, 1, 600};
/// About 18 KB: many signed data files, and the certificate of a long key.
inline constexpr DocumentSize kLarge{25, 10, 15, 1600};

/// The id of the policy with this number: different numbers have different ids.
std::string PolicyId(int number);
/// The document of the policy with this number, as the store writes it; of one of ten types.
std::string Document(int number, const DocumentSize& size);
/// The names of its data files, counted from 0.
std::string DataFileName(int number, int file);

/// Writes a file, over one that stands there.
void WriteFile(const std::string& path, const std::string& content);
/// Makes the store "policies" below a root, with so many small documents in folders of ten types.
/// @return the bytes of all documents
std::size_t FillStore(const std::string& root, int policies);

}  // namespace bench
