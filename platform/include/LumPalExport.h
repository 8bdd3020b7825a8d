/// @file
/// Visibility of the symbols that liblumplatform exports.
#pragma once

#if defined(_WIN32)
#if defined(LUMPAL_BUILD)
#define LUMPAL_API __declspec(dllexport)
#else
#define LUMPAL_API __declspec(dllimport)
#endif
#else
#define LUMPAL_API __attribute__((visibility("default")))
#endif
