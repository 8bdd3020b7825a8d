#include "LumConfCluster/Strings.h"

#include "StringsImpl.h"

namespace LumConfCluster {

Strings::Strings() : Handle(new StringsImpl) {}

std::int32_t Strings::Count() const {
    return GetImpl()->Count();
}

LumPalStr::String_t Strings::operator[](int index) const {
    return GetImpl()->At(index).GetName();
}

std::int32_t Strings::Add(const LumPalStr::String_t& text) {
    return GetImpl()->Add(NamedText(text));
}

}  // namespace LumConfCluster
