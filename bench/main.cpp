// Runs the benchmarks and prints their table.
#include <cstring>
#include <iostream>
#include <vector>

#include "Benchmarks.h"
#include "ClusterBox.h"
#include "LumPalRuntime.h"
#include "ToldProcess.h"

namespace {

struct Benchmark {
    const char* name;
    void (*measure)(bench::Session& session);
};

// In this order: the first ones want a process that nothing was done in yet, the last ones share a node. Of these
// "told" comes first: it notifies, and the others leave notifications that nobody listens to.
constexpr Benchmark kBenchmarks[] = {
    {"read", bench::MeasureRead},         {"load", bench::MeasureLoad},         {"select", bench::MeasureSelect},
    {"entries", bench::MeasureEntries},   {"settings", bench::MeasureSettings}, {"proof", bench::MeasureProof},
    {"cluster", bench::MeasureCluster},   {"monitor", bench::MeasureMonitor},   {"tls", bench::MeasureTls},
    {"told", bench::MeasureSettingsWire}, {"crowd", bench::MeasureCrowd},       {"strangers", bench::MeasureStrangers},
    {"install", bench::MeasureInstall},   {"list", bench::MeasureList},         {"change", bench::MeasureChange}};

struct Choice {
    bool quick = false, strict = false;
    std::vector<std::string> names;
};

bool IsKnown(const std::string& name) {
    for (const Benchmark& benchmark : kBenchmarks) {
        if (name == benchmark.name) return true;
    }
    return false;
}

bool IsChosen(const Choice& choice, const char* name) {
    for (const std::string& chosen : choice.names) {
        if (chosen == name) return true;
    }
    return choice.names.empty();
}

/// False for an argument that means nothing.
bool ReadArguments(int argc, char** argv, Choice& choice) {
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--quick")) {
            choice.quick = true;
        } else if (!std::strcmp(argv[i], "--strict")) {
            choice.strict = true;
        } else if (IsKnown(argv[i])) {
            choice.names.push_back(argv[i]);
        } else {
            return false;
        }
    }
    return true;
}

int Usage() {
    std::cerr << "usage: lumbench [--quick] [--strict] [NAME...]\n  --quick   tiny counts: shows that everything runs\n"
                 "  --strict  exit code 1 when a goal is missed\n  NAME      of:";
    for (const Benchmark& benchmark : kBenchmarks) std::cerr << " " << benchmark.name;
    std::cerr << " (default: all)\n";
    return 2;
}

}  // namespace

int main(int argc, char** argv) try {
    LumPalRuntime::App_t::Init(argc, argv);
    if (argc == 2 && !std::strcmp(argv[1], "--listen")) return bench::ToldProcess::Listen();
    if (argc == 6 && !std::strcmp(argv[1], "--in-cluster")) return bench::RunInCluster(argv + 2);
    Choice choice;
    if (!ReadArguments(argc, argv, choice)) return Usage();
    bench::Session session(choice.quick);
    for (const Benchmark& benchmark : kBenchmarks) {
        if (!IsChosen(choice, benchmark.name)) continue;
        std::cerr << "measuring " << benchmark.name << " ..." << std::endl;
        benchmark.measure(session);
    }
    session.Print(std::cout);
    return choice.strict && !session.AreGoalsMet() ? 1 : 0;
} catch (const std::exception& e) {
    std::cerr << "lumbench: " << e.what() << "\n";
    return 3;
}
