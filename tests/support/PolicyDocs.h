/// @file
/// Policy documents for tests: built, parsed from memory, rewritten, and put in the store.
#pragma once

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "Exceptions.h"
#include "LumPalCodeset.h"
#include "LumPalIo.h"
#include "LumPalMsg.h"
#include "LumPalXml.h"
#include "PolicyHeader.h"
#include "PolicyHeaderImpl.h"
#include "PolicyXmlHandler.h"
#include "PolicyXmlParser.h"
#include "StorePaths.h"
#include "TempRoot.h"

namespace policydocs {

inline const std::string kNamespace = "http://lum.tessel.com/xmlns/conf/2003/04";

/// A complete document with one data file. Change the fields, leave elements out by their names, add what is unusual.
struct Doc {
    std::string nameSpace = kNamespace;
    std::string id = "p1", versionId = "v1", name = "First", version = "1.0", description = "A policy";
    std::string status = "enabled", owner = "operator", typeId = "t1", typeVersion = "2.0", typeName = "cron";
    std::string files =
        "<data><file_name>p1.dat</file_name><encoding>text/plain</encoding><checksum>c1</checksum>"
        "<signature>c2ln</signature></data>";
    std::string categories = "<category>net</category><category>disk</category>";
    std::string attributes = "<attribute><name>os</name><value>linux</value></attribute>";
    std::string certificate = "Y2VydA==";
    std::string inIds, inPolicy, inHeader;  ///< stands at the end of the element
    /// Of: policy ids container_id version_id name version description status owner files categories attributes
    /// policytype type/name certificate
    std::set<std::string> without;

    std::string Element(const std::string& key, const std::string& content) const {
        if (without.count(key)) return {};
        const std::string tag = key.substr(key.rfind('/') + 1);
        return "<" + tag + ">" + content + "</" + tag + ">\n";
    }
    std::string Text() const {
        const std::string ids = Element("container_id", id) + Element("version_id", versionId) + inIds;
        const std::string policy = Element("ids", ids) + Element("name", name) + Element("version", version) +
                                   Element("description", description) + Element("status", status) +
                                   Element("owner", owner) + Element("files", files) +
                                   Element("categories", categories) + Element("attributes", attributes) + inPolicy;
        const std::string type =
            Element("container_id", typeId) + Element("version", typeVersion) + Element("type/name", typeName);
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<header xmlns=\"" + nameSpace + "\">\n" +
               Element("policy", policy) + Element("policytype", type) + Element("certificate", certificate) +
               inHeader + "</header>\n";
    }
};

inline LumPalIo::InputStream_t StreamOf(const std::string& text) {
    return LumPalIo::CharArrayInputStream_t(LumPalArray::CharArray_t(text.data(), text.size()));
}

/// Reads from memory.
inline LumConf::PolicyHeader Parse(const std::string& text, unsigned long tolerance = 0) {
    LumConf::PolicyXmlHandler handler;
    handler.StartReading(tolerance);
    LumConf::PolicyXmlParser::Parse(StreamOf(text), handler);
    return LumConf::PolicyHeader(handler.TakeHeader().Get());
}

/// The document with the values of the source, as the store would get it.
inline std::string Rewrite(const std::string& text, const LumConf::PolicyHeader& source) {
    LumPalIo::CharArrayOutputStream_t out;
    const auto options = LumPalXml::XmlWriter_t::Options_t().Encoding(LumPalCodeset::Codeset_t("UTF-8")).Indent(0);
    LumConf::PolicyXmlHandler handler;
    handler.StartRewriting(LumPalXml::XmlWriter_t(out, options), source.GetImpl());
    LumConf::PolicyXmlParser::Parse(StreamOf(text), handler);
    return std::string(out.ToCharArray().View());
}

inline std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot open " + path.string());
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline std::string TestDocument(const std::string& name) {
    return ReadFile(std::filesystem::path(LUM_TEST_DATA) / "policies" / name);
}

inline void WriteFile(const std::filesystem::path& path, const std::string& content) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

inline std::filesystem::path StorePath() {
    return LumConf::paths::PolicyInstallDirectory().GetAbsolutePath().ToUtf8();
}

/// Puts a header document below the store, as <type>/<id>_header.xml.
inline std::filesystem::path PutInStore(const std::string& type, const std::string& id, const std::string& text) {
    const std::filesystem::path path = StorePath() / type / (id + "_header.xml");
    WriteFile(path, text);
    return path;
}
inline std::filesystem::path PutInStore(const Doc& doc) {
    return PutInStore(doc.typeName, doc.id, doc.Text());
}

/// What a call raised: the numbers of the messages, and the text with all details.
struct Failure {
    std::vector<unsigned> ids;
    std::vector<unsigned> detailIds;
    std::string text;
    unsigned Id() const { return ids.empty() ? 0 : ids.front(); }
    bool HasDetail(unsigned id) const {
        for (unsigned detail : detailIds) {
            if (detail == id) return true;
        }
        return false;
    }
    bool Says(std::string_view part) const { return text.find(part) != std::string::npos; }
};

inline void CollectDetails(const LumPalMsg::Message_t& message, Failure& failure) {
    const LumPalMsg::MessageList_t details = message.GetDetails();
    for (int i = 0; i < details.GetMessageCount(); ++i) {
        failure.detailIds.push_back(details.GetMessage(i).GetId());
        CollectDetails(details.GetMessage(i), failure);
    }
}

inline Failure Describe(const LumPalMsg::Exception_t& e) {
    Failure failure;
    const LumPalMsg::MessageList_t& messages = e.GetMessageList();
    for (int i = 0; i < messages.GetMessageCount(); ++i) {
        failure.ids.push_back(messages.GetMessage(i).GetId());
        CollectDetails(messages.GetMessage(i), failure);
    }
    failure.text = messages.Format(LumPalMsg::Text | LumPalMsg::Details).ToUtf8();
    return failure;
}

/// The failure of exactly the class E, or nothing when the call raises nothing; another class passes.
template <class E>
std::optional<Failure> Raised(const std::function<void()>& call) {
    try {
        call();
    } catch (const E& e) {
        if (typeid(e) != typeid(E)) throw;
        return Describe(e);
    }
    return std::nullopt;
}

/// The number of the failure of class E; 9999 when nothing was raised.
template <class E>
unsigned IdRaised(const std::function<void()>& call) {
    const std::optional<Failure> failure = Raised<E>(call);
    return failure ? failure->Id() : 9999;
}

/// The document in a file of a fresh folder.
class PolicyFile {
public:
    explicit PolicyFile(const std::string& text) : path(root.Native() + "/p_header.xml") { WriteFile(path, text); }
    LumPalIo::File_t File() const { return LumPalIo::File_t(LumPalStr::String_t::FromUtf8(path)); }
    LumConf::PolicyHeader Read(unsigned long tolerance = 0) const {
        return LumConf::PolicyHeader::Read(File(), tolerance);
    }
    /// The failure of reading; it must be a PolicyHeaderException.
    Failure ReadFailure(unsigned long tolerance = 0) const {
        const auto failure = Raised<LumConf::PolicyHeaderException>([&] { Read(tolerance); });
        if (!failure) throw std::logic_error("the document was read");
        return *failure;
    }

private:
    TempRoot root;
    std::string path;
};

}  // namespace policydocs
