// The list of revoked certificates: what it takes for the same certificate, and what it cannot be read as.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "Files.h"
#include "LumPalFault.h"
#include "LumSecPki.h"
#include "LumSecRevoked.h"

#include "TempRoot.h"
#include "Tenfold.h"
#include "TestPki.h"

using LumPalArray::CharArray_t;
using LumSecCore::CertificateId;
using LumSecCore::KeyStoreException;
using LumSecCore::RevocationList;
using LumSecCore::X509Certificate;

namespace {

X509Certificate Read(const std::string& pem) {
    return LumSecPki::ReadCertificate(CharArray_t(pem.data(), pem.size()));
}

RevocationList::Entry EntryOf(const CertificateId& id, const std::string& subject = "operator") {
    return {id, "2026-11-21T10:00:00Z", subject};
}

const std::string kLine = "1f\tCN=authority\t2026-11-21T10:00:00Z\toperator\n";

std::string Refusal(const std::string& text) {
    try {
        RevocationList::Read(text, "list");
        return "";
    } catch (const KeyStoreException& e) {
        return e.what();
    }
}

void WriteList(const std::string& text) {
    WriteKeyStore("revoked.list", text);
}

}  // namespace

TEST(RevocationListTest, WhatIsWrittenIsReadBack) {
    RevocationList list;
    EXPECT_EQ(list.ToText(), "end 0\n");
    EXPECT_TRUE(list.Add(EntryOf({"1f", "CN=authority"})));
    EXPECT_FALSE(list.Add(EntryOf({"1f", "CN=authority"}, "another name")));
    EXPECT_TRUE(list.Add(EntryOf({"1f", "CN=other,O=M\\C3\\BCller"}, "M\xC3\xBCller")));
    const RevocationList again = RevocationList::Read(list.ToText(), "list");
    EXPECT_EQ(again.ToText(), list.ToText());
    EXPECT_TRUE(again.Holds({"1f", "CN=authority"}) && again.Holds({"1f", "CN=other,O=M\\C3\\BCller"}));
    EXPECT_FALSE(again.Holds({"1e", "CN=authority"}) || again.Holds({"1f", "CN=authorit"}));
}

TEST(RevocationListTest, AnEntryThatIsTakenBackIsGone) {
    RevocationList list;
    list.Add(EntryOf({"1", "CN=a"}));
    list.Add(EntryOf({"2", "CN=a"}));
    EXPECT_TRUE(list.Remove({"1", "CN=A"}));
    EXPECT_FALSE(list.Remove({"1", "CN=a"}));
    EXPECT_FALSE(list.Holds({"1", "CN=a"}));
    EXPECT_TRUE(list.Holds({"2", "CN=a"}));
    EXPECT_EQ(RevocationList::Read(list.ToText(), "list").Get().size(), 1u);
}

TEST(RevocationListTest, NamesAreComparedAsAuthoritiesWriteThemOneWayOrAnother) {
    RevocationList list;
    list.Add(EntryOf({"1", "CN=The  Authority"}));
    EXPECT_TRUE(list.Holds({"1", "cn=THE AUTHORITY"}));
    EXPECT_FALSE(list.Holds({"1", "CN=TheAuthority"}));
}

TEST(RevocationListTest, ACertificateIsNamedByWhatItsIssuerSigned) {
    const TestAuthority authority("authority");
    const X509Certificate own = Read(authority.Certificate()),
                          issued = Read(authority.Issue("operator", "").certificate);
    EXPECT_EQ(CertificateId::Of(issued).issuer, "CN=authority");
    EXPECT_EQ(CertificateId::NameOf(own), "CN=authority");
    EXPECT_EQ(CertificateId::SerialFrom(CertificateId::Of(issued).serial), CertificateId::Of(issued).serial);
    RevocationList list;
    list.Add(EntryOf(CertificateId::Of(issued)));
    EXPECT_THROW(list.Refuse(issued), LumSecCore::SecCoreException);
    EXPECT_NO_THROW(list.Refuse(own));
    EXPECT_NO_THROW(list.Refuse(Read(authority.Issue("operator", "").certificate)));
    EXPECT_THROW(CertificateId::Of(X509Certificate()), LumSecCore::SecCoreException);
}

TEST(RevocationListTest, NamesThatCannotBeWrittenPlainlyAreNamedByTheirHash) {
    for (const std::string& name : {std::string(2000, 'x'), std::string("\xFF\xFE")}) {
        const X509Certificate issued = Read(TestAuthority(name).Issue("operator", "").certificate);
        const std::string issuer = CertificateId::Of(issued).issuer;
        EXPECT_TRUE(issuer.starts_with("#") && issuer.size() == 65) << issuer;
        RevocationList list;
        EXPECT_TRUE(list.Add(EntryOf(CertificateId::Of(issued))));
        EXPECT_TRUE(RevocationList::Read(list.ToText(), "list").Holds(CertificateId::Of(issued)));
    }
    const X509Certificate lines = Read(TestAuthority("a\nb\tc").Issue("operator", "").certificate);
    EXPECT_EQ(CertificateId::Of(lines).issuer, "CN=a\\0Ab\\09c");
}

TEST(RevocationListTest, ASerialNumberIsReadAsPeopleWriteIt) {
    for (const char* text : {"1f", "1F", "001F", "0x1f", "0X1f", "1:f", "00:1f"})
        EXPECT_EQ(CertificateId::SerialFrom(text), "1f") << text;
    EXPECT_EQ(CertificateId::SerialFrom("000"), "0");
    EXPECT_EQ(CertificateId::SerialFrom("-0a"), "-a");
    for (const char* text : {"", "-", "0x", "g", "1 f", " 1f", "1f\n", "+1", "--1", ":", "1.0"})
        EXPECT_EQ(CertificateId::SerialFrom(text), "") << text;
}

TEST(RevocationListTest, WhatIsBrokenIsRefusedWithItsLine) {
    const struct {
        std::string text;
        const char* words;
    } rows[] = {
        {"", "line 1: it is cut off"},
        {"end 0", "line 1: it is cut off"},
        {kLine, "line 2: it is cut off"},
        {kLine + "end 1", "line 2: it is cut off"},
        {kLine + "end 2\n", "line 2: the number of lines is another"},
        {kLine + "end 01\n", "line 2: the number of lines is another"},
        {"end 1\n" + kLine, "line 1: the number of lines is another"},
        {kLine + "end 1\n" + kLine, "line 3: it stands behind the end"},
        {kLine + "end 1\n\n", "line 3: it stands behind the end"},
        {kLine + "\nend 1\n", "line 2: it is no entry"},
        {"# a word\n" + kLine + "end 1\n", "line 1: it is no entry"},
        {kLine + kLine + "end 2\n", "line 2: the certificate stands above already"},
        {"1f\tCN=authority\t2026-11-21T10:00:00Z\n"
         "end 1\n",
         "line 1: it is no entry"},
        {"1f\tCN=authority\t2026-11-21T10:00:00Z\ta\tb\nend 1\n", "line 1: it is no entry"},
        {"1F\tCN=a\t2026-11-21T10:00:00Z\ta\nend 1\n", "line 1: the first field is no serial number"},
        {"01\tCN=a\t2026-11-21T10:00:00Z\ta\nend 1\n", "line 1: the first field is no serial number"},
        {"\tCN=a\t2026-11-21T10:00:00Z\ta\nend 1\n", "line 1: the first field is no serial number"},
        {"1\t\t2026-11-21T10:00:00Z\ta\nend 1\n", "line 1: the second field is no name"},
        {"1\tCN=\xC3\xBC\t2026-11-21T10:00:00Z\ta\nend 1\n", "line 1: the second field is no name"},
        {"1\tCN=a\t2026-11-21\ta\nend 1\n", "line 1: the third field is no time"},
        {"1\tCN=a\t2026-11-21T10:00:00Zx\ta\nend 1\n", "line 1: the third field is no time"},
        {"1\tCN=a\t2026-11-21T10:00:00Z\t\x1B[31m\nend 1\n", "line 1: the fourth field is no plain text"},
        {"1\tCN=a\t2026-11-21T10:00:00Z\t\xFF\nend 1\n", "line 1: the fourth field is no plain text"},
        {kLine + "1\tCN=" + std::string(3000, 'a') + "\t2026-11-21T10:00:00Z\ta\nend 2\n",
         "line 2: a field is too long"},
        {kLine + std::string(10, '\0') + "\nend 1\n", "line 2: it is no entry"},
        {"1f\tCN=authority\t2026-11-21T10:00:00Z\toperator\r\nend 1\n", "line 1: the fourth field is no plain text"},
    };
    for (const auto& row : rows) EXPECT_THAT(Refusal(row.text), testing::HasSubstr(row.words)) << row.text;
    EXPECT_EQ(Refusal(kLine + "end 1\n"), "");
    EXPECT_THAT(Refusal(""), testing::HasSubstr("The list of revoked certificates 'list'"));
}

TEST(RevocationListTest, WhatCouldNotBeReadBackIsNotTaken) {
    RevocationList list;
    for (const RevocationList::Entry& entry : {RevocationList::Entry{{"1F", "CN=a"}, "2026-11-21T10:00:00Z", ""},
                                               {{"1", ""}, "2026-11-21T10:00:00Z", ""},
                                               {{"1", "CN=a\n"}, "2026-11-21T10:00:00Z", ""},
                                               {{"1", "CN=a"}, "now", ""},
                                               {{"1", "CN=a"}, "2026-11-21T10:00:00Z", "a\nb"}})
        EXPECT_THROW(list.Add(entry), LumPalMsg::IllegalArgumentError_t);
    EXPECT_EQ(list.ToText(), "end 0\n");
}

TEST(RevocationListTest, AListThatIsNotThereIsEmptyAndOneThatCannotBeReadIsAFailure) {
    const TempRoot root;
    EXPECT_TRUE(RevocationList::Load()->Get().empty());
    WriteList(kLine + "end 1\n");
    EXPECT_EQ(RevocationList::Load()->Get().size(), 1u);
    const std::string path = RevocationList::Path().ToString().ToUtf8();
    WriteList("broken\nend 1\n");
    EXPECT_THROW(RevocationList::Load(), KeyStoreException);
    for (const std::function<void()>& make : std::vector<std::function<void()>>{
             [&] { std::filesystem::create_directory(path); },
             [&] { mkfifo(path.c_str(), 0600); },
             [&] { std::filesystem::create_symlink("nowhere", path); },
             [&] { std::filesystem::create_symlink(path, path); },
             [&] {
                 WriteList(kLine);
                 std::filesystem::resize_file(path, RevocationList::kLargest + 1);
             },
         }) {
        std::filesystem::remove(path);
        make();
        EXPECT_THROW(RevocationList::Load(), KeyStoreException);
    }
    std::filesystem::remove(path);
    EXPECT_TRUE(RevocationList::Load()->Get().empty());
}

TEST(RevocationListTest, AFileThatWasLeftAloneIsReadOnceAndAChangeIsSeen) {
    const TempRoot root;
    WriteList(kLine + "end 1\n");
    const auto first = RevocationList::Load();
    // It was written a moment ago: its next change might not show.
    EXPECT_EQ(first->GetDigest(), RevocationList::Load()->GetDigest());
    WriteList("1\tCN=a\t2026-11-21T10:00:00Z\ta\nend 1\n");
    EXPECT_TRUE(RevocationList::Load()->Holds({"1", "CN=a"}));
    EXPECT_NE(RevocationList::Load()->GetDigest(), first->GetDigest());
    std::filesystem::remove(RevocationList::Path().ToString().ToUtf8());
    EXPECT_TRUE(RevocationList::Load()->Get().empty());
}

TEST(RevocationListTest, ALookUpCostsTheSameAmongMany) {
    const auto timeOf = [](std::size_t entries) {
        RevocationList list;
        std::string text;
        for (std::size_t i = 1; i <= entries; ++i) {
            char serial[32];
            std::snprintf(serial, sizeof serial, "%zx", i);
            text += std::string(serial) + "\tCN=authority\t2026-11-21T10:00:00Z\toperator\n";
        }
        list = RevocationList::Read(text + "end " + std::to_string(entries) + "\n", "list");
        EXPECT_TRUE(list.Holds({"1", "CN=authority"}) && !list.Holds({"0", "CN=authority"}));
        return ProcessorSeconds([&] {
            for (int i = 0; i < 20000; ++i) list.Holds({"ffffff", "CN=authority"});
        });
    };
    // A search through all of them would take a thousand times as long.
    EXPECT_LT(timeOf(10000), 30 * timeOf(10));
}
