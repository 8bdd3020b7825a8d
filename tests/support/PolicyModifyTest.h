/// @file
/// The tests of changes of headers: a node, and short words for what is asked of it.
#pragma once

#include <gtest/gtest.h>

#include "NamedPolicy.h"
#include "PolicyNode.h"

namespace LumConf {

/// The audit log's line on the policy of the id.
inline std::string Line(const char* outcome, const char* what, const std::string& id, const char* how) {
    return std::string(outcome) + " Audit: " + what + ": Policy (name: 'name of " + id + "', id: '" + id + "') " + how;
}

class PolicyModifyTest : public testing::Test {
protected:
    PolicyNode node;
    const PolicyForwarder::Options quiet = PolicyForwarder::Options().SetNotify(false);

    void Status(const Selection& selection, int action) { node->SetStatus("tester", selection, action, quiet); }
    void Owner(const char* owner, const Selection& selection = Selection()) {
        node->SetOwner("tester", owner, selection, quiet);
    }
    void AddCategory(const char* words, const Selection& selection = Selection()) {
        node->ModifyCategory("tester", words, selection, quiet, PolicyOperation::AddCategory);
    }
    void RemoveCategory(const char* words, const Selection& selection = Selection()) {
        node->ModifyCategory("tester", words, selection, quiet, PolicyOperation::RemoveCategory);
    }
    void AddAttribute(const char* text, const Selection& selection = Selection()) {
        node->ModifyAttributes("tester", text, selection, quiet, PolicyOperation::AddAttribute);
    }
    void RemoveAttribute(const char* text, const Selection& selection = Selection()) {
        node->ModifyAttributes("tester", text, selection, quiet, PolicyOperation::RemoveAttribute);
    }
    std::string Document(const std::string& id) { return node.InstalledContent("files/" + id + "_header.xml"); }
    /// The header as a new start reads it from the store.
    PolicyHeader Stored(const char* id) {
        node->ReinitCache("tester");
        return node.Get(id);
    }
    static std::string Categories(const PolicyHeader& header) {
        std::string all;
        for (int i = 0; i < header.GetCategoryCount(); ++i) all += header.GetCategory(i).ToUtf8() + ";";
        return all;
    }
    static std::string Attributes(const PolicyHeader& header) {
        std::string all;
        for (int i = 0; i < header.GetAttributesCount(); ++i) {
            const PolicyAttribute attribute = header.GetAttribute(i);
            all += attribute.GetName().ToUtf8() + "=" + attribute.GetValue().ToUtf8() + ";";
        }
        return all;
    }
    /// What the operation queued, as a consumer hears it with the next notification.
    std::vector<std::string> Queued() {
        node->Notify("tester");
        return listener.Heard();
    }
    PolicyListener listener;

    void Install(TestPolicy policy) {
        node.Install(policy);
        Queued();
    }
    void Install(std::initializer_list<const char*> ids) {
        for (const char* id : ids) node.Install(Policy(id));
        Queued();
    }
};

}  // namespace LumConf
