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
};

inline constexpr OperationRow kOperations[] = {
    {2, 8, "disable", "a", "", "Disable operation successful."},
    {3, 4, "enable", "d", "", "Enable operation successful."},
    {4, 2, "remove", "a", "", "Remove operation successful."},
    {5, 32, "set owner", "a", "somebody", "Set owner operation successful."},
    {6, 32, "add category", "a", "new", "Add category operation successful."},
    {7, 32, "remove category", "a", "net", "Remove category operation successful."},
    {8, 32, "remove all categories", "a", "", "Remove all categories operation successful."},
    {9, 32, "add attribute", "a", "new=value", "Add attribute operation successful."},
    {10, 32, "remove attribute", "a", "os=linux", "Remove attribute operation successful."},
    {11, 32, "remove all attributes", "a", "", "Remove all attributes operation successful."},
    {13, 1, "notify", "a", "", "Notification operation successful."},
    {15, 32, "reinit cache", "a", "", "Reinitialize cache operation successful."},
};
