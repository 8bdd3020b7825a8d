#include "ChildServer.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "RawHttp.h"

namespace bench {
namespace {

[[noreturn]] void Become(const std::vector<std::string>& words, const std::map<std::string, std::string>& environment,
                         const std::string& log) {
    const int input = open("/dev/null", O_RDONLY), output = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    dup2(input, 0);
    dup2(output, 1);
    dup2(output, 2);
    for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
    std::vector<char*> arguments;
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

bool Listens(unsigned port) try {
    const RawSocket socket(port);
    return true;
} catch (const std::runtime_error&) {
    return false;
}

void WaitFor(unsigned port, const std::string& log) {
    for (int i = 0; i < 3000; ++i) {
        if (Listens(port)) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    throw std::runtime_error("nobody listens on the port; see " + log);
}

}  // namespace

unsigned FreePort() {
    const int probe = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    const bool bound = bind(probe, reinterpret_cast<const sockaddr*>(&address), length) == 0 &&
                       getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length) == 0;
    close(probe);
    if (!bound) throw std::runtime_error("there is no free port");
    return ntohs(address.sin_port);
}

ChildServer::ChildServer(const std::vector<std::string>& words, const std::map<std::string, std::string>& environment,
                         const std::string& log, unsigned port)
    : process(fork()) {
    if (process == 0) Become(words, environment, log);
    if (process < 0) throw std::runtime_error("no process can be made");
    try {
        WaitFor(port, log);
    } catch (...) {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
        throw;
    }
}

ChildServer::~ChildServer() {
    kill(process, SIGTERM);
    waitpid(process, nullptr, 0);
}

}  // namespace bench
