// What FilePermission.h sets, as the system's bits.
#include "FilePermission.h"

namespace LumConf {

const PermissionBits& SystemPermissionBits() noexcept {
    static constexpr PermissionBits bits{0400, 0040, 0004, 0200, 0020, 0002, 0100, 0010, 0001};
    return bits;
}

}  // namespace LumConf
