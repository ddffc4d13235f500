#include "tests/Support/TestTimeLimit.h"

#include "tests/Support/TestTimer.h"

#include <gtest/gtest.h>

namespace Ardo::Kiln::Support
{

namespace
{

class Listener : public testing::EmptyTestEventListener
{
    void OnTestStart(const testing::TestInfo& /*test*/) override { SetTestTimeLimit(std::chrono::minutes(5)); }
    void OnTestEnd(const testing::TestInfo& /*test*/) override { StopTestTimer(); }
};

} // namespace

void SetTestTimeLimit(std::chrono::milliseconds limit)
{
    const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = test != nullptr ? std::string(test->test_suite_name()) + "." + test->name() : "no test";
    StartTestTimer(limit, "[  FAILED  ] " + name + " has not ended in time\n");
}

void LimitTimeOfEachTest()
{
    testing::UnitTest::GetInstance()->listeners().Append(new Listener); // owned by the list
}

} // namespace Ardo::Kiln::Support
