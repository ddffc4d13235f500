// Fails each test that logs a record of level error or fatal while there is no LogCollector.

#include "tests/Support/LogCollector.h"

#include <gtest/gtest.h>

#include <optional>

namespace Ardo::Kiln::Support
{

namespace
{

class Listener : public testing::EmptyTestEventListener
{
    void OnTestStart(const testing::TestInfo& /*test*/) override { m_records.emplace(LogCollector::Scope::Unwatched); }
    void OnTestEnd(const testing::TestInfo& /*test*/) override { m_records.reset(); }

    std::optional<LogCollector> m_records;
};

[[maybe_unused]] const bool g_isAdded = []
{
    testing::UnitTest::GetInstance()->listeners().Append(new Listener); // owned by the list
    return true;
}();

} // namespace

} // namespace Ardo::Kiln::Support
