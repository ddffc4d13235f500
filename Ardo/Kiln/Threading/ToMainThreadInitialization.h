#pragma once

#include "Ardo/KilnExport.h"

#include <memory>

namespace Ardo::Kiln::Threading
{

namespace Private
{
class MainThreadDispatcher;
}

/// Opens the road to the main thread, the thread of the Qt application object, for as long as it lives.
///
///     QApplication application(argc, argv);
///     ToMainThreadInitialization toMainThread;
///
/// The application creates one, on the main thread, after its application object, and destroys it before that, on the
/// same thread. Meanwhile any thread may dispatch (see ToMainThread); while it is created or destroyed, none may.
class KILN_EXPORT ToMainThreadInitialization
{
public:
    /// Creates the process's dispatcher; one that was there before is deleted with the jobs still queued to it. Without
    /// a Qt application object the program ends with Qt's fatal message.
    ToMainThreadInitialization();

    /// Deletes the process's dispatcher, whichever object created it, with the jobs still queued to it: they do not
    /// run, and their captures are destroyed here.
    ~ToMainThreadInitialization();

    ToMainThreadInitialization(const ToMainThreadInitialization&) = delete;
    ToMainThreadInitialization& operator=(const ToMainThreadInitialization&) = delete;

    /// The dispatcher, owned by the library. \throws std::runtime_error if there is none.
    static Private::MainThreadDispatcher* GetDispatcher();

    /// The dispatcher, owned by the library, or null.
    static Private::MainThreadDispatcher* GetDispatcherOrNull() noexcept;

private:
    static void Replace(std::unique_ptr<Private::MainThreadDispatcher> dispatcher);

    static std::unique_ptr<Private::MainThreadDispatcher> s_pDispatcher;
};

} // namespace Ardo::Kiln::Threading
