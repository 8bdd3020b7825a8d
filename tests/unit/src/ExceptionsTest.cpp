#include "Exceptions.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "LumCtrl.h"
#include "LumPalIo.h"
#include "LumSecAuth.h"
#include "LumSecCore.h"

namespace {

using namespace LumConf;

/// One row of the tree: a class and the base it must be caught as.
template <class Class, class Base>
struct Row {
    using C = Class;
    using B = Base;
};

template <class R>
class ExceptionTree : public testing::Test {};

using Rows =
    testing::Types<Row<ConfException, LumPalMsg::RuntimeException_t>, Row<PolicyException, ConfException>,
                   Row<PolicyHeaderException, PolicyException>, Row<PolicyOwnerError, PolicyException>,
                   Row<PolicyVersionError, PolicyException>, Row<PolicyFileException, PolicyException>,
                   Row<PolicyNotFoundError, PolicyException>, Row<NoPolicyOperation, PolicyException>,
                   Row<NoPoliciesInstalledError, PolicyException>, Row<NoMultiplePoliciesException, PolicyException>,
                   Row<TransferException, LumPalNet::ConnectException_t>, Row<PolicyRemoteException, TransferException>,
                   Row<SettingsRemoteException, TransferException>,
                   Row<ClusterException, LumPalMsg::RuntimeException_t>, Row<ClusterNoGroupException, ClusterException>,
                   Row<ClusterNoNodeException, ClusterException>, Row<ClusterNoStringException, ClusterException>,
                   Row<ClusterMonitorException, ClusterException>, Row<ClusterXmlDataTreeException, ClusterException>,
                   Row<ClusterConfigException, ClusterException>, Row<ClusterInstanceException, ClusterException>,
                   Row<AmbiguousInstanceNamesException, ClusterInstanceException>,
                   Row<ClusterApplicationException, ClusterException>, Row<ClusterSubagentException, ClusterException>,
                   Row<ClusterStartCmdException, ClusterException>, Row<ClusterStopCmdException, ClusterException>,
                   Row<ClusterParserException, ClusterException>>;
TYPED_TEST_SUITE(ExceptionTree, Rows);

TYPED_TEST(ExceptionTree, AClassIsCaughtAsItsBaseAndKeepsItsMessage) {
    using C = typename TypeParam::C;
    using B = typename TypeParam::B;
    static_assert(std::is_base_of_v<B, C> && !std::is_same_v<B, C>);
    static_assert(sizeof(C) == sizeof(B), "an exception carries nothing but its messages");
    try {
        throw C(LumPalMsg::CreateError_t("why"));
    } catch (const B& e) {
        EXPECT_EQ(e.GetMessageList().GetMessageCount(), 1);
        EXPECT_STREQ(e.what(), "why");
        EXPECT_TRUE(typeid(e) == typeid(C));
    }
}

TYPED_TEST(ExceptionTree, AClassIsMadeFromAListToo) {
    LumPalMsg::MessageList_t list;
    list.Add(LumPalMsg::CreateError_t("one"));
    list.Add(LumPalMsg::CreateWarn_t("two"));
    typename TypeParam::C exception(list);
    EXPECT_EQ(exception.GetMessageList().GetMessageCount(), 2);
}

TEST(Exceptions, ClusterFailuresAreNoPolicyFailures) {
    EXPECT_FALSE((std::is_base_of_v<ConfException, ClusterException>));
    EXPECT_FALSE((std::is_base_of_v<ClusterException, ConfException>));
    EXPECT_FALSE((std::is_base_of_v<ConfException, TransferException>));
}

TEST(Exceptions, SiblingsAreNotCaughtAsEachOther) {
    EXPECT_FALSE((std::is_base_of_v<PolicyNotFoundError, NoPoliciesInstalledError>));
    EXPECT_FALSE((std::is_base_of_v<PolicyFileException, PolicyHeaderException>));
    EXPECT_FALSE((std::is_base_of_v<PolicyRemoteException, SettingsRemoteException>));
    EXPECT_FALSE((std::is_base_of_v<ClusterNoGroupException, ClusterNoNodeException>));
}

TEST(Exceptions, EverythingThatTheLayersBelowRaiseIsARuntimeException) {
    using LumPalMsg::RuntimeException_t;
    EXPECT_TRUE((std::is_base_of_v<RuntimeException_t, LumPalMsg::IllegalArgumentError_t>));
    EXPECT_TRUE((std::is_base_of_v<RuntimeException_t, LumPalMsg::IllegalStateError_t>));
    EXPECT_TRUE((std::is_base_of_v<RuntimeException_t, LumPalMsg::LogicError_t>));
    EXPECT_TRUE((std::is_base_of_v<RuntimeException_t, LumPalIo::IOException_t>));
    EXPECT_TRUE((std::is_base_of_v<LumPalIo::IOException_t, LumPalIo::FileNotFoundException_t>));
    EXPECT_TRUE((std::is_base_of_v<LumPalIo::IOException_t, LumPalIo::EOFException_t>));
    EXPECT_TRUE((std::is_base_of_v<LumPalIo::IOException_t, LumPalNet::ConnectException_t>));
    EXPECT_TRUE((std::is_base_of_v<RuntimeException_t, LumSecCore::SecCoreException>));
    EXPECT_TRUE((std::is_base_of_v<LumSecCore::SecCoreException, LumSecCore::KeyStoreException>));
    EXPECT_TRUE((std::is_base_of_v<LumPalMsg::Exception_t, LumSecAuth::NotAuthorizedException>));
    EXPECT_TRUE((std::is_base_of_v<LumPalMsg::Exception_t, LumCtrl::ControlException>));
}

}  // namespace
