#include <cstdlib>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "FreedMemory.h"

namespace LumVoxRpc {

void ReturnFreedMemory() {
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

}  // namespace LumVoxRpc
