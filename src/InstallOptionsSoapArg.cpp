#include "InstallOptionsSoapArg.h"

#include "AttributeCheck.h"
#include "InstallOptionsImpl.h"

namespace LumConf {

using LumPalStr::String_t;
using LumVoxSoap::SOAPArgBool;
using LumVoxSoap::SOAPArgInt;

namespace {

using Pair = std::pair<String_t, String_t>;

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

/// One child element: its name, the parse state inside it, and how its text enters the options (null: by GetOptions).
struct Child {
    const char* name;
    int state;
    void (*read)(InstallOptions&, const String_t&);
};

const Child kChildren[] = {
    {"notify", 2, [](InstallOptions& o, const String_t& text) { o.SetNotify(ToBool(text)); }},
    {"status", 3, ReadStatus},
    {"forcestate", 17, ReadForceState},
    {"checkversion", 4, [](InstallOptions& o, const String_t& text) { o.SetCheckVersion(ToBool(text)); }},
    {"addcategory", 5, [](InstallOptions& o, const String_t& text) { o.SetAddCategory(text); }},
    {"removecategory", 6, [](InstallOptions& o, const String_t& text) { o.SetRemoveCategory(text); }},
    {"removeallcategories", 7, [](InstallOptions& o, const String_t& text) { o.SetRemoveAllCategories(ToBool(text)); }},
    {"addattribute", kInAddAttribute, nullptr},
    {"removeattribute", kInRemoveAttribute, nullptr},
    {"removeallattributes", 10,
     [](InstallOptions& o, const String_t& text) { o.SetRemoveAllAttributes(ToBool(text)); }},
    {"owner", 11, [](InstallOptions& o, const String_t& text) { o.SetOwner(text); }},
    {"removeowner", 12, [](InstallOptions& o, const String_t& text) { o.GetImpl().SetRemoveOwner(ToBool(text)); }},
    {"forcecat", 13, [](InstallOptions& o, const String_t& text) { o.SetForceCat(ToBool(text)); }},
    {"forceall", 14, [](InstallOptions& o, const String_t& text) { o.SetForceAll(ToBool(text)); }},
    {"forceowner", 15, [](InstallOptions& o, const String_t& text) { o.SetForceOwner(ToBool(text)); }},
    {"forceattr", 16, [](InstallOptions& o, const String_t& text) { o.SetForceAttr(ToBool(text)); }},
};

/// Writes the children that the wire's table asks for, in its order.
class ChildWriter {
public:
    explicit ChildWriter(LumPalXml::XmlWriter_t& writer) : writer(writer) {}
    void Bool(const char* name, bool value) { WriteChild(writer, name, SOAPArgBool::BoolToUnicode(value)); }
    void Int(const char* name, int value) { WriteChild(writer, name, SOAPArgInt::IntToUnicode(value)); }
    void Text(const char* name, const String_t& value) { WriteChild(writer, name, value); }
    void Texts(const char* name, const std::vector<String_t>& values) {
        for (const String_t& value : values) Text(name, value);
    }
    void Pairs(const char* name, const std::vector<Pair>& pairs) {
        for (const Pair& pair : pairs) Text(name, pair.first + "=" + pair.second);
    }

private:
    LumPalXml::XmlWriter_t& writer;
};

}  // namespace

void InstallOptionsSoapArg::WriteContent(LumPalXml::XmlWriter_t& writer) const {
    const InstallOptionsImpl& o = options.GetImpl();
    ChildWriter write(writer);
    write.Bool("notify", o.GetNotify());
    write.Int("status", o.GetState());
    write.Bool("forcestate", o.GetForceState());
    write.Bool("checkversion", o.GetCheckVersion());
    write.Texts("addcategory", o.GetAddCategories());
    write.Texts("removecategory", o.GetRemoveCategories());
    write.Bool("removeallcategories", o.GetRemoveAllCategories());
    write.Pairs("addattribute", o.GetAddAttributes());
    write.Pairs("removeattribute", o.GetRemoveAttributes());
    write.Bool("removeallattributes", o.GetRemoveAllAttributes());
    write.Text("owner", o.GetOwner());
    write.Bool("removeowner", o.GetRemoveOwner());
    write.Bool("forcecat", o.GetForceCat());
    write.Bool("forceall", o.GetForceAll());
    write.Bool("forceowner", o.GetForceOwner());
    write.Bool("forceattr", o.GetForceAttr());
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
    InstallOptions whole = options;
    for (const String_t& text : addAttributes) {
        const NameAndValue attribute = SplitAttribute(text);
        whole.SetAddAttribute(attribute.name, attribute.value);
    }
    for (const String_t& text : removeAttributes) {
        const NameAndValue attribute = SplitAttribute(text);
        whole.SetRemoveAttribute(attribute.name, attribute.value);
    }
    return whole;
}

}  // namespace LumConf
