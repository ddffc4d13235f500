#include "Ardo/Kiln/Threading/ForegroundWorker.h"
#include "Ardo/Kiln/Threading/ViewSignal.h"

#include <benchmark/benchmark.h>

#include <QObject>

#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace Ardo::Kiln
{

namespace
{

using Frame = std::shared_ptr<const std::vector<char>>;

Frame MakeFrame()
{
    return std::make_shared<const std::vector<char>>(16);
}

/// A frame for a thread that is blocked and already has one to take.
void SendToBlocked(benchmark::State& state)
{
    Threading::ForegroundWorker blocked;
    Threading::ViewSignal<Frame> signal;
    const auto connection = signal.Connect(
        Threading::DeliverOn::Worker(blocked), [](const Frame&) {}, Threading::Delivery::Latest());
    for ([[maybe_unused]] const auto iteration : state)
    {
        signal.Emit(MakeFrame());
    }
}

/// What one would write by hand: one place for the last frame, under a mutex.
void ReplaceByHand(benchmark::State& state)
{
    std::mutex mutex;
    Frame last;
    for ([[maybe_unused]] const auto iteration : state)
    {
        Frame frame = MakeFrame();
        {
            const std::lock_guard lock(mutex);
            std::swap(last, frame);
        }
        benchmark::DoNotOptimize(last);
    }
}

/// A signal for a receiver on the same thread.
void EmitToCaller(benchmark::State& state)
{
    int sum = 0;
    Threading::ViewSignal<int> signal;
    const auto connection = signal.Connect(Threading::DeliverOn::Caller(), [&](int value) { sum += value; });
    for ([[maybe_unused]] const auto iteration : state)
    {
        signal.Emit(1);
    }
    benchmark::DoNotOptimize(sum);
}

/// Qt's signal in its place.
void EmitByQt(benchmark::State& state)
{
    int sum = 0;
    QObject sender;
    QObject::connect(&sender, &QObject::objectNameChanged, &sender, [&](const QString& name) { sum += name.size(); });
    const QString names[] = {QStringLiteral("a"), QStringLiteral("b")};
    std::size_t index = 0;
    for ([[maybe_unused]] const auto iteration : state)
    {
        sender.setObjectName(names[index++ % 2]);
    }
    benchmark::DoNotOptimize(sum);
}

} // namespace

BENCHMARK(SendToBlocked)->Name("Presenter/Frame to a blocked thread/ours");
BENCHMARK(ReplaceByHand)->Name("Presenter/Frame to a blocked thread/peer:by hand");
BENCHMARK(EmitToCaller)->Name("Presenter/Signal on the caller's thread/ours");
BENCHMARK(EmitByQt)->Name("Presenter/Signal on the caller's thread/peer:Qt");

} // namespace Ardo::Kiln
