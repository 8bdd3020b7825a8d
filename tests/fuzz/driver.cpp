// Runs a fuzz target without a fuzzing compiler: every file of the corpus, each cut short at several places,
// then random changes of them until the time is over. The seed is printed, so that a failure can be repeated; the input
// that a target fails on stays beside the program, as "<program>.failed".
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Bytes = std::string;

std::string failedPath;
const Bytes* present = nullptr;

/// Keeps the present input, then lets the signal end the program.
void KeepFailed(int signal) {
    if (std::FILE* const file = present ? std::fopen(failedPath.c_str(), "wb") : nullptr) {
        std::fwrite(present->data(), 1, present->size(), file);
        std::fclose(file);
    }
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void RunOne(const Bytes& input) {
    present = &input;
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    present = nullptr;
}

std::vector<Bytes> ReadCorpus(const std::filesystem::path& folder) {
    std::vector<Bytes> corpus;
    if (std::filesystem::is_directory(folder)) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            std::ifstream file(entry.path(), std::ios::binary);
            corpus.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        }
    }
    corpus.emplace_back();
    return corpus;
}

Bytes Change(Bytes input, const std::vector<Bytes>& corpus, std::mt19937& random) {
    const auto below = [&random](std::size_t n) { return n == 0 ? 0 : random() % n; };
    for (std::size_t changes = 1 + below(4); changes > 0; --changes) {
        const std::size_t at = below(input.size() + 1);
        switch (below(5)) {
            case 0:
                input.insert(at, 1, static_cast<char>(random()));
                break;
            case 1:
                input.erase(at, 1 + below(8));
                break;
            case 2:
                if (at < input.size()) input[at] = static_cast<char>(random());
                break;
            case 3:
                input.resize(at);
                break;
            default: {
                const Bytes& other = corpus[below(corpus.size())];
                const std::size_t from = below(other.size() + 1);
                input.insert(at, other.substr(from, below(64)));
            }
        }
    }
    return input;
}

}  // namespace

int main(int argc, char** argv) {
    failedPath = std::string(argv[0]) + ".failed";
    for (const int signal : {SIGABRT, SIGSEGV, SIGFPE, SIGBUS}) std::signal(signal, KeepFailed);
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 1;
    const std::vector<Bytes> corpus = ReadCorpus(argc > 2 ? argv[2] : "");
    const unsigned seed = argc > 3 ? static_cast<unsigned>(std::strtoul(argv[3], nullptr, 10)) : std::random_device{}();
    std::printf("seed %u, %zu recorded inputs\n", seed, corpus.size() - 1);
    std::fflush(stdout);
    std::mt19937 random(seed);
    for (const Bytes& input : corpus) {
        RunOne(input);
        for (std::size_t cut = 0; cut < input.size(); cut += 1 + input.size() / 64) RunOne(input.substr(0, cut));
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    std::size_t runs = 0;
    for (; std::chrono::steady_clock::now() < end; ++runs)
        RunOne(Change(corpus[random() % corpus.size()], corpus, random));
    std::printf("%zu changed inputs\n", runs);
}
