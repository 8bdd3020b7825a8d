#include "PolicyArrayReader.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "Exceptions.h"
#include "LumPalWhole.h"
#include "Messages.h"
#include "PlainName.h"

namespace LumConf {

using LumPalStr::NumToStr;
using LumPalStr::String_t;

namespace {

String_t Decode(std::string_view raw) {
    const LumPalArray::CharArray_t bytes(raw.data(), raw.size());
    return LumPalIo::DataInputStream_t(LumPalIo::CharArrayInputStream_t::Over(bytes)).ReadUTF16String();
}

class ViewInput : public LumPalIo::InputStream_t::Impl {
public:
    explicit ViewInput(std::string_view bytes) : rest(bytes) {}
    std::int64_t Read(char* target, std::size_t length) override {
        if (rest.empty()) return -1;
        const std::size_t count = rest.copy(target, length);
        rest.remove_prefix(count);
        return static_cast<std::int64_t>(count);
    }
    std::size_t Available() override { return rest.size(); }

private:
    std::string_view rest;
};

}  // namespace

LumPalIo::InputStream_t StreamOver(std::string_view bytes) {
    return LumPalIo::InputStream_t(std::make_shared<ViewInput>(bytes));
}

TransferCursor::TransferCursor(const LumPalArray::CharArray_t& data)
    : data(data), in(LumPalIo::CharArrayInputStream_t::Over(data)) {}

std::int32_t TransferCursor::ReadCount(std::int32_t least, std::size_t bytesEach) {
    const std::int32_t count = in.ReadInt32();
    const std::size_t left = in.Available();
    if (count < least || static_cast<std::size_t>(count) > left / bytesEach) {
        Raise<PolicyFileException>(msg::TransferCountRefused, count, NumToStr(static_cast<unsigned long>(left)));
    }
    return count;
}

String_t TransferCursor::ReadName() {
    return in.ReadUTF16String();
}

std::uint32_t TransferCursor::ReadLength(const String_t& name) {
    const std::int32_t length = in.ReadInt32();
    const std::size_t left = in.Available();
    if (length < 0 || static_cast<std::size_t>(length) > left) {
        Raise<PolicyFileException>(msg::TransferLengthRefused, length, name,
                                   NumToStr(static_cast<unsigned long>(left)));
    }
    return static_cast<std::uint32_t>(length);
}

void TransferCursor::Skip(std::uint32_t length) {
    LumPalIo::ForEachBlock(in, length, [](const LumPalArray::CharArray_t&, std::size_t) {});
}

CarriedNames::CarriedNames(std::vector<std::string_view> rawNames) : sorted(std::move(rawNames)) {
    std::sort(sorted.begin(), sorted.end());
}

bool CarriedNames::Has(const String_t& name) const {
    LumPalIo::CharArrayOutputStream_t bytes;
    LumPalIo::DataOutputStream_t(bytes).WriteUTF16String(name);
    const LumPalArray::CharArray_t raw = bytes.ToCharArray();
    return std::binary_search(sorted.begin(), sorted.end(), raw.View());
}

String_t CarriedNames::Get(std::size_t index) const {
    return Decode(sorted[index]);
}

void CarriedNames::CheckNoneTwice() const {
    const auto twice = std::adjacent_find(sorted.begin(), sorted.end());
    if (twice != sorted.end()) Raise<PolicyFileException>(msg::NameGivenTwice, Decode(*twice));
}

PolicyArrayReader::PolicyArrayReader(TransferCursor& cursor)
    : cursor(cursor), count(cursor.ReadCount(1, kLeastFileBytes)) {
    if (count > kMostFiles) Raise<PolicyFileException>(msg::TransferTooManyFiles, count, kMostFiles);
    rawNames.reserve(static_cast<std::size_t>(count));
}

bool PolicyArrayReader::Next() {
    if (filesRead == count) {
        if (!rawNames.empty()) carried = CarriedNames(std::exchange(rawNames, {}));
        carried.CheckNoneTwice();
        return false;
    }
    ++filesRead;
    ReadName();
    length = cursor.ReadLength(name);
    return true;
}

CarriedNames PolicyArrayReader::TakeCarriedNames() {
    return rawNames.empty() ? std::move(carried) : CarriedNames(std::exchange(rawNames, {}));
}

void PolicyArrayReader::ReadName() {
    const std::size_t begin = cursor.GetPosition();
    name = cursor.ReadName();
    rawNames.push_back(cursor.View(begin, cursor.GetPosition()));
    IsHeader() ? CheckHeaderFileName(name) : CheckDataFileName(name);
}

}  // namespace LumConf
