#include "Ardo/Kiln/FileNaming/FileNameGenerator.h"
#include "Ardo/Kiln/FileNaming/FileNamingException.h"
#include "Ardo/Kiln/FileSystem/ReplacementFile.h"
#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace Ardo::Kiln::FileNaming
{

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

namespace fs = std::filesystem;

namespace
{

class ReservationTest : public testing::Test
{
protected:
    ReservationTest()
    {
        m_settings.folder = m_folder.Path();
        m_settings.useDateFolders = false;
    }

    FileNameReservation Reserve() const { return FileNameGenerator(m_settings).Reserve({}, {}); }

    void Make(const FileNameReservation& reservation) const
    {
        FileSystem::ReplacementFile(reservation.Path(L"tif")).Commit();
    }

    void Touch(const std::string& name) const { std::ofstream(m_folder / name) << "x"; }

    std::set<std::string> Names(const fs::path& folder) const
    {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder))
        {
            names.insert(entry.path().filename().string());
        }
        names.erase(".reserved-names");
        return names;
    }

    Support::ScopedTempDir m_folder;
    FileNamingSettings m_settings;
};

/// A process that runs a function and is then stopped in a pause until it is killed.
class HoldingProcess
{
public:
    explicit HoldingProcess(const std::function<std::uint32_t()>& reserve)
    {
        int ends[2] = {};
        EXPECT_EQ(::pipe(ends), 0);
        m_process = ::fork();
        if (m_process == 0)
        {
            const std::uint32_t number = reserve();
            ::_exit(::write(ends[1], &number, sizeof number) == sizeof number && ::pause() == 0 ? 0 : 1);
        }
        ::close(ends[1]);
        EXPECT_EQ(::read(ends[0], &m_number, sizeof m_number), static_cast<ssize_t>(sizeof m_number));
        ::close(ends[0]);
    }

    ~HoldingProcess() { Kill(); }
    HoldingProcess(const HoldingProcess&) = delete;
    HoldingProcess& operator=(const HoldingProcess&) = delete;

    std::uint32_t Number() const { return m_number; }

    void Kill()
    {
        if (m_process > 0)
        {
            ::kill(m_process, SIGKILL);
            ::waitpid(m_process, nullptr, 0);
            m_process = 0;
        }
    }

private:
    pid_t m_process = 0;
    std::uint32_t m_number = 0;
};

} // namespace

TEST_F(ReservationTest, TheNextNumberFollowsTheLargestOfAnyNameOfTheExperiment)
{
    EXPECT_EQ(Reserve().Stem(), L"Experiment_0001");
    EXPECT_EQ(Reserve().Number(), 1U) << "a reservation without a file is given back";
    Touch("Experiment_0007_BSE.png");
    Touch("EXPERIMENT_0011.TIF");
    Touch("Experiment_20261122.tif");
    Touch("Experiments_0099.tif");
    fs::create_directory(m_folder / "Experiment_0012");
    EXPECT_EQ(Reserve().Path(L"tif"), m_folder / "Experiment_0013.tif");
    m_settings.experimentNumber = 500;
    m_settings.useLabels = true;
    m_settings.labels = {L"SE"};
    EXPECT_EQ(Reserve().Stem(), L"Experiment_0500_SE");
    m_settings.useDateFolders = true;
    EXPECT_EQ(Reserve().Path(L""), m_folder / "undated" / "Experiment_0500_SE");
    m_settings.useDateFolders = false;
    Touch("Experiment_999999_BSE.png");
    EXPECT_THAT([&] { Reserve(); }, ThrowsMessage<FileNamingException>(HasSubstr("no number up to 999999 is free")));
    m_settings.experimentName = L"Other";
    m_settings.experimentNumber = 0;
    EXPECT_EQ(Reserve().Number(), 0U);
    Touch("Other_0000.tif");
    EXPECT_EQ(Reserve().Number(), 1U);
}

TEST_F(ReservationTest, WithoutNumbersTheNameIsCounted)
{
    m_settings.useExperimentNumber = false;
    const FileNameReservation first = Reserve();
    const FileNameReservation second = Reserve();
    EXPECT_EQ(first.Stem(), L"Experiment");
    EXPECT_EQ(second.Stem(), L"Experiment_2");
    Make(second);
    EXPECT_EQ(Reserve().Stem(), L"Experiment_3");
}

TEST_F(ReservationTest, ReservationsOfOneProcessExcludeEachOther)
{
    const FileNameReservation first = Reserve();
    {
        const FileNameReservation second = Reserve();
        EXPECT_EQ(second.Number(), 2U);
        m_settings.experimentName = L"EXPERIMENT"; // the same name on Windows
        EXPECT_EQ(Reserve().Number(), 3U);
        m_settings.experimentName = L"Another";
        EXPECT_EQ(Reserve().Number(), 1U);
        m_settings.experimentName = L"Experiment";
    }
    EXPECT_EQ(Reserve().Number(), 2U);
    fs::remove(m_folder / ".reserved-names");
    EXPECT_EQ(Reserve().Number(), 1U) << "a new lock file knows nothing of the removed one";
}

TEST_F(ReservationTest, WithAnExportFolderTheNumberIsFreeInBoth)
{
    m_settings.autoExportFolder = m_folder / "export";
    fs::create_directory(m_settings.autoExportFolder);
    Touch("export/Experiment_0004.png");
    EXPECT_EQ(Reserve().Number(), 1U) << "not in use";
    m_settings.useAutoExportFolder = true;
    const FileNameReservation both = Reserve();
    EXPECT_EQ(both.Number(), 5U);
    EXPECT_EQ(both.ExportPath(L"png"), m_folder / "export" / "Experiment_0005.png");
    EXPECT_EQ(both.Path(L"tif"), m_folder / "Experiment_0005.tif");
    // An experiment in another folder exports to the same one.
    m_settings.folder = m_folder / "elsewhere";
    const FileNameReservation other = Reserve();
    EXPECT_EQ(other.Number(), 6U);
    m_settings.autoExportFolder = m_settings.folder;
    EXPECT_EQ(Reserve().Number(), 1U) << "one folder, locked once";
}

TEST_F(ReservationTest, AKilledProcessLosesNoNumberAndALivingOneKeepsIts)
{
    HoldingProcess process(
        [&]
        {
            static const FileNameReservation reservation = Reserve();
            return reservation.Number();
        });
    EXPECT_EQ(process.Number(), 1U);
    EXPECT_EQ(Reserve().Number(), 2U);
    process.Kill();
    EXPECT_EQ(Reserve().Number(), 1U);
    EXPECT_TRUE(Names(m_folder.Path()).empty());
}

TEST_F(ReservationTest, ProcessesAndThreadsThatAcquireIntoOneFolderGetEachNumberOnce)
{
    constexpr int Processes = 4;
    constexpr int Threads = 2;
    constexpr int Each = 25;
    // Some give their number back; some begin before an earlier reservation of their own ends.
    const auto acquire = [&]
    {
        for (int i = 0; i < Each; ++i)
        {
            { // an acquisition that fails
                const FileNameReservation failed = Reserve();
            }
            const FileNameReservation reservation = Reserve();
            // Fails if the name is taken.
            std::FILE* const file = std::fopen(reservation.Path(L"tif").c_str(), "wx");
            if (file == nullptr)
            {
                ::_exit(1);
            }
            std::fclose(file);
        }
    };
    std::vector<pid_t> processes;
    for (int i = 0; i < Processes; ++i)
    {
        processes.push_back(::fork());
        if (processes.back() == 0)
        {
            std::vector<std::thread> threads;
            for (int j = 0; j < Threads; ++j)
            {
                threads.emplace_back(acquire);
            }
            for (std::thread& thread : threads)
            {
                thread.join();
            }
            ::_exit(0);
        }
    }
    for (const pid_t process : processes)
    {
        int status = -1;
        EXPECT_EQ(::waitpid(process, &status, 0), process);
        EXPECT_EQ(status, 0);
    }
    const std::set<std::string> names = Names(m_folder.Path());
    EXPECT_EQ(names.size(), Processes * Threads * Each);
    // Each number was given once. Those of failed acquisitions may be left out where others went on meanwhile.
    std::set<int> numbers;
    for (const std::string& name : names)
    {
        numbers.insert(std::stoi(name.substr(11)));
    }
    EXPECT_EQ(numbers.size(), names.size());
    EXPECT_LE(*numbers.rbegin(), 2 * Processes * Threads * Each);
}

TEST_F(ReservationTest, SaysWhyNoNameCanBeReserved)
{
    m_settings.folder.clear();
    EXPECT_THAT([&] { Reserve(); }, ThrowsMessage<FileNamingException>(HasSubstr("no folder is chosen")));
    Touch("file");
    m_settings.folder = m_folder / "file" / "sub";
    EXPECT_THAT([&] { Reserve(); },
                ThrowsMessage<FileNamingException>(HasSubstr("file/sub cannot be made: Not a dir")));
    m_settings.folder = m_folder / "locked";
    fs::create_directories(m_settings.folder / ".reserved-names");
    EXPECT_THAT([&] { Reserve(); }, ThrowsMessage<FileNamingException>(HasSubstr("locked: the lock file cannot be")));
    // A link would lead the lock file to a place that somebody else chooses.
    m_settings.folder = m_folder / "linked";
    fs::create_directory(m_settings.folder);
    fs::create_symlink(m_folder / "target", m_settings.folder / ".reserved-names");
    EXPECT_THROW(Reserve(), FileNamingException);
    EXPECT_FALSE(fs::exists(m_folder / "target"));
}

} // namespace Ardo::Kiln::FileNaming
