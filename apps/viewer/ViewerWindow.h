#pragma once

#include "Ardo/Kiln/Threading/Asynchronizer.h"

#include <QMainWindow>

#include <functional>
#include <string>

class QLabel;
class QPlainTextEdit;

namespace Ardo::Kiln::Viewer
{

struct LoadedImage;

/// Shows an image file and its metadata. Belongs to the main thread; files are read on a worker thread.
class ViewerWindow : public QMainWindow
{
public:
    /// \param failed called on the main thread with the reason when a file cannot be shown.
    explicit ViewerWindow(std::function<void(const std::string&)> failed);

    /// Reads \p path and shows it. Returns at once; of several requests the latest counts.
    void Open(const QString& path);

    /// Waits until the file of the latest request is read; the next events show it.
    void WaitForFile() { m_loader.Wait(); }

private:
    void AskForFile();
    void Show(const LoadedImage& image);

    std::function<void(const std::string&)> m_failed;
    QLabel* m_picture;
    QPlainTextEdit* m_facts;
    Threading::Asynchronizer m_loader; ///< Last, so that its thread ends before the other members are destroyed.
};

} // namespace Ardo::Kiln::Viewer
