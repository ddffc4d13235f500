#pragma once

#include "Ardo/Kiln/Threading/ToMainThread.h"
#include "Ardo/Kiln/Threading/ToMainThreadInitialization.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Ardo::Kiln::Threading
{

/// A test on the main thread of an application.
class MainThreadTest : public ::testing::Test
{
protected:
    /// Runs the main thread's event loop until \p count threads have called \p work with their numbers, from 0.
    void RunWith(int count, const std::function<void(int)>& work)
    {
        std::atomic<int> running = count;
        const auto body = [&](int index)
        {
            work(index);
            if (--running == 0)
            {
                ToMainThread(&m_application, QCoreApplication::quit);
            }
        };
        std::vector<std::jthread> threads;
        for (int index = 0; index < count; ++index)
        {
            threads.emplace_back(body, index);
        }
        QCoreApplication::exec();
    }

    int m_argc = 1;
    std::string m_name = "test";
    char* m_argv[2] = {m_name.data(), nullptr};
    QCoreApplication m_application{m_argc, m_argv};
    std::optional<ToMainThreadInitialization> m_toMainThread{std::in_place};
};

} // namespace Ardo::Kiln::Threading
