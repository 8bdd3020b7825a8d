/// @file
/// A node that trusts an authority and lets "signer" sign, and a policy that is signed there.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "Authorization.h"
#include "Chain.h"
#include "Files.h"
#include "LumSecCore.h"
#include "PolicyContainer.h"
#include "Raised.h"
#include "StorePaths.h"
#include "TempRoot.h"
#include "TestPki.h"
#include "TestPolicy.h"

/// A root with its key store and rights. The policy has two data files, the second one is empty.
class TrustingNode : public testing::Test {
protected:
    using String_t = LumPalStr::String_t;
    using CharArray_t = LumPalArray::CharArray_t;
    using File_t = LumPalIo::File_t;

    static constexpr const char* kGranted = "[conf]\nsigner=sign\n";

    TempRoot root;
    TestAuthority authority{"authority"};
    TestPolicy policy;
    CharArray_t data{"untouched"};

    void SetUp() override {
        policy.data = {{"one", "the first content"}, {"two", ""}};
        InstallTrust("authority", authority.Certificate());
        Grant(kGranted);
    }
    /// Takes the place of all rights.
    static void Grant(const std::string& rights) {
        WriteText(LumPalRuntime::Dir_t::Path(LumPalRuntime::Etc).ToUtf8() + "authorization.ini", rights);
        LumConf::Authorization::GetInstance().Update();
    }
    static void Own(const TestIdentity& identity, const std::string& alias = "signer") {
        WriteKeyStore("own/" + alias + ".pem", identity.certificate);
        WriteKeyStore("own/" + alias + ".key", identity.key);
    }
    static std::filesystem::path KeyStoreFolder() {
        return std::filesystem::path(LumSecCore::KeyStoreDirectory().ToUtf8()).parent_path();  // without the separator
    }
    /// A certificate as it stands in a document.
    static std::string Base64Of(const TestIdentity& identity) {
        const std::string& pem = identity.certificate;
        const std::size_t begin = pem.find('\n') + 1;
        std::string base64 = pem.substr(begin, pem.find("-----END") - begin);
        base64.erase(std::remove(base64.begin(), base64.end(), '\n'), base64.end());
        return base64;
    }
};

/// The policy lies in the store of the node.
class SignedPolicy : public TrustingNode {
protected:
    std::filesystem::path Folder() const {
        const std::filesystem::path store = LumConf::paths::PolicyInstallDirectory().GetAbsolutePath().ToUtf8();
        return store / policy.type;
    }
    std::string HeaderPath() const { return (Folder() / policy.HeaderName()).string(); }
    File_t HeaderFile() const { return File_t(String_t::FromUtf8(HeaderPath())); }
    std::string Document() const { return ReadText(HeaderPath()); }
    /// Puts the policy into the store, signed with the identity.
    void Sign(const TestIdentity& identity) {
        Own(identity);
        policy.WriteFiles(Folder().string());
        LumConf::PolicyHeader::SignData(HeaderFile(), CharArray_t("signer"));
    }
    LumConf::PolicyHeader Loaded() const {
        const LumConf::PolicyContainer container;
        container.CheckPolicy();
        return container.GetPolicyHeader(String_t::FromUtf8(policy.id));
    }
    /// Changes the document between two tags, at the n-th place.
    void Replace(const std::string& tag, int place, const std::function<std::string(std::string)>& change) const {
        std::string text = Document();
        std::size_t at = 0;
        for (int i = 0; i <= place; ++i) at = text.find("<" + tag + ">", at) + tag.size() + 2;
        const std::size_t end = text.find("</" + tag + ">", at);
        text.replace(at, end - at, change(text.substr(at, end - at)));
        std::filesystem::permissions(HeaderPath(), std::filesystem::perms::owner_all);
        WriteText(HeaderPath(), text);
    }
    void Replace(const std::string& tag, const std::string& text) const {
        Replace(tag, 0, [&](const std::string&) { return text; });
    }
    /// The messages of the failed check of the first data file.
    LumPalMsg::MessageList_t FailureMessages() {
        const LumConf::PolicyHeader header = Loaded();
        return MessagesOf<LumSecCore::SecCoreException>([&] { header.GetData(0, data); });
    }
    /// Their numbers.
    std::vector<unsigned> Failure() { return Chain(FailureMessages()); }
};
