// The main of every test program: the whole run gets a home of its own, so
// no test (nor a program a test starts) reads or writes the user's settings.

#include <gtest/gtest.h>

#include "TempHome.h"

int main(int argc, char** argv) {
    TempHome home;
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
