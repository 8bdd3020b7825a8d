/// @file
/// The node of the process's own objects. There is one policy operation, one audit log and one authorization in a
/// process, and each keeps the root under which it was made: every test that uses them uses this node.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "AuditLog.h"
#include "Authorization.h"
#include "Configure.h"
#include "Files.h"
#include "InstallOptions.h"
#include "LumCtrl.h"
#include "PolicyOperation.h"
#include "PolicyWorker.h"
#include "StorePaths.h"
#include "TempRoot.h"
#include "TestPolicy.h"

class ProcessNode {
public:
    /// The node as it was at first: its root is the present one, nothing installed, granted, queued or audited, and its
    /// policy worker has nothing to do.
    static ProcessNode& Fresh() {
        static ProcessNode& node = Made();
        LumPalRuntime::Dir_t::SetRoot(node.root.Path());
        node.Empty();
        return node;
    }

    LumConf::PolicyOperation* operator->() const { return LumConf::PolicyOperation::GetInstance(); }
    const std::string& Root() const { return root.Native(); }
    std::string InstallFolder() const { return Root() + "/policies"; }
    std::string IncomingFolder() const { return Root() + "/spool/incoming/files/conf_tmp"; }
    std::string TemporaryFolder() const { return Root() + "/tmp/conf_tmp"; }

    /// Installs without telling anybody, and without a trace in the audit log.
    void Install(const TestPolicy& policy) const {
        LumConf::InstallOptions options;
        options.SetNotify(false);
        LumConf::PolicyOperation::GetInstance()->Install("conf.cluster", policy.Array(), options);
    }
    /// @param lines  of the domain "conf", as "sender=install list"
    void Grant(const std::string& lines) const {
        WriteText(Root() + "/etc/authorization.ini", "[conf]\n" + lines + "\n");
        LumConf::Authorization::GetInstance().Update();
    }

    /// Drops what waits for a notification; there must be no control service.
    void ForgetQueue() const {
        try {
            LumConf::PolicyOperation::GetInstance()->Notify("conf.cluster");
        } catch (const LumCtrl::ControlException&) {
            // Nobody listens: what was queued is gone all the same.
        }
    }

    /// The audit log, and behind it that of callers without an id.
    std::string AuditText() const { return ReadText(AuditPath()) + StrangersText(); }
    std::string StrangersText() const { return ReadText(StrangersPath()); }
    /// How often a text stands in the audit log.
    int Audited(const std::string& text) const {
        const std::string log = AuditText();
        int count = 0;
        for (auto at = log.find(text); at != std::string::npos; at = log.find(text, at + 1)) ++count;
        return count;
    }
    void ForgetAudit() const {
        WriteText(AuditPath(), "");
        if (std::filesystem::exists(StrangersPath())) WriteText(StrangersPath(), "");
    }

private:
    ProcessNode() {
        // Read by the process's objects when they are made.
        Configure("conf.server", "AUDIT_LOGGING", "true");
        Configure("vox.http.ext.conf", "SERVER_PORT", "0");
        Configure("sec.core", "CORE_ID", "node-1");
    }
    /// Made once; at the end of the process its root goes, and nothing looks into it any more.
    static ProcessNode& Made() {
        static ProcessNode node;
        return node;
    }
    std::string AuditPath() const { return Root() + "/log/conf.server.audit.log"; }
    std::string StrangersPath() const { return Root() + "/log/conf.server.audit.strangers.log"; }

    void Empty() const {
        std::filesystem::remove_all(InstallFolder());
        std::filesystem::remove(Root() + "/etc/authorization.ini");
        std::filesystem::remove(Root() + "/captured.log");
        for (const std::string& folder : {InstallFolder(), IncomingFolder(), TemporaryFolder()}) {
            std::filesystem::create_directories(folder);
        }
        Configure("sec.core", "CORE_ID", "node-1");
        Configure("sec.cm.certificates", "CERT_INSTALLED", "false");
        LumConf::PolicyOperation::GetInstance()->ReinitCache("conf.cluster");
        ForgetQueue();
        LumConf::Authorization::GetInstance().Update();
        ForgetAudit();
        // Else a merge that is late would write below the root of the next test.
        EXPECT_TRUE(Eventually([] { return !LumConfPar::PolicyWorker::GetInstance().IsBusyForTest(); }));
    }

    TempRoot root;
};
