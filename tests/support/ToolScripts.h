/// @file
/// A cluster product's tools as small scripts that a test writes.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "Files.h"

/// A folder of tools. Each call answers what was told for its words, which stand in the names of files: what it prints,
/// and the code that it ends with. A call for which nothing was told prints nothing and ends with 9. Each is logged.
class ToolScripts {
public:
    /// @param folder  where the tools go
    /// @param notes   where answers and the log go
    ToolScripts(std::filesystem::path folder, std::filesystem::path notes, const std::vector<std::string>& tools)
        : notes(std::move(notes)) {
        std::filesystem::create_directories(this->notes);
        for (const std::string& tool : tools) Write(folder / tool);
    }
    /// @param call  the tool and its words, as "hasys -state north"
    void Answer(const std::string& call, const std::string& output, int code = 0) {
        WriteText(notes / call, output);
        std::filesystem::remove(notes / (call + ".code"));
        if (code != 0) WriteText(notes / (call + ".code"), std::to_string(code) + "\n");
    }
    /// What the next call prints, and ends with 0; from then on it answers as before.
    void AnswerOnce(const std::string& call, const std::string& output) { WriteText(notes / (call + ".once"), output); }
    /// What the call writes to its error stream besides.
    void Say(const std::string& call, const std::string& errors) { WriteText(notes / (call + ".said"), errors); }
    void Forget(const std::string& call) { std::filesystem::remove(notes / call); }
    /// Lets the n-th call from now on, the first one is 1, end with 7 and print nothing; 0: none.
    void FailAt(std::size_t number) {
        WriteText(notes / "fail", std::to_string(number == 0 ? 0 : Calls().size() + number) + "\n");
    }
    /// What was run so far, as the calls are told.
    std::vector<std::string> Calls() const {
        std::vector<std::string> calls;
        std::ifstream in(notes / "log");
        for (std::string line; std::getline(in, line);) calls.push_back(line);
        return calls;
    }
    std::size_t Count(const std::string& call) const {
        const std::vector<std::string> calls = Calls();
        return static_cast<std::size_t>(std::count(calls.begin(), calls.end(), call));
    }
    void ForgetCalls() { std::filesystem::remove(notes / "log"); }

private:
    void Write(const std::filesystem::path& path) const {
        const std::string in = "'" + notes.native() + "'/";
        WriteText(path,
                  "#!/bin/sh\n"
                  "call=${0##*/}${*:+ $*}\n"
                  "printf '%s\\n' \"$call\" >>" +
                      in +
                      "log\n"
                      "if [ -f " +
                      in +
                      "fail ]; then\n"
                      "  read fail <" +
                      in +
                      "fail\n"
                      "  [ \"$(wc -l <" +
                      in +
                      "log)\" = \"$fail\" ] && exit 7\n"
                      "fi\n"
                      "[ ! -f " +
                      in + "\"$call.said\" ] || cat " + in +
                      "\"$call.said\" >&2\n"
                      "if [ -f " +
                      in + "\"$call.once\" ]; then mv " + in + "\"$call.once\" " + in + "\"$call.now\" && exec cat " +
                      in +
                      "\"$call.now\"; fi\n"
                      "[ -f " +
                      in +
                      "\"$call\" ] || exit 9\n"
                      "[ -f " +
                      in + "\"$call.code\" ] || exec cat " + in +
                      "\"$call\"\n"
                      "cat " +
                      in +
                      "\"$call\"\n"
                      "read code <" +
                      in +
                      "\"$call.code\"\n"
                      "exit $code\n");
        std::filesystem::permissions(path, std::filesystem::perms(0755));
    }

    const std::filesystem::path notes;
};
