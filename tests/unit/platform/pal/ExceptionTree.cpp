#include <gtest/gtest.h>

#include <type_traits>

#include "LumCtrl.h"
#include "LumPalCfgFile.h"
#include "LumPalIo.h"
#include "LumPalMsg.h"
#include "LumPalNet.h"
#include "LumPalXml.h"
#include "LumSecAuth.h"
#include "LumSecCore.h"
#include "LumVoxSoap.h"

// Catch clauses all over the system rest on this tree. The rows are checked by the compiler, so
// that a class that nobody defines yet needs no definition here.
namespace {

using LumPalMsg::Message_t;
using LumPalMsg::MessageList_t;

/// A direct base, and both ways to build it.
template <class Derived, class Base>
constexpr bool Row =
    std::is_base_of_v<Base, Derived> && !std::is_same_v<Base, Derived> &&
    std::is_constructible_v<Derived, const Message_t&> && std::is_constructible_v<Derived, const MessageList_t&> &&
    std::is_copy_constructible_v<Derived> && std::has_virtual_destructor_v<Derived>;

template <class A, class B>
constexpr bool Strangers = !std::is_base_of_v<A, B> && !std::is_base_of_v<B, A>;

using namespace LumPalMsg;
using namespace LumPalIo;
using namespace LumSecCore;

static_assert(std::is_base_of_v<std::exception, Exception_t>);
static_assert(std::is_constructible_v<Exception_t, const Message_t&>);
static_assert(std::is_constructible_v<Exception_t, const MessageList_t&>);
static_assert(Row<RuntimeException_t, Exception_t>);
static_assert(Row<LogicError_t, RuntimeException_t>);
static_assert(Row<IllegalArgumentError_t, LogicError_t>);
static_assert(Row<IllegalStateError_t, LogicError_t>);
static_assert(Strangers<IllegalArgumentError_t, IllegalStateError_t>);

static_assert(Row<IOException_t, RuntimeException_t>);
static_assert(Row<FileNotFoundException_t, IOException_t>);
static_assert(Row<EOFException_t, IOException_t>);
static_assert(Row<LumPalNet::ConnectException_t, IOException_t>);
static_assert(Strangers<FileNotFoundException_t, EOFException_t>);
static_assert(Strangers<FileNotFoundException_t, LumPalNet::ConnectException_t>);
static_assert(Strangers<IOException_t, LogicError_t>);

static_assert(Row<LumPalCfgFile::SyntaxException_t, RuntimeException_t>);
static_assert(Row<LumPalXml::SAX::SAXException_t, RuntimeException_t>);
static_assert(std::is_base_of_v<LumPalXml::SAX::SAXException_t, LumPalXml::SAX::SAXParseException_t>);
static_assert(Strangers<LumPalCfgFile::SyntaxException_t, IOException_t>);

static_assert(Row<SecCoreException, RuntimeException_t>);
static_assert(Row<KeyStoreException, SecCoreException>);
static_assert(Row<EntryNotFoundException, SecCoreException>);
static_assert(Row<InvalidKeyException, SecCoreException>);
static_assert(Row<SignatureException, SecCoreException>);
static_assert(Strangers<KeyStoreException, EntryNotFoundException>);
static_assert(Strangers<KeyStoreException, InvalidKeyException>);
static_assert(Strangers<InvalidKeyException, SignatureException>);
static_assert(Strangers<SecCoreException, LumSecAuth::NotAuthorizedException>);

static_assert(Row<LumSecAuth::NotAuthorizedException, RuntimeException_t>);
static_assert(Row<LumCtrl::ControlException, RuntimeException_t>);
static_assert(Row<LumCtrl::TargetException, LumCtrl::ControlException>);
static_assert(Row<LumCtrl::EventException, LumCtrl::ControlException>);
static_assert(Row<LumVoxSoap::SOAPFaultException, RuntimeException_t>);
static_assert(Row<LumVoxSoap::SOAPFormatException, RuntimeException_t>);
static_assert(Strangers<LumCtrl::ControlException, IOException_t>);

/// What a catch clause sees that names the base.
template <class Base, class Derived>
bool IsCaughtAs() {
    try {
        throw Derived(CreateError_t("a failure"));
    } catch (const Base& e) {
        return e.GetMessageList().GetMessageCount() == 1;
    }
}

TEST(ExceptionTree, ACatchClauseForTheRuntimeExceptionGetsArgumentStateLogicAndIoErrors) {
    EXPECT_TRUE((IsCaughtAs<RuntimeException_t, IllegalArgumentError_t>()));
    EXPECT_TRUE((IsCaughtAs<RuntimeException_t, IllegalStateError_t>()));
    EXPECT_TRUE((IsCaughtAs<RuntimeException_t, LogicError_t>()));
    EXPECT_TRUE((IsCaughtAs<RuntimeException_t, IOException_t>()));
    EXPECT_TRUE((IsCaughtAs<RuntimeException_t, FileNotFoundException_t>()));
    EXPECT_TRUE((IsCaughtAs<RuntimeException_t, EOFException_t>()));
    EXPECT_TRUE((IsCaughtAs<RuntimeException_t, LumPalNet::ConnectException_t>()));
}

TEST(ExceptionTree, ADerivedClassIsCaughtBeforeItsBase) {
    const char* caught = "nothing";
    try {
        throw FileNotFoundException_t(CreateError_t("gone"));
    } catch (const FileNotFoundException_t&) {
        caught = "the class";
    } catch (const IOException_t&) {
        caught = "its base";
    }
    EXPECT_STREQ(caught, "the class");
}

}  // namespace
