#include "Ardo/Kiln/FileSystem/TextFile.h"

#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <system_error>

namespace Ardo::Kiln::FileSystem
{

using ::testing::HasSubstr;

namespace fs = std::filesystem;

namespace
{

using namespace std::string_literals;

constexpr auto Utf8 = TextEncoding::Utf8;
constexpr auto LittleEndian = TextEncoding::Utf16LittleEndian;
constexpr auto BigEndian = TextEncoding::Utf16BigEndian;

class TextFileTest : public testing::Test
{
protected:
    /// The error of an attempt to read; no error if it was read.
    std::error_code Read(const fs::path& path, const TextReading& reading = {})
    try
    {
        m_message.clear();
        ReadTextFile(path, reading);
        return {};
    }
    catch (const fs::filesystem_error& error)
    {
        m_message = error.what();
        return error.code();
    }

    std::error_code ReadBytes(const std::string& bytes, const TextReading& reading = {})
    {
        Support::WriteFile(m_path, bytes);
        return Read(m_path, reading);
    }

    Support::ScopedTempDir m_folder;
    fs::path m_path = m_folder / "text.txt";
    std::string m_message;
};

} // namespace

TEST_F(TextFileTest, EachEncodingWithAndWithoutMark)
{
    const struct
    {
        std::string bytes;
        std::string text;
        TextFormat format;
    } rows[] = {
        {"", "", {}},
        {"a", "a", {}},
        {"a\xC3\xA9\n", "a\xC3\xA9\n", {Utf8, false, LineEnd::LineFeed}},
        {"\xEF\xBB\xBF", "", {Utf8, true, LineEnd::Keep}},
        {"\xEF\xBB\xBF\xF0\x9F\x91\xA8\r\n\n", "\xF0\x9F\x91\xA8\r\n\n", {Utf8, true, LineEnd::CarriageReturnLineFeed}},
        {"\xFF\xFE"
         "a\0\xE9\0=\xD8h\xDC"s,
         "a\xC3\xA9\xF0\x9F\x91\xA8",
         {LittleEndian, true, LineEnd::Keep}},
        {"\xFE\xFF\0a\0\r\0b"s, "a\rb", {BigEndian, true, LineEnd::Keep}},
        {"a\0\n\0"s, "a\n", {LittleEndian, false, LineEnd::LineFeed}},
        {"\0a\x7D\x30"s, "a\xE7\xB4\xB0", {BigEndian, false, LineEnd::Keep}},
        {"\0\0"s, "\0\0"s, {}},
        {"ab\0c"s, "ab\0c"s, {}},
        {"\xEF\xBB\xBF\xEF\xBB\xBFx", "\xEF\xBB\xBFx", {Utf8, true, LineEnd::Keep}},
    };
    for (const auto& row : rows)
    {
        Support::WriteFile(m_path, row.bytes);
        const TextFile file = ReadTextFile(m_path);
        EXPECT_EQ(file.text, row.text);
        EXPECT_EQ(file.format, row.format) << row.text;
        WriteTextFile(m_path, file.text, file.format);
        EXPECT_EQ(Support::ReadFile(m_path), row.format.lineEnd == LineEnd::CarriageReturnLineFeed
                                                 ? "\xEF\xBB\xBF\xF0\x9F\x91\xA8\r\n\r\n"
                                                 : row.bytes);
    }
    Support::WriteFile(m_path, "\x7D\x30");
    EXPECT_EQ(ReadTextFile(m_path, {BigEndian}).text, "\xE7\xB4\xB0");
    Support::WriteFile(m_path, "\xEF\xBB\xBF"
                               "ab");
    EXPECT_EQ(ReadTextFile(m_path, {BigEndian}).text, "ab") << "the mark decides";
}

TEST_F(TextFileTest, LineEndsAreKeptOrMadeOne)
{
    const std::string mixed = "a\r\nb\nc\rd\r\r\n\n\r";
    for (const auto encoding : {Utf8, LittleEndian, BigEndian})
    {
        WriteTextFile(m_path, mixed, {encoding, true, LineEnd::Keep});
        EXPECT_EQ(ReadTextFile(m_path).text, mixed);
        EXPECT_EQ(ReadTextFile(m_path, {{}, LineEnd::LineFeed}).text, "a\nb\nc\nd\n\n\n\n");
        EXPECT_EQ(ReadTextFile(m_path, {{}, LineEnd::CarriageReturnLineFeed}).text, "a\r\nb\r\nc\r\nd\r\n\r\n\r\n\r\n");
        WriteTextFile(m_path, mixed, {encoding, false, LineEnd::CarriageReturnLineFeed});
        EXPECT_EQ(ReadTextFile(m_path, {encoding, LineEnd::LineFeed}).text, "a\nb\nc\nd\n\n\n\n");
    }
}

TEST_F(TextFileTest, InvalidTextIsAnErrorWithItsPlace)
{
    const std::pair<std::string, int> rows[] = {
        {"abc\x80", 3},
        {"\xC0\xAF", 0},
        {"\xE0\x80\xAF", 0},
        {"x\xED\xA0\x80", 1},
        {"\xF4\x90\x80\x80", 0},
        {"ab\xE7\xB4", 2},
        {"\xFF\xFE"
         "a"s,
         2},
        {"\xFF\xFE\0\xDC"s, 2},
        {"\xFF\xFE"
         "a\0\0\xD8"
         "b\0"s,
         4},
        {"\xFE\xFF\xD8\0"s, 2},
        {"a\0b"s, 2},
    };
    for (const auto& [bytes, at] : rows)
    {
        EXPECT_EQ(ReadBytes(bytes), std::errc::illegal_byte_sequence);
        EXPECT_THAT(m_message, HasSubstr("(byte " + std::to_string(at) + " is not valid)"));
    }
    WriteTextFile(m_path, "old");
    EXPECT_THROW(WriteTextFile(m_path, "new \xFF"), fs::filesystem_error);
    EXPECT_EQ(Support::ReadFile(m_path), "old");
}

TEST_F(TextFileTest, ReadsRegularFilesUpToALimit)
{
    EXPECT_EQ(ReadBytes(std::string(100, 'a'), {{}, LineEnd::Keep, 100}), std::error_code());
    EXPECT_EQ(ReadBytes(std::string(101, 'a'), {{}, LineEnd::Keep, 100}), std::errc::file_too_large);
    fs::resize_file(m_path, MaxTextFileSize + 1);
    EXPECT_EQ(Read(m_path), std::errc::file_too_large);
    EXPECT_EQ(Read(m_folder / "missing"), std::errc::no_such_file_or_directory);
    EXPECT_EQ(Read(m_folder.Path()), std::errc::invalid_argument);
    EXPECT_THROW(WriteTextFile(m_folder / "missing" / "file", "x"), fs::filesystem_error);
}

} // namespace Ardo::Kiln::FileSystem
