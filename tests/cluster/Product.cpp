#include "Product.h"

#include <filesystem>
#include <stdexcept>

namespace sim {
namespace {

/// Products make themselves known before main, in any order.
std::vector<const Product*>& AllProducts() {
    static std::vector<const Product*> products;
    return products;
}

}  // namespace

Product::Product(const char* name, const char* daemonFile, std::vector<ProductTool> tools)
    : name(name), daemonFile(daemonFile), tools(std::move(tools)) {
    AllProducts().push_back(this);
}

const Product& Product::Named(const std::string& name) {
    for (const Product* product : AllProducts()) {
        if (product->name == name) return *product;
    }
    throw std::runtime_error("there is no product '" + name + "'");
}

Tool Product::ToolNamed(const std::string& wanted) const {
    for (const ProductTool& row : tools) {
        if (std::filesystem::path(row.path).filename() == wanted) return row.tool;
    }
    throw std::runtime_error("the product has no tool '" + wanted + "'");
}

}  // namespace sim
