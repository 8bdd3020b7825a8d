/// @file
/// A name of the host for one test.
#pragma once

#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

/// Lets this thread's host have another name, as long as it lives; nobody else sees it.
class OwnHostName {
public:
    explicit OwnHostName(const std::string& name) {
        if (gethostname(former, sizeof former - 1) != 0 || unshare(CLONE_NEWUTS) != 0 ||
            sethostname(name.c_str(), name.size()) != 0)
            throw std::runtime_error("cannot have a host name of its own");
    }
    OwnHostName(const OwnHostName&) = delete;
    OwnHostName& operator=(const OwnHostName&) = delete;
    ~OwnHostName() { EXPECT_EQ(sethostname(former, std::char_traits<char>::length(former)), 0); }

private:
    char former[256] = "";
};
