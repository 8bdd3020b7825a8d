#include "NodeStatusSoapArg.h"

#include <charconv>
#include <string>

#include "Names.h"

namespace LumConf {

using LumPalStr::String_t;

namespace {

template <class Number>
String_t TextOf(Number number) {
    return String_t::FromUtf8(std::to_string(number));
}

template <class Number>
void Read(const String_t& text, Number& number) {
    const std::string digits = text.ToUtf8();
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
}

/// One field: how it is described, written and read.
struct Field {
    const char* name;
    const char* type;
    String_t (*write)(const NodeStatus&);
    void (*read)(const String_t&, NodeStatus&);
};

template <auto Member>
constexpr Field Text(const char* name) {
    return {name, wire::Text, [](const NodeStatus& from) { return from.*Member; },
            [](const String_t& text, NodeStatus& to) { to.*Member = text; }};
}

template <auto Member>
constexpr Field Number(const char* name, const char* type) {
    return {name, type, [](const NodeStatus& from) { return TextOf(from.*Member); },
            [](const String_t& text, NodeStatus& to) { Read(text, to.*Member); }};
}

template <auto Member>
constexpr Field Truth(const char* name) {
    return {name, wire::Truth, [](const NodeStatus& from) { return String_t(from.*Member ? "true" : "false"); },
            [](const String_t& text, NodeStatus& to) { to.*Member = text == "true" || text == "1"; }};
}

constexpr const char *kCount = "xsd:unsignedInt", *kMoment = "xsd:long";

constexpr Field kFields[] = {
    Text<&NodeStatus::version>("version"),
    Text<&NodeStatus::coreId>("core_id"),
    Number<&NodeStatus::started>("started", kMoment),
    Number<&NodeStatus::port>("port", kCount),
    Truth<&NodeStatus::tls>("tls"),
    Truth<&NodeStatus::onLoopbackAlone>("on_loopback_alone"),
    Truth<&NodeStatus::awaitsRestart>("awaits_restart"),
    Number<&NodeStatus::policies>("policies", kCount),
    Number<&NodeStatus::enabled>("policies_enabled", kCount),
    Number<&NodeStatus::disabled>("policies_disabled", kCount),
    Number<&NodeStatus::missingFiles>("policies_missing_files", kCount),
    Text<&NodeStatus::settingsBroken>("settings_broken"),
    Number<&NodeStatus::queued>("notifications_queued", kCount),
    Number<&NodeStatus::consumers>("consumers", kCount),
    Text<&NodeStatus::cluster>("cluster"),
};

constexpr int kFirstField = 2;
enum RowState {
    CertificateKind = kFirstField + static_cast<int>(std::size(kFields)),
    CertificateName,
    CertificateEnd,
    ErrorTime,
    ErrorText
};

/// Fields of the rows, in their order.
constexpr struct {
    RowState state;
    const char *name, *type;
} kRowFields[] = {{CertificateKind, "certificate_kind", wire::Text},
                  {CertificateName, "certificate_name", wire::Text},
                  {CertificateEnd, "certificate_end", kMoment},
                  {ErrorTime, "error_time", kMoment},
                  {ErrorText, "error_text", wire::Text}};

const char* NameOf(RowState state) {
    return kRowFields[state - CertificateKind].name;
}

}  // namespace

NodeStatusSoapArg::NodeStatusSoapArg() : FlatSoapArg(names::NodeStatusName) {}

NodeStatusSoapArg::NodeStatusSoapArg(NodeStatus status) : NodeStatusSoapArg() {
    this->status = std::move(status);
}

LumVoxRpc::Description::Type NodeStatusSoapArg::Describe() {
    LumVoxRpc::Description::Type type{names::NodeStatusName, {}};
    using enum LumVoxRpc::Description::Times;
    for (const Field& field : kFields) type.children.push_back({field.name, field.type, Once});
    for (const auto& field : kRowFields) type.children.push_back({field.name, field.type, AnyNumber});
    return type;
}

void NodeStatusSoapArg::WriteContent(LumPalXml::XmlWriter_t& writer) const {
    for (const Field& field : kFields) WriteChild(writer, field.name, field.write(status));
    for (const NodeStatus::Certificate& row : status.certificates) {
        WriteChild(writer, NameOf(CertificateKind), row.kind);
        WriteChild(writer, NameOf(CertificateName), row.name);
        WriteChild(writer, NameOf(CertificateEnd), TextOf(row.end));
    }
    for (const NodeStatus::Error& row : status.errors) {
        WriteChild(writer, NameOf(ErrorTime), TextOf(row.time));
        WriteChild(writer, NameOf(ErrorText), row.text);
    }
}

int NodeStatusSoapArg::StateOfChild(const String_t& localName) const {
    for (std::size_t i = 0; i < std::size(kFields); ++i) {
        if (localName == kFields[i].name) return kFirstField + static_cast<int>(i);
    }
    for (const auto& field : kRowFields) {
        if (localName == field.name) return field.state;
    }
    return 0;
}

void NodeStatusSoapArg::StoreChild(int state, const String_t& text) {
    if (state < CertificateKind) return kFields[state - kFirstField].read(text, status);
    switch (static_cast<RowState>(state)) {
        case CertificateKind:
            certificate.kind = text;
            return;
        case CertificateName:
            certificate.name = text;
            return;
        case CertificateEnd:
            Read(text, certificate.end);
            if (status.certificates.size() < kMostRows) status.certificates.push_back(std::exchange(certificate, {}));
            return;
        case ErrorTime:
            Read(text, error.time);
            return;
        case ErrorText:
            error.text = text;
            if (status.errors.size() < kMostRows) status.errors.push_back(std::exchange(error, {}));
            return;
    }
}

}  // namespace LumConf
