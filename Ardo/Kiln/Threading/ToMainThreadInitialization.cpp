#include "Ardo/Kiln/Threading/ToMainThreadInitialization.h"

#include "Ardo/Kiln/Threading/MainThreadDispatcher.h"

#include <QCoreApplication>

#include <stdexcept>
#include <utility>

namespace Ardo::Kiln::Threading
{

std::unique_ptr<Private::MainThreadDispatcher> ToMainThreadInitialization::s_pDispatcher;

ToMainThreadInitialization::ToMainThreadInitialization()
{
    if (QCoreApplication::instance() == nullptr)
    {
        qFatal("Ensure the QApplication instance is created before initializing ToMainThread functionality");
    }
    Replace(std::make_unique<Private::MainThreadDispatcher>());
}

ToMainThreadInitialization::~ToMainThreadInitialization()
{
    Replace(nullptr);
}

void ToMainThreadInitialization::Replace(std::unique_ptr<Private::MainThreadDispatcher> dispatcher)
{
    if (s_pDispatcher != nullptr)
    {
        s_pDispatcher->WaitForQueueingThreads();
    }
    s_pDispatcher = std::move(dispatcher);
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
