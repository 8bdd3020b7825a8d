/// @file
/// Visibility of the symbols that liblumconf exports.
#pragma once

#if defined(_WIN32)
#if defined(LUMCONF_BUILD)
#define LUMCONF_API __declspec(dllexport)
#else
#define LUMCONF_API __declspec(dllimport)
#endif
#else
#define LUMCONF_API __attribute__((visibility("default")))
#endif
