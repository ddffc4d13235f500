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

/// Shows an image file and what its metadata say. Belongs to the main thread; files are read on a thread of its own.
class ViewerWindow : public QMainWindow
{
public:
    /// \param failed is told, on the main thread, what kept a file from being shown.
    explicit ViewerWindow(std::function<void(const std::string&)> failed);

    /// Reads \p path and shows it. Returns at once; of several requests the latest counts.
    void Open(const QString& path);

    /// Waits until the latest request is read; it is shown by the next events.
    void WaitForFile() { m_loader.Wait(); }

private:
    void AskForFile();
    void Show(const LoadedImage& image);

    std::function<void(const std::string&)> m_failed;
    QLabel* m_picture;
    QPlainTextEdit* m_facts;
    Threading::Asynchronizer m_loader; ///< Last: its thread ends before what it works for.
};

} // namespace Ardo::Kiln::Viewer
