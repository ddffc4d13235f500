#include "apps/crash_probe/Scenario.h"

#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/Exception/Warning.h"

#include <exception>
#include <stdexcept>
#include <string>

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
    // A destructor leaves the function table of its class behind: that of the abstract one, in the end.
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
    {"terminate", "std::terminate without an exception", &Terminate},
    {"pure-virtual", "a call of a pure virtual function", &CallPureVirtual},
};

} // namespace

std::span<const Scenario> Exceptions()
{
    return List;
}

} // namespace Ardo::Kiln::CrashProbe
