#pragma once

#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/Kiln/Exception/MiniDumpGenerator.h"
#include "tests/Kiln/Crash/StackSample.h"
#include "tests/Support/ScopedTempDir.h"
#include "tests/Support/ScopedVariable.h"
#include "tests/Support/SystemFacilities.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace Ardo::Kiln::Exception
{

/// \p path as the crash handling writes it.
inline std::string Utf8(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

/// Each test writes below a folder of its own.
class MiniDumpGeneratorTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_announcement = CreateFolder();
        m_folder = Folder();
    }
    void TearDown() override
    {
        MiniDumpGenerator::SetFakeWriteDump(false);
        MiniDumpGenerator::SetDefaultMinidumpType(static_cast<MINIDUMP_TYPE>(0x1961));
    }

    /// \returns what is said about it.
    static std::string CreateFolder()
    {
        return Support::SaidOnStandardError([] { MiniDumpGenerator::CreateDumpDirectory(); });
    }
    static std::filesystem::path Folder()
    {
        const std::string folder = Conversion::String::ToUtf8(MiniDumpGenerator::GetDumpDirectory());
        return std::u8string(folder.begin(), folder.end());
    }

    const Support::ScopedTempDir m_data;
    const Support::ScopedDataFolder m_variable{m_data / "d\xC3\xA4ta"};
    std::string m_announcement;
    std::filesystem::path m_folder;
};

/// A fault of the calling thread at \p point, as a filter would see it.
struct Fault
{
    explicit Fault(Crash::Sample::Point& point) : pointers{&record, &point.context}
    {
        record.ExceptionCode = Crash::FaultCode::IntOverflow;
        record.ExceptionAddress = reinterpret_cast<void*>(point.context.Rip); // NOLINT(performance-no-int-to-ptr)
    }

    EXCEPTION_RECORD record = {};
    EXCEPTION_POINTERS pointers;
};

/// What the reports of a fault say on the standard error stream.
std::string ReportsOfFault();

} // namespace Ardo::Kiln::Exception
