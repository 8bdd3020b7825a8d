/// @file
/// A node's store of policies for one test, and a consumer that hears what the node tells.
#pragma once

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "AuditLog.h"
#include "Configure.h"
#include "InstallOptions.h"
#include "LumCtrl.h"
#include "NodeAssembly.h"
#include "PolicyContainer.h"
#include "PolicyOperation.h"
#include "PolicySettings.h"
#include "PolicyWorker.h"
#include "Selection.h"
#include "TempRoot.h"
#include "TestPolicy.h"

/// A root, and the object of policy work on it with a worker and an audit log of its own; everything is audited.
class PolicyNode {
public:
    using String_t = LumPalStr::String_t;

    PolicyNode() : PolicyNode("/tmp") {}
    /// @param base  an existing folder below which the root is made
    explicit PolicyNode(const char* base) : root(base) {
        Configure("conf.server", "AUDIT_LOGGING", "true");
        // Triggers do not wait for a consumer. Set before the node reads it: a change is told a moment later.
        Configure("conf.core", "ASYNC_CONTROL_NOTIFY", "true");
        Restart();
    }
    ~PolicyNode() { Stop(); }

    /// Ends the object, as a stop of the process does.
    void Stop() {
        operation.reset();
        audit.reset();
        if (worker) worker->Stop();
        worker.reset();
    }
    void Restart() {
        Stop();
        auto fresh = std::make_unique<LumConfPar::PolicyWorker>(LumConfPar::MakePolicySettings());
        audit = std::make_unique<LumConf::AuditLog>();
        operation = std::make_unique<LumConf::PolicyOperation>(Surroundings(*fresh));
        worker = std::move(fresh);
    }
    /// What the cluster does to the status of a policy that is installed, from the next restart on.
    void SetClusterChange(std::function<void(LumConf::PolicyHeaderImpl*)> change) {
        clusterChange = std::move(change);
        Restart();
    }
    LumConf::PolicyOperation& Operation() { return *operation; }
    LumConf::PolicyOperation* operator->() { return operation.get(); }

    /// Installs without telling anybody.
    void Install(const TestPolicy& policy) { Install(policy, LumConf::InstallOptions()); }
    void Install(const TestPolicy& policy, LumConf::InstallOptions options) {
        options.SetNotify(false);
        operation->Install("tester", policy.Array(), options);
    }
    void Remove(const LumConf::Selection& selection) {
        operation->Remove("tester", selection, LumConf::PolicyForwarder::Options().SetNotify(false));
    }
    LumConf::PolicyContainer List(const LumConf::Selection& selection = LumConf::Selection()) {
        return operation->GetPolicyContainer("tester", selection);
    }
    LumConf::PolicyHeader Get(const char* id) { return List().GetPolicyHeader(id); }
    /// Ids in the cache, in its order, joined by blanks; empty for an empty cache.
    std::string Ids() {
        if (!operation->IsPolicyInstalled()) return "";
        std::string ids;
        const LumConf::PolicyContainer all = List();
        for (int i = 0; i < all.GetCount(); ++i) {
            ids += (i ? " " : "") + all.GetPolicyHeader(i).GetContainerId().ToUtf8();
        }
        return ids;
    }

    std::string InstallFolder() const { return root.Native() + "/policies"; }
    std::string IncomingFolder() const { return root.Native() + "/spool/incoming/files/conf_tmp"; }
    std::string TemporaryFolder() const { return root.Native() + "/tmp/conf_tmp"; }
    /// Paths of all files below a folder, relative to it.
    static std::set<std::string> FilesBelow(const std::string& folder) {
        std::set<std::string> files;
        if (!std::filesystem::exists(folder)) return files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            if (!entry.is_directory()) files.insert(entry.path().lexically_relative(folder).string());
        }
        return files;
    }
    std::set<std::string> Installed() const { return FilesBelow(InstallFolder()); }
    std::set<std::string> Incoming() const { return FilesBelow(IncomingFolder()); }
    std::set<std::string> Temporary() const { return FilesBelow(TemporaryFolder()); }
    static std::string Content(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    std::string InstalledContent(const std::string& path) const { return Content(InstallFolder() + "/" + path); }

    /// The audit log, and behind it that of callers without an id.
    std::string AuditText() const { return Content(root.Native() + "/log/conf.server.audit.log") + StrangersText(); }
    std::string StrangersText() const { return Content(root.Native() + "/log/conf.server.audit.strangers.log"); }
    /// How often a text stands in the audit log.
    int Audited(const std::string& text) const {
        const std::string log = AuditText();
        int count = 0;
        for (auto at = log.find(text); at != std::string::npos; at = log.find(text, at + 1)) ++count;
        return count;
    }
    const TempRoot& Root() const { return root; }

private:
    LumConf::PolicyOperation::Surroundings Surroundings(LumConfPar::PolicyWorker& worker) {
        auto surroundings = LumConf::SurroundingsOf(worker, *audit);
        if (clusterChange) surroundings.changeByCluster = clusterChange;
        return surroundings;
    }

    TempRoot root;
    std::function<void(LumConf::PolicyHeaderImpl*)> clusterChange;  ///< empty for that of the node
    std::unique_ptr<LumConfPar::PolicyWorker> worker;
    std::unique_ptr<LumConf::AuditLog> audit;
    std::unique_ptr<LumConf::PolicyOperation> operation;
};

/// Runs the control service of the present root, with one component that is registered for every event of policies.
/// Triggers of a PolicyNode do not wait for it.
class PolicyListener {
public:
    PolicyListener() {
        service.Start();
        const LumPalStr::String_t events[] = {"CHECK_POLICY:*",  "ENABLE_POLICY:*", "DISABLE_POLICY:*",
                                              "REMOVE_POLICY:*", "FIRST_POLICY:*",  "LAST_POLICY:*"};
        component = std::make_unique<LumCtrl::Component>("consumer", events, 6);
    }
    ~PolicyListener() {
        component.reset();
        service.Stop();
    }
    /// What came since the last call, each as "event value". A trigger of our own marks the end.
    std::vector<std::string> Heard() {
        LumCtrl::Control::Notify("LAST_POLICY:end of test", "", "", LumCtrl::Control::Options().SetAsynchronous(true));
        std::vector<std::string> heard;
        LumPalStr::String_t event, value;
        while (component->Next(event, value, 10000)) {
            component->Acknowledge();
            if (event == "LAST_POLICY:end of test") break;
            heard.push_back((event + " " + value).ToUtf8());
        }
        return heard;
    }

private:
    LumCtrl::Service service;
    std::unique_ptr<LumCtrl::Component> component;
};

/// Number of the first message of the exception that a call ends in, and its text with all details.
struct CaughtFailure {
    unsigned id = 0;
    std::string text;
};

/// Runs a call that should raise an E or a class below it; anything else passes. When nothing is raised the number is
/// 0 and the text empty: a test of a failure without a number looks at the text too.
template <class E, class Call>
CaughtFailure FailureOf(Call&& call) {
    try {
        call();
    } catch (const E& e) {
        return {e.GetMessageList().GetMessage(0).GetId(), e.GetMessageList().Format(36).ToUtf8()};
    }
    return {};
}
