/// @file
/// The operations of "policyOp", as a caller sees them.
#pragma once

struct OperationRow {
    int mode;
    unsigned right;      ///< the one that a sender needs
    const char* name;    ///< in the audit log
    const char* id;      ///< a policy of the test's store that it changes: "a" is enabled, "d" disabled
    const char* text;    ///< its argument
    const char* answer;  ///< the words of success
    const char* audit;   ///< what the audit log says of a success; null: nothing
    const char* told;    ///< the event that the policy's consumers hear, before ":files="; null: none
};

inline constexpr OperationRow kOperations[] = {
    {2, 8, "disable", "a", "", "Disable operation successful.", "DISABLE: Policy (name: 'name of a', id: 'a')",
     "DISABLE_POLICY"},
    {3, 4, "enable", "d", "", "Enable operation successful.", "ENABLE: Policy (name: 'name of d', id: 'd')",
     "ENABLE_POLICY"},
    {4, 2, "remove", "a", "", "Remove operation successful.", "REMOVE: Policy (name: 'name of a', id: 'a')",
     "REMOVE_POLICY"},
    {5, 32, "set owner", "a", "somebody", "Set owner operation successful.", nullptr, "CHECK_POLICY"},
    {6, 32, "add category", "a", "new", "Add category operation successful.",
     "MODIFY: Policy (name: 'name of a', id: 'a') category", "CHECK_POLICY"},
    {7, 32, "remove category", "a", "net", "Remove category operation successful.",
     "MODIFY: Policy (name: 'name of a', id: 'a') category", "CHECK_POLICY"},
    {8, 32, "remove all categories", "a", "", "Remove all categories operation successful.",
     "MODIFY: Policy (name: 'name of a', id: 'a') category", "CHECK_POLICY"},
    {9, 32, "add attribute", "a", "new=value", "Add attribute operation successful.",
     "MODIFY: Policy (name: 'name of a', id: 'a') attribute", "CHECK_POLICY"},
    {10, 32, "remove attribute", "a", "os=linux", "Remove attribute operation successful.",
     "MODIFY: Policy (name: 'name of a', id: 'a') attribute", "CHECK_POLICY"},
    {11, 32, "remove all attributes", "a", "", "Remove all attributes operation successful.",
     "MODIFY: Policy (name: 'name of a', id: 'a') attribute", "CHECK_POLICY"},
    {13, 1, "notify", "a", "", "Notification operation successful.", "NOTIFY: Notification trigger", nullptr},
    {15, 32, "reinit cache", "a", "", "Reinitialize cache operation successful.", "REINIT: Policy cache", nullptr},
};
