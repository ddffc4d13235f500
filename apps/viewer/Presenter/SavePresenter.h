#pragma once

#include "apps/viewer/Model/SaveRequest.h"
#include "apps/viewer/Presenter/DocumentPresenter.h"

#include <atomic>

namespace Ardo::Kiln::Viewer
{

/// What came of a request to write.
struct SaveResult
{
    SaveRequest request;
    SavedFiles files;
    std::string failure;      ///< For a person, in UTF-8; empty if the files are written.
    bool isCancelled = false; ///< The person has ended it.
};

/// Writes files on a thread of its own, one after another. Belongs to the main thread.
class SavePresenter
{
public:
    SavePresenter();

    Threading::Sender<SaveResult> results; ///< Of each request one.
    Threading::Sender<WorkState> work;     ///< The writing.

    /// Writes files.
    void Save(const SaveRequest& request);

    /// Ends the writing; nothing incomplete is left.
    void Cancel() { m_isCancelled = true; }

    /// Waits until nothing is written any more.
    void Wait() { m_worker.Wait(); }

private:
    void Write(const SaveRequest& request);

    std::atomic<bool> m_isCancelled = false;
    Threading::ViewSignal<SaveRequest> m_requested;
    Threading::BackgroundWorker m_worker;
    Threading::ScopedConnection m_writing; ///< Last, so that nothing is written when the other members are destroyed.
};

} // namespace Ardo::Kiln::Viewer
