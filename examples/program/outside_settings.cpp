// Sets, reads and clears a setting of a node.
#include <iostream>

#include "LumPalNet.h"
#include "LumSecAuth.h"
#include "SettingsForwarder.h"

using LumPalArray::CharArray_t;
using LumPalStr::String_t;

namespace {

void Work(const String_t& host) {
    const LumConfPar::SettingsForwarder settings;
    const CharArray_t nameSpace(String_t("outside")), name(String_t("COLOUR"));
    LumPalConfig::Configuration_t wanted("outside");
    wanted.SetAttrValue("COLOUR", String_t::FromUtf8("grün"));
    settings.Set(host, wanted);
    std::cout << settings.Get(host, nameSpace).GetAttrValue("COLOUR").ToUtf8() << "\n";
    settings.Clear(host, nameSpace, name);
    std::cout << settings.Get(host, nameSpace).GetAttrCount() << "\n";
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    try {
        Work(String_t::FromUtf8(argv[1]));
        return 0;
    } catch (const LumSecAuth::NotAuthorizedException& e) {
        std::cout << "refused\n";
        return 5;
    } catch (const LumPalNet::ConnectException_t& e) {
        std::cout << "unreachable\n";
        return 6;
    } catch (const LumPalMsg::Exception_t& e) {
        std::cout << e.what() << "\n";
        return 1;
    }
}
