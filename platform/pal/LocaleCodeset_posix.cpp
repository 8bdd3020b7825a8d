#include "LocaleCodeset.h"

#include <langinfo.h>

namespace LumPalStr {

std::string LocaleCodeset() {
    const std::string name = nl_langinfo(CODESET);
    return name.empty() || name == "ANSI_X3.4-1968" || name == "US-ASCII" ? "UTF-8" : name;
}

}  // namespace LumPalStr
