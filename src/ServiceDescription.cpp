#include "ServiceDescription.h"

#include "ConfigGroupSoapArg.h"
#include "InstallOptionsSoapArg.h"
#include "Names.h"
#include "NodeStatusSoapArg.h"
#include "OptionsSoapArg.h"
#include "PolicyContainerSoapArg.h"
#include "SelectionSoapArg.h"

namespace LumConf {

using LumVoxRpc::Description;
using Field = Description::Field;

namespace {

std::string Own(const char* type) {
    return std::string("m:") + type;
}

std::vector<Description::Type> PolicyTypes() {
    std::vector<Description::Type> types{InstallOptionsSoapArg::Describe(), SelectionSoapArg::Describe(),
                                         OptionsSoapArg::Describe()};
    for (Description::Type& type : PolicyContainerSoapArg::Describe()) types.push_back(std::move(type));
    types.push_back(ConfigGroupSoapArg::Describe());
    types.push_back(NodeStatusSoapArg::Describe());
    return types;
}

}  // namespace

Description DescribePolicyService() {
    const Field selection{names::PolicySelection, Own(names::PolicySelection)};
    const Field settings{names::ConfigGroupName, Own(names::ConfigGroupName)};
    const Field value{names::PolicySelectionRetValue, wire::Number}, text{names::PolicySelectionRetString, wire::Text};
    return {"LumConf",
            PolicyTypes(),
            {{names::InstallMethod,
              {{names::PolicyInstallFilename, wire::Text},
               {names::PolicyByteArrayName, wire::Bytes},
               {names::PolicyInstallOptions, Own(names::PolicyInstallOptions)},
               {names::PolicyInstallMethod, wire::Number}},
              {{names::PolicyInstallRetValue, wire::Number}, {names::PolicyInstallRetString, wire::Text}}},
             {names::PolicyOpMethod,
              {{names::PolicyOperationMode, wire::Number},
               {names::PolicyString1, wire::Text},
               selection,
               {names::PolicyOptions, Own(names::PolicyOptions)}},
              {value, text}},
             {names::ListMethod, {selection}, {value, text, {names::PolicyContainer, Own(names::PolicyContainer)}}},
             {names::ConfigOpMethod,
              {{names::PolicyOperationMode, wire::Number}, {names::ConfigPackageName, wire::Text}, settings},
              {{names::ConfigReturnValue, wire::Number}, {names::ConfigReturnString, wire::Text}, settings}},
             {names::MgrConfMethod, {}, {{"result", wire::Number}}},
             {names::PolicyFilesMethod,
              {selection, {names::PolicyFilesMode, wire::Number}},
              {value, text, {names::PolicyFilesName, wire::Bytes}}},
             {names::NodeStatusMethod, {}, {value, text, {names::NodeStatusName, Own(names::NodeStatusName)}}}}};
}

Description DescribeCheckService() {
    return {"LumConfCheck", {}, {{names::CheckPolicyMethod, {{"types", wire::Text}}, {{"result", wire::Number}}}}};
}

}  // namespace LumConf
