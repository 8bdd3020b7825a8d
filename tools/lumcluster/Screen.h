/// @file
/// A terminal that is drawn anew again and again.
#pragma once

#include <string>

namespace lumcluster {

/// Takes the terminal's other screen as long as it lives, without a cursor and without wrapping lines; then all is as
/// it was before. For standard output that is a terminal. One at a time.
class Screen {
public:
    Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    ~Screen();
    /// In place of what was drawn before. Lines that find no room are counted in the last one.
    void Draw(const std::string& text) const;
};

/// As many of the lines as there is room for; a text of more ends in how many are missing.
std::string FirstLines(const std::string& text, int rows);

}  // namespace lumcluster
