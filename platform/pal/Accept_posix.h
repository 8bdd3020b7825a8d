/// @file
/// Taking the next connection of a socket that listens.
#pragma once

#include "Descriptor_posix.h"

namespace LumPal {

/// What became of an attempt.
enum class AcceptResult {
    Taken,
    Nothing,   ///< none waits, or the one that waited has gone: the next may be tried at once
    Exhausted  ///< the system has no room for one now; trying again at once would only burn the processor
};

/// Takes a connection without waiting. Takes no memory.
/// @param listener  not blocking
/// @param name      for tests, which let "accept" of it fail
/// @param socket    the connection: not blocking, not inherited by children
/// @param error     why, when exhausted: an errno value
AcceptResult AcceptNext(int listener, const char* name, Descriptor& socket, int& error) noexcept;

/// Gives a socket the lowest descriptor that is free, if that is lower than its own.
void MoveDown(Descriptor& socket) noexcept;
/// Gives a socket the lowest free one of those that callers leave to local programs, if there is one.
void MoveToKept(Descriptor& socket) noexcept;

}  // namespace LumPal
