#include "tests/Kiln/Platform/RandomAccessFileTest.h"

#include "tests/Support/FailingSystemCall.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Ardo::Kiln::Platform
{

namespace
{

std::string Refusal(const fs::path& path, Access access)
{
    try
    {
        RandomAccessFile(path, access);
        return "none";
    }
    catch (const std::system_error& error)
    {
        return std::to_string(error.code().value()) + " " + error.what();
    }
    catch (const std::runtime_error& error)
    {
        return error.what();
    }
}

} // namespace

TEST(RandomAccessFileTest, OnlyRegularFilesAreOpened)
{
    const Support::ScopedTempDir folder;
    Support::WriteFile(folder / "file", "12345");
    fs::create_symlink("file", folder / "link");
    fs::create_symlink("circle", folder / "circle");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    const struct
    {
        fs::path path;
        const char* reading;
        const char* replacing;
    } rows[] = {{folder / "link", "none", "none"},
                {folder / "new", "2 No such file or directory", "none"},
                {folder / "missing/file", "2 No such file or directory", "2 No such file or directory"},
                {folder / "circle", "40 Too many levels of symbolic links", "40 Too many levels of symbolic links"},
                {folder.Path(), "21 Is a directory", "21 Is a directory"},
                {folder / "pipe", "Not a regular file", "Not a regular file"},
                {"/dev/null", "Not a regular file", "Not a regular file"},
                {folder.Path() / "file\0.tif"s, "22 Invalid argument", "22 Invalid argument"}};
    for (const auto& row : rows)
    {
        EXPECT_EQ(Refusal(row.path, Access::Read), row.reading) << row.path;
        EXPECT_EQ(Support::ReadFile(folder / "file"), "12345") << row.path;
    }
    EXPECT_EQ(RandomAccessFile(folder / "link", Access::Read).SizeWhenOpened(), 5U);
    for (const auto& row : rows)
    {
        EXPECT_EQ(Refusal(row.path, Access::Replace), row.replacing) << row.path;
    }
    EXPECT_EQ(fs::file_size(folder / "file"), 0U);
    EXPECT_TRUE(fs::is_fifo(folder / "pipe"));
}

TEST(RandomAccessFileTest, FailuresAreReportedWithTheirReason)
{
    const Support::ScopedTempDir folder;
    Support::WriteFile(folder / "file", "12345");
    RandomAccessFile file(folder / "file", Access::Read);
    EXPECT_EQ(Write(file, 0, "x"), -1);
    EXPECT_EQ(file.LastError().value(), EBADF);
    EXPECT_EQ(Read(file, 4, 2), "5");
    EXPECT_EQ(file.LastError().value(), EBADF) << "of the last failure, not of the last call";
    EXPECT_EQ(Read(file, UINT64_MAX, 2), "(22)");
    Support::RunWithFailing({SYS_pread64, 0, 0, 0, EIO}, [&] { EXPECT_EQ(Read(file, 4, 2), "(5)"); });
    Support::RunWithFailing({SYS_ftruncate, 0, 0, 0, EIO},
                            [&] { EXPECT_EQ(Refusal(folder / "file", Access::Replace), "5 Input/output error"); });
    EXPECT_EQ(Support::ReadFile(folder / "file"), "12345");
}

TEST(RandomAccessFileTest, AWriteBeyondTheLimitOnFileSizesFailsWithoutASignal)
{
    const Support::ScopedTempDir folder;
    RandomAccessFile file(folder / "file", Access::Replace);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit limit{100, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    const std::int64_t within = Write(file, 0, std::string(90, 'a'));
    const std::int64_t across = Write(file, 90, std::string(20, 'b')); // the system writes ten bytes, then none
    const std::int64_t beyond = Write(file, 100, "c");
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_EQ(within, 90);
    EXPECT_EQ(across, -1);
    EXPECT_EQ(beyond, -1);
    EXPECT_EQ(file.LastError().value(), EFBIG);
    EXPECT_EQ(Support::ReadFile(folder / "file"), std::string(90, 'a') + std::string(10, 'b'));
    EXPECT_EQ(Write(file, 100, "c"), 1);
}

TEST(RandomAccessFileTest, FilesHaveOrdinaryPermissionsAndStayInTheProcess)
{
    const Support::ScopedTempDir folder;
    const mode_t before = ::umask(027);
    const RandomAccessFile file(folder / "file", Access::Replace);
    ::umask(before);
    EXPECT_EQ(Support::ModeOf(folder / "file"), 0640U);
    int found = 0;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd"))
    {
        std::error_code gone; // the iterator's own descriptor
        if (fs::read_symlink(entry, gone) == folder / "file")
        {
            ++found;
            EXPECT_EQ(::fcntl(std::stoi(entry.path().filename()), F_GETFD), FD_CLOEXEC);
        }
    }
    EXPECT_EQ(found, 1);
}

} // namespace Ardo::Kiln::Platform
