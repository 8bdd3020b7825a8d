/// @file
/// Another process on the node that is told of changed settings.
#pragma once

#include <cstdio>
#include <fstream>
#include <string>

namespace bench {

/// Where the listening process looks for marks.
inline constexpr char kMarkNamespace[] = "bench.told";
inline constexpr char kMarkName[] = "mark";

/// This program once more, registered for kMarkNamespace at a root; it ends with the object.
class ToldProcess {
public:
    /// Returns when the process has registered. @param root  with a separator at its end
    explicit ToldProcess(const std::string& root);
    ToldProcess(const ToldProcess&) = delete;
    ToldProcess& operator=(const ToldProcess&) = delete;
    ~ToldProcess();

    /// Waits until it has been told that kMarkName has this value. @throws std::runtime_error when it ends before
    void WaitFor(const std::string& mark);

    /// The main function of that process: prints each value that it is told, until its input ends.
    static int Listen();

private:
    std::FILE* input;
    std::ifstream marks;
};

}  // namespace bench
