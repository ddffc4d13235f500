#include "Ardo/Kiln/ImageIO/TiffReader.h"
#include "tests/Kiln/ImageIO/TiffBuilder.h"
#include "tests/Kiln/ImageIO/TiffTestFiles.h"
#include "tests/Support/LogCollector.h"
#include "tests/Support/ScopedTempDir.h"

#include <functional>
#include <new>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace Ardo::Kiln::ImageIO
{

using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::StartsWith;
using enum TiffBuilder::Type;

namespace
{

class HostileTiffTest : public ::testing::Test
{
protected:
    /// The message of the documented exception, or nothing after a success. Any other exception fails the test.
    std::string Open(const std::string& bytes)
    {
        WriteFile(m_path, bytes);
        try
        {
            m_reader.Open(Wide(m_path));
            // What was read lies in memory: a sanitizer sees if it does not.
            EXPECT_EQ(PixelsOf(m_reader).size(), std::size_t{m_reader.GetImageWidth()} * m_reader.GetImageHeight() *
                                                     m_reader.GetBytesPerSample() * m_reader.GetSamplesPerPixel());
        }
        catch (const std::runtime_error& exception)
        {
            return exception.what();
        }
        return {};
    }

    const Support::ScopedTempDir m_dir;
    const std::filesystem::path m_path = m_dir / "image.tif";
    TiffReader m_reader;
};

TiffBuilder Small()
{
    return TiffBuilder(4, 4, "0123456789abcdef").Set(278, Long, {2}).Set(273, Long, {16, 24}).Set(279, Long, {8, 8});
}

} // namespace

TEST_F(HostileTiffTest, AFileCutAnywhereIsRefused)
{
    const std::string whole = Small().SetText(34683, "<Metadata/>").Bytes();
    testing::internal::CaptureStderr();
    for (std::size_t size = 0; size + 12 < whole.size(); ++size) // the metadata text stands at the end
    {
        EXPECT_THAT(Open(whole.substr(0, size)), StartsWith("Unable to open Tiff file")) << size;
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(HostileTiffTest, AnyByteOfTheStructureMayBeWrong)
{
    testing::internal::CaptureStderr();
    for (const TiffBuilder& file : {Small(), Small().BigEndian().BigTiff(), Small().Set(259, Short, {5})})
    {
        const std::string whole = file.Bytes();
        for (std::size_t place = 0; place < whole.size(); ++place)
        {
            for (const int change : {0x01, 0x02, 0x04, 0x10, 0x40, 0x80, 0xff})
            {
                std::string bytes = whole;
                bytes[place] = static_cast<char>(bytes[place] ^ change);
                const std::string message = Open(bytes);
                EXPECT_TRUE(message.empty() || message.starts_with("Unable to open Tiff file"))
                    << place << ": " << message;
            }
        }
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(HostileTiffTest, LyingSizesCostAnExceptionAndNoMemory)
{
    constexpr std::uint64_t Huge = 0xffffffff;
    const struct
    {
        const char* name;
        TiffBuilder file;
    } rows[] = {
        {"size", TiffBuilder(0x10000000, 4, "x").Set(279, Long, {Huge})},
        {"size of 2^64", TiffBuilder(0xffffffff, 0xffffffff, "x", 64).Set(277, Short, {8000})},
        {"rows", TiffBuilder(4, 0xffffffff, "x").Set(278, Long, {1})},
        {"deflate", TiffBuilder(65536, 65536, "x").Set(259, Short, {8}).Set(279, Long, {Huge})},
        {"LZW", TiffBuilder(65536, 65536, std::string(1000, 'x')).Set(259, Short, {5})},
        {"count of strips",
         TiffBuilder(4, 4000000, "x").Set(278, Long, {1}).Set(273, Long, {16}, 4000000).Set(279, Long, {1}, 4000000)},
        {"the same bytes in every strip", TiffBuilder(1000, 1000, std::string(1000, 'x'))
                                              .Set(278, Long, {1})
                                              .Set(273, Long, TiffBuilder::Values(1000, 16))
                                              .Set(279, Long, TiffBuilder::Values(1000, 1000))},
        {"length of a text", Small().Set(34683, Ascii, {16, 0, 0, 0, 0, 0, 0, 0}, Huge)},
        {"length of a table", Small().Set(320, Short, {1, 2, 3}, Huge)},
        {"zero width", TiffBuilder(0, 4, "x")},
        {"zero height", TiffBuilder(4, 0, "x")},
        {"zero rows", Small().Set(278, Long, {0})},
        {"zero bits", Small().Set(258, Short, {0})},
        {"bits", Small().Set(258, Short, {65535})},
        {"samples", Small().Set(277, Short, {65535})},
        {"compression", Small().Set(259, Short, {50000})},
    };
    const auto openAll = [&]
    {
        const rlimit limit{std::uint64_t{1} << 30, RLIM_INFINITY};
        ::setrlimit(RLIMIT_AS, &limit); // nothing else needs as much
        for (const auto& row : rows)
        {
            SCOPED_TRACE(row.name);
            for (const bool big : {false, true})
            {
                TiffBuilder file = row.file;
                const std::string message = Open(big ? file.BigTiff().BigEndian().Bytes() : file.Bytes());
                const bool harmless = std::string(row.name).starts_with("length");
                EXPECT_TRUE(message.starts_with("Unable to open Tiff file") || (harmless && message.empty()))
                    << message;
                EXPECT_THAT(message, Not(HasSubstr("no memory")));
            }
        }
    };
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer needs the address space for itself";
#endif
    EXPECT_EXIT((openAll(), std::_Exit(HasFailure() ? 1 : 0)), testing::ExitedWithCode(0), "^$");
}

TEST_F(HostileTiffTest, ADirectoryMayNotReferToTheSameBytesAgainAndAgain)
{
    // 2000 unknown tags, each of them the whole file: 2 GB of values in a file of 1 MB.
    TiffBuilder file(1000, 1000, std::string(1000000, 'x'));
    for (std::uint16_t tag = 40000; tag < 42000; ++tag)
    {
        file.Set(tag, Byte, {16, 0, 0, 0}, 1000000);
    }
    const auto open = [&]
    {
        const rlimit limit{std::uint64_t{400} << 20, RLIM_INFINITY};
        ::setrlimit(RLIMIT_DATA, &limit);
        Open(file.Bytes()); // the tags or the image: what counts is the memory
    };
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer needs the memory for itself";
#endif
    EXPECT_EXIT((open(), std::_Exit(0)), testing::ExitedWithCode(0), "");
}

TEST_F(HostileTiffTest, LoopsPipesAndFoldersDoNotHang)
{
    EXPECT_EQ(Open(Small().Loop().Bytes()), "");
    EXPECT_EQ(PixelsOf(m_reader), "0123456789abcdef");

    const std::filesystem::path pipe = m_dir / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    for (const auto& [path, reason] : {std::pair(pipe, "Not a regular file"), std::pair(m_dir.Path(), "Is a directory"),
                                       std::pair(std::filesystem::path("/dev/zero"), "Not a regular file")})
    {
        EXPECT_EQ(MessageOf<std::runtime_error>([&] { m_reader.Open(Wide(path)); }),
                  std::string("Unable to open Tiff file (") + reason + ")");
    }
}

TEST_F(HostileTiffTest, WarningsAreLoggedButNeverWithoutEnd)
{
    const Support::LogCollector log;
    TiffBuilder file = Small();
    EXPECT_EQ(Open(file.Set(40000, Byte, {1}).Bytes()), "");
    ASSERT_THAT(log.Records(), SizeIs(1));
    EXPECT_EQ(log.Records()[0].severity, Logger::SeverityLevel::warning);
    EXPECT_THAT(log.Records()[0].originator, testing::EndsWith("ImageIO"));
    EXPECT_THAT(log.Messages()[0], AllOf(HasSubstr("image.tif: "), HasSubstr("40000")));

    for (std::uint16_t tag = 40000; tag < 40500; ++tag)
    {
        file.Set(tag, Byte, {1});
    }
    EXPECT_EQ(Open(file.Bytes()), "");
    EXPECT_THAT(log.Messages(), SizeIs(1 + 17));
    EXPECT_THAT(log.Messages().back(), HasSubstr("further warnings are left out"));
}

} // namespace Ardo::Kiln::ImageIO
