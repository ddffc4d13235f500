#include "Ardo/Kiln/Threading/ForegroundWorker.h"

#include "Ardo/Kiln/Exception/Warning.h"
#include "tests/Support/LogCollector.h"

#include <gmock/gmock.h>

#include <memory>

namespace Ardo::Kiln::Threading
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class ForegroundWorkerTest : public ::testing::Test
{
protected:
    std::function<void()> Note(int number)
    {
        return [this, number] { m_ran.push_back(number); };
    }

    std::vector<int> m_ran;
};

TEST_F(ForegroundWorkerTest, DrainsWhereItsOwnerWaitsCallsOrEnds)
{
    {
        ForegroundWorker worker;
        worker.Post(
            [&]
            {
                Note(1)();
                worker.Post(Note(3)); // the next drain's
            });
        const auto scheduled = worker.Schedule(Note(2));
        const ScopedScheduledWork series = worker.Every(std::chrono::seconds(3600), Note(9));
        EXPECT_THAT(m_ran, IsEmpty());
        worker.Wait();
        EXPECT_TRUE(scheduled->Wait());
        EXPECT_THAT(m_ran, ElementsAre(1, 2, 9));
        worker.Call(Note(4));
        EXPECT_THAT(m_ran, ElementsAre(1, 2, 9, 3, 4));
        worker.Wait();
        const ScopedScheduledWork cancelled = worker.Schedule(Note(6));
        worker.Post(Note(5));
        EXPECT_TRUE(worker.IsRunning());
        EXPECT_TRUE(worker.IsOnBackgroundThread());
    }
    EXPECT_THAT(m_ran, ElementsAre(1, 2, 9, 3, 4, 5));
}

TEST_F(ForegroundWorkerTest, AnExceptionEndsTheDrainAWarningWithAHandlerDoesNot)
{
    const auto warn = [] { throw Exception::Warning("low"); };
    {
        ForegroundWorker worker([this](const Exception::Warning&) { m_ran.push_back(0); });
        worker.Post(warn);
        worker.Post(Note(1));
        worker.Wait();
        EXPECT_THAT(m_ran, ElementsAre(0, 1));
    }
    m_ran.clear();
    ForegroundWorker worker;
    const auto held = std::make_shared<int>();
    worker.Post(warn);
    worker.Post([held] {});
    EXPECT_THROW(worker.Call(Note(2)), Exception::Warning);
    EXPECT_EQ(held.use_count(), 1) << "the rest of the batch is destroyed";
    worker.Wait();
    EXPECT_THAT(m_ran, IsEmpty());
}

TEST_F(ForegroundWorkerTest, AnExceptionOfItsLastDrainIsLogged)
{
    const Support::LogCollector log;
    {
        ForegroundWorker worker;
        worker.Post([] { throw std::runtime_error("the shutter is stuck"); });
    }
    {
        ForegroundWorker worker;
        worker.Post([] { throw 42; });
    }
    ASSERT_EQ(log.Records().size(), 2U);
    EXPECT_EQ(log.Records()[0].severity, Logger::error);
    EXPECT_THAT(log.Messages(), ElementsAre(HasSubstr("the shutter is stuck"), HasSubstr("failed while")));
}

} // namespace Ardo::Kiln::Threading
