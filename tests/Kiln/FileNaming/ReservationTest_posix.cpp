#include "tests/Kiln/FileNaming/ReservationTest.h"

#include <csignal>
#include <cstdio>
#include <functional>
#include <set>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace Ardo::Kiln::FileNaming
{

namespace
{

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
    EXPECT_THAT(Support::NamesIn(m_folder.Path()), testing::ElementsAre(".reserved-names"));
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
    std::vector<std::string> names = Support::NamesIn(m_folder.Path());
    EXPECT_EQ(names.front(), ".reserved-names");
    names.erase(names.begin());
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

TEST_F(ReservationTest, ALockFileThatWasRemovedOrIsALinkIsNotUsed)
{
    const FileNameReservation first = Reserve();
    fs::remove(m_folder / ".reserved-names");
    EXPECT_EQ(Reserve().Number(), 1U) << "a new lock file knows nothing of the removed one";

    // A link would lead the lock file to a place that somebody else chooses.
    m_settings.folder = m_folder / "linked";
    fs::create_directory(m_settings.folder);
    fs::create_symlink(m_folder / "target", m_settings.folder / ".reserved-names");
    EXPECT_THROW(Reserve(), FileNamingException);
    EXPECT_FALSE(fs::exists(m_folder / "target"));
}

} // namespace Ardo::Kiln::FileNaming
