/// @file
/// A node that serves over TLS, in a process of its own.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

#include "ConfigServer.h"
#include "Configure.h"
#include "Files.h"
#include "TempRoot.h"
#include "TestPki.h"

/// @throws std::runtime_error  with these words where it does not hold; for what runs in a process of its own
inline void Expect(bool holds, const std::string& what) {
    if (!holds) throw std::runtime_error(what);
}

/// A node that serves with a certificate of this name, called 127.0.0.1 by its cluster. In a process of its own, since
/// a process has one node.
class ServingNode {
public:
    explicit ServingNode(const char* certifiedName) {
        const TestAuthority authority("authority");
        InstallTrust("authority", authority.Certificate());
        InstallIdentity("node-1", authority.Issue(certifiedName, "IP:127.0.0.1"));
        Configure("vox.http.ext.conf", "SERVER_PORT", "0");
        Configure("conf.cluster", "CLUSTER_LOCAL_NODENAME", "127.0.0.1");
        server = std::make_unique<LumConf::ConfigServer>();
        server->Start();
        Expect(server->IsServing(), "it does not serve");
        Configure("vox.http.ext.conf", "TARGET_PORT", std::to_string(server->GetPort()).c_str());
    }
    ~ServingNode() { Stop(); }
    void Stop() {
        if (server) server->Stop();
        server.reset();
    }
    LumConf::ConfigServer& Server() { return *server; }
    const std::string& Root() const { return root.Native(); }
    std::string Settings() const { return ReadText(Root() + "/etc/pal/config/local_settings.ini"); }
    bool Holds(const std::string& line) const { return Settings().find(line) != std::string::npos; }
    /// @param lines  of the domain "conf", as "sender=128"
    void Grant(const std::string& lines) {
        WriteText(Root() + "/etc/authorization.ini", "[conf]\n" + lines + "\n");
        server->UpdateAuthorization();
    }

private:
    const TempRoot root;
    std::unique_ptr<LumConf::ConfigServer> server;
};

/// A trial that runs in a process of its own.
struct TrialRow {
    const char* what;
    void (*trial)();
};

inline void PrintTo(const TrialRow& row, std::ostream* out) {
    *out << row.what;
}
inline std::string NameOf(const testing::TestParamInfo<TrialRow>& info) {
    return info.param.what;
}

[[noreturn]] inline void EndBy(void (*trial)()) {
    int code = 0;
    try {
        trial();
    } catch (const std::exception& e) {
        std::cerr << e.what() << std::endl;
        code = 1;
    }
    std::_Exit(code);
}

inline void ExpectToPassInAProcess(const TrialRow& row) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(EndBy(row.trial), testing::ExitedWithCode(0), "");
}
