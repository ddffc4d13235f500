#pragma once

#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/Kiln/Exception/HandlerInternal_p.h"
#include "Ardo/Kiln/Exception/MiniDumpGenerator.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/ScopedVariable.h"
#include "tests/Support/SystemFacilities.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>

namespace Ardo::Kiln::Exception
{

/// Reports go to a folder of the test's own, without dumps.
class HandlerTest : public ::testing::Test
{
protected:
    HandlerTest()
    {
        MiniDumpGenerator::SetFakeWriteDump(true);
        Said([] { MiniDumpGenerator::CreateDumpDirectory(); });
        Forget();
        Handler::Internal::g_clock = [] { return g_now; };
    }

    ~HandlerTest() override { Forget(); }

    /// As at the start of the process.
    static void Forget()
    {
        Handler::SetFlags(0);
        Handler::Internal::g_alreadyCrashed = false;
        Handler::Internal::g_clock = &Handler::Internal::SystemClock;
    }

    /// What \p action writes to the standard error stream.
    template <typename Action>
    static std::string Said(const Action& action)
    {
        return Support::SaidOnStandardError(action);
    }

    std::size_t Reports() const
    {
        std::size_t count = 0;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_folder.Path()))
        {
            count += entry.path().extension() == ".txt" ? 1U : 0U;
        }
        return count;
    }

    static inline std::uint64_t g_now = 0; ///< What the handler's clock shows, in ticks of 100 ns.
    const Support::ScopedTempDir m_folder;

private:
    const Support::ScopedDataFolder m_data{m_folder.Path()};
    // A process that a test starts and that ends half-way makes its folder in this one, which the test removes.
    const Support::ScopedTemporaryFolder m_temporary{m_folder.Path()};
};

class HandlerDeathTest : public HandlerTest
{
protected:
    HandlerDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

} // namespace Ardo::Kiln::Exception
