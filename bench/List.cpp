// A long list over the wire.
#include <iomanip>
#include <sstream>
#include <stdexcept>

#include "Benchmarks.h"
#include "Node.h"
#include "PolicyContainer.h"
#include "Selection.h"

namespace bench {
namespace {

using LumPalStr::String_t;
using LumVoxSoap::SOAPElement;

/// Counts the bytes of a list as they stand on the wire: tags without prefix, and texts of ASCII.
class ListSize : public LumVoxSoap::SOAPArg {
public:
    ListSize() : SOAPArg("PolicyContainer") {}
    void WriteContent(LumPalXml::XmlWriter_t&) const override {}
    SOAPElement* StartElement(const String_t&, const String_t& localName, const String_t&) override {
        bytes += 2 * localName.GetLength() + 5;
        return this;
    }
    void Characters(const char16_t*, std::uint32_t, std::uint32_t length) override { bytes += length; }
    void EndElement(const String_t&, const String_t&, const String_t&) override {}
    std::size_t bytes = 0;
};

/// The selection of all policies.
class Everything : public LumVoxSoap::SOAPArg {
public:
    Everything() : SOAPArg("PolicySelection") {}
    void WriteContent(LumPalXml::XmlWriter_t& writer) const override {
        writer.OpenTag("selection");
        writer.Data("8");
        writer.CloseTag();
        writer.OpenTag("name");
        writer.CloseTag();
    }
};

std::size_t BytesOfList(const Node& node) {
    Everything selection;
    ListSize list;
    LumVoxSoap::SOAPArg* const arguments[] = {&selection};
    LumVoxSoap::SOAPArg* const results[] = {&list};
    node.Call("list", 1, arguments, 1, results);
    return list.bytes;
}

double List(const Node& node, int least) {
    return Seconds([&] {
        const LumConf::PolicyContainer list = node.Client().List("localhost", LumConf::Selection());
        if (list.GetCount() < least) throw std::runtime_error("a list is not whole");
    });
}

double Echo(const Node& node, std::size_t bytes) {
    const String_t text = String_t::FromUtf8(std::string(bytes, 'x'));
    return Seconds([&] {
        if (node.Echo(text) != text) throw std::runtime_error("an echo is not whole");
    });
}

std::string Rate(std::size_t bytes, double seconds) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << static_cast<double>(bytes) / seconds / 1e6 << " MB/s";
    return text.str();
}

}  // namespace

void MeasureList(Session& session) {
    const Node& node = Node::Get();
    const int policies = session.Choose(10000, 20);
    node.Fill(policies);
    const std::size_t bytes = BytesOfList(node);
    const Pairs pairs = RunPairs(
        session.Choose(15, 1), [&] { return List(node, policies); }, [&] { return Echo(node, bytes); });
    session.Add({"list of 10,000 policies",
                 pairs.Ratios(),
                 {},
                 Rate(bytes, Median(pairs.measured)) + " against " + Rate(bytes, Median(pairs.reference)) +
                     " there and back, " + std::to_string(bytes) + " bytes"});
}

}  // namespace bench
