/// @file
/// Containers of policies as an argument of a message.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "PolicyContainerSoapArg.h"
#include "PolicyHeader.h"
#include "SoapText.h"

namespace LumConf {

inline PolicyContainer Read(const std::string& inside) {
    PolicyContainerSoapArg argument("PolicyContainer");
    ReadArgument(argument, inside);
    return argument.GetContainer();
}

inline std::string WrittenFor(const PolicyContainer& container) {
    PolicyContainerSoapArg argument("PolicyContainer");
    argument.SetContainer(container);
    return Written(argument);
}

/// Reads what stands in one header behind its id.
inline PolicyHeader ReadHeader(const std::string& inside) {
    const PolicyContainer list =
        Read("<policyheader><policy_container_id>p1</policy_container_id>" + inside + "</policyheader>");
    EXPECT_EQ(list.GetCount(), 1);
    return list.GetPolicyHeader("p1");
}

inline PolicyHeader FullHeader(const char* id) {
    PolicyHeader header;
    header.SetContainerId(id);
    header.SetVersionId("v-1");
    header.SetDisabled();
    header.SetName("Name");
    header.SetVersion("1.2");
    header.SetDescription(" two\nlines ");
    header.SetOwner("Owner");
    header.SetTypeName("type");
    header.SetTypeVersion("3");
    header.SetTypeId("t-1");
    header.SetCategory("c1");
    header.SetCategory("c2");
    header.SetAttribute("a1", "v1");
    header.SetAttribute("a2", "");
    return header;
}

inline PolicyContainer ContainerOf(std::initializer_list<PolicyHeader> headers) {
    PolicyContainer container;
    for (const PolicyHeader& header : headers) container.Insert(header.GetImpl());
    return container;
}

inline const char* const kFullHeader =
    "<policyheader><policy_container_id>p1</policy_container_id><policy_status>disabled</policy_status>"
    "<policy_name>Name</policy_name><policy_version>1.2</policy_version>"
    "<policy_description> two\nlines </policy_description><policy_owner>Owner</policy_owner>"
    "<policy_type_name>type</policy_type_name><policy_type_version>3</policy_type_version>"
    "<policy_type_id>t-1</policy_type_id>"
    "<policy_categories><policy_category>c1</policy_category><policy_category>c2</policy_category></policy_categories>"
    "<policy_attribute><policy_attributename>a1</policy_attributename><policy_attributevalue>v1</policy_attributevalue>"
    "<policy_attributename>a2</policy_attributename><policy_attributevalue></policy_attributevalue></policy_attribute>"
    "</policyheader>";

}  // namespace LumConf
