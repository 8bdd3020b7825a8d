// The files of applications, each by itself: a load ends at the first one that is wrong.
#include <array>

#include "LumConfCluster/ApplicationFiles.h"
#include "LumConfCluster/ApplicationNames.h"
#include "LumConfCluster/XmlDataTree.h"
#include "LumPalIo.h"
#include "LumPalRuntime.h"
#include "common/Arguments.h"
#include "lumcluster/Checks.h"
#include "lumcluster/Look.h"
#include "lumcluster/Reasons.h"

namespace lumcluster {

using LumConfCluster::ApplicationNames;
using LumConfCluster::XmlDataNode;
using LumConfCluster::XmlDataTree;
using LumPalIo::File_t;
using LumPalStr::String_t;
using lumtools::Text;
using State = Finding::State;

namespace {

constexpr const char *kListTag = "APMClusterConfiguration", *kFileTag = "APMApplicationConfiguration",
                     *kInstanceTag = "Instance";
constexpr std::array kElements{"Name", "Template", "Subagent", "StartCommand", "StopCommand"};

std::string Joined(const lumtools::Outcome& outcome) {
    std::string text;
    for (const auto& line : outcome.messages) text += (text.empty() ? "" : " ") + line.text;
    return text;
}

bool IsKnown(const String_t& element) {
    for (const char* known : kElements) {
        if (element == known) return true;
    }
    return false;
}

bool HasInstances(const XmlDataNode& entry) {
    for (int i = 0; i < entry.ChildrenCount(); ++i) {
        if (entry[i].GetName() == kInstanceTag) return true;
    }
    return false;
}

/// What is wrong with it; empty when nothing is.
std::string WrongIn(const XmlDataNode& document) {
    if (document.GetName() != kFileTag) return std::string("its first element is not ") + kFileTag;
    if (document.ChildrenCount() == 0 || document[0].GetName() != "Application")
        return "it does not begin with Application";
    for (int i = 0; i < document[0].ChildrenCount(); ++i) {
        const String_t name = document[0][i].GetName();
        if (!IsKnown(name)) return "it has an element '" + name.ToUtf8() + "', which is none of an application";
    }
    return "";
}

class FileCheck {
public:
    FileCheck(const Subject& subject, Findings& findings) : subject(subject), findings(findings) {}

    void Run() {
        const File_t list(ApplicationListPath());
        const std::string path = list.ToString().ToUtf8();
        if (!list.Exists()) {
            Add(State::Note, "no application is configured: '" + path + "' is not there",
                "nothing, where policies name their groups themselves (HARG: attributes)");
            return;
        }
        const std::size_t before = findings.size();
        XmlDataTree tree;
        if (!Load(list, tree) || !CheckList(tree[0], path)) return;
        if (findings.size() == before) Add(State::Ok, "'" + path + "' and every application's file load", "");
    }

private:
    void Add(State state, const std::string& finding, const std::string& advice) {
        findings.push_back({state, "applications", finding, advice});
    }

    bool Load(const File_t& file, XmlDataTree& tree) {
        const lumtools::Outcome loaded = lumtools::Attempt([&] { tree.Load(file); });
        if (loaded.code == lumtools::kDone) return true;
        Add(State::Failed, Joined(loaded), "mend the file; docs/files.md tells its form");
        return false;
    }

    bool CheckList(const XmlDataNode& document, const std::string& path) {
        if (document.GetName() != kListTag) {
            Add(State::Failed, "the first element of '" + path + "' is not " + kListTag, "mend the file");
            return false;
        }
        for (int i = 0; i < document.ChildrenCount(); ++i) {
            const lumtools::Outcome checked = lumtools::Attempt([&] { CheckEntry(document[i], path); });
            if (checked.code == lumtools::kDone) continue;
            Add(State::Failed, "'" + path + "', element " + std::to_string(i + 1) + ": " + Joined(checked),
                "give it a Name, and each Instance a Name and a Package");
        }
        return true;
    }

    void CheckEntry(const XmlDataNode& entry, const std::string& path) {
        if (entry.GetName() != "Application") {
            Add(State::Failed,
                "'" + path + "' has an element '" + entry.GetName().ToUtf8() + "', which is no Application",
                "take it away; nothing behind it is loaded");
            return;
        }
        const std::string name = entry[String_t("Name")].GetValue().ToUtf8();
        const bool isDropped = names.Add(Text(name)) == ApplicationNames::Entry::Dropped;
        if (isDropped) TellDropped(name, path);
        CheckFile(name, isDropped ? Follows::Never : HasInstances(entry) ? Follows::Now : Follows::Later);
        for (int i = 0; i < entry.ChildrenCount(); ++i) {
            if (entry[i].GetName() == kInstanceTag) CheckInstance(name, entry[i]);
        }
    }

    void TellDropped(const std::string& name, const std::string& path) {
        const std::string holder = names.FindHolder(Text(name)).ToUtf8();
        if (holder.empty()) {
            return Add(State::Warning,
                       "the application '" + name + "' is dropped, since its name is empty, or holds characters of '" +
                           ApplicationNames::Mark().ToUtf8() +
                           "', by which names are kept apart: nothing of it is followed",
                       "give it another name in '" + path + "'");
        }
        Add(State::Warning,
            "the application '" + name + "' is dropped, since its name is part of that of '" + holder +
                "', which stands before it: nothing of it is followed",
            "let it stand before '" + holder + "' in '" + path + "', or give it another name");
    }

    /// Whether an application's policies are switched.
    enum class Follows { Now, Later, Never };

    void CheckFile(const std::string& name, Follows follows) {
        const File_t file = LumConfCluster::FindApplicationFile(Text(name));
        if (file.IsNull()) {
            Add(State::Failed, "the application '" + name + "' has no file",
                "put '" + name +
                    ".apm.xml' into bin/instrumentation/conf/ of the root; until then no application behind "
                    "it is loaded");
            return;
        }
        XmlDataTree tree;
        if (!Load(file, tree)) return;
        const std::string path = file.ToString().ToUtf8(), wrong = WrongIn(tree[0]);
        if (!wrong.empty()) return Add(State::Failed, "'" + path + "': " + wrong, "mend the file");
        if (follows == Follows::Never) return;
        CheckTemplates(tree[0][0], path, follows == Follows::Now ? State::Failed : State::Warning);
    }

    void CheckTemplates(const XmlDataNode& application, const std::string& path, State state) {
        for (int i = 0; i < application.ChildrenCount(); ++i) {
            if (application[i].GetName() != "Template") continue;
            const std::string listed = application[i].GetValue().ToUtf8();
            if (CanBeListed(listed)) continue;
            Add(state,
                "'" + path + "' lists a policy as '" + listed + "', which no name can be: that ends the monitor" +
                    (state == State::Failed ? "" : " as soon as the application has an instance"),
                "take that Template out of the file");
        }
    }

    void CheckInstance(const std::string& application, const XmlDataNode& instance) {
        const std::string name = instance[String_t("Name")].GetValue().ToUtf8();
        const std::string group = instance[String_t("Package")].GetValue().ToUtf8();
        if (!subject.sight.AreGroupsSeen() || subject.sight.FindGroup(group)) return;
        Add(State::Failed,
            "the instance '" + name + "' of '" + application + "' is carried by '" + group +
                "', which is no group of the cluster",
            "mend its Package, or make the group; until then no application from this one on is loaded");
    }

    const Subject& subject;
    Findings& findings;
    ApplicationNames names;
};

}  // namespace

void CheckApplicationFiles(const Subject& subject, Findings& findings) {
    FileCheck(subject, findings).Run();
}

}  // namespace lumcluster
