#include "FileWork.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string_view>

namespace bench {
namespace {

void Demand(bool done, const std::string& what) {
    if (!done) throw std::runtime_error("cannot " + what);
}

void WriteAndClose(int file, std::string_view bytes, bool flush) {
    Demand(file >= 0, "make a file");
    const bool whole = write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    Demand(whole && (!flush || fsync(file) == 0) && close(file) == 0, "write a file");
}

int Make(const std::string& path) {
    return open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0640);
}

void TakePlace(const std::string& from, const std::string& to) {
    Demand(std::rename(from.c_str(), to.c_str()) == 0 && chmod(to.c_str(), 0440) == 0, "move to " + to);
}

}  // namespace

FileWork::FileWork(const std::string& folder)
    : incoming(folder + "/incoming"), aside(folder + "/aside"), store(folder + "/store/type") {
    for (const std::string& path : {incoming, aside, store}) std::filesystem::create_directories(path);
    log = open((folder + "/log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    Demand(log >= 0, "make a log");
}

FileWork::~FileWork() {
    close(log);
}

void FileWork::Run(const LumPalArray::CharArray_t& bytes, std::size_t headerBytes) {
    const std::string_view header = bytes.View().substr(0, headerBytes), data = bytes.View().substr(headerBytes);
    const std::string name = std::to_string(runs++), headerName = "/header" + name, dataName = "/data" + name;
    WriteAndClose(Make(incoming + headerName), header, false);
    WriteAndClose(Make(incoming + dataName), data, true);
    std::string document = aside + "/XXXXXX";
    WriteAndClose(mkstemp(document.data()), header, true);
    Demand(unlink((incoming + headerName).c_str()) == 0, "remove the incoming header");
    TakePlace(document, store + headerName);
    TakePlace(incoming + dataName, store + dataName);
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
    const int folder = open(std::filesystem::path(path).parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    Demand(folder >= 0 && fsync(folder) == 0 && close(folder) == 0, "flush a folder");
    WriteLog();
}

void FileWork::WriteLog() const {
    const std::string line(150, '-');
    Demand(write(log, line.data(), line.size()) == static_cast<ssize_t>(line.size()), "write the log");
}

}  // namespace bench
