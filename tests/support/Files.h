/// @file
/// Small helpers for files in tests; paths are native.
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "LumPalStr.h"

/// Makes a file with its folders.
inline void WriteText(const std::filesystem::path& path, const std::string& text = "x") {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string ReadText(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

/// The permission bits of a file itself, 0 when it is not there.
inline unsigned ModeOf(const std::filesystem::path& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

inline LumPalStr::String_t ToString(const std::filesystem::path& path) {
    return LumPalStr::String_t::FromUtf8(path.native());
}
