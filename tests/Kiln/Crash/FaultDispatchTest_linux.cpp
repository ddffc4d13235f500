#include "Ardo/Kiln/Crash/Fault/FaultDispatch.h"

#include "Ardo/Kiln/Crash/Fault/CaughtException.h"
#include "Ardo/Kiln/Crash/Fault/UncaughtException.h"
#include "Ardo/Kiln/Crash/FaultCode.h"
#include "Ardo/Kiln/Platform/ProcessMemory_linux.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <deque>
#include <exception>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>
#include <unwind.h>

namespace Ardo::Kiln::Crash
{

namespace
{

// Each test in a process of its own: the handlers that were there before can only be set before the dispatch starts.

using Platform::PageSize;

char* g_closedPage = nullptr; ///< Cannot be touched until Repair.
std::string* g_asked = nullptr;

void Prepare()
{
    g_asked = new std::string;
    g_closedPage = static_cast<char*>(::mmap(nullptr, PageSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
}

void Repair()
{
    ::mprotect(g_closedPage, PageSize, PROT_READ | PROT_WRITE);
}

template <char Name, long Answer>
long Filter(EXCEPTION_POINTERS* pointers)
{
    *g_asked += pointers->ExceptionRecord->ExceptionCode == FaultCode::AccessViolation ? Name : '?';
    return Answer;
}

long RepairingFilter(EXCEPTION_POINTERS* pointers)
{
    Repair();
    Filter<'r', 0>(pointers);
    return -1; // as Windows has it: go on where it stood
}

/// Faults.
void TouchClosedPage()
{
    *static_cast<volatile char*>(g_closedPage) = 1;
    std::_Exit(2);
}

[[noreturn]] void Tell()
{
    const std::string text = *g_asked + "\n";
    std::_Exit(::write(STDERR_FILENO, text.data(), text.size()) > 0 ? 0 : 1);
}

class FaultDispatchDeathTest : public testing::Test
{
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(FaultDispatchDeathTest, AsksInTheOrderOfTheSystem)
{
    // The last vectored filter first, then the guarded calls from the inside out; who answers ends it.
    EXPECT_EXIT(
        {
            Prepare();
            FaultDispatch::MonitorThread();
            FaultDispatch::SetUnhandledFilter(&Filter<'u', 0>);
            FaultDispatch::AddVectoredFilter(&Filter<'1', 0>);
            FaultDispatch::AddVectoredFilter(&Filter<'x', 0>);
            FaultDispatch::AddVectoredFilter(&Filter<'2', 0>);
            FaultDispatch::RemoveVectoredFilter(&Filter<'x', 0>);
            const auto inner = [](void*)
            { FaultDispatch::CallGuarded([](void*) { TouchClosedPage(); }, nullptr, &Filter<'i', 0>); };
            const bool outerEnded = FaultDispatch::CallGuarded(inner, nullptr, &Filter<'o', 1>);
            *g_asked += outerEnded ? "?" : ".";
            const bool again = FaultDispatch::CallGuarded([](void*) { TouchClosedPage(); }, nullptr, &Filter<'g', 1>);
            *g_asked += again ? "?" : ".";
            Tell();
        },
        testing::ExitedWithCode(0), "^21io\\.21g\\.\n$");
}

TEST_F(FaultDispatchDeathTest, GoesOnWhereAFilterHasRemovedTheCause)
{
    EXPECT_EXIT(
        {
            Prepare();
            FaultDispatch::MonitorThread();
            FaultDispatch::AddVectoredFilter(&Filter<'1', 0>);
            FaultDispatch::AddVectoredFilter(&RepairingFilter);
            *static_cast<volatile char*>(g_closedPage) = 1;
            Tell();
        },
        testing::ExitedWithCode(0), "^r\n$");
}

// Exceptions of several kinds wander between threads: each keeps the place of its throw, and none has another's.

constexpr int Kinds = 4;
constexpr int Threads = 4;

template <int Kind>
struct Thrown
{
};

template <int Kind>
[[gnu::noinline]] std::exception_ptr Throw()
{
    try
    {
        throw Thrown<Kind>();
    }
    catch (...)
    {
        return std::current_exception();
    }
}

std::vector<std::uint64_t> g_callers; ///< Of the function that has thrown.

_Unwind_Reason_Code AddCaller(_Unwind_Context* frame, void*)
{
    g_callers.push_back(_Unwind_GetIP(frame));
    return g_callers.size() < 64 ? _URC_NO_REASON : _URC_END_OF_STACK;
}

/// Throws behind as many calls as \p path has bits, in one or the other function, with frames of different sizes.
[[gnu::noinline]] void ThrowBehind(unsigned path)
{
    auto* const room = static_cast<volatile char*>(__builtin_alloca(16 + (path % 5) * 64));
    room[0] = 0;
    if (path <= 1)
    {
        g_callers.clear();
        _Unwind_Backtrace(&AddCaller, nullptr);
        g_callers.erase(g_callers.begin()); // this function
        throw Thrown<0>();
    }
    if (path % 2 == 0)
    {
        ThrowBehind(path / 2);
    }
    else
    {
        room[0] = 2; // keeps it another call
        ThrowBehind(path / 2);
        room[0] = 3;
    }
    room[0] = 1; // no tail call
}

class ThrowPlaceTest : public testing::Test
{
protected:
    ThrowPlaceTest()
    {
        FaultDispatch::Start();
        FaultDispatch::SetThrowFilter(
            [](EXCEPTION_POINTERS* pointers)
            {
                RememberThrow(pointers);
                return FilterResult::ContinueSearch;
            });
    }
    ~ThrowPlaceTest() override { FaultDispatch::SetThrowFilter(nullptr); }

    /// What is known of the exception when nobody catches it.
    static UncaughtException Describe(const std::exception_ptr& exception)
    {
        try
        {
            std::rethrow_exception(exception);
        }
        catch (...)
        {
            CaughtException caught;
            return UncaughtExceptionOfThread();
        }
    }
};

TEST_F(ThrowPlaceTest, PlacesStayWithTheirExceptions)
{
    std::exception_ptr (*const functions[Kinds])() = {&Throw<0>, &Throw<1>, &Throw<2>, &Throw<3>};
    std::map<std::string, std::uint64_t> places; // by type
    for (auto* const function : functions)
    {
        const UncaughtException last = Describe(function());
        EXPECT_GT(last.frameCount, 2U);
        EXPECT_EQ(last.frames[0], last.address);
        places[last.type] = last.address;
    }
    ASSERT_EQ(places.size(), std::size_t(Kinds));

    constexpr int Rounds = 500;
    std::mutex mutex;
    std::deque<std::exception_ptr> wandering;
    std::atomic<int> known = 0;
    std::atomic<int> wrong = 0;
    const auto work = [&](int seed)
    {
        for (int round = 0; round < Rounds; ++round)
        {
            auto exception = functions[(seed + round) % Kinds]();
            {
                const std::lock_guard lock(mutex);
                wandering.push_back(std::move(exception));
                exception = std::move(wandering.front());
                if (wandering.size() > std::size_t(Threads) * 2)
                {
                    wandering.pop_front();
                }
                else
                {
                    wandering.front() = exception;
                }
            }
            const UncaughtException last = Describe(exception);
            known += last.address != 0 ? 1 : 0;
            wrong += last.address != 0 && last.address != places.at(last.type) ? 1 : 0;
        }
    };
    std::vector<std::thread> threads;
    for (int seed = 0; seed < Threads; ++seed)
    {
        threads.emplace_back(work, seed);
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(known, Threads * Rounds * 9 / 10); // an exception may lose its place to others, seldom
}

TEST_F(ThrowPlaceTest, FramesAreThoseOfThisThrowWhateverTheLastOne)
{
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round)
    {
        const unsigned path = std::uniform_int_distribution<unsigned>()(random) >> round % 31;
        try
        {
            ThrowBehind(path);
        }
        catch (const Thrown<0>&)
        {
            const CaughtException caught;
            const UncaughtException& last = UncaughtExceptionOfThread();
            ASSERT_GT(last.frameCount, std::min<std::size_t>(g_callers.size(), UncaughtException::MaxFrames) - 2);
            for (std::uint32_t frame = 1; frame < last.frameCount; ++frame)
            {
                ASSERT_EQ(last.frames[frame], g_callers[frame - 1]) << round;
            }
        }
    }
}

TEST_F(ThrowPlaceTest, OnlyThrownExceptionsHaveAPlace)
{
    Throw<0>(); // leaves its address to the next one
    const auto made = std::make_exception_ptr(Thrown<0>());
    EXPECT_EQ(Describe(made).address, 0U);
    EXPECT_EQ(Describe(made).type, std::string(typeid(Thrown<0>).name()));
    Throw<0>();                             // leaves its address, and its place, to the next one
    FaultDispatch::SetThrowFilter(nullptr); // and none that nobody remembers
    EXPECT_EQ(Describe(Throw<0>()).address, 0U);
}

} // namespace

} // namespace Ardo::Kiln::Crash
