#include "PolicyCheck.h"

#include <algorithm>
#include <set>

#include "AttributeCheck.h"
#include "LumPalCfgFile.h"
#include "LumPalPlainFile.h"
#include "LumPalXml.h"
#include "Messages.h"
#include "Names.h"
#include "PlainName.h"
#include "PolicyArrayReader.h"
#include "PolicyXmlHandler.h"
#include "PolicyXmlParser.h"

namespace LumConf {

using document::Element;
using LumPalIo::File_t;
using LumPalMsg::Message_t;
using LumPalStr::String_t;

namespace {

using Place = PolicyXmlHandler::Place;

/// Of one data file: one that is no settings file at all would be told line by line.
constexpr std::size_t kMostBadLines = 1000;

/// The checks of one policy, and what they have found.
class Checker {
public:
    Checker(const File_t& file, std::uint64_t mostBytes) : file(file), mostBytes(mostBytes) {}
    PolicyCheck Run();

private:
    template <class Check>
    void Try(Place place, Check check) {
        try {
            check();
        } catch (const LumPalMsg::Exception_t& e) {
            Add(place, e.GetMessageList().GetMessage(0));
        }
    }
    void Add(Place place, const Message_t& message, bool isRefused = true) {
        faults.push_back({place.line, place.column, message, isRefused, {}});
    }
    bool ReadDocument();
    void CheckValues();
    void CheckSearched(Element element, const char* what, const String_t& name);
    void CheckStatus();
    void CheckData();
    void CheckOpens(const String_t& name, Place place);
    void CheckNames(const std::vector<String_t>& names);
    void CheckSizes(const std::vector<String_t>& names);
    void CheckSettings(const std::vector<String_t>& names);
    void CheckSettingsOf(const String_t& name);
    void AddInFile(const String_t& name, Place place, const Message_t& message) {
        faults.push_back({place.line, place.column, message, false, name});
    }
    File_t DataFile(const String_t& name) const { return File_t(File_t(file.GetAbsolutePath()).GetParentFile(), name); }

    const File_t file;
    const std::uint64_t mostBytes;
    PolicyXmlHandler handler;
    PolicyXmlHandler::HeaderPtr header;
    std::vector<PolicyFault> faults;
};

/// The bytes of a request are text there: four for three.
std::uint64_t BytesInRequest(std::uint64_t bytes) {
    return (bytes + 2) / 3 * 4;
}

String_t Number(std::uint64_t number) {
    return LumPalStr::NumToStr(static_cast<unsigned long long>(number));
}

bool IsThere(const File_t& file) {
    return file.Exists() && !file.IsDirectory();
}

bool StandsBefore(const PolicyFault& a, const PolicyFault& b) {
    if (a.file.IsEmpty() != b.file.IsEmpty()) return a.file.IsEmpty();
    if (a.file.IsNotEmpty()) return false;  // as they were found
    if ((a.line == 0) != (b.line == 0)) return b.line == 0;
    return a.line != b.line ? a.line < b.line : a.column < b.column;
}

bool IsSame(const PolicyFault& a, const PolicyFault& b) {
    return a.file == b.file && a.line == b.line && a.column == b.column &&
           a.message.Format(LumPalMsg::BareText) == b.message.Format(LumPalMsg::BareText);
}

PolicyCheck Checker::Run() {
    handler.StartFinding();
    const bool isRead = ReadDocument();
    for (const PolicyXmlHandler::Fault& fault : handler.GetFaults()) Add(fault.place, fault.message);
    // Behind a break nothing is known of what the document would have said.
    header = handler.TakeHeader();
    if (isRead) {
        CheckValues();
        CheckData();
    }
    std::stable_sort(faults.begin(), faults.end(), StandsBefore);
    faults.erase(std::unique(faults.begin(), faults.end(), IsSame), faults.end());
    return {PolicyHeader(header.Get()), faults};
}

bool Checker::ReadDocument() {
    if (file.IsDirectory()) {
        Add({}, Make(msg::PackFileIsDirectory, file.GetAbsolutePath()));
        return false;
    }
    Try({}, [&] { CheckHeaderFileName(file.GetName()); });
    try {
        PolicyXmlParser::Parse(LumPalIo::FileInputStream_t(file.GetAbsolutePath()), handler);
        return true;
    } catch (const LumPalXml::SAX::SAXParseException_t& e) {
        Add({e.GetLineNumber(), e.GetColumnNumber()}, e.GetMessageList().GetMessage(0));
    } catch (const LumPalIo::FileNotFoundException_t& e) {
        Add({}, Make(msg::XmlFileNotFound, file.GetAbsolutePath(), e));
    } catch (const LumPalMsg::RuntimeException_t& e) {
        Add({}, Make(msg::XmlReadError, file.GetAbsolutePath(), e));
    }
    return false;
}

/// What is not there is told already.
void Checker::CheckValues() {
    const auto check = [this](Element element, auto hold) {
        if (handler.GetCount(element) > 0) Try(handler.GetPlace(element), hold);
    };
    check(Element::ContainerId, [&] { CheckPolicyId(header->GetContainerId()); });
    check(Element::TypeName, [&] { CheckPlainName(header->GetTypeName()); });
    CheckSearched(Element::Name, "policy", header->GetName());
    if (IsPlainName(header->GetTypeName())) CheckSearched(Element::TypeName, "type", header->GetTypeName());
    CheckStatus();
    if (header->GetSignatureCount() != header->GetDataFileCount())
        Add(handler.GetPlace(Element::Files), MakeUnchecked(msg::XmlSignatureCount));
}

/// An install looks for the policy that it replaces by name and type.
void Checker::CheckSearched(Element element, const char* what, const String_t& name) {
    if (handler.GetCount(element) == 0) return;
    try {
        CheckAttribute(name);
    } catch (const LumPalMsg::Exception_t& e) {
        Add(handler.GetPlace(element), Make(msg::DocumentNameRefused, what, Shown(name), e));
    }
}

void Checker::CheckStatus() {
    if (handler.GetCount(Element::Status) == 0 || header->IsEnabled() || header->IsDisabled()) return;
    Add(handler.GetPlace(Element::Status), Make(msg::DocumentStatusUnknown, Shown(header->GetStatus())), false);
}

void Checker::CheckData() {
    std::vector<String_t> names;
    for (const PolicyDataFile& data : header->Snapshot().dataFiles) names.push_back(data.name);
    if (names.size() + 1 > static_cast<std::size_t>(PolicyArrayReader::kMostFiles)) {
        Add({}, Make(msg::TransferTooManyFiles, static_cast<int>(names.size()) + 1, PolicyArrayReader::kMostFiles));
        return;
    }
    CheckNames(names);
    CheckSizes(names);
    if (header->GetTypeName() == names::SettingsTypeName) CheckSettings(names);
}

void Checker::CheckNames(const std::vector<String_t>& names) {
    std::vector<String_t> good;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const Place place = handler.GetDataFilePlace(i);
        const std::size_t before = faults.size();
        Try(place, [&] { CheckDataFileName(names[i]); });
        if (faults.size() > before) continue;
        good.push_back(names[i]);
        CheckOpens(names[i], place);
    }
    Try(handler.GetPlace(Element::Files), [&] { CheckDataFileNames(good); });
}

/// An install opens it too, also where it has no size.
void Checker::CheckOpens(const String_t& name, Place place) {
    if (!DataFile(name).Exists()) return Add(place, Make(msg::DataFileAbsent, Shown(name)));
    Try(place, [&] { LumPalIo::OpenPlainFile(DataFile(name)); });
}

void Checker::CheckSizes(const std::vector<String_t>& names) {
    std::uint64_t whole = file.GetSize();
    bool isTold = false;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (!IsPlainName(names[i]) || !IsThere(DataFile(names[i]))) continue;
        const std::uint64_t size = DataFile(names[i]).GetSize();
        whole += size;
        if (BytesInRequest(size) <= mostBytes) continue;
        isTold = true;
        Add(handler.GetDataFilePlace(i),
            Make(msg::DataFileBeyondBody, Shown(names[i]), Number(size), Number(mostBytes)));
    }
    if (!isTold && BytesInRequest(whole) > mostBytes)
        Add({}, Make(msg::PolicyBeyondBody, Number(whole), Number(mostBytes)));
}

/// As the node merges them: one bad line, and it keeps the settings that it has. The policy itself it takes.
void Checker::CheckSettings(const std::vector<String_t>& names) {
    std::set<String_t> looked;
    for (const String_t& name : names) {
        if (IsPlainName(name) && IsThere(DataFile(name)) && looked.insert(name).second) CheckSettingsOf(name);
    }
}

/// What cannot be opened is told already.
void Checker::CheckSettingsOf(const String_t& name) {
    LumPalIo::InputStream_t stream;
    try {
        stream = LumPalIo::OpenPlainFile(DataFile(name));
    } catch (const LumPalMsg::Exception_t&) {
        return;
    }
    try {
        for (const auto& bad : LumPalCfgFile::ConfigReader_t::FindBadLines(stream, kMostBadLines, Shown(name)))
            AddInFile(name, {static_cast<int>(bad.line), static_cast<int>(bad.column)}, bad.message);
    } catch (const LumPalMsg::Exception_t& e) {
        AddInFile(name, {}, e.GetMessageList().GetMessage(0));
    }
}

}  // namespace

PolicyCheck PolicyCheck::Of(const File_t& headerFile, std::uint64_t mostBytes) {
    return Checker(headerFile, mostBytes).Run();
}

}  // namespace LumConf
