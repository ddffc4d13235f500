// Computes on another thread and shows the result on the user-interface thread.

#include "Ardo/Kiln/Threading/BackgroundWorker.h"
#include "Ardo/Kiln/Threading/ToMainThread.h"
#include "Ardo/Kiln/Threading/ToMainThreadInitialization.h"

#include <iostream>
#include <QCoreApplication>
#include <QThread>

namespace
{

/// In place of a window: an object of the user-interface thread.
class Results : public QObject
{
public:
    void Show(int particles)
    {
        const bool isHome = QThread::currentThread() == thread();
        std::cout << particles << " particles, shown on " << (isHome ? "the main thread" : "a wrong thread") << '\n';
    }
};

} // namespace

int main(int argc, char** argv)
{
    using namespace Ardo::Kiln::Threading;

    QCoreApplication application(argc, argv);
    const ToMainThreadInitialization dispatch; // after the application object
    Results results;
    const QPointer<QObject> guard(&results); // for other threads: null when the window is gone
    BackgroundWorker worker("Analysis");

    worker.Post(
        [&results, guard]
        {
            const int particles = 1204; // counted on this thread
            ToMainThread(guard,
                         [&results, particles]
                         {
                             results.Show(particles); // not called if the window is gone
                             QCoreApplication::quit();
                         });
        });
    return QCoreApplication::exec();
}
