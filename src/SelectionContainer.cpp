#include "SelectionContainer.h"

#include <algorithm>
#include <functional>
#include <string_view>
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

/// The two sides of a text, which is shared and not cut up: it may be as long as a request.
class Parts {
public:
    /// Without the separator the whole text is the left part.
    Parts(const String_t& text, const char* separator)
        : text(text), length(std::min(text.Find(separator), text.GetLength())) {}
    bool IsLeft(const String_t& other) const { return other.View() == text.View().substr(0, length); }
    bool IsRight(const String_t& other) const { return other.View() == Right(); }
    bool HasLeft() const { return length > 0; }
    bool HasRight() const { return !Right().empty(); }

private:
    std::u16string_view Right() const { return text.View().substr(std::min(length + 1, text.GetLength())); }

    String_t text;
    std::uint32_t length;  ///< of the left part
};

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

Matcher MatchName(const String_t& value) {
    // Kept: a colon always parts type and name, so that a name with a colon is never found by itself.
    const Parts parts(value, ":");
    const bool typed = value.Find(":") != LumPalStr::NotFound;
    if (!typed) return [value](const PolicyHeader& header) { return header.GetName() == value; };
    return [parts](const PolicyHeader& header) {
        return parts.IsRight(header.GetName()) && (!parts.HasLeft() || parts.IsLeft(header.GetTypeName()));
    };
}

Matcher MatchOwnerAndName(const String_t& value) {
    const Parts parts(value, "=");
    return [parts](const PolicyHeader& header) {
        return parts.IsLeft(header.GetOwner()) && parts.IsRight(header.GetName());
    };
}

Matcher MatchAttributeName(const String_t& value) {
    return [value](const PolicyHeader& header) {
        return CountAttributes(header, [&value](const PolicyAttribute& a) { return a.GetName() == value; });
    };
}

Matcher MatchAttribute(const String_t& value) {
    const Parts parts(value, "=");
    return [parts](const PolicyHeader& header) {
        return CountAttributes(header, [&parts](const PolicyAttribute& a) {
            return parts.IsLeft(a.GetName()) && parts.IsRight(a.GetValue());
        });
    };
}

Matcher MatchNameAndType(const String_t& value) {
    const Parts parts(value, "=");
    return [parts](const PolicyHeader& header) {
        return parts.IsLeft(header.GetName()) && (!parts.HasRight() || parts.IsRight(header.GetTypeName()));
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
        case SelectionKind::NameAndTypeName:
            return MatchNameAndType(value);
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
