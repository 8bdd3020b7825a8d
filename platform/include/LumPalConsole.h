/// @file
/// The terminal that a tool writes to, or the journal that takes what a daemon says.
#pragma once

#include <string_view>

#include "LumPalExport.h"

namespace LumPalConsole {

enum class Stream { Output, Error };

/// Whether the stream goes to a terminal. Any thread.
LUMPAL_API bool IsTerminal(Stream stream);

/// Columns of the terminal that the stream goes to: what the terminal says, else the environment's COLUMNS, else 80;
/// at least 1. 0 when the stream goes to no terminal. Any thread.
LUMPAL_API int Columns(Stream stream);

/// Lines of that terminal: what it says, else the environment's LINES, else 24; at least 2. 0 when the stream goes to
/// no terminal. Any thread.
LUMPAL_API int Rows(Stream stream);

/// Columns that a code point takes on a terminal: 2 where East Asian texts set it wide (UAX #11), as emoji; 0 for marks
/// that stand on what is before them and for format characters that are not seen; else 1. Any thread.
LUMPAL_API int ColumnsOf(char32_t point) noexcept;

/// How urgent a line is, by the numbers of syslog(3).
enum class Priority { Error = 3, Warning = 4, Info = 6 };

/// What stands before a line of standard error: "<3>" and so on where that goes to the journal itself (as the service
/// manager says in JOURNAL_STREAM), which keeps the time and the priority of each line; empty elsewhere. Any thread.
LUMPAL_API std::string_view JournalMark(Priority priority) noexcept;

/// Gives those of the three standard streams that the process was started without the null device: else the next file
/// or connection would get the stream's number, and what is printed. To be called first of all.
LUMPAL_API void OccupyStandardStreams();

/// From now on a write to a pipe whose reader has gone fails, and does not end the process.
LUMPAL_API void OutliveReaders();

/// Takes SIGTSTP, by which a terminal suspends its programs (Ctrl-Z), out of its default way, for a program that has
/// something to put right before. To be made by main before other threads run; one per process.
class LUMPAL_API Suspensions_t {
public:
    Suspensions_t();
    /// Blocks until the process is to be suspended.
    void Wait() const;
    /// Suspends the process. Returns when it is continued; at once where nobody could continue it, or where the program
    /// was started to ignore the signal.
    void Suspend() const;
};

}  // namespace LumPalConsole
