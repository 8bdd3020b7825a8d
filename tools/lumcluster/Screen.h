/// @file
/// A terminal that is drawn anew again and again.
#pragma once

#include <functional>
#include <string>

#include "LumPalPlainMutex.h"

namespace lumcluster {

/// From its first drawing until it is closed it takes the terminal's other screen, without a cursor and without
/// wrapping lines; then all is as it was before. For standard output that is a terminal. One at a time; any thread.
class Screen {
public:
    Screen() = default;
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    ~Screen() { Close(); }
    /// In place of what was drawn before. Lines that find no room are counted in the last one.
    void Draw(const std::string& text);
    /// Gives the terminal back for as long as something takes; then what was drawn last stands there again.
    void Leave(const std::function<void()>& meanwhile);
    /// What is drawn from now on is not shown.
    void Close();

private:
    void Show() LUMPAL_REQUIRES(mutex);

    LumPalThread::PlainMutex_t mutex;
    bool isClosed LUMPAL_GUARDED_BY(mutex) = false;
    std::string last LUMPAL_GUARDED_BY(mutex);  ///< empty before the first drawing
};

/// As many of the lines as there is room for; a text of more ends in how many are missing.
std::string FirstLines(const std::string& text, int rows);

}  // namespace lumcluster
