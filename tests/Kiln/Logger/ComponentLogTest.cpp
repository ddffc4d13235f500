#include "Ardo/Kiln/Logger/ComponentLog_p.h"

#include "tests/Support/LogCollector.h"

#include <gtest/gtest.h>

namespace Ardo::Kiln::Logger
{

TEST(ComponentLogTest, WhatIsLoggedWithoutASinkIsDroppedAndNeverPrinted)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    ComponentLog("Quiet").Warning("nobody listens");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ComponentLogTest, RecordsCarryLevelTextAndWhoWroteThem)
{
    const Support::LogCollector collector;
    ComponentLog log("Detector");
    log.Warning("shutter sticks, 5 µm");
    log.Write(debug, "retry");
    ComponentLog("").Write(error, "application");

    const auto records = collector.Records();
    ASSERT_EQ(records.size(), 3U);
    EXPECT_EQ(records[0].severity, warning);
    EXPECT_EQ(records[0].originator, "LoggerTests.Detector");
    EXPECT_EQ(records[0].message, "shutter sticks, 5 µm");
    EXPECT_EQ(records[1].severity, debug);
    EXPECT_EQ(records[2].originator, "LoggerTests");
}

} // namespace Ardo::Kiln::Logger
