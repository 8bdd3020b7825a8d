// What FilePermission.h sets, where there are no such bits.
#include "FilePermission.h"

namespace LumConf {

// One class and two rights: 0x100 is read, 0x80 is write. Execute counts as read.
const PermissionBits& SystemPermissionBits() noexcept {
    static constexpr PermissionBits bits{0x100, 0x100, 0x100, 0x80, 0x80, 0x80, 0x100, 0x100, 0x100};
    return bits;
}

}  // namespace LumConf
