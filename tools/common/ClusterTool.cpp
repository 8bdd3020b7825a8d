#include "ClusterTool.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>

#include "ExitCode.h"
#include "LumConfCluster/ClusterCliHandler.h"
#include "LumConfCluster/ClusterUtil.h"
#include "LumPalRuntime.h"
#include "Nearest.h"
#include "Outcome.h"
#include "ProgramName.h"
#include "StandardOutput.h"
#include "Table.h"
#include "Utf8Arguments.h"

namespace lumtools {

using LumConfCluster::ClusterCliHandler;

namespace {

constexpr int kLongestSeconds = 86400;
constexpr char kTimeout[] = "-timeout";

/// Takes "-timeout SECONDS" away, which stand before all else: how many arguments follow has a meaning.
/// @return what is wrong with it, or empty
std::string TakeTimeout(int& argc, char** argv) {
    if (argc < 2 || std::strcmp(argv[1], kTimeout) != 0) return "";
    const std::string text = argc > 2 ? argv[2] : "";
    int seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    const bool isNumber = !text.empty() && error == std::errc() && end == text.data() + text.size();
    if (!isNumber || seconds < 1 || seconds > kLongestSeconds)
        return std::string(kTimeout) + " needs a number of seconds from 1 to " + std::to_string(kLongestSeconds);
    LumConfCluster::ClusterUtil::SetToolTimeout(seconds, kTimeout);
    std::rotate(argv + 1, argv + 3, argv + argc + 1);  // with the null behind the last one
    argc -= 2;
    return "";
}

std::vector<std::string> OptionsOf(const std::string& tool) {
    using Cli = ClusterCliHandler::eCli;
    std::vector<std::string> words;
    for (const auto& option :
         ClusterCliHandler::GetOptions(tool == "lumclusterinfo" ? Cli::ClusterInfo : Cli::AppInstance))
        words.push_back(option.ToUtf8());
    return words;
}

/// The option that was probably meant by the first word that is not one of them.
std::string Meant(const std::string& refusal, const std::vector<std::string>& arguments,
                  const std::vector<std::string>& options) {
    for (const std::string& word : arguments) {
        const std::string meant = NearestOf(word, options);
        const bool isRefused = refusal.find("'" + Printable(word) + "'") != refusal.npos;
        if (isRefused && !meant.empty() && meant != word) return "Did you mean '" + meant + "'? ";
    }
    return "";
}

/// Below the sentence, which stays as scripts know it.
void AddHint(const std::string& tool, const std::vector<std::string>& arguments, Outcome& outcome) {
    if (outcome.code != kWrongUsage || outcome.messages.empty()) return;
    const std::string meant = Meant(outcome.messages.front().text, arguments, OptionsOf(tool));
    outcome.messages.push_back({1, meant + "'" + tool + " -help' tells how it is called."});
}

int Process(const std::string& tool, const std::vector<std::string>& arguments) {
    int code = kFailed;
    Outcome outcome = Attempt([&code] { code = ClusterCliHandler().Process(); });
    if (outcome.code == kDone) return code;
    AddHint(tool, arguments, outcome);
    PrintFailure(std::cerr, "", outcome);
    return kFailed;
}

}  // namespace

int RunClusterTool(const char* name, int argc, char** argv) {
    SetProgramName(name);
    OccupyStandardStreams();
    if (!AreArgumentsUtf8(name, argc, argv)) return kWrongUsage;
    if (const std::string wrong = TakeTimeout(argc, argv); !wrong.empty()) {
        PrintFailure(std::cerr, "", {kWrongUsage, {{0, wrong}}});
        return kWrongUsage;
    }
    LumPalRuntime::App_t::Init(argc, argv);
    const int code = Process(name, {argv + 1, argv + argc});
    if (code == ClusterCliHandler::VersionWanted) std::printf("%s %s\n", name, LUM_VERSION);
    if (!WasOutputClosed() && std::fflush(stdout) == 0 && !std::ferror(stdout)) return code;
    std::cerr << name << ": standard output cannot be written\n";
    return kFailed;
}

}  // namespace lumtools
