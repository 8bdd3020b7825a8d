#include "ServiceDescription.h"

#include "Names.h"

namespace LumConf {

using LumVoxRpc::Description;
using Field = Description::Field;

namespace {

constexpr const char* kNumber = "xsd:int";
constexpr const char* kTruth = "xsd:boolean";
constexpr const char* kText = "xsd:string";
constexpr const char* kBytes = "xsd:base64Binary";
constexpr auto kOptional = Description::AtMostOnce;
constexpr auto kMany = Description::AnyNumber;

std::string Own(const char* type) {
    return std::string("m:") + type;
}

Description::Type InstallOptionsType() {
    return {names::PolicyInstallOptions,
            {{"notify", kTruth, kOptional},
             {"status", kNumber, kOptional},
             {"forcestate", kTruth, kOptional},
             {"checkversion", kTruth, kOptional},
             {"addcategory", kText, kMany},
             {"removecategory", kText, kMany},
             {"removeallcategories", kTruth, kOptional},
             {"addattribute", kText, kMany},
             {"removeattribute", kText, kMany},
             {"removeallattributes", kTruth, kOptional},
             {"owner", kText, kOptional},
             {"removeowner", kTruth, kOptional},
             {"forcecat", kTruth, kOptional},
             {"forceall", kTruth, kOptional},
             {"forceowner", kTruth, kOptional},
             {"forceattr", kTruth, kOptional}}};
}

Description::Type PolicyType() {
    return {names::FieldPolicyHeader,
            {{names::FieldContainerId, kText},
             {names::FieldStatus, kText},
             {names::FieldName, kText},
             {names::FieldVersion, kText},
             {names::FieldDescription, kText},
             {names::FieldOwner, kText},
             {names::FieldTypeName, kText},
             {names::FieldTypeVersion, kText},
             {names::FieldTypeId, kText},
             {names::FieldCategories, Own(names::FieldCategories), kOptional},
             {names::FieldAttribute, Own(names::FieldAttribute), kOptional},
             {names::FieldDataFile, kText, kMany},
             {names::FieldMissingDataFile, kText, kMany}}};
}

std::vector<Description::Type> PolicyTypes() {
    return {InstallOptionsType(),
            {names::PolicySelection, {{"selection", kNumber, kOptional}, {"name", kText, kOptional}}},
            {names::PolicyOptions, {{"notify", kTruth, kOptional}}},
            {names::FieldCategories, {{names::FieldCategory, kText, kMany}}},
            {names::FieldAttribute, {{names::FieldAttributeName, kText}, {names::FieldAttributeValue, kText}}, true},
            PolicyType(),
            {names::PolicyContainer, {{names::FieldPolicyHeader, Own(names::FieldPolicyHeader), kMany}}},
            // A namespace and its attributes stand side by side: rows of which any part may be left out.
            {names::ConfigGroupName,
             {{"ns", kText, kOptional}, {"attrname", kText, kOptional}, {"attrvalue", kText, kOptional}},
             true}};
}

}  // namespace

Description DescribePolicyService() {
    const Field selection{names::PolicySelection, Own(names::PolicySelection)};
    const Field settings{names::ConfigGroupName, Own(names::ConfigGroupName)};
    const Field value{names::PolicySelectionRetValue, kNumber}, text{names::PolicySelectionRetString, kText};
    return {"LumConf",
            PolicyTypes(),
            {{names::InstallMethod,
              {{names::PolicyInstallFilename, kText},
               {names::PolicyByteArrayName, kBytes},
               {names::PolicyInstallOptions, Own(names::PolicyInstallOptions)},
               {names::PolicyInstallMethod, kNumber}},
              {{names::PolicyInstallRetValue, kNumber}, {names::PolicyInstallRetString, kText}}},
             {names::PolicyOpMethod,
              {{names::PolicyOperationMode, kNumber},
               {names::PolicyString1, kText},
               selection,
               {names::PolicyOptions, Own(names::PolicyOptions)}},
              {value, text}},
             {names::ListMethod, {selection}, {value, text, {names::PolicyContainer, Own(names::PolicyContainer)}}},
             {names::ConfigOpMethod,
              {{names::PolicyOperationMode, kNumber}, {names::ConfigPackageName, kText}, settings},
              {{names::ConfigReturnValue, kNumber}, {names::ConfigReturnString, kText}, settings}},
             {names::MgrConfMethod, {}, {{"result", kNumber}}}}};
}

Description DescribeCheckService() {
    return {"LumConfCheck", {}, {{names::CheckPolicyMethod, {{"types", kText}}, {{"result", kNumber}}}}};
}

}  // namespace LumConf
