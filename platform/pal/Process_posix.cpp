// Process_t of LumPalCmd.h and its streams, in front of ProcessImpl_posix.h.
#include "ProcessImpl_posix.h"

namespace LumPalCmd {

using LumPalIo::InputStream_t;
using LumPalIo::OutputStream_t;

namespace {

class OutputReader : public InputStream_t::Impl {
public:
    OutputReader(std::shared_ptr<Process_t::Impl> process, int stream)
        : process(std::move(process)),
          pipe(this->process->GetOutput(stream)),
          other(this->process->GetOutput(stream == STDOUT_FILENO ? STDERR_FILENO : STDOUT_FILENO)) {}
    std::int64_t Read(char* target, std::size_t length) override {
        return pipe.Read(target, length, process->GetEnd(), process->GetDeadline(), other);
    }
    std::size_t Available() override { return pipe.Available(); }
    void Close() override { pipe.Close(); }

private:
    const std::shared_ptr<Process_t::Impl> process;
    OutputPipe& pipe;
    OutputPipe& other;
};

class InputWriter : public OutputStream_t::Impl {
public:
    explicit InputWriter(std::shared_ptr<Process_t::Impl> process) : process(std::move(process)) {
        ++this->process->inputWriters;
    }
    InputWriter(const InputWriter&) = delete;
    InputWriter& operator=(const InputWriter&) = delete;
    ~InputWriter() override { --process->inputWriters; }
    void Write(const char* bytes, std::size_t length) override { process->WriteInput(bytes, length); }
    void Close() override { process->CloseInput(); }

private:
    const std::shared_ptr<Process_t::Impl> process;
};

InputStream_t OutputOf(const std::shared_ptr<Process_t::Impl>& process, int stream) {
    if (!process || !process->GetOutput(stream).IsPiped()) return {};
    return InputStream_t(std::make_shared<OutputReader>(process, stream));
}

}  // namespace

InputStream_t Process_t::GetStandardOutput() const {
    return OutputOf(impl, STDOUT_FILENO);
}

InputStream_t Process_t::GetStandardError() const {
    return OutputOf(impl, STDERR_FILENO);
}

OutputStream_t Process_t::GetStandardInput() const {
    if (!impl || !impl->HasInput()) return {};
    return OutputStream_t(std::make_shared<InputWriter>(impl));
}

int Process_t::WaitFor() const {
    using namespace LumPalMsg;
    if (!impl) throw IllegalStateError_t(CreateError_t("A program that was not started can not be waited for."));
    return impl->WaitFor();
}

void Process_t::Terminate(std::uint32_t milliseconds) const noexcept {
    if (impl) impl->Terminate(milliseconds);
}

void Process_t::End() const noexcept {
    if (impl) impl->End();
}

long Process_t::GetPid() const noexcept {
    return impl ? impl->pid : 0;
}

}  // namespace LumPalCmd
