#include "ConfBase.h"

#include <gtest/gtest.h>

#include <string>

#include "Names.h"

namespace {

using namespace LumConf;

TEST(ConfBase, EveryTextHasItsValue) {
    struct {
        const char* (*get)();
        const char* value;
    } const rows[] = {
        {&ConfBase::Get_s_lumconfdLocateServer, "LOCATE_SERVER"},
        {&ConfBase::Get_s_lumconfdPingServer, "PING_SERVER"},
        {&ConfBase::Get_s_lumconfdWaitTime, "WAIT_TIME"},
        {&ConfBase::GetrpcPath, "/voxrpcserver"},
        {&ConfBase::GetconfMsgPath, "/com.tessel.lum.conf.core"},
        {&ConfBase::Get_d_confServerMsgPath, "/com.tessel.lum.conf.server"},
        {&ConfBase::Get_d_rpcCheckPolicyPath, "/checkpolicy/voxrpcserver"},
        {&ConfBase::GetCoreIdKey, "CORE_ID"},
        {&ConfBase::Get_g_SecCmCertInstalledKey, "CERT_INSTALLED"},
        {&ConfBase::Get_g_FileSuffix, "_header.xml"},
        {&ConfBase::Get_g_FormatPolicyListKey, "FORMAT_POLICY_LIST"},
        {&ConfBase::Get_g_MergedPolicyListFilenameKey, "MERGED_POLICY_LIST_FILENAME"},
        {&ConfBase::Get_g_DumpFilename, "lum_policies.txt"},
    };
    for (const auto& row : rows) {
        EXPECT_STREQ(row.get(), row.value);
        EXPECT_EQ(row.get(), row.get()) << "a text keeps its place in memory";
    }
}

TEST(ConfBase, EveryNamespaceHasItsName) {
    EXPECT_EQ(ConfBase::Get_NS_ConfCore().GetName(), "conf.core");
    EXPECT_EQ(ConfBase::Get_NS_ConfServer().GetName(), "conf.server");
    EXPECT_EQ(ConfBase::Get_NS_ConfCluster().GetName(), "conf.cluster");
    EXPECT_EQ(ConfBase::Get_NS_SecCmCert().GetName(), "sec.cm.certificates");
}

const std::string pathOfStaticInitialisation = ConfBase::GetrpcPath();
const LumPalStr::String_t namespaceOfStaticInitialisation = ConfBase::Get_NS_ConfCore().GetName();

TEST(ConfBase, NamesAreThereWhileStaticObjectsAreMade) {
    EXPECT_EQ(pathOfStaticInitialisation, "/voxrpcserver");
    EXPECT_EQ(namespaceOfStaticInitialisation, "conf.core");
}

TEST(Names, PathsOnASuppliedMessengerCarryTheMessengersPathWithoutALeadingSeparator) {
    std::string base = std::string(names::ConfMsgPath).substr(1);
    EXPECT_EQ(names::RpcPathOnMessenger, base + names::RpcPath);
    EXPECT_EQ(names::RpcCheckPolicyPathOnMessenger, base + names::RpcCheckPolicyPath);
}

TEST(Names, TheNamespaceOfPolicyDocumentsBelongsToItsFamily) {
    std::string nameSpace = names::PolicyNamespace, family = names::PolicyNamespaceFamily;
    EXPECT_EQ(nameSpace.rfind(family, 0), 0u);
    EXPECT_EQ(nameSpace.substr(nameSpace.size() - std::string("/xmlns/conf/2003/04").size()), "/xmlns/conf/2003/04");
    EXPECT_EQ(family.substr(family.size() - std::string("/xmlns/conf/").size()), "/xmlns/conf/");
}

}  // namespace
