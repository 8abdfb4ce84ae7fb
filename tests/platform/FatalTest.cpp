#include "platform/Fatal.h"

#include <gtest/gtest.h>

#include <csignal>

TEST(FatalDeathTest, StopProgramAbortsSilently) {
    EXPECT_EXIT(orrery::stopProgram(), testing::KilledBySignal(SIGABRT), "^$");
}
