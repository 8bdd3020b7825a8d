#include <gtest/gtest.h>
#include <sys/prctl.h>

#include <fstream>
#include <stdexcept>
#include <string>

#include "ForkedProcess.h"
#include "LumPalDaemon.h"

TEST(CoreImage, OfAProcessThatKeepsSecretsIsNotWrittenAndHoldsNoneOfItsMemory) {
    ForkedProcess process([] {
        LumPalRuntime::KeepOutOfCoreImages();
        LumPalRuntime::KeepOutOfCoreImages();  // a second call changes nothing
        std::string filter;
        std::ifstream("/proc/self/coredump_filter") >> filter;
        if (filter.find_first_not_of('0') != std::string::npos) throw std::runtime_error("memory: " + filter);
        if (prctl(PR_GET_DUMPABLE) != 0) throw std::runtime_error("it can be dumped");
    });
    EXPECT_EQ(process.Wait(), 0);
}
