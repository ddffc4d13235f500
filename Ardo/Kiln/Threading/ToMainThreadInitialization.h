#pragma once

#include "Ardo/KilnExport.h"

#include <memory>

namespace Ardo::Kiln::Threading
{

namespace Private
{
class MainThreadDispatcher;
}

/// While it exists, other threads can run jobs on the main thread, the thread of the Qt application object.
///
///     QApplication application(argc, argv);
///     ToMainThreadInitialization toMainThread;
///
/// The application creates one, on the main thread, after its application object, and destroys it on the same thread,
/// before the application object. In between any thread may dispatch (see ToMainThread); no thread may dispatch while
/// it is created or destroyed.
class KILN_EXPORT ToMainThreadInitialization
{
public:
    /// Creates the process's dispatcher. An earlier one is deleted with the jobs still queued to it. Without a Qt
    /// application object the program ends with Qt's fatal message.
    ToMainThreadInitialization();

    /// Deletes the process's dispatcher, whichever object created it, with the jobs still queued to it: they do not
    /// run, and their captures are destroyed here.
    ~ToMainThreadInitialization();

    ToMainThreadInitialization(const ToMainThreadInitialization&) = delete;
    ToMainThreadInitialization& operator=(const ToMainThreadInitialization&) = delete;

    /// The dispatcher, owned by the library.
    /// \throws std::runtime_error if there is none.
    static Private::MainThreadDispatcher* GetDispatcher();

    /// The dispatcher, owned by the library, or null.
    static Private::MainThreadDispatcher* GetDispatcherOrNull() noexcept;

private:
    static void Replace(std::unique_ptr<Private::MainThreadDispatcher> dispatcher);

    static std::unique_ptr<Private::MainThreadDispatcher> s_pDispatcher;
};

} // namespace Ardo::Kiln::Threading
