// A detector that is faster than the window: the model sends from its thread, the window shows what it has time for.

#include "Ardo/Kiln/Threading/BackgroundWorker.h"
#include "Ardo/Kiln/Threading/QBaseTransmitter.h"
#include "Ardo/Kiln/Threading/ToMainThreadInitialization.h"
#include "Ardo/Kiln/Threading/ViewCapabilities.h"
#include "Ardo/Kiln/Threading/ViewSignal.h"

#include <future>
#include <iostream>
#include <QCoreApplication>
#include <utility>

namespace
{

using namespace Ardo::Kiln::Threading;

enum class Ability
{
    Acquire,
    Stop
};

enum class Command
{
    Start,
    Stop
};

/// In place of a window: knows nothing of the model.
struct Window
{
    ViewSignal<int> startPressed; ///< The number of frames.

    static void Show(const ViewCapabilities<Command>& offers)
    {
        const auto start = offers.Of(Command::Start);
        std::cout << "start " << (start.offer == Offer::Enabled ? "enabled" : "disabled: " + start.reason) << '\n';
    }
};

/// Knows nothing of the window, nor of Qt.
struct Model
{
    void Acquire(int frameCount)
    {
        capabilities.Send({Ability::Stop});
        for (int frame = 1; frame <= frameCount; ++frame)
        {
            frames.Send(frame);
            if (frame == 1)
            {
                windowIsBlocked.get_future().wait();
            }
        }
        windowMayGoOn.set_value();
        capabilities.Send({Ability::Acquire});
    }

    Sender<int> frames;
    Sender<ModelCapabilities<Ability>> capabilities;
    std::promise<void> windowIsBlocked; // for the example only, so that it prints the same every time
    std::promise<void> windowMayGoOn;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const ToMainThreadInitialization dispatch;
    Window window;
    Model model;
    const ViewRules<Ability, Command> rules = {{Command::Start, {Ability::Acquire}, "frames are being acquired"},
                                               {Command::Stop, {Ability::Stop}, "nothing is being acquired"}};

    QBaseTransmitter transmitter; // its functions run on the main thread
    model.capabilities = transmitter.Open<ModelCapabilities<Ability>>(
        [&](const ModelCapabilities<Ability>& abilities)
        {
            Window::Show(rules.Apply(abilities));
            if (abilities.Can(Ability::Acquire))
            {
                QCoreApplication::quit();
            }
        },
        Delivery::Changes());
    model.frames = transmitter.Open<int>(
        [&](int frame)
        {
            std::cout << "frame " << frame << '\n';
            if (frame == 1)
            {
                model.windowIsBlocked.set_value(); // a dialog, a slow disk: the detector goes on meanwhile
                model.windowMayGoOn.get_future().wait();
            }
        });

    BackgroundWorker detector("Detector");
    const ScopedConnection started =
        window.startPressed.Connect(DeliverOn::Worker(detector), [&](int frameCount) { model.Acquire(frameCount); });
    window.startPressed.Emit(100'000);
    const int status = QCoreApplication::exec();
    std::cout << model.frames.DroppedCount() << " frames were not shown\n";
    return status;
}
