// Frame times of the viewer on a screen, beside a QLabel with a QPixmap in a QScrollArea: viewer_frame_times FOLDER.
// FOLDER gets images of 4096 x 4096 pixels. benchmarks/viewer/run.py starts it on a screen in memory.
//
// Each line of the output has a subject and four numbers: median and 95 % percentile of the viewer, and those of the
// peer, in ms. Of the large file they are the time until it is shown, or from the cancel to the end of the work, and
// the longest time without an event, both in ms; then the greatest memory meanwhile and the memory afterwards, in MiB.

#include "apps/viewer/Application.h"
#include "apps/viewer/View/AcquisitionPanel.h"
#include "apps/viewer/View/DisplayPanel.h"
#include "Ardo/Imaging/DisplayBuffer.h"
#include "Ardo/Kiln/ImageIO/ImageFile.h"
#include "Ardo/Kiln/ImageIO/TiffExporter.h"
#include "Ardo/Kiln/System/SystemInformation.h"
#include "Ardo/Kiln/Threading/ToMainThreadInitialization.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QMouseEvent>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using namespace Ardo;
using namespace Ardo::Kiln;

constexpr std::uint32_t Side = 4096;
constexpr int Frames = 60;

/// Milliseconds of \p work.
double Milliseconds(const std::function<void()>& work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    QGuiApplication::sync();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

double Median(std::vector<double> values)
{
    std::ranges::nth_element(values, values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2));
    return values[values.size() / 2];
}

/// The value that 19 of 20 frames do not exceed.
double Percentile95(std::vector<double> values)
{
    const auto at = static_cast<std::ptrdiff_t>(values.size() * 95 / 100);
    std::ranges::nth_element(values, values.begin() + at);
    return values[static_cast<std::size_t>(at)];
}

void Print(const std::string& what, const std::vector<double>& ours, const std::vector<double>& peer)
{
    std::cout << what << '\t' << Median(ours) << '\t' << Percentile95(ours) << '\t' << Median(peer) << '\t'
              << Percentile95(peer) << '\n';
}

/// Processes events until \p condition holds, and sleeps in between as an application does.
void WaitFor(const std::function<bool()>& condition)
{
    QTimer poll; // for conditions that change without an event
    poll.start(5);
    while (!condition())
    {
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

/// Writes an image with a smooth picture and noise, whose values fill 16 bits.
template <typename Sample>
void WriteImage(const std::filesystem::path& path, Imaging::PixelKind kind, std::uint32_t side = Side)
{
    const auto samples = std::make_shared<std::vector<Sample>>(std::size_t{side} * side);
    std::uint32_t noise = 1;
    for (std::size_t i = 0; i < samples->size(); ++i)
    {
        noise = noise * 1664525u + 1013904223u;
        const double value = 32000 + 24000 * std::sin(static_cast<double>(i % side) / 450) + (noise >> 19);
        (*samples)[i] = static_cast<Sample>(value);
    }
    ImageIO::TiffExporter().WriteImage(
        path.wstring(), {std::shared_ptr<const void>(samples, samples->data()), {side, side}, kind}, nullptr);
}

/// What a program does that knows nothing better: the whole image becomes a pixmap.
class PlainViewer
{
public:
    PlainViewer()
    {
        m_area.setWidget(&m_label);
        m_area.resize(840, 760);
        m_area.show();
    }
    ~PlainViewer() { m_area.takeWidget(); }

    void Open(const QString& path)
    {
        m_image = ImageIO::ImageFile(path.toStdWString()).ReadImage();
        Show(8000, 64000);
    }

    void Show(double black, double white)
    {
        Imaging::DisplaySettings settings;
        settings.black = black;
        settings.white = white;
        m_buffer.Update(*m_image, Imaging::DisplayMapping(m_image->Kind(), settings));
        m_label.setPixmap(QPixmap::fromImage(
            QImage(m_buffer.Pixels(), Side, Side, static_cast<int>(m_buffer.Stride()), QImage::Format_RGB32)));
        m_label.resize(Side, Side);
        m_area.viewport()->repaint();
    }

    void Pan(int step)
    {
        m_area.horizontalScrollBar()->setValue(step * 12);
        m_area.verticalScrollBar()->setValue(step * 7);
        m_area.viewport()->repaint();
    }

private:
    Imaging::DisplayBuffer m_buffer{{Side, Side}, Imaging::DisplayFormat::Rgb32}; ///< The pixmap may share its pixels.
    QLabel m_label;
    QScrollArea m_area;
    std::unique_ptr<Imaging::const_raw_image> m_image;
};

/// A step of a drag with the mouse.
void Pan(Viewer::ImageView& image, int step)
{
    const QPointF from(400, 400);
    const QPointF to = from - QPointF(12, 7);
    const auto send = [&](QEvent::Type type, const QPointF& at)
    {
        QMouseEvent event(type, at, Qt::LeftButton, Qt::LeftButton, {});
        QApplication::sendEvent(&image, &event);
    };
    if (step == 0)
    {
        image.ZoomTo(image.Zoom());
    }
    send(QEvent::MouseButtonPress, from);
    send(QEvent::MouseMove, to);
    send(QEvent::MouseButtonRelease, to);
    image.repaint();
}

void Measure(Viewer::Application& viewer, const QString& path, const std::string& kind)
{
    Viewer::ImageView& image = viewer.Window().Image();
    PlainViewer plain;
    std::vector<double> ours;
    std::vector<double> peer;
    for (int round = 0; round < 7; ++round)
    {
        ours.push_back(Milliseconds(
            [&]
            {
                const auto before = viewer.Document();
                viewer.Open(path);
                WaitFor([&] { return viewer.Document() != before; });
                QApplication::processEvents(); // the display of the new image
                image.repaint();
            }));
        peer.push_back(Milliseconds([&] { plain.Open(path); }));
    }
    Print(kind + ", click to picture", ours, peer);
    const auto frames =
        [&](const std::string& what, const std::function<void(int)>& our, const std::function<void(int)>& other)
    {
        ours.clear();
        peer.clear();
        for (int frame = 0; frame < Frames; ++frame)
        {
            ours.push_back(Milliseconds([&] { our(frame); }));
            peer.push_back(Milliseconds([&] { other(frame); }));
        }
        Print(kind + ", " + what, ours, peer);
    };
    const auto contrast = [&](int frame)
    {
        Viewer::DisplayChoice choice = viewer.Display().choice;
        choice.mode = Viewer::RangeMode::Manual;
        choice.manual = {8000.0 + 50 * frame, 64000.0 - 50 * frame};
        viewer.Window().Display().chosen.Emit(choice);
        QApplication::processEvents();
        image.repaint();
    };
    const auto plainContrast = [&](int frame) { plain.Show(8000 + 50 * frame, 64000 - 50 * frame); };
    frames("range, whole image", contrast, plainContrast);
    for (const double zoom : {1.0, 0.37, 2.5})
    {
        image.ZoomTo(zoom);
        const std::string at = ", zoom " + std::to_string(zoom).substr(0, 4);
        frames(
            "pan" + at, [&](int frame) { Pan(image, frame); }, [&](int frame) { plain.Pan(frame); });
        frames("range" + at, contrast, plainContrast);
    }
    image.Fit();
}

/// Counts how often a widget is painted.
class PaintCounter : public QObject
{
public:
    int count = 0;

    bool eventFilter(QObject*, QEvent* event) override
    {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
};

void MeasureLive(Viewer::Application& viewer)
{
    PaintCounter paints;
    viewer.Window().Image().installEventFilter(&paints);
    for (const std::uint32_t side : {1024u, 4096u})
    {
        viewer.Window().Acquisition().Show({side, 1e-8, true});
        viewer.StartScan();
        WaitFor([&] { return viewer.Window().windowTitle() == QLatin1String("Live"); });
        QElapsedTimer timer;
        timer.start();
        paints.count = 0;
        WaitFor([&] { return timer.elapsed() >= 4000; });
        const double updates = paints.count / (static_cast<double>(timer.elapsed()) / 1000);
        viewer.Window().stopRequested.Emit();
        viewer.Wait();
        WaitFor([&] { return viewer.IsIdle(); });
        std::cout << "live " << side << ", updates a second\t" << updates << "\t0\t0\t0\n";
    }
}

/// A file of 512 MiB: the longest time in which the window does nothing, and the memory, while it is opened, opened
/// again, and opened and cancelled.
void MeasureLarge(Viewer::Application& viewer, const std::filesystem::path& path)
{
    constexpr std::uint32_t LargeSide = 16384;
    WriteImage<std::uint16_t>(path, Imaging::PixelKind::UInt16, LargeSide);
    const auto memory = [] { return static_cast<double>(System::ReadSystemInformation().processMemory >> 20); };
    for (const char* const what : {"open", "open again", "open and cancel"})
    {
        const bool isCancelled = std::string_view(what) == "open and cancel";
        QElapsedTimer timer;
        double longest = 0;
        double most = 0;
        QTimer tick;
        QElapsedTimer sinceTick;
        QObject::connect(&tick, &QTimer::timeout,
                         [&]
                         {
                             longest = std::max(longest, static_cast<double>(sinceTick.restart()));
                             most = std::max(most, memory());
                         });
        sinceTick.start();
        timer.start();
        tick.start(1);
        viewer.Open(QString::fromStdString(path.string()));
        WaitFor([&] { return !viewer.IsIdle(); });
        qint64 cancelled = 0;
        if (isCancelled)
        {
            WaitFor([&] { return timer.elapsed() > 100; });
            cancelled = timer.elapsed();
            viewer.Window().cancelRequested.Emit();
        }
        WaitFor([&] { return viewer.IsIdle(); });
        const qint64 end = timer.elapsed();
        for (int i = 0; i < 20; ++i)
        {
            QApplication::processEvents(QEventLoop::AllEvents, 5); // the display, and what is thrown away
        }
        std::cout << "512 MiB, " << what << "\t" << end - cancelled << "\t" << longest << "\t" << most << "\t"
                  << memory() << '\n';
    }
}

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    const Threading::ToMainThreadInitialization toMainThread;
    std::cout << std::unitbuf;
    const std::filesystem::path folder(argv[1]);
    const QString base = QString::fromStdString(folder.string());
    WriteImage<std::uint16_t>(folder / "16bit.tif", Imaging::PixelKind::UInt16);
    WriteImage<float>(folder / "float.tif", Imaging::PixelKind::Float32);
    Viewer::Application viewer(
        {base + "/viewer.ini", base, [](const std::string& text) { std::cerr << text << '\n'; }});
    viewer.Window().resize(1180, 900);
    viewer.Window().show();
    QApplication::processEvents();
    Measure(viewer, base + "/16bit.tif", "16 bit");
    Measure(viewer, base + "/float.tif", "float");
    MeasureLarge(viewer, folder / "large.tif");
    MeasureLive(viewer); // last: opening a file would ask about the acquisition
    return 0;
}
