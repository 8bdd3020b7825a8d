#include "StoreChange.h"

#include <charconv>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "PlainName.h"

namespace LumConf {

using LumPalArray::CharArray_t;
using LumPalStr::String_t;

namespace {

constexpr std::string_view kFirstLine = "lumconf store change 1";
constexpr std::string_view kLastLine = "end";
constexpr std::string_view kWaitingWords[] = {"incoming", "temporary"};

using Fields = std::vector<std::string_view>;

void AddLine(std::string& text, std::initializer_list<std::string_view> fields) {
    for (std::string_view field : fields) {
        if (field.data() != fields.begin()->data()) text += '\t';
        text += field;
    }
    text += '\n';
}

void AddPlaced(std::string& text, const StoreChange::Placed& file) {
    const std::string waitingName = file.waitingName.ToUtf8(), type = file.place.typeName.ToUtf8(),
                      name = file.place.name.ToUtf8();
    const std::string_view folder = kWaitingWords[static_cast<int>(file.waiting)];
    if (!file.former) return AddLine(text, {"place", folder, waitingName, type, name});
    AddLine(text, {"place", folder, waitingName, type, name, std::to_string(file.former->node),
                   std::to_string(file.former->size), std::to_string(file.former->modified)});
}

std::string_view TakeLine(std::string_view& text) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == text.npos ? text.size() : end + 1);
    return line;
}

Fields Split(std::string_view line) {
    Fields fields;
    for (std::size_t tab; (tab = line.find('\t')) != line.npos; line.remove_prefix(tab + 1)) {
        fields.push_back(line.substr(0, tab));
    }
    fields.push_back(line);
    return fields;
}

bool ReadName(std::string_view field, String_t& name) {
    name = String_t::FromUtf8(field);
    return IsPlainName(name);
}

bool ReadFile(std::string_view type, std::string_view name, StoreChange::StoredFile& file) {
    return ReadName(type, file.typeName) && ReadName(name, file.name);
}

bool ReadWaiting(std::string_view word, StoreChange::Waiting& waiting) {
    const bool incoming = word == kWaitingWords[0];
    waiting = incoming ? StoreChange::Waiting::Incoming : StoreChange::Waiting::Temporary;
    return incoming || word == kWaitingWords[1];
}

// One reader for each kind of line: true when the line is right.
bool ReadPolicy(const Fields& fields, StoreChange& change) {
    return fields.size() == 3 && ReadName(fields[1], change.typeName) && ReadName(fields[2], change.id);
}

bool ReadDeleted(const Fields& fields, StoreChange& change) {
    StoreChange::StoredFile file;
    if (fields.size() != 3 || !ReadFile(fields[1], fields[2], file)) return false;
    change.deleted.push_back(std::move(file));
    return true;
}

template <typename Number>
bool ReadNumber(std::string_view field, Number& number) {
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), number);
    return error == std::errc() && end == field.data() + field.size();
}

// Where nothing stood, and in records of former versions, the fields are not there.
bool ReadFormer(const Fields& fields, std::optional<StoreChange::Former>& former) {
    if (fields.size() == 5) return true;
    former.emplace();
    return fields.size() == 8 && ReadNumber(fields[5], former->node) && ReadNumber(fields[6], former->size) &&
           ReadNumber(fields[7], former->modified);
}

bool ReadPlaced(const Fields& fields, StoreChange& change) {
    StoreChange::Placed placed;
    if (fields.size() < 5 || !ReadWaiting(fields[1], placed.waiting) || !ReadFormer(fields, placed.former))
        return false;
    if (!ReadName(fields[2], placed.waitingName) || !ReadFile(fields[3], fields[4], placed.place)) return false;
    change.placed.push_back(std::move(placed));
    return true;
}

bool ReadEmptied(const Fields& fields, StoreChange& change) {
    String_t typeName;
    if (fields.size() != 2 || !ReadName(fields[1], typeName)) return false;
    change.emptied.push_back(std::move(typeName));
    return true;
}

constexpr struct {
    std::string_view word;
    bool (*read)(const Fields&, StoreChange&);
} kLines[] = {{"policy", ReadPolicy}, {"delete", ReadDeleted}, {"place", ReadPlaced}, {"empty", ReadEmptied}};

bool ReadLine(std::string_view text, StoreChange& change) {
    const Fields fields = Split(text);
    for (const auto& line : kLines) {
        if (line.word == fields[0]) return line.read(fields, change);
    }
    return false;
}

}  // namespace

void StoreChange::DeleteUnlessPlaced(const std::vector<StoredFile>& files) {
    std::set<std::pair<String_t, String_t>> places;
    for (const Placed& file : placed) places.emplace(file.place.typeName, file.place.name);
    for (const StoredFile& file : files) {
        if (!IsPlainName(file.typeName) || !IsPlainName(file.name)) continue;
        if (places.count({file.typeName, file.name}) == 0) deleted.push_back(file);
    }
}

CharArray_t StoreChange::ToText() const {
    std::string text;
    AddLine(text, {kFirstLine});
    AddLine(text, {"policy", typeName.ToUtf8(), id.ToUtf8()});
    for (const StoredFile& file : deleted) AddLine(text, {"delete", file.typeName.ToUtf8(), file.name.ToUtf8()});
    for (const Placed& file : placed) AddPlaced(text, file);
    for (const String_t& type : emptied) AddLine(text, {"empty", type.ToUtf8()});
    AddLine(text, {kLastLine});
    return CharArray_t(text.data(), text.size());
}

bool StoreChange::FromText(const CharArray_t& text, StoreChange& change, int& line) {
    std::string_view left = text.View();
    line = 1;
    if (TakeLine(left) != kFirstLine) return false;
    while (!left.empty()) {
        ++line;
        const std::string_view next = TakeLine(left);
        if (next == kLastLine) return left.empty();
        if (!ReadLine(next, change)) return false;
    }
    return false;
}

}  // namespace LumConf
