#include "Ardo/Kiln/Logger/ComponentLog.h"
#include "tests/Support/LogCollector.h"
#include "tests/Support/TestTimeLimit.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <ctime>
#include <locale>
#include <string>
#include <thread>
#include <vector>

namespace Ardo::Kiln::Support
{

TEST(SupportTest, TheHostileRunReallyHasACommaGroupingAndAHalfHourZone)
{
    if (std::getenv("KILN_HOSTILE_LOCALE") == nullptr)
    {
        GTEST_SKIP() << "the ordinary run";
    }
    EXPECT_STREQ(std::localeconv()->decimal_point, ",");
    EXPECT_EQ(std::use_facet<std::numpunct<char>>(std::locale()).thousands_sep(), '.');

    const std::time_t epoch = 0;
    const std::tm local = *std::localtime(&epoch);
    EXPECT_EQ(local.tm_hour, 5);
    EXPECT_EQ(local.tm_min, 30);
}

TEST(SupportTest, ErrorRecordsHaveToBeAnnounced)
{
    const struct
    {
        const char* name;
        std::vector<std::string> announced;
        std::vector<std::string> errors;
        const char* faults;
    } rows[] = {{"none", {}, {}, ""},
                {"announced, in any order", {"two", "one"}, {"one 1", "two 2"}, ""},
                {"not announced", {"one"}, {"one", "two"}, "unexpected error record of SupportTests.C: two|"},
                {"announced once", {"one"}, {"one", "one"}, "unexpected error record of SupportTests.C: one|"},
                {"not logged", {"one", "two"}, {"two"}, "no error record with: one|"}};
    for (const auto& row : rows)
    {
        testing::TestPartResultArray failures;
        {
            const testing::ScopedFakeTestPartResultReporter reporter(&failures);
            LogCollector log;
            log.ExpectErrors(row.announced);
            Logger::ComponentLog component("C");
            component.Warning("a warning is no error");
            for (const std::string& error : row.errors)
            {
                component.Write(Logger::error, error);
            }
        }
        std::string faults;
        for (int i = 0; i < failures.size(); ++i)
        {
            const std::string summary = failures.GetTestPartResult(i).summary();
            faults += summary.substr(summary.rfind('\n') + 1) + "|";
        }
        EXPECT_EQ(faults, row.faults) << row.name;
    }
}

TEST(SupportTest, ACollectorOfUnwatchedRecordsLeavesTheOthersOut)
{
    const LogCollector unwatched(LogCollector::Scope::Unwatched);
    Logger::ComponentLog component("C");
    component.Warning("one");
    {
        LogCollector log;
        log.ExpectErrors({"two"});
        component.Write(Logger::error, "two");
    }
    component.Warning("three");
    EXPECT_EQ(unwatched.Messages(), (std::vector<std::string>{"one", "three"}));
}

TEST(SupportTest, ATestThatHangsEndsTheProgramByName)
{
    const auto hang = []
    {
        SetTestTimeLimit(std::chrono::milliseconds(10));
        while (true)
        {
            std::this_thread::sleep_for(std::chrono::hours(1));
        }
    };
    EXPECT_EXIT(hang(), testing::ExitedWithCode(1),
                "SupportTest.ATestThatHangsEndsTheProgramByName has not ended in time");
}

} // namespace Ardo::Kiln::Support
