// Uses the platform's layer alone.
#include <iostream>

#include "LumPalStr.h"

int main() {
    std::cout << LumPalStr::String_t("LumConf").ToLower().ToUtf8() << "\n";
}
