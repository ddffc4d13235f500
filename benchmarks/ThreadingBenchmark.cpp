#include "Ardo/Kiln/Threading/BackgroundWorker.h"

#include "Ardo/Kiln/Exception/Warning.h"

#include <benchmark/benchmark.h>

#include <QObject>
#include <QThread>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <sched.h>
#include <string>
#include <thread>
#include <vector>

namespace Ardo::Kiln
{

namespace
{

using Job = std::function<void()>;
using Clock = std::chrono::steady_clock;

/// What one would write by hand: all that waits is taken at once.
class HandWrittenQueue
{
public:
    HandWrittenQueue() : m_thread([this] { Run(); }) {}
    ~HandWrittenQueue()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_isStopped = true;
        }
        m_filled.notify_one();
        m_thread.join();
    }

    void Post(const Job& job)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_jobs.push_back(job);
        }
        m_filled.notify_one();
    }

private:
    void Run()
    {
        std::vector<Job> batch;
        std::unique_lock lock(m_mutex);
        while (!m_isStopped)
        {
            m_filled.wait(lock, [this] { return m_isStopped || !m_jobs.empty(); });
            batch.swap(m_jobs);
            lock.unlock();
            for (const Job& job : batch)
            {
                job();
            }
            batch.clear();
            lock.lock();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_filled;
    std::vector<Job> m_jobs;
    bool m_isStopped = false;
    std::thread m_thread; ///< The last: it uses the others.
};

/// A thread with an event loop, and calls into it.
class QtThread
{
public:
    QtThread()
    {
        m_thread.start();
        m_receiver.moveToThread(&m_thread);
    }
    ~QtThread()
    {
        m_thread.quit();
        m_thread.wait();
    }

    void Call(const Job& job) { QMetaObject::invokeMethod(&m_receiver, job, Qt::BlockingQueuedConnection); }

private:
    QThread m_thread;
    QObject m_receiver;
};

class WorkerWithHandler : public Threading::BackgroundWorker
{
public:
    WorkerWithHandler() : BackgroundWorker("Worker", [](const Exception::Warning&) {}) {}
};

class WorkerWithPeriodicWork : public Threading::BackgroundWorker
{
private:
    Threading::ScopedScheduledWork m_periodic = Every(std::chrono::seconds(1800), [] {});
};

/// Hands over jobs from \p producers threads and waits until all have run; processor time of all threads a job.
template <typename Queue>
void MeasurePost(benchmark::State& state, int producers)
{
    constexpr int Batch = 40'000;
    Queue queue;
    while (state.KeepRunningBatch(Batch))
    {
        std::atomic<int> left = Batch;
        const auto produce = [&]
        {
            for (int i = 0; i < Batch / producers; ++i)
            {
                queue.Post(
                    [&left]
                    {
                        if (--left == 0)
                        {
                            left.notify_one();
                        }
                    });
            }
        };
        std::vector<std::thread> threads;
        for (int i = 0; i < producers; ++i)
        {
            threads.emplace_back(produce);
        }
        for (std::thread& thread : threads)
        {
            thread.join();
        }
        for (int seen = left; seen != 0; seen = left)
        {
            left.wait(seen);
        }
    }
}

/// Keeps the process's new threads, and the calling one, on the first \p count processors that it may use.
class Processors
{
public:
    explicit Processors(int count)
    {
        sched_getaffinity(0, sizeof(m_before), &m_before);
        cpu_set_t chosen;
        CPU_ZERO(&chosen);
        for (std::size_t cpu = 0; cpu < CPU_SETSIZE && CPU_COUNT(&chosen) < count; ++cpu)
        {
            if (CPU_ISSET(cpu, &m_before))
            {
                CPU_SET(cpu, &chosen);
            }
        }
        sched_setaffinity(0, sizeof(chosen), &chosen);
    }
    ~Processors() { sched_setaffinity(0, sizeof(m_before), &m_before); }
    Processors(const Processors&) = delete;
    Processors& operator=(const Processors&) = delete;

private:
    cpu_set_t m_before;
};

/// Elapsed time of a call of nothing, \p rest after the one before.
template <typename Caller>
void MeasureCall(benchmark::State& state, int processors, std::chrono::microseconds rest)
{
    const Processors chosen(processors);
    Caller caller;
    for (auto _ : state)
    {
        if (rest.count() > 0)
        {
            std::this_thread::sleep_for(rest);
        }
        const auto begin = Clock::now();
        caller.Call([] {});
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - begin).count());
    }
}

template <typename Queue>
void RegisterPost(const std::string& name, int producers)
{
    benchmark::RegisterBenchmark(name.c_str(), MeasurePost<Queue>, producers)
        ->MeasureProcessCPUTime()
        ->Unit(benchmark::kNanosecond);
}

template <typename Caller>
void RegisterCall(const std::string& name, int processors, std::chrono::microseconds rest)
{
    benchmark::RegisterBenchmark(name.c_str(), MeasureCall<Caller>, processors, rest)->UseManualTime();
}

const bool Registered = []
{
    using Threading::BackgroundWorker;
    for (const int producers : {1, 4})
    {
        const std::string subject = "Worker/Post/" + std::to_string(producers) + " producers";
        RegisterPost<BackgroundWorker>(subject + "/ours", producers);
        RegisterPost<HandWrittenQueue>(subject + "/peer:by hand", producers);
    }
    RegisterPost<WorkerWithHandler>("Worker/Post/warning handler/ours", 1);
    RegisterPost<HandWrittenQueue>("Worker/Post/warning handler/peer:by hand", 1);

    using std::chrono::microseconds;
    for (const auto& [name, processors, rest] :
         {std::tuple("1 processor", 1, microseconds(0)), std::tuple("2 processors", 2, microseconds(0)),
          std::tuple("2 processors, after a rest", 2, microseconds(500))})
    {
        const std::string subject = std::string("Worker/Call/") + name;
        RegisterCall<BackgroundWorker>(subject + "/ours", processors, rest);
        RegisterCall<QtThread>(subject + "/peer:Qt", processors, rest);
        RegisterCall<WorkerWithPeriodicWork>(subject + ", periodic work/ours", processors, rest);
        RegisterCall<QtThread>(subject + ", periodic work/peer:Qt", processors, rest);
    }
    return true;
}();

} // namespace

} // namespace Ardo::Kiln
