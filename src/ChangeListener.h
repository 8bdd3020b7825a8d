/// @file
/// Who wants to know that the installed policies may have changed.
#pragma once

#include <functional>

namespace LumConf {

/// One for the process; an empty function takes it away. Waits for calls of the old one: not to be used within one.
void SetChangeListener(std::function<void()> listener);
/// Calls the listener, if there is one. Any thread, one at a time.
void TellChangeListener();

}  // namespace LumConf
