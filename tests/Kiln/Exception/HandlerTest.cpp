#include "tests/Kiln/Exception/HandlerTest.h"

#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"
#include "Ardo/Kiln/Crash/Fault/UncaughtException.h"
#include "Ardo/Kiln/Exception/ErrorInfo.h"
#include "Ardo/Kiln/Exception/Notification.h"
#include "Ardo/Kiln/Exception/Warning.h"
#include "Ardo/Kiln/Logger/CreateLogger.h"
#include "Ardo/Kiln/Logger/Logging.h"
#include "Ardo/Kiln/Logger/SeveritySets.h"
#include "tests/Support/LogCollector.h"
#include "tests/Support/Process.h"

#include <boost/exception/get_error_info.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_feature.hpp>
#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace Ardo::Kiln::Exception
{

using Support::Count;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace FaultCode = Crash::FaultCode;

namespace
{

using Access = Handler::Internal;

/// A fault that somebody else would have made.
struct Fault
{
    explicit Fault(std::uint32_t code = FaultCode::AccessViolation, std::uint64_t address = 0x1000)
    {
        record.ExceptionCode = code;
        record.ExceptionAddress = reinterpret_cast<void*>(address);
    }

    EXCEPTION_RECORD record{};
    CONTEXT context{};
    EXCEPTION_POINTERS pointers{&record, &context};
};

void ReadBadAddress()
{
    int* volatile pointer = reinterpret_cast<int*>(0x1000); // no system maps the first 64 KiB
    [[maybe_unused]] const volatile int value = *pointer;
}

TEST_F(HandlerTest, FlagsBelongToTheFirstThread)
{
    const std::string refusal = "Handler::SetFlags should be set before instantiation of secondary threads";
    Handler::Initialize();
    EXPECT_EQ(Access::g_instances, 0); // flags 0

    std::thread(
        [&refusal]
        {
            Handler::SetFlags(Handler::DetectLoops);
            Handler::Initialize();
            Handler::Initialize();
            EXPECT_EQ(Access::g_instances, 1);
            Handler::SetFlags(Handler::RememberThrows); // its own object does not count

            std::thread(
                [&refusal]
                {
                    const auto set = [] { Handler::SetFlags(Handler::EndProcess); };
                    EXPECT_EQ(Said([&] { EXPECT_THROW(set(), std::runtime_error); }), refusal + "\n");
                    Handler::Initialize();
                    EXPECT_EQ(Access::g_instances, 2);
                    EXPECT_EQ(Said([&] { EXPECT_THROW(set(), std::runtime_error); }), refusal + "\n");
                })
                .join();
            EXPECT_EQ(Access::g_instances, 1);
            Handler::SetFlags(Handler::EndProcess);
        })
        .join();
    EXPECT_EQ(Access::g_instances, 0);

    GTEST_FLAG_SET(death_test_style, "threadsafe"); // there are threads by now
    EXPECT_EXIT(
        {
            const Handler first;
            const Handler second;
            Handler::SetFlags(0);
        },
        ::testing::ExitedWithCode(0), refusal + "\nTerminating Orbex\\.\n");
    Handler::SetFlags(0);
    EXPECT_EQ(Said([] { Access::KillCurrentProcess(); }), "");
}

TEST_F(HandlerTest, LoopsAreCountedAsTheyHappen)
{
    enum Change
    {
        Same,
        Block,
        Address,
        ThirdWord,
        Code
    };
    struct Step
    {
        int faults;              ///< So many of them, one after another.
        Change change = Same;    ///< In what they differ from the other faults of the row.
        bool isLoop = false;     ///< Whether each is reported as a loop.
        std::uint64_t pause = 0; ///< Before each, in ticks of 100 ns.
    };
    constexpr std::uint64_t JustInTime = 1'009'999;
    constexpr std::uint64_t TooLate = 1'010'000;
    const std::vector<Step> rows[] = {{{1}, {2, Same, false, JustInTime}, {1}, {2, Same, true}},
                                      {{4}, {1, Same, false, TooLate}, {2}, {2, Same, true}},
                                      {{4}, {1, Block}, {4}},
                                      {{4}, {1, Address}, {4}},
                                      {{4}, {1, ThirdWord}, {3}, {1, Same, true}},
                                      {{4}, {1, Code}, {3}, {1, Same, true}},
                                      {{1}, {1, Code}, {1}, {1, Code}, {1}, {1, Code}, {1}, {1, Code}, {1}}};
    for (const std::vector<Step>& row : rows)
    {
        SCOPED_TRACE(&row - rows);
        Handler::SetFlags(Handler::DetectLoops);
        std::thread(
            [&row]
            {
                Handler::Initialize();
                Fault usual;
                Fault other;
                for (const Step& step : row)
                {
                    for (int fault = 0; fault < step.faults; ++fault)
                    {
                        g_now += step.pause;
                        usual.record.ExceptionCode =
                            step.change == Code ? FaultCode::CxxException : FaultCode::AccessViolation;
                        usual.record.ExceptionAddress = step.change == Address ? &other : nullptr;
                        usual.record.ExceptionInformation[2] = step.change == ThirdWord ? 1 : 0;
                        Fault ignored(FaultCode::SingleStep);
                        Access::HandleSuspiciousExceptionLoop(&ignored.pointers);
                        const std::string said = Said(
                            [&] {
                                Access::HandleSuspiciousExceptionLoop(&(step.change == Block ? other : usual).pointers);
                            });
                        EXPECT_EQ(Count(said, "A suspicious loop of exceptions has been detected. "
                                              "Orbex must be ended. \r\n\n"),
                                  step.isLoop ? 1U : 0U)
                            << "step " << &step - row.data() << ", fault " << fault;
                    }
                }
            })
            .join();
    }
}

TEST_F(HandlerTest, ACorruptedHeapIsReportedOnceAThread)
{
    // Without the filter that the start code of some compilers sets, which would decide at the end.
    const auto before = Crash::FaultDispatch::SetUnhandledFilter(nullptr);
    Handler::SetFlags(Handler::CatchUncaught | Handler::RememberThrows | Handler::DetectHeapCorruption);
    for (const std::size_t thread : {1U, 2U})
    {
        std::thread(
            []
            {
                Handler::Initialize();
                Fault corruption(FaultCode::HeapCorruption);
                Fault other;
                const std::string said = Said(
                    [&]
                    {
                        for (Fault* fault : {&other, &corruption, &corruption})
                        {
                            EXPECT_EQ(Access::HandleHeapCorruption(&fault->pointers), 0);
                        }
                        EXPECT_EQ(Access::HandleUncaughtExceptions(&corruption.pointers),
                                  1); // the same fault, on its way on
                    });
                EXPECT_EQ(Count(said, "\nHeap corruption detected\n(EEE)"), 1U) << said;
            })
            .join();
        EXPECT_EQ(Reports(), thread);
    }
    Handler::SetFlags(0);
    Crash::FaultDispatch::SetUnhandledFilter(before);
}

TEST_F(HandlerTest, TheFirstUncaughtFaultIsReportedAndHandedOn)
{
    static const EXCEPTION_POINTERS* seen = nullptr;
    const auto before = Crash::FaultDispatch::SetUnhandledFilter(
        [](EXCEPTION_POINTERS* pointers)
        {
            seen = pointers;
            return -1L;
        });
    Handler::SetFlags(Handler::CatchUncaught);
    const std::pair<std::uint32_t, long> ignored[] = {{FaultCode::Breakpoint, 0},
                                                      {FaultCode::SingleStep, 0},
                                                      {FaultCode::DebugPrint, 0},
                                                      {FaultCode::ControlCExit, 1}};
    for (const auto& [code, answer] : ignored)
    {
        Fault fault(code);
        EXPECT_EQ(Said([&] { EXPECT_EQ(Access::HandleUncaughtExceptions(&fault.pointers), answer); }), "");
    }
    EXPECT_EQ(seen, nullptr);
    Fault fault;
    EXPECT_THAT(Said([&] { EXPECT_EQ(Access::HandleUncaughtExceptions(&fault.pointers), -1); }),
                HasSubstr("An uncaught exceptions has been detected. Orbex must be ended. \r\n\n"));
    EXPECT_EQ(seen, &fault.pointers);
    EXPECT_EQ(Said([&] { EXPECT_EQ(Access::HandleUncaughtExceptions(&fault.pointers), 1); }), "");
    EXPECT_EQ(Reports(), 1U);
    Handler::SetFlags(0);
    EXPECT_EQ(Crash::FaultDispatch::SetUnhandledFilter(before)(&fault.pointers), -1); // put back
}

TEST_F(HandlerTest, WhoIsAskedAndWhat)
{
    Fault fault;
    std::string asked;
    const auto present = [&](const std::shared_ptr<Notification>& notification)
    {
        try
        {
            std::rethrow_exception(notification->exception);
        }
        catch (const HandledException& error)
        {
            asked = error.what() + *boost::get_error_info<ReportInfo>(error);
        }
        notification->Answer({0, [&] { asked += " and then"; }});
    };
    EXPECT_THAT(Said([&] { Access::ReportAndDump(&fault.pointers, "message", present); }), HasSubstr("\nmessage\n"));
    EXPECT_THAT(asked,
                AllOf(StartsWith("message//="), HasSubstr(": C0000005 ACCESS_VIOLATION\r"), EndsWith(" and then")));
    EXPECT_EQ(Reports(), 0U);
    for (const unsigned long long flags : {127ULL, 128ULL})
    {
        Handler::SetFlags(flags & ~std::uint64_t(Handler::EndProcess));
        EXPECT_EQ(Count(Said([&] { Access::ReportAndDump(&fault.pointers, "message", {}); }), "(EEE) ------- Error"),
                  flags > 127 ? 1U : 0U);
    }
    EXPECT_EQ(Reports(), 2U);
}

TEST_F(HandlerTest, RecordsLoggedDuringTheQuestionAreInTheFileAfterwards)
{
    Logger::Logging logging(m_folder.Path(), L"B");
    logging.Initialize();
    logging.AddSinks({{L"D", 0, {}, Logger::InfoAndAbove}});
    Fault fault;
    const auto present = [](const std::shared_ptr<Notification>& notification)
    {
        auto logger = Logger::CreateLogger("C");
        BOOST_LOG_SEV(logger, Logger::info) << "meanwhile";
        notification->Answer({0, {}});
    };
    Said([&] { Access::ReportAndDump(&fault.pointers, "message", present); });
    EXPECT_THAT(Support::ReadFile(m_folder / "Log/D.log"), EndsWith("meanwhile\n"));
}

TEST_F(HandlerTest, WhatLeavesTheWorkEndsThere)
{
    std::vector<std::string> handled;
    Handler::SetHandler(
        [&](EXCEPTION_POINTERS* pointers, const Handler::Notify& notify)
        {
            const Crash::UncaughtException& last = Crash::UncaughtExceptionOfThread();
            const bool isCxx = pointers->ExceptionRecord->ExceptionCode == FaultCode::CxxException;
            handled.push_back((isCxx ? std::string(last.type) + last.message : "fault") + (notify ? " asks" : ""));
            EXPECT_TRUE(!isCxx || last.frameCount > 0 || handled.size() == 4U); // where it was thrown
        });
    Support::LogCollector log;
    std::vector<std::string> presented;
    const auto present = [&](const std::shared_ptr<Notification>& notification)
    {
        try
        {
            std::rethrow_exception(notification->exception);
        }
        catch (const Warning& warning)
        {
            presented.emplace_back(warning.what());
            throw std::runtime_error("not now");
        }
    };
    Handler::Execute([&] { handled.emplace_back("reached"); });
    Handler::Execute([] { throw std::runtime_error("stuck"); });
    Handler::ExecuteOrNotify([] { throw 1; }, present);
    Handler::Execute({});
    Handler::Execute(&ReadBadAddress);
    Handler::Execute(
        [&]
        {
            Handler::ExecuteOrNotify(&ReadBadAddress, present);
            handled.emplace_back("went on");
        });
    Handler::Execute([] { throw Warning("logged"); });
    Handler::ExecuteOrNotify([] { throw Warning("presented"); }, present);
    EXPECT_THAT(handled, ElementsAre("reached", "St13runtime_errorstuck", "i asks",
                                     "St17bad_function_callbad_function_call", "fault", "fault asks", "went on"));
    EXPECT_THAT(presented, ElementsAre("presented"));
    EXPECT_THAT(log.Messages(), ElementsAre("logged", "presented"));
}

TEST_F(HandlerTest, OneFatalExceptionIsHandledAtATime)
{
    constexpr int Threads = 4;
    std::atomic<int> inside = 0;
    std::atomic<int> handled = 0;
    std::atomic<bool> overlap = false;
    Handler::SetHandler(
        [&](EXCEPTION_POINTERS*, const Handler::Notify&)
        {
            // The others throw meanwhile. Without exclusion they come in long before the limit.
            const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(++handled == 1 ? 500 : 0);
            overlap = ++inside > 1 || overlap;
            while (!overlap && std::chrono::steady_clock::now() < limit)
            {
                std::this_thread::yield();
            }
            --inside;
        });
    std::vector<std::thread> threads;
    for (int thread = 0; thread < Threads; ++thread)
    {
        threads.emplace_back([] { Handler::Execute([] { throw std::runtime_error("at once"); }); });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_FALSE(overlap);
    EXPECT_EQ(handled, Threads);
}

} // namespace

} // namespace Ardo::Kiln::Exception
