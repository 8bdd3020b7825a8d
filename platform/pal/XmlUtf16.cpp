#include "XmlUtf16.h"

namespace LumPalXml {

// As the library tells it: by the mark, else by the NUL that the first character of markup has.
void Utf16Check::Detect(unsigned char second) noexcept {
    if ((half == 0xFE && second == 0xFF) || half == 0) {
        kind = Kind::BigEndian;
    } else if ((half == 0xFF && second == 0xFE) || second == 0) {
        kind = Kind::LittleEndian;
    } else {
        kind = Kind::Other;
    }
}

bool Utf16Check::AcceptUnit(unsigned char second) noexcept {
    if (kind == Kind::Unknown) Detect(second);
    const unsigned char high = kind == Kind::BigEndian ? half : second;
    const bool isTrail = (high & 0xFC) == 0xDC;
    if (isLead && !isTrail) return false;
    isLead = (high & 0xFC) == 0xD8;
    return true;
}

std::size_t Utf16Check::Accept(const char* bytes, std::size_t length) noexcept {
    for (std::size_t i = 0; i < length && kind != Kind::Other; ++i) {
        const unsigned char byte = static_cast<unsigned char>(bytes[i]);
        isHalf = !isHalf;
        if (isHalf) {
            half = byte;
        } else if (!AcceptUnit(byte)) {
            return i;
        }
    }
    return length;
}

bool Utf16Check::IsAmpersand(std::string_view bytes) const noexcept {
    if (kind == Kind::BigEndian) return bytes.starts_with(std::string_view("\0&", 2));
    if (kind == Kind::LittleEndian) return bytes.starts_with(std::string_view("&\0", 2));
    return bytes.starts_with('&');
}

}  // namespace LumPalXml
