/// @file
/// The reference for everything that reads documents: the parser library alone.
#pragma once

#include <string>

namespace bench {

/// Opens a file, reads it, and has the parser library go over it, with namespaces; each name and text is passed to a
/// callback that only looks at it. @throws std::runtime_error
void BareParse(const std::string& path);
/// BareParse for each file in the folders of a folder. @return the number of files
int BareParseTree(const std::string& folder);

}  // namespace bench
