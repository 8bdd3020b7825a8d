// Brings the policy operations of a node up, first of all and with the shared library alone.
#include "PolicyOperation.h"

#include <iostream>

int main() {
    std::cout << (LumConf::PolicyOperation::GetInstance()->IsPolicyInstalled() ? "some" : "none") << "\n";
    return 0;
}
