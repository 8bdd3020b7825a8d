// InputStream_t and OutputStream_t of LumPalIo.h: what all streams share.
#include "LumPalIo.h"
#include "StreamCheck.h"

namespace LumPalIo {
namespace {

using LumPalArray::CharArray_t;

void CheckRange(const CharArray_t& array, std::size_t offset, std::size_t length) {
    if (offset > array.GetLength() || length > array.GetLength() - offset) {
        throw LumPalMsg::IllegalArgumentError_t(
            LumPalMsg::CreateError_t("The range %1, %2 leaves an array of %3 bytes.")
            << LumPalStr::NumToStr(static_cast<unsigned long long>(offset))
            << LumPalStr::NumToStr(static_cast<unsigned long long>(length))
            << LumPalStr::NumToStr(static_cast<unsigned long long>(array.GetLength())));
    }
}

template <class Impl>
Impl& Checked(const std::shared_ptr<Impl>& impl) {
    CheckOpen(impl != nullptr);
    return *impl;
}

}  // namespace

void CheckOpen(bool isOpen) {
    if (!isOpen) throw IOException_t(LumPalMsg::CreateError_t("The stream is closed or was never opened."));
}

InputStream_t::Impl::~Impl() = default;
std::size_t InputStream_t::Impl::Available() {
    return 0;
}
void InputStream_t::Impl::Close() {}
OutputStream_t::Impl::~Impl() = default;
void OutputStream_t::Impl::Flush() {}
void OutputStream_t::Impl::Close() {}

std::int64_t InputStream_t::Read(CharArray_t& array) {
    Impl& stream = Checked(impl);
    std::size_t done = 0;
    while (done < array.GetLength()) {
        const std::int64_t got = stream.Read(array.GetData() + done, array.GetLength() - done);
        if (got < 0) return done == 0 ? -1 : static_cast<std::int64_t>(done);
        done += static_cast<std::size_t>(got);
    }
    return static_cast<std::int64_t>(done);
}

std::int64_t InputStream_t::Read(CharArray_t& array, std::size_t offset, std::size_t length) {
    Impl& stream = Checked(impl);
    CheckRange(array, offset, length);
    return length == 0 ? 0 : stream.Read(array.GetData() + offset, length);
}

std::size_t InputStream_t::Available() {
    return Checked(impl).Available();
}

void InputStream_t::Close() {
    if (impl) impl->Close();
}

void OutputStream_t::Write(const CharArray_t& array) {
    Write(array.GetData(), array.GetLength());
}

void OutputStream_t::Write(const CharArray_t& array, std::size_t offset, std::size_t length) {
    CheckRange(array, offset, length);
    Write(array.GetData() + offset, length);
}

void OutputStream_t::Write(char byte) {
    Write(&byte, 1);
}
void OutputStream_t::Write(const char* bytes, std::size_t length) {
    Checked(impl).Write(bytes, length);
}
void OutputStream_t::Flush() {
    Checked(impl).Flush();
}

void OutputStream_t::Close() {
    if (impl) impl->Close();
}

}  // namespace LumPalIo
