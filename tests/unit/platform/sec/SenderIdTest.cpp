#include <gtest/gtest.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <memory>

#include "Files.h"
#include "TempRoot.h"
#include "TestPki.h"
#include "TlsIdentity.h"

using LumSecCore::SenderId;

namespace {

struct Entry {
    const char* kind;
    int type;
    std::string bytes;
};

using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;

/// An unsigned certificate with the subject.
Certificate WithSubject(const std::vector<Entry>& entries) {
    Certificate made(X509_new(), X509_free);
    for (const Entry& entry : entries)
        X509_NAME_add_entry_by_txt(X509_get_subject_name(made.get()), entry.kind, entry.type,
                                   reinterpret_cast<const unsigned char*>(entry.bytes.data()),
                                   static_cast<int>(entry.bytes.size()), -1, 0);
    return made;
}

struct Row {
    const char* what;
    std::vector<Entry> subject;
    std::string id;
};

const Row kRows[] = {
    {"a name", {{"CN", V_ASN1_UTF8STRING, "node-1"}}, "node-1"},
    {"a name among others",
     {{"O", V_ASN1_UTF8STRING, "Tessel"}, {"CN", V_ASN1_PRINTABLESTRING, "node-1"}, {"OU", V_ASN1_UTF8STRING, "x"}},
     "node-1"},
    {"a name beyond ASCII", {{"CN", V_ASN1_UTF8STRING, "M\xC3\xBCller"}}, "M\xC3\xBCller"},
    {"a name of 16-bit units", {{"CN", V_ASN1_BMPSTRING, std::string("\0M\0\xFC", 4)}}, "M\xC3\xBC"},
    {"no subject", {}, ""},
    {"no common name", {{"O", V_ASN1_UTF8STRING, "node-1"}}, ""},
    {"two common names", {{"CN", V_ASN1_UTF8STRING, "node-1"}, {"CN", V_ASN1_UTF8STRING, "node-2"}}, ""},
    {"the same common name twice", {{"CN", V_ASN1_UTF8STRING, "node-1"}, {"CN", V_ASN1_UTF8STRING, "node-1"}}, ""},
    {"NUL in the name", {{"CN", V_ASN1_UTF8STRING, std::string("node-1\0.evil", 12)}}, ""},
    {"a line feed", {{"CN", V_ASN1_UTF8STRING, "node-1\nroot"}}, ""},
    {"DEL", {{"CN", V_ASN1_UTF8STRING, "node\x7F"}}, ""},
    {"a control character beyond ASCII", {{"CN", V_ASN1_UTF8STRING, "node\xC2\x85"}}, ""},
    {"no UTF-8", {{"CN", V_ASN1_UTF8STRING, "node\xFF"}}, ""},
    {"a surrogate", {{"CN", V_ASN1_UTF8STRING, "node\xED\xA0\x80"}}, ""},
    {"a name of the system", {{"CN", V_ASN1_UTF8STRING, "conf.cluster"}}, ""},
    {"the administrator's name", {{"CN", V_ASN1_UTF8STRING, "local administrator"}}, ""},
    {"the administrator's name in capitals", {{"CN", V_ASN1_UTF8STRING, "Local Administrator"}}, ""},
    {"a blank", {{"CN", V_ASN1_UTF8STRING, " "}}, ""},
};

using Context = std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)>;

}  // namespace

TEST(SenderId, IsTheOneGoodCommonName) {
    for (const Row& row : kRows) {
        std::string refusal = "unset";
        EXPECT_EQ(SenderId(WithSubject(row.subject).get(), refusal), row.id) << row.what;
        EXPECT_EQ(refusal.empty(), !row.id.empty()) << row.what << ": " << refusal;
    }
}

TEST(SenderId, MayHave255BytesAndNoMore) {
    const TestAuthority authority("authority");
    for (const std::size_t length : {std::size_t{255}, std::size_t{256}}) {
        Certificate made(X509_new(), X509_free);
        X509_NAME* subject = X509_get_subject_name(made.get());
        // The builder of names keeps to 64 characters; the reader of a peer's certificate does not.
        ASN1_STRING* text = ASN1_STRING_type_new(V_ASN1_UTF8STRING);
        ASN1_STRING_set(text, std::string(length, 'a').c_str(), static_cast<int>(length));
        X509_NAME_ENTRY* entry = X509_NAME_ENTRY_new();
        X509_NAME_ENTRY_set_object(entry, OBJ_nid2obj(NID_commonName));
        X509_NAME_ENTRY_set_data(entry, V_ASN1_UTF8STRING, ASN1_STRING_get0_data(text), static_cast<int>(length));
        X509_NAME_add_entry(subject, entry, -1, 0);
        X509_NAME_ENTRY_free(entry);
        ASN1_STRING_free(text);
        std::string refusal;
        EXPECT_EQ(SenderId(made.get(), refusal).size(), length == 255 ? 255u : 0u);
    }
}

TEST(ServerContext, NamesTheFileThatCannotBeUsed) {
    const TempRoot root;
    const TestAuthority authority("authority");
    const TestIdentity good = authority.Issue("node-1", ""), other = authority.Issue("node-2", "");
    const struct {
        const char* file;
        std::string text;
    } rows[] = {{"own/node-1.pem", "no certificate"},
                {"own/node-1.key", "no key"},
                {"own/node-1.key", other.key},
                {"trusted/authority.pem", "no certificate"}};
    for (const auto& row : rows) {
        InstallIdentity("node-1", good);
        InstallTrust("authority", authority.Certificate());
        WriteKeyStore(row.file, row.text);
        const Context context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
        try {
            LumSecCore::ConfigureServer(context.get(), LumSecCore::NodeIdentity::Load());
            ADD_FAILURE() << row.file << " was taken";
        } catch (const LumSecCore::KeyStoreException& e) {
            EXPECT_NE(std::string(e.what()).find(row.file), std::string::npos) << e.what();
        }
    }
}
