#include "Selection.h"

#include "AttributeCheck.h"
#include "SelectionImpl.h"

namespace LumConf {

using LumPalStr::String_t;

namespace {

String_t Pair(const String_t& left, const String_t& right) {
    return left + "=" + right;
}

}  // namespace

Selection::Selection() : impl(std::make_unique<SelectionImpl>()) {}

Selection::Selection(const Selection& other) : impl(std::make_unique<SelectionImpl>(*other.impl)) {}

Selection& Selection::operator=(const Selection& other) {
    *impl = *other.impl;
    return *this;
}

Selection::~Selection() = default;

Selection& Selection::SetPolicyId(const String_t& id) {
    impl->Set(SelectionKind::Id, id.ToLower());
    return *this;
}

Selection& Selection::SetPolicyName(const String_t& name) {
    CheckAttribute(name);
    if (impl->GetKind() == SelectionKind::TypeName) {
        impl->Set(SelectionKind::NameAndTypeName, Pair(name, impl->GetValue().ToLower()));
    } else {
        impl->Set(SelectionKind::Name, name);
    }
    return *this;
}

Selection& Selection::SetPolicyTypeName(const String_t& typeName) {
    CheckAttribute(typeName);
    if (impl->GetKind() == SelectionKind::Name) {
        impl->Set(SelectionKind::NameAndTypeName, Pair(impl->GetValue(), typeName.ToLower()));
    } else {
        impl->Set(SelectionKind::TypeName, typeName.ToLower());
    }
    return *this;
}

Selection& Selection::SetPolicyCategory(const String_t& category) {
    impl->Set(SelectionKind::Category, category);
    return *this;
}

Selection& Selection::SetPolicyOwner(const String_t& owner) {
    impl->Set(SelectionKind::Owner, owner);
    return *this;
}

Selection& Selection::SetPolicyOwnerAndName(const String_t& owner, const String_t& name) {
    CheckAttribute(owner);
    CheckAttribute(name);
    impl->Set(SelectionKind::OwnerAndName, Pair(owner, name));
    return *this;
}

Selection& Selection::SetPolicyAttribute(const String_t& name) {
    CheckAttribute(name);
    impl->Set(SelectionKind::AttributeName, name);
    return *this;
}

Selection& Selection::SetPolicyAttribute(const String_t& name, const String_t& value) {
    CheckAttribute(name);
    CheckAttribute(value);
    impl->Set(SelectionKind::Attribute, Pair(name, value));
    return *this;
}

Selection& Selection::SetPolicyNameAndTypeName(const String_t& name, const String_t& typeName) {
    CheckAttribute(name);
    CheckAttribute(typeName);
    impl->Set(SelectionKind::NameAndTypeName, Pair(name, typeName.ToLower()));
    return *this;
}

Selection& Selection::SetAll() {
    impl->Set(SelectionKind::All, "");
    return *this;
}

String_t Selection::Describe() const {
    return impl->Describe();
}

}  // namespace LumConf
