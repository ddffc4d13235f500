#include "Ardo/Kiln/Threading/ToMainThreadInitialization.h"

#include "Ardo/Kiln/Threading/MainThreadDispatcher.h"

#include <QCoreApplication>

#include <stdexcept>

namespace Ardo::Kiln::Threading
{

std::unique_ptr<Private::MainThreadDispatcher> ToMainThreadInitialization::s_pDispatcher;

ToMainThreadInitialization::ToMainThreadInitialization()
{
    if (QCoreApplication::instance() == nullptr)
    {
        qFatal("Ensure the QApplication instance is created before initializing ToMainThread functionality");
    }
    s_pDispatcher = std::make_unique<Private::MainThreadDispatcher>();
}

ToMainThreadInitialization::~ToMainThreadInitialization()
{
    s_pDispatcher.reset();
}

Private::MainThreadDispatcher* ToMainThreadInitialization::GetDispatcher()
{
    if (s_pDispatcher == nullptr)
    {
        throw std::runtime_error(
            "ToMainThread functionality not initialized. Please create an instance of ToMainThreadInitialization.");
    }
    return s_pDispatcher.get();
}

Private::MainThreadDispatcher* ToMainThreadInitialization::GetDispatcherOrNull() noexcept
{
    return s_pDispatcher.get();
}

} // namespace Ardo::Kiln::Threading
