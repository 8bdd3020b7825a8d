// The handle of a registry key, of LumPalPtr.h.
#include <windows.h>

#include "LumPalPtr.h"

namespace LumPalPtr {

AutoWin32RegKeyHandle_t::~AutoWin32RegKeyHandle_t() {
    if (key) RegCloseKey(static_cast<HKEY>(key));
}

}  // namespace LumPalPtr
