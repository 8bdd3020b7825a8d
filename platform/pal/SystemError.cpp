#include "SystemError.h"

#include <cerrno>
#include <cstring>
#include <system_error>

#include "LumPalIo.h"

namespace LumPalIo {

using LumPalMsg::CreateError_t;
using LumPalStr::String_t;

String_t SystemErrorText(int error) {
#if defined(__GLIBC__)
    // The usual function would translate, and what it says ends in logs that others search.
    if (const char* text = strerrordesc_np(error)) return text;
#endif
    return String_t::FromUtf8(std::generic_category().message(error));
}

LumPalMsg::Message_t SystemErrorMessage(const char* action, const String_t& path, int error) {
    if (path.IsEmpty()) return CreateError_t("%1: %2") << action << SystemErrorText(error);
    return CreateError_t("%1 '%2': %3") << action << path << SystemErrorText(error);
}

void ThrowSystemError(const char* action, const String_t& path, int error) {
    const auto message = SystemErrorMessage(action, path, error);
    if (error == ENOENT || error == ENOTDIR) throw FileNotFoundException_t(message);
    if (error == ENOSPC || error == EDQUOT) throw NoSpaceException_t(message);
    throw IOException_t(message);
}

LUMPAL_DEFINE_EXCEPTION(IOException_t);
LUMPAL_DEFINE_EXCEPTION(NoSpaceException_t);
LUMPAL_DEFINE_EXCEPTION(FileNotFoundException_t);
LUMPAL_DEFINE_EXCEPTION(EOFException_t);

}  // namespace LumPalIo
