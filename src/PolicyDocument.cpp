#include "PolicyDocument.h"

#include <array>

#include "PolicyXmlHandler.h"

namespace LumConf::document {

/// Gives the table access to the steps of the handler.
struct Table {
    using H = PolicyHeaderImpl;
    using R = PolicyRecord;
    using X = PolicyXmlHandler;

    // clang-format off
    static constexpr std::array<Row, kElementCount> rows{{
        {u"header",                                     Kind::Structure},
        {u"header/policy",                              Kind::Structure, nullptr, nullptr, nullptr, &X::RewriteMissingLists},
        {u"header/policy/ids",                          Kind::Structure},
        {u"header/policy/ids/container_id",             Kind::Field, &H::SetContainerId, &R::containerId},
        {u"header/policy/ids/version_id",               Kind::Field, &H::SetVersionId, &R::versionId},
        {u"header/policy/name",                         Kind::Field, &H::SetName, &R::name},
        {u"header/policy/version",                      Kind::Field, &H::SetVersion, &R::version},
        {u"header/policy/description",                  Kind::Field, &H::SetDescription, &R::description},
        {u"header/policy/status",                       Kind::Field, &H::SetStatus, &R::status},
        {u"header/policy/owner",                        Kind::Field, &H::SetOwner, &R::owner},
        {u"header/policy/files",                        Kind::Structure},
        {u"header/policy/files/data",                   Kind::Structure, nullptr, nullptr, nullptr, &X::RewriteDataFiles},
        {u"header/policy/files/data/file_name",         Kind::RegeneratedText, nullptr, nullptr, &X::ReadFileName},
        {u"header/policy/files/data/encoding",          Kind::RegeneratedText, nullptr, nullptr, &X::ReadEncoding},
        {u"header/policy/files/data/checksum",          Kind::RegeneratedText, nullptr, nullptr, &X::ReadChecksum},
        {u"header/policy/files/data/signature",         Kind::RegeneratedText, nullptr, nullptr, &X::ReadSignature},
        {u"header/policy/categories",                   Kind::Structure, nullptr, nullptr, nullptr, &X::RewriteCategories},
        {u"header/policy/categories/category",          Kind::RegeneratedText, nullptr, nullptr, &X::ReadCategory},
        {u"header/policy/attributes",                   Kind::Structure, nullptr, nullptr, nullptr, &X::RewriteAttributes},
        {u"header/policy/attributes/attribute",         Kind::RegeneratedGroup, nullptr, nullptr, &X::ReadAttribute},
        {u"header/policy/attributes/attribute/name",    Kind::RegeneratedText, nullptr, nullptr, &X::ReadAttributeName},
        {u"header/policy/attributes/attribute/value",   Kind::RegeneratedText, nullptr, nullptr, &X::ReadAttributeValue},
        {u"header/policytype",                          Kind::Structure},
        {u"header/policytype/container_id",             Kind::Field, &H::SetTypeId, &R::typeId},
        {u"header/policytype/version",                  Kind::Field, &H::SetTypeVersion, &R::typeVersion},
        {u"header/policytype/name",                     Kind::Field, &H::SetTypeName, &R::typeName},
        {u"header/certificate",                         Kind::Field, nullptr, nullptr, &X::ReadCertificate, &X::RewriteCertificate},
    }};
    // clang-format on
};

namespace {

constexpr std::array<Row, kElementCount> WithParents(std::array<Row, kElementCount> rows) {
    for (Row& row : rows) {
        const std::size_t slash = row.path.rfind(u'/');
        if (slash == std::u16string_view::npos) {
            row.tag = row.path;
            continue;
        }
        row.tag = row.path.substr(slash + 1);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (rows[i].path == row.path.substr(0, slash)) row.parent = static_cast<Element>(i);
        }
    }
    return rows;
}

constexpr std::array<Row, kElementCount> kRows = WithParents(Table::rows);

}  // namespace

const Row& RowOf(Element element) noexcept {
    return kRows[static_cast<std::size_t>(element)];
}

Element FindChild(Element parent, std::u16string_view tag) noexcept {
    // Children stand behind their parent, so that the search may begin there.
    const std::size_t first = parent == Element::None ? 0 : static_cast<std::size_t>(parent) + 1;
    for (std::size_t i = first; i < kElementCount; ++i) {
        if (kRows[i].parent == parent && kRows[i].tag == tag) return static_cast<Element>(i);
    }
    return Element::None;
}

}  // namespace LumConf::document
