#include "ToldProcess.h"

#include <sys/stat.h>

#include <filesystem>
#include <iostream>
#include <stdexcept>

#include "LumPalConfig.h"

namespace bench {
namespace {

constexpr char kReady[] = "ready";

struct Printer : LumPalConfig::ConfigChangeHandler_i {
    void Update(const LumPalConfig::ChangedConfiguration_t&, const LumPalConfig::Configuration_t& now) override {
        std::cout << now.GetValue(kMarkName) << std::endl;
    }
};

}  // namespace

ToldProcess::ToldProcess(const std::string& root) {
    const std::string pipe = root + "marks", program = std::filesystem::read_symlink("/proc/self/exe");
    if (mkfifo(pipe.c_str(), 0600) != 0) throw std::runtime_error("cannot make " + pipe);
    const std::string command = "LUM_ROOT='" + root + "' exec '" + program + "' --listen > '" + pipe + "'";
    input = popen(command.c_str(), "we");
    if (!input) throw std::runtime_error("cannot start a process");
    marks.open(pipe);
    std::filesystem::remove(pipe);
    WaitFor(kReady);
}

ToldProcess::~ToldProcess() {
    pclose(input);
}

void ToldProcess::WaitFor(const std::string& mark) {
    for (std::string line; line != mark;) {
        if (!std::getline(marks, line)) throw std::runtime_error("the process that is told has ended");
    }
}

int ToldProcess::Listen() {
    Printer printer;
    const LumPalConfig::ConfigNamespace_t nameSpace(kMarkNamespace);
    nameSpace.Register(printer);
    std::cout << kReady << std::endl;
    std::cin.ignore(1);
    nameSpace.Unregister(printer);
    return 0;
}

}  // namespace bench
