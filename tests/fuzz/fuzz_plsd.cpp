// Any bytes as what the tools of Palisade print, or as a control script: nothing fails, and what is read was printed.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "FuzzedLines.h"
#include "adapters/PlsdOutput.h"

using namespace LumConfCluster;
using LumPalStr::String_t;

namespace {

void Expect(bool holds) {
    if (!holds) std::abort();
}

void ExpectRow(const FuzzedLines& output, const PlsdRow& row) {
    output.ExpectPrinted(row.name);
    output.ExpectPrinted(row.word);
}

void CheckPackages(const FuzzedLines& output) {
    for (const PlsdPackage& package : PlsdPackages(output.lines)) {
        ExpectRow(output, package);
        output.ExpectPrinted(package.node);
        Expect(package.name.IsNotEmpty() && !(package.isOwned && package.isMultiNode));
        if (PlsdRunsOn(output.lines, package.name, package.node)) output.ExpectPrinted("NODE_NAME");
    }
}

void CheckAddress(const std::uint8_t* data, std::size_t size) {
    const LumPalArray::CharArray_t script(reinterpret_cast<const char*>(data), size);
    const String_t address = PlsdAddressIn(LumPalIo::CharArrayInputStream_t(script));
    const auto isPart = [](char16_t unit) { return unit == u'.' || (unit >= u'0' && unit <= u'9'); };
    Expect(address.IsNotNull() && (address.IsEmpty() || (isPart(address.GetAt(0)) && isPart(address.LastChar()))));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzedLines output(data, size);
    ExpectRow(output, PlsdOnlyRow(output.lines));
    for (const PlsdRow& row : PlsdNodeRows(output.lines)) {
        Expect(row.name.IsNotEmpty());
        ExpectRow(output, row);
    }
    for (const String_t& node : PlsdConfiguredNodes(output.lines)) output.ExpectPrinted(node);
    output.ExpectPrinted(PlsdScript(output.lines));
    CheckPackages(output);
    CheckAddress(data, size);
    return 0;
}
