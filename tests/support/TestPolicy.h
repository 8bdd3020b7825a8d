/// @file
/// Policies made up by tests: as a document, as files on disk, and in the form in which they travel.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "LumPalArray.h"
#include "LumPalIo.h"
#include "LumPalStr.h"

/// One policy; every field may be changed before it is written. Texts are UTF-8 and stand in the document as they are.
struct TestPolicy {
    std::string id = "p1";
    std::string name = "Backup";
    std::string type = "files";
    std::string version = "1";
    std::string description = "made by a test";
    std::string owner;
    std::string status = "enabled";
    std::vector<std::string> categories;
    std::vector<std::pair<std::string, std::string>> attributes;
    /// Name and content of each data file.
    std::vector<std::pair<std::string, std::string>> data;
    /// Replaces the whole document if not empty.
    std::string document;
    /// Names the document, in place of `id` + "_header.xml", if not empty.
    std::string headerName;

    std::string HeaderName() const { return headerName.empty() ? id + "_header.xml" : headerName; }

    std::string Document() const {
        if (!document.empty()) return document;
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
               "<header xmlns=\"http://lum.tessel.com/xmlns/conf/2003/04\"><policy>" +
               Tag("ids", Tag("container_id", id)) + Tag("name", name) + Tag("version", version) +
               Tag("description", description) + Tag("status", status) + Tag("owner", owner) + Files() + Categories() +
               Attributes() + "</policy>" +
               Tag("policytype", Tag("container_id", "t-" + type) + Tag("version", "1") + Tag("name", type)) +
               Tag("certificate", "") + "</header>\n";
    }

    /// Writes header and data files into a folder. @return the header file
    LumPalIo::File_t WriteFiles(const std::string& folder) const {
        std::filesystem::create_directories(folder);
        for (const auto& [file, content] : data) std::ofstream(folder + "/" + file, std::ios::binary) << content;
        std::ofstream(folder + "/" + HeaderName(), std::ios::binary) << Document();
        return LumPalIo::File_t(LumPalStr::String_t::FromUtf8(folder + "/" + HeaderName()));
    }

    static void WriteEntry(LumPalIo::DataOutputStream_t& out, const std::string& name, const std::string& content) {
        out.WriteUTF16String(LumPalStr::String_t::FromUtf8(name));
        out.WriteInt32(static_cast<std::int32_t>(content.size()));
        out.Write(content.data(), content.size());
    }

    void WriteArray(LumPalIo::DataOutputStream_t& out) const {
        out.WriteInt32(static_cast<std::int32_t>(data.size()) + 1);
        WriteEntry(out, HeaderName(), Document());
        for (const auto& [file, content] : data) WriteEntry(out, file, content);
    }

    /// The policy array.
    LumPalArray::CharArray_t Array() const {
        LumPalIo::CharArrayOutputStream_t bytes;
        LumPalIo::DataOutputStream_t out(bytes);
        WriteArray(out);
        return bytes.ToCharArray();
    }

private:
    static std::string Tag(const std::string& tag, const std::string& content) {
        return "<" + tag + ">" + content + "</" + tag + ">";
    }
    std::string Files() const {
        if (data.empty()) return "";
        std::string files;
        for (const auto& [file, content] : data) {
            files +=
                Tag("file_name", file) + Tag("encoding", "text/plain") + Tag("checksum", "") + Tag("signature", "");
        }
        return Tag("files", Tag("data", files));
    }
    std::string Categories() const {
        std::string all;
        for (const std::string& category : categories) all += Tag("category", category);
        return Tag("categories", all);
    }
    std::string Attributes() const {
        std::string all;
        for (const auto& [key, value] : attributes) all += Tag("attribute", Tag("name", key) + Tag("value", value));
        return Tag("attributes", all);
    }
};

/// The package of some policies.
inline LumPalArray::CharArray_t PackageOf(const std::vector<TestPolicy>& policies) {
    LumPalIo::CharArrayOutputStream_t bytes;
    LumPalIo::DataOutputStream_t out(bytes);
    out.WriteInt32(static_cast<std::int32_t>(policies.size()));
    for (const TestPolicy& policy : policies) policy.WriteArray(out);
    return bytes.ToCharArray();
}
