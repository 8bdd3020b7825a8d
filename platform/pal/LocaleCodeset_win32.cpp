#include "LocaleCodeset.h"

#include <windows.h>

namespace LumPalStr {

std::string LocaleCodeset() {
    const UINT page = GetACP();
    return page == CP_UTF8 ? "UTF-8" : "windows-" + std::to_string(page);
}

}  // namespace LumPalStr
