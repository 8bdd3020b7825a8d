// LumPalConsole.h: the terminal and the journal.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <string>

#include "LumPalConsole.h"

namespace LumPalConsole {

namespace {

constexpr int kUsual = 80, kLeast = 1, kMost = 1000;
constexpr int kUsualRows = 24, kLeastRows = 2;

int Descriptor(Stream stream) {
    return stream == Stream::Output ? STDOUT_FILENO : STDERR_FILENO;
}

int ColumnsSaid(int descriptor) {
    winsize size{};
    if (ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    const char* columns = std::getenv("COLUMNS");
    return columns ? std::atoi(columns) : 0;
}

int RowsSaid(int descriptor) {
    winsize size{};
    if (ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_row > 0) return size.ws_row;
    const char* rows = std::getenv("LINES");
    return rows ? std::atoi(rows) : 0;
}

/// The variable may have come from another process, whose standard error was the journal's.
bool IsJournal() {
    const char* const said = std::getenv("JOURNAL_STREAM");
    struct stat status {};
    if (!said || fstat(STDERR_FILENO, &status) != 0) return false;
    return said == std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

sigset_t SuspensionSignal() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTSTP);
    return set;
}

}  // namespace

bool IsTerminal(Stream stream) {
    return isatty(Descriptor(stream)) == 1;
}

int Columns(Stream stream) {
    if (!IsTerminal(stream)) return 0;
    const int said = ColumnsSaid(Descriptor(stream));
    return said > 0 ? std::clamp(said, kLeast, kMost) : kUsual;
}

int Rows(Stream stream) {
    if (!IsTerminal(stream)) return 0;
    const int said = RowsSaid(Descriptor(stream));
    return said > 0 ? std::clamp(said, kLeastRows, kMost) : kUsualRows;
}

std::string_view JournalMark(Priority priority) noexcept try {
    static const bool isJournal = IsJournal();
    if (!isJournal) return {};
    return priority == Priority::Error ? "<3>" : priority == Priority::Warning ? "<4>" : "<6>";
} catch (const std::exception&) {
    return {};  // no memory: the line counts
}

void OccupyStandardStreams() {
    for (int descriptor = 0; descriptor >= 0 && descriptor <= STDERR_FILENO;) {
        descriptor = open("/dev/null", O_RDWR);  // the lowest number that is free
        if (descriptor > STDERR_FILENO) close(descriptor);
    }
}

void OutliveReaders() {
    std::signal(SIGPIPE, SIG_IGN);
}

Suspensions_t::Suspensions_t() {
    const sigset_t set = SuspensionSignal();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

void Suspensions_t::Wait() const {
    const sigset_t set = SuspensionSignal();
    int signal = 0;
    while (sigwait(&set, &signal) != 0) {
    }
}

void Suspensions_t::Suspend() const {
    const sigset_t set = SuspensionSignal();
    raise(SIGTSTP);  // to this thread, which is where the block ends
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

}  // namespace LumPalConsole
