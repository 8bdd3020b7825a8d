#include "InstallOptionsSoapArg.h"

#include <utility>

#include "AttributeCheck.h"
#include "InstallOptionsImpl.h"
#include "Names.h"

namespace LumConf {

using LumPalStr::String_t;
using LumVoxRpc::Description;
using LumVoxSoap::SOAPArgBool;
using LumVoxSoap::SOAPArgInt;

namespace {

using Pair = std::pair<String_t, String_t>;
using Strings = std::vector<String_t>;

bool ToBool(const String_t& text) {
    return SOAPArgBool::UnicodeToBool(text);
}

/// A reader takes 1 and 0; any other status leaves the option as it was.
void ReadStatus(InstallOptions& options, const String_t& text) {
    const int status = SOAPArgInt::UnicodeToInt(text);
    if (status == 1) options.SetEnabled();
    if (status == 0) options.SetDisabled();
}

void ReadForceState(InstallOptions& options, const String_t& text) {
    if (ToBool(text)) options.ForceState();
}

constexpr int kInAddAttribute = 8;
constexpr int kInRemoveAttribute = 9;

/// Writes children of one name.
class ChildWriter {
public:
    ChildWriter(LumPalXml::XmlWriter_t& writer, const char* name) : writer(writer), name(name) {}
    void Bool(bool value) { Text(SOAPArgBool::BoolToUnicode(value)); }
    void Int(int value) { Text(SOAPArgInt::IntToUnicode(value)); }
    void Text(const String_t& value) { WriteChild(writer, name, value); }
    void Texts(const Strings& values) {
        for (const String_t& value : values) Text(value);
    }
    void Pairs(const std::vector<Pair>& pairs) {
        for (const Pair& pair : pairs) Text(pair.first + "=" + pair.second);
    }

private:
    LumPalXml::XmlWriter_t& writer;
    const char* const name;
};

constexpr auto kOnce = Description::AtMostOnce;
constexpr auto kMany = Description::AnyNumber;

using Impl = InstallOptionsImpl;
using Options = InstallOptions;

/// One child element: its name, what it holds, how often it may come, the parse state inside it, how its text enters
/// the options (null: by GetOptions), how it is written.
struct Child {
    const char* name;
    const char* type;
    Description::Times times;
    int state;
    void (*read)(Options&, const String_t&);
    void (*write)(ChildWriter, const Impl&);
};

// In the order in which they are written.
const Child kChildren[] = {
    {"notify", wire::Truth, kOnce, 2, [](Options& o, const String_t& text) { o.SetNotify(ToBool(text)); },
     [](ChildWriter out, const Impl& o) { out.Bool(o.GetNotify()); }},
    {"status", wire::Number, kOnce, 3, ReadStatus, [](ChildWriter out, const Impl& o) { out.Int(o.GetState()); }},
    {"forcestate", wire::Truth, kOnce, 17, ReadForceState,
     [](ChildWriter out, const Impl& o) { out.Bool(o.GetForceState()); }},
    {"checkversion", wire::Truth, kOnce, 4, [](Options& o, const String_t& text) { o.SetCheckVersion(ToBool(text)); },
     [](ChildWriter out, const Impl& o) { out.Bool(o.GetCheckVersion()); }},
    {"addcategory", wire::Text, kMany, 5, [](Options& o, const String_t& text) { o.SetAddCategory(text); },
     [](ChildWriter out, const Impl& o) { out.Texts(o.GetAddCategories()); }},
    {"removecategory", wire::Text, kMany, 6, [](Options& o, const String_t& text) { o.SetRemoveCategory(text); },
     [](ChildWriter out, const Impl& o) { out.Texts(o.GetRemoveCategories()); }},
    {"removeallcategories", wire::Truth, kOnce, 7,
     [](Options& o, const String_t& text) { o.SetRemoveAllCategories(ToBool(text)); },
     [](ChildWriter out, const Impl& o) { out.Bool(o.GetRemoveAllCategories()); }},
    {"addattribute", wire::Text, kMany, kInAddAttribute, nullptr,
     [](ChildWriter out, const Impl& o) { out.Pairs(o.GetAddAttributes()); }},
    {"removeattribute", wire::Text, kMany, kInRemoveAttribute, nullptr,
     [](ChildWriter out, const Impl& o) { out.Pairs(o.GetRemoveAttributes()); }},
    {"removeallattributes", wire::Truth, kOnce, 10,
     [](Options& o, const String_t& text) { o.SetRemoveAllAttributes(ToBool(text)); },
     [](ChildWriter out, const Impl& o) { out.Bool(o.GetRemoveAllAttributes()); }},
    {"owner", wire::Text, kOnce, 11, [](Options& o, const String_t& text) { o.SetOwner(text); },
     [](ChildWriter out, const Impl& o) { out.Text(o.GetOwner()); }},
    {"removeowner", wire::Truth, kOnce, 12,
     [](Options& o, const String_t& text) { o.GetImpl().SetRemoveOwner(ToBool(text)); },
     [](ChildWriter out, const Impl& o) { out.Bool(o.GetRemoveOwner()); }},
    {"forcecat", wire::Truth, kOnce, 13, [](Options& o, const String_t& text) { o.SetForceCat(ToBool(text)); },
     [](ChildWriter out, const Impl& o) { out.Bool(o.GetForceCat()); }},
    {"forceall", wire::Truth, kOnce, 14, [](Options& o, const String_t& text) { o.SetForceAll(ToBool(text)); },
     [](ChildWriter out, const Impl& o) { out.Bool(o.GetForceAll()); }},
    {"forceowner", wire::Truth, kOnce, 15, [](Options& o, const String_t& text) { o.SetForceOwner(ToBool(text)); },
     [](ChildWriter out, const Impl& o) { out.Bool(o.GetForceOwner()); }},
    {"forceattr", wire::Truth, kOnce, 16, [](Options& o, const String_t& text) { o.SetForceAttr(ToBool(text)); },
     [](ChildWriter out, const Impl& o) { out.Bool(o.GetForceAttr()); }},
};

InstallOptions WithAttributes(InstallOptions whole, Strings added, Strings removed) {
    for (String_t& text : added) {
        const NameAndValue attribute = SplitAttribute(std::move(text));
        whole.SetAddAttribute(attribute.name, attribute.value);
    }
    for (String_t& text : removed) {
        const NameAndValue attribute = SplitAttribute(std::move(text));
        whole.SetRemoveAttribute(attribute.name, attribute.value);
    }
    return whole;
}

}  // namespace

Description::Type InstallOptionsSoapArg::Describe() {
    Description::Type type{names::PolicyInstallOptions, {}};
    for (const Child& child : kChildren) type.children.push_back({child.name, child.type, child.times});
    return type;
}

void InstallOptionsSoapArg::WriteContent(LumPalXml::XmlWriter_t& writer) const {
    for (const Child& child : kChildren) child.write(ChildWriter(writer, child.name), options.GetImpl());
}

int InstallOptionsSoapArg::StateOfChild(const String_t& localName) const {
    for (const Child& child : kChildren) {
        if (localName == child.name) return child.state;
    }
    return 0;
}

void InstallOptionsSoapArg::StoreChild(int state, const String_t& text) {
    if (state == kInAddAttribute) return addAttributes.push_back(text);
    if (state == kInRemoveAttribute) return removeAttributes.push_back(text);
    for (const Child& child : kChildren) {
        if (child.state == state) child.read(options, text);
    }
}

void InstallOptionsSoapArg::SetOptions(const InstallOptions& value) {
    options = value;
    addAttributes.clear();
    removeAttributes.clear();
}

InstallOptions InstallOptionsSoapArg::GetOptions() const {
    return WithAttributes(options, addAttributes, removeAttributes);
}

InstallOptions InstallOptionsSoapArg::TakeOptions() {
    return WithAttributes(options, std::move(addAttributes), std::move(removeAttributes));
}

}  // namespace LumConf
