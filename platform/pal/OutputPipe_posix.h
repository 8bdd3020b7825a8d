/// @file
/// Our end of one output of a started program.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "Deadline.h"
#include "Descriptor_posix.h"
#include "LumPalPlainMutex.h"

namespace LumPalCmd {

/// Bytes that a program writes, and those that were taken in for a later reader. Any thread.
class OutputPipe {
public:
    /// What is drained beyond this is dropped.
    static constexpr std::size_t kKeptBytes = 16u << 20;

    /// @param source  does not block; -1 when the output was not redirected
    explicit OutputPipe(LumPal::Descriptor source) : source(std::move(source)), piped(this->source.IsOpen()) {}
    bool IsPiped() const noexcept { return piped; }
    /// Blocks until there are bytes, the output ends or the program does.
    /// @param end    readable when the program has ended
    /// @param other  what is drained meanwhile, unless somebody reads it, so that the program never waits for that
    /// @return       the count, or -1 at the end
    /// @throws LumPalIo::IOException_t  after Close; where drained bytes were dropped
    /// @throws TimeLimitException_t  once the deadline is over
    std::int64_t Read(char* target, std::size_t length, int end, const Deadline& deadline, OutputPipe& other);
    std::size_t Available();
    /// From now on reading is refused, and what comes is dropped.
    void Close();
    /// What a waiter has to watch: -1 when nothing more comes, or while somebody reads (then beingRead is set).
    int ToDrain(bool& beingRead);
    /// Takes what is there without blocking.
    void Drain();
    /// Our end, unless the output has ended; for when nobody uses this object any more.
    LumPal::Descriptor Release();

private:
    std::int64_t TakeKeptLocked(char* target, std::size_t length) LUMPAL_REQUIRES(mutex);
    std::int64_t ReadSourceLocked(char* target, std::size_t length) LUMPAL_REQUIRES(mutex);
    std::int64_t TryReadLocked(char* target, std::size_t length) LUMPAL_REQUIRES(mutex);

    LumPal::Descriptor source;  // constant until Release
    const bool piped;
    LumPalThread::PlainMutex_t mutex;
    std::string kept LUMPAL_GUARDED_BY(mutex);
    std::size_t keptStart LUMPAL_GUARDED_BY(mutex) = 0;
    bool cut LUMPAL_GUARDED_BY(mutex) = false;
    bool ended LUMPAL_GUARDED_BY(mutex) = false;
    bool closed LUMPAL_GUARDED_BY(mutex) = false;
    int readers LUMPAL_GUARDED_BY(mutex) = 0;
};

/// Whether a descriptor is readable now.
bool IsReadable(int descriptor);

}  // namespace LumPalCmd
