// RefCounted_t of LumPalRef.h.
#include "LumPalRef.h"

namespace LumPalRef {

RefCounted_t::~RefCounted_t() = default;

void RefCounted_t::Release() const noexcept {
    if (references.Decrement() == 0) delete this;
}

}  // namespace LumPalRef
