/// @file
/// A started program behind its handles and streams.
#pragma once

#include <atomic>
#include <memory>

#include "Deadline.h"
#include "LumPalCmd.h"
#include "LumPalPlainMutex.h"
#include "OutputPipe_posix.h"
#include "Spawn_posix.h"

namespace LumPalCmd {

struct Process_t::Impl {
    Impl(Spawned spawned, const SpawnPlan& plan);
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;
    /// Leaves what is unfinished to the background.
    ~Impl();
    /// See Process_t::WaitFor.
    int WaitFor();
    /// See Process_t::Terminate and Process_t::End.
    void Terminate(std::uint32_t milliseconds) noexcept;
    void End() noexcept;
    OutputPipe& GetOutput(int stream) noexcept { return stream == STDOUT_FILENO ? output : error; }
    int GetEnd() const noexcept { return end.Get(); }
    const Deadline& GetDeadline() const noexcept { return deadline; }
    bool HasInput() const noexcept { return inputPiped; }
    /// @throws LumPalIo::IOException_t
    void WriteInput(const char* bytes, std::size_t length);
    void CloseInput();

    const pid_t pid;
    std::atomic<int> inputWriters{0};

private:
    int PatienceMs(bool beingRead) const;
    void DrainUntilEnd();
    int CollectEnd();
    /// To the program or its process group, unless it was collected: its number may be another program's by then.
    bool SignalLocked(int signal) noexcept LUMPAL_REQUIRES(endMutex);

    LumPal::Descriptor end;  // constant, as the next two
    const bool leadsGroup;
    const Deadline deadline;
    std::atomic<bool> ended{false};
    OutputPipe output, error;
    const bool inputPiped;
    LumPalThread::PlainMutex_t inputMutex;
    LumPal::Descriptor input LUMPAL_GUARDED_BY(inputMutex);
    LumPalThread::PlainMutex_t endMutex;
    bool collected LUMPAL_GUARDED_BY(endMutex) = false;
    bool lost LUMPAL_GUARDED_BY(endMutex) = false;
    int status LUMPAL_GUARDED_BY(endMutex) = 0;
};

}  // namespace LumPalCmd
