/// @file
/// What a product's tools answer. A further product is one file that makes a Product.
#pragma once

#include <string>
#include <vector>

#include "Description.h"

namespace sim {

/// What a call prints to its two streams, and what it ends with.
struct Answer {
    std::string out;
    std::string error;
    int code = 0;
};

/// @param words  what stands behind the tool's name
using Tool = Answer (*)(const Description& cluster, const Words& words);

struct ProductTool {
    const char* path;  ///< the true one
    Tool tool;
};

/// Lives as long as the program; making one makes it known.
class Product {
public:
    Product(const char* name, const char* daemonFile, std::vector<ProductTool> tools);
    Product(const Product&) = delete;
    Product& operator=(const Product&) = delete;

    /// @throws std::runtime_error for a name that no product has
    static const Product& Named(const std::string& name);

    const char* DaemonFile() const { return daemonFile; }
    const std::vector<ProductTool>& Tools() const { return tools; }
    /// @param name  without its folder. @throws std::runtime_error
    Tool ToolNamed(const std::string& name) const;

private:
    const char* name;
    const char* daemonFile;
    std::vector<ProductTool> tools;
};

}  // namespace sim
