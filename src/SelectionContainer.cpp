#include "SelectionContainer.h"

#include <functional>
#include <utility>

#include "Messages.h"
#include "PolicyContainer.h"
#include "Selection.h"
#include "SelectionImpl.h"

namespace LumConf {

using LumPalStr::String_t;

namespace {

/// How often a header's id belongs to the result.
using Matcher = std::function<int(const PolicyHeader&)>;

struct Parts {
    String_t left, right;
};

/// Without the separator the whole text is the left part.
Parts SplitAtFirst(const String_t& text, const char* separator) {
    std::uint32_t at = text.Find(separator);
    if (at == LumPalStr::NotFound) return {text, ""};
    return {text.Left(at), text.Mid(at + 1)};
}

bool HasCategory(const PolicyHeader& header, const String_t& category) {
    for (int i = 0; i < header.GetCategoryCount(); ++i) {
        if (header.GetCategory(i) == category) return true;
    }
    return false;
}

int CountAttributes(const PolicyHeader& header, const std::function<bool(const PolicyAttribute&)>& matches) {
    int count = 0;
    for (int i = 0; i < header.GetAttributesCount(); ++i) count += matches(header.GetAttribute(i)) ? 1 : 0;
    return count;
}

Matcher MatchNameAndType(const String_t& name, const String_t& type) {
    return [name, type](const PolicyHeader& header) {
        return header.GetName() == name && (type.IsEmpty() || header.GetTypeName() == type);
    };
}

Matcher MatchName(const String_t& value) {
    // Kept: a colon always parts type and name, so that a name with a colon is never found by itself.
    Parts parts = SplitAtFirst(value, ":");
    bool typed = value.Find(":") != LumPalStr::NotFound;
    return typed ? MatchNameAndType(parts.right, parts.left) : MatchNameAndType(value, "");
}

Matcher MatchOwnerAndName(const String_t& value) {
    Parts parts = SplitAtFirst(value, "=");
    return [parts](const PolicyHeader& header) {
        return header.GetOwner() == parts.left && header.GetName() == parts.right;
    };
}

Matcher MatchAttributeName(const String_t& value) {
    return [value](const PolicyHeader& header) {
        return CountAttributes(header, [&value](const PolicyAttribute& a) { return a.GetName() == value; });
    };
}

Matcher MatchAttribute(const String_t& value) {
    Parts parts = SplitAtFirst(value, "=");
    return [parts](const PolicyHeader& header) {
        return CountAttributes(header, [&parts](const PolicyAttribute& a) {
            return a.GetName() == parts.left && a.GetValue() == parts.right;
        });
    };
}

Matcher MatcherFor(const SelectionImpl& selection) {
    const String_t value = selection.GetValue();
    switch (selection.GetKind()) {
        case SelectionKind::Name:
            return MatchName(value);
        case SelectionKind::TypeName:
            return [value](const PolicyHeader& header) { return header.GetTypeName() == value; };
        case SelectionKind::Category:
            return [value](const PolicyHeader& header) { return HasCategory(header, value); };
        case SelectionKind::Owner:
            return [value](const PolicyHeader& header) { return header.GetOwner() == value; };
        case SelectionKind::OwnerAndName:
            return MatchOwnerAndName(value);
        case SelectionKind::AttributeName:
            return MatchAttributeName(value);
        case SelectionKind::Attribute:
            return MatchAttribute(value);
        case SelectionKind::All:
            return [](const PolicyHeader&) { return 1; };
        case SelectionKind::NameAndTypeName: {
            Parts parts = SplitAtFirst(value, "=");
            return MatchNameAndType(parts.left, parts.right);
        }
        case SelectionKind::Id:
            break;
    }
    Raise<LumPalMsg::IllegalStateError_t>(msg::SelectionUnknown);
}

std::vector<String_t> PickIds(const PolicyContainer& container, const Matcher& matcher) {
    std::vector<String_t> ids;
    const int count = container.GetCount();
    for (int i = 0; i < count; ++i) {
        PolicyHeader header = container.GetPolicyHeader(i);
        int times = matcher(header);
        if (times > 0) ids.insert(ids.end(), static_cast<std::size_t>(times), header.GetContainerId());
    }
    return ids;
}

}  // namespace

void SelectionContainer::Init(const PolicyContainer& container, const Selection& selection) {
    const SelectionImpl& impl = selection.GetImpl();
    if (impl.GetKind() == SelectionKind::Id) {
        ids.assign(1, impl.GetValue());
    } else {
        ids = PickIds(container, MatcherFor(impl));
    }
    initialized = true;
}

int SelectionContainer::GetCount() const {
    if (!initialized) Raise<LumPalMsg::IllegalStateError_t>(msg::SelectionNotInitialized);
    return static_cast<int>(ids.size());
}

String_t SelectionContainer::GetId(int index) const {
    // Kept: a bad index is reported like a missing Init.
    if (!initialized || index < 0 || static_cast<std::size_t>(index) >= ids.size()) {
        Raise<LumPalMsg::IllegalStateError_t>(msg::SelectionNotInitialized);
    }
    return ids[static_cast<std::size_t>(index)];
}

std::vector<String_t> SelectionContainer::TakeIds() {
    if (!initialized) Raise<LumPalMsg::IllegalStateError_t>(msg::SelectionNotInitialized);
    initialized = false;
    return std::exchange(ids, {});
}

}  // namespace LumConf
