#include "PolicyAttribute.h"

#include "PolicyAttributeImpl.h"

namespace LumConf {

PolicyAttribute::PolicyAttribute() : impl(new PolicyAttributeImpl) {}

PolicyAttribute::PolicyAttribute(const PolicyAttribute& other) = default;

PolicyAttribute& PolicyAttribute::operator=(const PolicyAttribute& other) = default;

PolicyAttribute::~PolicyAttribute() = default;

PolicyAttribute::PolicyAttribute(PolicyAttributeImpl* impl) : impl(impl) {}

LumPalStr::String_t PolicyAttribute::GetName() const {
    return impl->GetName();
}

LumPalStr::String_t PolicyAttribute::GetValue() const {
    return impl->GetValue();
}

}  // namespace LumConf
