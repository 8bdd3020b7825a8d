#include "CollectedText.h"

namespace LumConf {

using LumPalStr::String_t;

namespace {

constexpr std::size_t kMostShort = 1 << 15;

}  // namespace

void CollectedText::Append(const char16_t* units, std::uint32_t length) {
    if (!IsLong() && shortText.size() + length <= kMostShort) {
        shortText.append(units, length);
        return;
    }
    if (!IsLong()) {
        longText = String_t(shortText.data(), static_cast<std::uint32_t>(shortText.size()));
        shortText.clear();
    }
    longText.Append(units, length);
}

void CollectedText::Set(const String_t& text) {
    Clear();
    if (text.GetLength() > kMostShort) {
        longText = text;
    } else {
        shortText = text.View();
    }
}

void CollectedText::Clear() {
    shortText.clear();
    if (IsLong()) longText = String_t();
}

std::u16string_view CollectedText::View() const noexcept {
    return IsLong() ? longText.View() : std::u16string_view(shortText);
}

String_t CollectedText::Get() const {
    if (IsLong()) return longText;
    return String_t(shortText.data(), static_cast<std::uint32_t>(shortText.size()));
}

}  // namespace LumConf
