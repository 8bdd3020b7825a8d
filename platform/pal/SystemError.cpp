#include "SystemError.h"

#include <cerrno>
#include <system_error>

#include "LumPalIo.h"

namespace LumPal {

using LumPalStr::String_t;

int LastError() noexcept {
    return errno;
}

String_t ReasonText(int error) {
    return String_t::FromUtf8(std::system_category().message(error));
}

void ThrowSystemError(const char* text, const String_t& subject, int error) {
    LumPalMsg::CreateError_t message{String_t(text)};
    message << subject << ReasonText(error);
    if (error == ENOENT || error == ENOTDIR) throw LumPalIo::FileNotFoundException_t(message);
    throw LumPalIo::IOException_t(message);
}

}  // namespace LumPal
