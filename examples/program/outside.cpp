// Reads a policy's header and lists what a node holds.
#include <iostream>

#include "Exceptions.h"
#include "PolicyContainer.h"
#include "PolicyForwarder.h"
#include "PolicyHeader.h"
#include "Selection.h"

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    try {
        const auto header = LumConf::PolicyHeader::Read(LumPalIo::File_t(LumPalStr::String_t::FromUtf8(argv[1])));
        std::cout << header.GetContainerId().ToUtf8() << "\n";
        const auto policies = LumConf::PolicyForwarder().List(LumPalStr::String_t::FromUtf8(argv[2]), {});
        std::cout << policies.GetCount() << "\n";
        return 0;
    } catch (const LumConf::PolicyNotFoundError& e) {
        std::cout << "none\n";
        return 0;
    } catch (const LumPalMsg::Exception_t& e) {
        std::cerr << e.what() << "\n";
        return 1;
    }
}
