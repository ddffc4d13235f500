#include "Ardo/Kiln/Exception/DefaultWarningHandler.h"

#include "Ardo/Kiln/Exception/Warning.h"
#include "tests/Support/LogCollector.h"

#include <gmock/gmock.h>

namespace Ardo::Kiln::Exception
{

TEST(DefaultWarningHandlerTest, AWarningIsLoggedAndShown)
{
    const Support::LogCollector collector;
    auto logger = Logger::CreateLogger("Vacuum");
    const auto handler = CreateDefaultWarningHandler(logger);
    testing::internal::CaptureStderr();
    handler(Warning("pressure rises"));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::AllOf(testing::StartsWith("(WWW) ------- Warning ------- (WWW)\n"),
                               testing::HasSubstr("pressure rises")));
    const auto records = collector.Records();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].severity, Logger::warning);
    EXPECT_EQ(records[0].message, "pressure rises");
    EXPECT_EQ(records[0].originator, "ExceptionTests.Vacuum");
}

} // namespace Ardo::Kiln::Exception
