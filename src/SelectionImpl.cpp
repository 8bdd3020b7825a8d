#include "SelectionImpl.h"

namespace LumConf {

using LumPalStr::String_t;

namespace {

const char* const kDisplayWords[] = {
    nullptr,        "policy name",           "policy type name",      "policy category",
    "policy owner", "policy owner and name", "policy attribute name", "policy attribute",
    nullptr,        "policy name and type"};

}  // namespace

void SelectionImpl::SetKind(std::int32_t number) noexcept {
    bool known = number >= 0 && number <= 9;
    kind = known ? static_cast<SelectionKind>(number) : SelectionKind::All;
}

void SelectionImpl::Set(SelectionKind newKind, const String_t& newValue) {
    value = newValue;
    kind = newKind;
}

String_t SelectionImpl::Describe() const {
    if (kind == SelectionKind::All) return "Policy selection: All policies.";
    if (kind == SelectionKind::Id) return "Policy selection: policy id '" + value + "'.";
    return String_t("Policy selection: '") + kDisplayWords[static_cast<int>(kind)] + "': '" + value + "'.";
}

}  // namespace LumConf
