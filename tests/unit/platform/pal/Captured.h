/// @file
/// What is written to standard error while it lives.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

/// Takes the descriptor of standard error to a file below the folder, and puts it back at the end.
class CapturedError {
public:
    explicit CapturedError(const std::string& folder) : path(folder + "/stderr"), before(dup(STDERR_FILENO)) {
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
        dup2(file, STDERR_FILENO);
        close(file);
    }
    CapturedError(const CapturedError&) = delete;
    CapturedError& operator=(const CapturedError&) = delete;
    ~CapturedError() {
        dup2(before, STDERR_FILENO);
        close(before);
    }
    std::string Text() const {
        std::ifstream in(path);
        return (std::ostringstream() << in.rdbuf()).str();
    }

private:
    const std::string path;
    const int before;
};
