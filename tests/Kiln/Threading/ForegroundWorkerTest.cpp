#include "Ardo/Kiln/Threading/ForegroundWorker.h"

#include "Ardo/Kiln/Exception/Warning.h"
#include "tests/Support/LogCollector.h"

#include <gmock/gmock.h>

namespace Ardo::Kiln::Threading
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST(ForegroundWorkerTest, DrainsWhereItsOwnerWaitsCallsOrEnds)
{
    std::string ran;
    const auto note = [&ran](char name) { return [&ran, name] { ran += name; }; };
    {
        ForegroundWorker worker;
        worker.Post([&] { worker.Post(note('d')); }); // for the next drain
        const auto scheduled = worker.Schedule(note('a'));
        const ScopedScheduledWork series = worker.Every(std::chrono::seconds(3600), note('b'));
        EXPECT_EQ(ran, "");
        worker.Wait();
        EXPECT_TRUE(scheduled->Wait());
        EXPECT_EQ(ran, "ab");
        worker.Call(note('e'));
        EXPECT_EQ(ran, "abde");
        const ScopedScheduledWork cancelled = worker.Schedule(note('x'));
        worker.Post(note('f'));
        EXPECT_TRUE(worker.IsRunning());
    }
    EXPECT_EQ(ran, "abdef");
}

TEST(ForegroundWorkerTest, AFunctionMayPostWhenItIsCopiedAndDestroyTheWorkerWhenItRuns)
{
    struct PostsItsCopies
    {
        explicit PostsItsCopies(ForegroundWorker& theWorker, int& theRuns) : worker(theWorker), runs(theRuns) {}
        PostsItsCopies(const PostsItsCopies& other) : worker(other.worker), runs(other.runs)
        {
            worker.Post([&count = runs] { ++count; });
        }
        PostsItsCopies& operator=(const PostsItsCopies&) = delete;
        void operator()() const { runs += 100; }

        ForegroundWorker& worker;
        int& runs;
    };
    int runs = 0;
    int warnings = 0;
    auto worker = std::make_unique<ForegroundWorker>([&](const Exception::Warning&) { ++warnings; });
    worker->Post(PostsItsCopies(*worker, runs));
    worker->Wait();
    EXPECT_GT(runs, 100);
    worker->Post([&] { worker.reset(), throw Exception::Warning("late"); });
    worker->Post([&] { runs = -1; });
    worker->Wait();
    EXPECT_EQ(warnings, 1);
    EXPECT_EQ(runs, -1) << "the rest of the batch";
}

TEST(ForegroundWorkerTest, AnExceptionEndsTheDrainAWarningWithAHandlerDoesNot)
{
    Support::LogCollector log;
    log.ExpectErrors({"the shutter is stuck", "failed while"});
    const auto held = std::make_shared<int>();
    int warnings = 0;
    ForegroundWorker handling([&](const Exception::Warning&) { ++warnings; });
    ForegroundWorker worker;
    for (BackgroundWorker* each : {static_cast<BackgroundWorker*>(&handling), static_cast<BackgroundWorker*>(&worker)})
    {
        each->Post([] { throw Exception::Warning("low"); });
        each->Post([&warnings, held] { warnings += 10; });
    }
    handling.Wait();
    EXPECT_EQ(warnings, 11);
    EXPECT_THROW(worker.Call([&] { ++warnings; }), Exception::Warning);
    worker.Wait();
    EXPECT_EQ(warnings, 11);
    EXPECT_EQ(held.use_count(), 1) << "the rest of the batch is destroyed";

    std::make_unique<ForegroundWorker>()->Post([] { throw std::runtime_error("the shutter is stuck"); });
    std::make_unique<ForegroundWorker>()->Post([] { throw 42; });
    EXPECT_THAT(log.Messages(), ElementsAre(HasSubstr("the shutter is stuck"), HasSubstr("failed while")));
}

} // namespace Ardo::Kiln::Threading
