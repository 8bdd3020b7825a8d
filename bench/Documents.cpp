#include "Documents.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace bench {
namespace {

constexpr int kTypes = 10;

std::string Digits(int number, std::size_t width) {
    const std::string digits = std::to_string(number);
    return std::string(width - digits.size(), '0') + digits;
}

std::string Tag(const std::string& tag, const std::string& text, int blanks) {
    return std::string(static_cast<std::size_t>(blanks), ' ') + "<" + tag + ">" + text + "</" + tag + ">\n";
}

std::string Group(const std::string& tag, const std::string& inside, int blanks) {
    return Tag(tag, "\n" + inside + std::string(static_cast<std::size_t>(blanks), ' '), blanks);
}

std::string Ids(int number) {
    return Tag("container_id", PolicyId(number), 3) +
           Tag("version_id", "a0d3b1f2-77c4-4f0a-8a55-" + Digits(number, 12), 3);
}

std::string Files(int number, int count) {
    std::string files;
    for (int i = 0; i < count; ++i) {
        files += Tag("file_name", DataFileName(number, i), 4) + Tag("encoding", "text/plain", 4) +
                 Tag("checksum", "d41d8cd98f00b204e9800998ecf8427e" + Digits(i, 8), 4) +
                 Tag("signature", std::string(344, 'A'), 4);
    }
    return Group("files", Group("data", files, 3), 2);
}

std::string Categories(int count) {
    std::string all;
    for (int i = 0; i < count; ++i) all += Tag("category", "production-" + std::to_string(i), 3);
    return Group("categories", all, 2);
}

std::string Attributes(int number, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += Group("attribute",
                     Tag("name", "schedule-" + std::to_string(i), 4) + Tag("value", std::to_string(number % 7), 4), 3);
    }
    return Group("attributes", all, 2);
}

std::string Policy(int number, const DocumentSize& size) {
    return Group("ids", Ids(number), 2) + Tag("name", "disk-usage-of-server-" + std::to_string(number), 2) +
           Tag("version", "01.02", 2) +
           Tag("description", "Checks the file systems of the server and warns when too little is free on one.", 2) +
           Tag("status", "enabled", 2) + Tag("owner", "storage-team-" + std::to_string(number % 10), 2) +
           Files(number, size.dataFiles) + Categories(size.categories) + Attributes(number, size.attributes);
}

std::string Type(int number) {
    const int type = number % kTypes;
    return Tag("container_id", "5e0a9c1d-0a52-4a53-9a70-" + Digits(type, 12), 2) + Tag("version", "01.00", 2) +
           Tag("name", "type" + std::to_string(type), 2);
}

}  // namespace

std::string PolicyId(int number) {
    return "7c1f6a52-2d0e-4b39-9d77-" + Digits(number, 12);
}

std::string DataFileName(int number, int file) {
    return "disk-usage-" + std::to_string(number) + "-" + std::to_string(file) + ".rules";
}

std::string Document(int number, const DocumentSize& size) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<header xmlns=\"http://lum.tessel.com/xmlns/conf/2003/04\">\n" +
           Group("policy", Policy(number, size), 1) + Group("policytype", Type(number), 1) +
           Tag("certificate", std::string(size.certificateBytes, 'Q'), 1) + "</header>\n";
}

void WriteFile(const std::string& path, const std::string& content) {
    std::ofstream file(path, std::ios::binary);
    file << content;
    file.close();
    if (!file) throw std::runtime_error("cannot write " + path);
}

std::size_t FillStore(const std::string& root, int policies) {
    std::size_t bytes = 0;
    for (int i = 0; i < policies; ++i) {
        const std::string folder = root + "/policies/type" + std::to_string(i % kTypes);
        if (i < kTypes) std::filesystem::create_directories(folder);
        const std::string document = Document(i, kSmall);
        WriteFile(folder + "/" + PolicyId(i) + "_header.xml", document);
        bytes += document.size();
    }
    return bytes;
}

}  // namespace bench
