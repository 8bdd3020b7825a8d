/// @file
/// What each return value of a node means to a client: message and exception, as the client's users rely on them.
#pragma once

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <typeinfo>

#include "Exceptions.h"
#include "LumCtrl.h"
#include "LumSecAuth.h"

/// One row; "%" in the text stands for the host or the file.
struct AnswerRow {
    int value;
    unsigned id;
    LumPalMsg::Severity_e severity;
    const char* text;
    const std::type_info* type;
    bool namesFile = false;
};

namespace answers {

using LumConf::NoPoliciesInstalledError;
using LumConf::NoPolicyOperation;
using LumConf::PolicyNotFoundError;
using LumConf::PolicyOwnerError;
using LumConf::PolicyRemoteException;
using LumConf::PolicyVersionError;
using LumConf::SettingsRemoteException;
using LumCtrl::ControlException;
using LumPalMsg::Severity_e;
using LumSecAuth::NotAuthorizedException;

/// The row of a value that the table does not list.
inline AnswerRow Other(AnswerRow row, int value) {
    row.value = value;
    return row;
}

inline const AnswerRow selectionUndefined{0, 141, Severity_e::Error, "Undefined error on host '%'.",
                                          &typeid(PolicyRemoteException)};

inline const AnswerRow selection[] = {
    {2, 137, Severity_e::Warning, "No policies are installed on host '%'.", &typeid(NoPoliciesInstalledError)},
    {3, 138, Severity_e::Warning, "No policy for this selection found on host '%'.", &typeid(PolicyNotFoundError)},
    {4, 139, Severity_e::Warning, "No policy operation needed for the selected policies.", &typeid(NoPolicyOperation)},
    {8, 140, Severity_e::Error, "Policy operation is not allowed on host '%'.", &typeid(NotAuthorizedException)},
    {9, 134, Severity_e::Error, "The control service notification trigger reported errors for host '%'.",
     &typeid(ControlException)},
    Other(selectionUndefined, 0),
    Other(selectionUndefined, 5),
    Other(selectionUndefined, 6),
    Other(selectionUndefined, 7),
    Other(selectionUndefined, 10),
    Other(selectionUndefined, -1),
    Other(selectionUndefined, INT_MAX),
    Other(selectionUndefined, INT_MIN),
};

inline const AnswerRow list[] = {
    {2, 0, Severity_e::Error, "No policies are installed on host '%'.", &typeid(NoPoliciesInstalledError)},
    {3, 0, Severity_e::Error, "No policies found for host '%'.", &typeid(PolicyNotFoundError)},
    {8, 143, Severity_e::Error, "Policy listing is not allowed on host '%'.", &typeid(NotAuthorizedException)},
    Other(selectionUndefined, 0),
    Other(selectionUndefined, 4),
    Other(selectionUndefined, 5),
    Other(selectionUndefined, 6),
    Other(selectionUndefined, 7),
    Other(selectionUndefined, 9),
    Other(selectionUndefined, 10),
    Other(selectionUndefined, -1),
    Other(selectionUndefined, INT_MAX),
};

inline const AnswerRow configurationUndefined{0, 146, Severity_e::Error,
                                              "Undefined error sending configuration settings from host '%'.",
                                              &typeid(SettingsRemoteException)};

inline const AnswerRow configuration[] = {
    {8, 145, Severity_e::Error, "Configuration parameter settings operation is not allowed on host '%'.",
     &typeid(NotAuthorizedException)},
    Other(configurationUndefined, 0),
    Other(configurationUndefined, 2),
    Other(configurationUndefined, 3),
    Other(configurationUndefined, 4),
    Other(configurationUndefined, 5),
    Other(configurationUndefined, 6),
    Other(configurationUndefined, 7),
    Other(configurationUndefined, 9),
    Other(configurationUndefined, 10),
    Other(configurationUndefined, -1),
    Other(configurationUndefined, INT_MAX),
    Other(configurationUndefined, INT_MIN),
};

inline const AnswerRow installUndefined{0,
                                        135,
                                        Severity_e::Error,
                                        "Error on host during installation of policy file '%'.",
                                        &typeid(PolicyRemoteException),
                                        true};

/// An install of one policy.
inline const AnswerRow installPolicy[] = {
    {5, 131, Severity_e::Error, "Policy owner error during installation of policy file '%'.", &typeid(PolicyOwnerError),
     true},
    {6, 132, Severity_e::Error, "Policy version error during installation of policy file '%'.",
     &typeid(PolicyVersionError), true},
    {8, 133, Severity_e::Error, "Policy installation is not allowed on host '%'.", &typeid(NotAuthorizedException)},
    {9, 134, Severity_e::Error, "The control service notification trigger reported errors for host '%'.",
     &typeid(ControlException)},
    Other(installUndefined, 0),
    Other(installUndefined, 2),
    Other(installUndefined, 3),
    Other(installUndefined, 4),
    Other(installUndefined, 7),
    Other(installUndefined, 10),
    Other(installUndefined, -1),
};

inline const AnswerRow packageUndefined{0, 609, Severity_e::Error, "Policy installation had errors on host '%'.",
                                        &typeid(PolicyRemoteException)};

/// An install of a package; the first text has no full stop.
inline const AnswerRow installPackage[] = {
    {5, 607, Severity_e::Error, "Policy owner error during policy installation", &typeid(PolicyOwnerError)},
    {6, 608, Severity_e::Error, "Policy version error during policy installation.", &typeid(PolicyVersionError)},
    {8, 133, Severity_e::Error, "Policy installation is not allowed on host '%'.", &typeid(NotAuthorizedException)},
    {9, 134, Severity_e::Error, "The control service notification trigger reported errors for host '%'.",
     &typeid(ControlException)},
    Other(packageUndefined, 0),
    Other(packageUndefined, 2),
    Other(packageUndefined, 3),
    Other(packageUndefined, 4),
    Other(packageUndefined, 7),
    Other(packageUndefined, 10),
    Other(packageUndefined, -1),
};

}  // namespace answers

/// Expects that the action raises what the row says, with the node's words as the one detail.
template <class Action>
void ExpectAnswerRow(const AnswerRow& row, const std::string& host, const std::string& file,
                     const LumPalStr::String_t& words, Action&& action) {
    SCOPED_TRACE("return value " + std::to_string(row.value));
    try {
        action();
        ADD_FAILURE() << "nothing was raised";
    } catch (const LumPalMsg::Exception_t& e) {
        EXPECT_TRUE(typeid(e) == *row.type) << typeid(e).name();
        ASSERT_EQ(e.GetMessageList().GetMessageCount(), 1);
        const LumPalMsg::Message_t message = e.GetMessageList().GetMessage(0);
        std::string expected = row.text;
        if (const std::size_t hole = expected.find('%'); hole != std::string::npos)
            expected.replace(hole, 1, row.namesFile ? file : host);
        EXPECT_EQ(message.GetId(), row.id);
        EXPECT_EQ(message.GetSeverity(), row.severity);
        EXPECT_EQ(message.GetMessageText(), LumPalStr::String_t::FromUtf8(expected));
        ASSERT_EQ(message.GetDetails().GetMessageCount(), 1);
        EXPECT_EQ(message.GetDetails().GetMessage(0).GetMessageText(), words);
    }
}
