#include "lumpolicy/ForeseenInstall.h"

#include <algorithm>

#include "common/Table.h"
#include "lumpolicy/PolicyText.h"

namespace lumpolicy {

using LumConf::PolicyHeader;
using nlohmann::ordered_json;

namespace {

using Words = std::vector<std::string>;

Words CategoriesIn(const PolicyHeader& header) {
    Words words;
    for (int i = 0; i < header.GetCategoryCount(); ++i) words.push_back(header.GetCategory(i).ToUtf8());
    return words;
}

Words AttributesIn(const PolicyHeader& header) {
    Words words;
    for (int i = 0; i < header.GetAttributesCount(); ++i) {
        words.push_back(header.GetAttribute(i).GetName().ToUtf8() + "=" + header.GetAttribute(i).GetValue().ToUtf8());
    }
    return words;
}

bool Holds(const Words& words, const std::string& word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

/// As a node does it: one that is added is not there twice.
void Change(Words& words, bool removeAll, const Words& remove, const Words& add) {
    std::erase_if(words, [&](const std::string& word) { return removeAll || Holds(remove, word); });
    for (const std::string& word : add) {
        if (!Holds(words, word)) words.push_back(word);
    }
}

std::string Joined(const Words& words) {
    std::string joined;
    for (const std::string& word : words) joined += (joined.empty() ? "" : ", ") + word;
    return joined;
}

const char* StatusWord(bool isEnabled) {
    return isEnabled ? "enabled" : "disabled";
}

ordered_json Brief(const PolicyHeader& header) {
    return {{"id", header.GetContainerId().ToUtf8()},
            {"name", header.GetName().ToUtf8()},
            {"version", header.GetVersion().ToUtf8()},
            {"status", header.GetStatus().ToUtf8()},
            {"owner", header.GetOwner().ToUtf8()}};
}

}  // namespace

ForeseenInstall::ForeseenInstall(const PolicyHeader& arriving, const InstallChoices& choices,
                                 std::optional<PolicyHeader> sameId, std::optional<PolicyHeader> sameName)
    : arriving(arriving), replaced(sameId ? sameId : sameName), isUnderNewId(!sameId && sameName) {
    if (sameId && sameName && sameId->GetContainerId() != sameName->GetContainerId()) displaced = sameName;
    ApplyChoices(choices);
    if (!replaced || choices.force) return;
    TakeOver(choices);
    Judge(choices);
}

void ForeseenInstall::ApplyChoices(const InstallChoices& choices) {
    status = choices.enable || choices.disable ? StatusWord(choices.enable) : arriving.GetStatus().ToUtf8();
    owner = choices.removeOwner ? "" : choices.owner.empty() ? arriving.GetOwner().ToUtf8() : choices.owner;
    categories = CategoriesIn(arriving);
    Change(categories, choices.removeAllCategories, choices.removeCategories, choices.addCategories);
    attributes = AttributesIn(arriving);
    Change(attributes, choices.removeAllAttributes, choices.removeAttributes, choices.addAttributes);
}

void ForeseenInstall::TakeOver(const InstallChoices& choices) {
    status = StatusWord(choices.forceState ? choices.enable : replaced->IsEnabled());
    if (!choices.forceCategories && replaced->GetCategoryCount() > 0) categories = CategoriesIn(*replaced);
    if (!choices.forceAttributes && replaced->GetAttributesCount() > 0) attributes = AttributesIn(*replaced);
}

void ForeseenInstall::Judge(const InstallChoices& choices) {
    if (replaced->GetTypeName() != arriving.GetTypeName()) {
        Refuse(lumtools::kFailed, "it is installed with the type '" + replaced->GetTypeName().ToUtf8() + "'");
    }
    if (!choices.forceOwner) {
        JudgeOwner(*replaced);
        if (displaced) JudgeOwner(*displaced);
    }
    if (choices.checkVersion && !(arriving.GetVersion() > replaced->GetVersion())) {
        Refuse(lumtools::kRefused, "its version '" + arriving.GetVersion().ToUtf8() + "' does not sort above '" +
                                       replaced->GetVersion().ToUtf8() + "', which is installed");
    }
}

void ForeseenInstall::JudgeOwner(const PolicyHeader& other) {
    const std::string installed = other.GetOwner().ToUtf8();
    if (installed.empty() || installed == owner) return;
    Refuse(lumtools::kRefused, "its owner '" + owner + "' is not '" + installed + "', the owner of " + NameOf(other));
}

/// The first reason counts: a node goes no further.
void ForeseenInstall::Refuse(lumtools::ExitCode code, const std::string& why) {
    if (outcome.code != lumtools::kDone) return;
    outcome = {code, {{0, "The node would refuse " + NameOf(arriving) + ": " + why + "."}}};
}

std::string ForeseenInstall::Sentence() const {
    const std::string name = NameOf(arriving), version = arriving.GetVersion().ToUtf8();
    if (outcome.code != lumtools::kDone) return "be refused: " + name;
    if (!replaced) return "install " + name + ", version " + version + ", which is new to the node";
    std::string change = "ask the node to replace " + NameOf(*replaced) + ", version " +
                         replaced->GetVersion().ToUtf8() + " of owner '" + replaced->GetOwner().ToUtf8() +
                         "', by version " + version + " of owner '" + owner + "'";
    if (isUnderNewId) change += " under the id " + arriving.GetContainerId().ToUtf8();
    if (displaced) change += ", and to remove " + NameOf(*displaced) + ", whose name it takes";
    return change + ": the node decides";
}

std::string ForeseenInstall::GetText() const {
    const std::string sentence = "would " + lumtools::Printable(Sentence()) + "\n";
    if (outcome.code != lumtools::kDone) return sentence;
    std::string state = status + ", owner '" + owner + "'";
    if (!categories.empty()) state += ", categories " + Joined(categories);
    if (!attributes.empty()) state += ", attributes " + Joined(attributes);
    return sentence + "  " + lumtools::Printable(state) + "\n";
}

ordered_json ForeseenInstall::ToJson() const {
    const bool isRefused = outcome.code != lumtools::kDone;
    ordered_json fields{{"id", arriving.GetContainerId().ToUtf8()},
                        {"name", arriving.GetName().ToUtf8()},
                        {"type", arriving.GetTypeName().ToUtf8()},
                        {"action", isRefused  ? "refuse"
                                   : replaced ? "replace"
                                              : "install"},
                        {"change", Sentence()},
                        {"version", arriving.GetVersion().ToUtf8()},
                        {"status", status},
                        {"owner", owner},
                        {"categories", categories},
                        {"attributes", attributes}};
    if (replaced) fields["replaces"] = Brief(*replaced);
    if (displaced) fields["removes"] = Brief(*displaced);
    if (isRefused) fields["refused_because"] = outcome.messages.front().text;
    return fields;
}

}  // namespace lumpolicy
