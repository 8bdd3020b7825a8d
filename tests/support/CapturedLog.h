/// @file
/// What the application log says during a test.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "LumPalLog.h"
#include "LumPalStr.h"

/// Lets the application log write to a file too, from now to the end of this object.
class CapturedLog {
public:
    /// @param folder  native; where the file may be made
    explicit CapturedLog(const std::string& folder) : path(folder + "/captured.log") {
        LumPalLog::SetApplicationLogFile(LumPalStr::String_t::FromUtf8(path));
    }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;
    ~CapturedLog() { LumPalLog::SetApplicationLogFile(LumPalStr::String_t()); }

    /// All lines so far.
    std::string Text() const {
        std::ifstream in(path);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }
    bool Holds(const std::string& words) const { return Text().find(words) != std::string::npos; }

private:
    const std::string path;
};
