#include "FileWork.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace bench {
namespace {

void Demand(bool done, const std::string& what) {
    if (!done) throw std::runtime_error("cannot " + what);
}

void WriteAndClose(int file, std::string_view bytes, bool flush, mode_t mode = 0440) {
    Demand(file >= 0, "make a file");
    const bool whole =
        write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()) && fchmod(file, mode) == 0;
    Demand(whole && (!flush || fsync(file) == 0) && close(file) == 0, "write a file");
}

int Make(const std::string& path) {
    return open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0640);
}

void TakePlace(const std::string& from, const std::string& to) {
    Demand(std::rename(from.c_str(), to.c_str()) == 0, "move to " + to);
}

/// @param flush  fsync or syncfs
void FlushFolder(const std::string& path, int (*flush)(int) = fsync) {
    const int folder = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    Demand(folder >= 0 && flush(folder) == 0 && close(folder) == 0, "flush a folder");
}

}  // namespace

FileWork::FileWork(const std::string& folder)
    : base(folder), incoming(folder + "/incoming"), aside(folder + "/aside"), store(folder + "/store/type") {
    for (const std::string& path : {incoming, aside, store}) std::filesystem::create_directories(path);
    log = open((folder + "/log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    Demand(log >= 0, "make a log");
}

FileWork::~FileWork() {
    close(log);
}

void FileWork::Record(const std::string& text) const {
    WriteAndClose(Make(base + "/record.tmp"), text, true);
    TakePlace(base + "/record.tmp", base + "/record");
    FlushFolder(base);
}

void FileWork::Run(const LumPalArray::CharArray_t& bytes, std::size_t headerBytes, std::size_t dataFiles) {
    const std::string_view header = bytes.View().substr(0, headerBytes), data = bytes.View().substr(headerBytes);
    const std::string name = std::to_string(runs++), headerName = "/header" + name;
    std::vector<std::string> names;
    for (std::size_t i = 0; i < dataFiles; ++i) names.push_back("/data" + name + "." + std::to_string(i));
    const bool many = dataFiles > 8;
    WriteAndClose(Make(incoming + headerName), header, false);
    const std::size_t each = data.size() / dataFiles;
    for (std::size_t i = 0; i < dataFiles; ++i) {
        WriteAndClose(Make(incoming + names[i]), data.substr(i * each, i + 1 < dataFiles ? each : data.npos), !many);
    }
    std::string document = aside + "/XXXXXX";
    WriteAndClose(mkstemp(document.data()), header, true);
    FlushFolder(incoming, many ? syncfs : fsync);
    FlushFolder(aside);
    std::string record = headerName;
    for (const std::string& file : names) record += file + '\n';
    Record(record);
    Demand(unlink((incoming + headerName).c_str()) == 0, "remove the incoming header");
    TakePlace(document, store + headerName);
    for (const std::string& file : names) TakePlace(incoming + file, store + file);
    FlushFolder(store);
    Demand(unlink((base + "/record").c_str()) == 0, "remove the record");
    FlushFolder(base);
    WriteLog();
}

void FileWork::Rewrite(const std::string& path) {
    std::string bytes(std::filesystem::file_size(path), ' ');
    const int old = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const ssize_t length = old < 0 ? -1 : read(old, bytes.data(), bytes.size());
    Demand(length >= 0 && close(old) == 0, "read " + path);
    std::string document = aside + "/XXXXXX";
    WriteAndClose(mkstemp(document.data()), std::string_view(bytes).substr(0, static_cast<std::size_t>(length)), true);
    TakePlace(document, path);
    FlushFolder(std::filesystem::path(path).parent_path());
    WriteLog();
}

void FileWork::WriteLog() const {
    const std::string line(150, '-');
    Demand(write(log, line.data(), line.size()) == static_cast<ssize_t>(line.size()), "write the log");
}

}  // namespace bench
