/// @file
/// Makes a tree of what the parser tells.
#pragma once

#include "LumConfCluster/XmlDataTree.h"
#include "LumPalXml.h"

namespace LumConfCluster {

/// Fills one tree with one document. One thread.
class XmlHandler : public LumPalXml::SAX::DefaultHandler_t {
public:
    /// @param root  lives longer; null is an error of the document's start
    explicit XmlHandler(XmlDataTree* root) : root(root) {}

    /// @throws LumPalMsg::IllegalStateError_t XmlTreeMissing without a tree
    void StartDocument() override;
    void EndDocument() override;
    void StartElement(const LumPalStr::String_t& uri, const LumPalStr::String_t& localName,
                      const LumPalStr::String_t& qName, const LumPalXml::SAX::Attributes_i& attributes) override;
    /// @throws LumConf::ClusterXmlDataTreeException XmlTreeClosingTagDiffers for another element than the one that is
    /// open
    void EndElement(const LumPalStr::String_t& uri, const LumPalStr::String_t& localName,
                    const LumPalStr::String_t& qName) override;
    void Characters(const char16_t* text, std::uint32_t start, std::uint32_t length) override;

private:
    XmlDataTree* root;
    XmlDataNode* current = nullptr;
};

}  // namespace LumConfCluster
