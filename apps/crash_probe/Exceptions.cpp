#include "apps/crash_probe/Scenario.h"

#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/Exception/Warning.h"

#include <chrono>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

namespace Ardo::Kiln::CrashProbe
{

namespace
{

/// Makes the stack between the throw and the place that ends it deeper, and has something to clean up there.
void WithCleanup(void (*function)())
{
    const std::string destroyedOnTheWay = "something that does not fit into the object itself";
    function();
}

void ThrowStandard()
{
    throw std::runtime_error("the stage is stuck"); // <- throw-std
}

void ThrowNumber()
{
    throw 42; // <- throw-int
}

void ThrowError()
{
    throw Exception::Error("the beam is blanked"); // <- throw-error
}

void ThrowWarning()
{
    throw Exception::Warning("the vacuum is poor"); // <- throw-warning
}

void ThrowFromNoexcept()
{
    throw std::logic_error("through noexcept"); // <- throw-noexcept
}

void Noexcept() noexcept
{
    WithCleanup(&ThrowFromNoexcept);
}

void ThrowInDestructor()
{
    throw std::runtime_error("from a destructor"); // <- throw-destructor
}

class Thrower
{
public:
    ~Thrower() { ThrowInDestructor(); }
};

void Destroy()
{
    const Thrower thrower;
}

void ThrowFirst()
{
    throw std::out_of_range("thrown once more"); // <- rethrow
}

void Rethrow()
{
    try
    {
        WithCleanup(&ThrowFirst);
    }
    catch (const std::exception&)
    {
        throw;
    }
}

void ThrowStored()
{
    throw std::runtime_error("carried along"); // <- rethrow-stored
}

void RethrowStored()
{
    std::exception_ptr stored;
    try
    {
        ThrowStored();
    }
    catch (...)
    {
        stored = std::current_exception();
    }
    std::rethrow_exception(stored);
}

void ThrowElsewhere()
{
    throw std::runtime_error("from another thread"); // <- rethrow-elsewhere
}

/// Throws and catches \p count exceptions, none of which lives long.
void ThrowOthers(int count)
{
    for (int number = 0; number < count; ++number)
    {
        try
        {
            throw std::runtime_error("caught at once");
        }
        catch (const std::exception&)
        {
        }
    }
}

void RethrowFromElsewhere()
{
    std::exception_ptr stored;
    std::thread(
        [&]
        {
            try
            {
                ThrowElsewhere();
            }
            catch (...)
            {
                stored = std::current_exception();
            }
        })
        .join();
    constexpr int Others = 20;
    ThrowOthers(Others);
    std::rethrow_exception(stored);
}

void RaiseMade()
{
    ThrowOthers(1); // its object had the address that the next one gets
    std::rethrow_exception(std::make_exception_ptr(std::runtime_error("made, not thrown")));
}

void AbortWhileCaught()
{
    try
    {
        ThrowOthers(1);
        throw std::runtime_error("caught");
    }
    catch (const std::exception&)
    {
        std::abort(); // <- abort-caught
    }
}

// Texts -------------------------------------------------------------------------------------------------------------

int* volatile g_nothing = nullptr;

/// An exception whose what() is the given function.
template <const char* (*What)()>
struct Text : std::exception
{
    const char* what() const noexcept override { return What(); }
};

const char* FaultyText()
{
    return *g_nothing == 0 ? "" : nullptr;
}

const char* ThrowingText()
{
    throw 42;
}

const char* AbortingText()
{
    std::abort();
}

const char* EndlessText()
{
    static std::mutex mutex;
    mutex.lock(); // by the thread that throws
    std::lock_guard lock(mutex);
    for (;;)
    {
        std::this_thread::sleep_for(std::chrono::hours(1));
    }
}

const char* AddresslessText()
{
    return reinterpret_cast<const char*>(1);
}

const char* ForgingText()
{
    return "first\r\nException code: 00000000 FORGED\n\x1B[2J\xFF\xE2\x80\xA8";
}

const char* LongText()
{
    static const std::string text = []
    {
        std::string made;
        while (made.size() < 20'000)
        {
            made += "\xC3\xA4"; // an umlaut
        }
        return made;
    }();
    return text.c_str();
}

const char* EndingText()
{
    std::_Exit(3);
}

template <const char* (*What)()>
void ThrowText()
{
    throw Text<What>(); // <- text
}

void ThrowFaultyTextFromNoexcept() noexcept
{
    WithCleanup(&ThrowText<&FaultyText>);
}

/// what() of a caught exception must not be called.
void CatchText()
{
    try
    {
        ThrowText<&EndingText>();
    }
    catch (const std::exception&)
    {
        ThrowNumber();
    }
}

void Terminate()
{
    std::terminate(); // <- terminate
}

class Shutter
{
public:
    virtual ~Shutter() = default;
    virtual void Open() = 0;
    void OpenNow() { Open(); } // <- pure-virtual
};

class HalfMadeShutter : public Shutter
{
public:
    ~HalfMadeShutter() override = default;
    void Open() override {}
};

void CallPureVirtual()
{
    // Each destructor sets the function table of its class; the last one is that of the abstract base.
    alignas(HalfMadeShutter) unsigned char memory[sizeof(HalfMadeShutter)];
    auto* const shutter = new (memory) HalfMadeShutter;
    Shutter* const volatile abstract = shutter;
    shutter->~HalfMadeShutter();
    abstract->OpenNow();
}

constexpr Scenario List[] = {
    {"throw-std", "an exception of the standard library", [] { WithCleanup(&ThrowStandard); }},
    {"throw-int", "an exception that is a number", [] { WithCleanup(&ThrowNumber); }},
    {"throw-error", "an Error of this library", [] { WithCleanup(&ThrowError); }},
    {"throw-warning", "a Warning of this library", [] { WithCleanup(&ThrowWarning); }},
    {"throw-noexcept", "an exception that leaves a noexcept function", &Noexcept},
    {"throw-destructor", "an exception that leaves a destructor", &Destroy},
    {"rethrow", "an exception caught and thrown on", &Rethrow},
    {"rethrow-stored", "an exception stored and thrown again", &RethrowStored},
    {"rethrow-elsewhere", "an exception of another thread, stored and thrown again", &RethrowFromElsewhere},
    {"rethrow-made", "an exception that was made, not thrown", &RaiseMade},
    {"abort-caught", "abort while an exception is caught", &AbortWhileCaught},
    {"text-faults", "an exception whose what() faults", &ThrowText<&FaultyText>},
    {"text-faults-noexcept", "the same, leaving a noexcept function", &ThrowFaultyTextFromNoexcept},
    {"text-throws", "an exception whose what() throws", &ThrowText<&ThrowingText>},
    {"text-aborts", "an exception whose what() aborts", &ThrowText<&AbortingText>},
    {"text-hangs", "an exception whose what() waits for ever", &ThrowText<&EndlessText>},
    {"text-nowhere", "an exception whose what() is no address of a text", &ThrowText<&AddresslessText>},
    {"text-forges", "an exception whose text looks like lines of a report", &ThrowText<&ForgingText>},
    {"text-long", "an exception whose text has 20,000 bytes", &ThrowText<&LongText>},
    {"text-unasked", "a number while an exception is caught whose what() ends the process", &CatchText},
    {"terminate", "std::terminate without an exception", &Terminate},
    {"pure-virtual", "a call of a pure virtual function", &CallPureVirtual},
};

} // namespace

std::span<const Scenario> Exceptions()
{
    return List;
}

} // namespace Ardo::Kiln::CrashProbe
