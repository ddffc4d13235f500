// Pixels made visible, and their histogram, of 4096 x 4096 pixels on one thread, beside OpenCV and Qt used the obvious
// way. The limit is the copy of as many bytes: the larger of what is read and what is written.

#include "Ardo/Imaging/DisplayBuffer.h"
#include "Ardo/Imaging/Histogram.h"

#include <QImage>
#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace Ardo::Imaging
{

namespace
{

constexpr int Side = 4096;
constexpr std::size_t PixelCount = std::size_t{Side} * Side;

/// Pixels like those of a camera: a smooth picture with noise.
struct Pixels
{
    Pixels()
    {
        std::mt19937 random(1);
        for (std::size_t i = 0; i < PixelCount; ++i)
        {
            const double x = static_cast<double>(i % Side) / Side;
            const double y = static_cast<double>(i / Side) / Side;
            const double value =
                5000.0 + 3000.0 * std::sin(9.0 * x) * std::cos(7.0 * y) + static_cast<double>(random() % 1000);
            words[i] = static_cast<std::uint16_t>(value);
            bytes[i] = static_cast<std::uint8_t>(value / 36.0);
            floats[i] = static_cast<float>(value * 0.731);
            for (std::size_t channel = 0; channel < 3; ++channel)
            {
                colours[3 * i + channel] = static_cast<std::uint8_t>(bytes[i] / (1 + channel));
            }
        }
    }

    std::vector<std::uint8_t> bytes = std::vector<std::uint8_t>(PixelCount);
    std::vector<std::uint16_t> words = std::vector<std::uint16_t>(PixelCount);
    std::vector<float> floats = std::vector<float>(PixelCount);
    std::vector<std::uint8_t> colours = std::vector<std::uint8_t>(3 * PixelCount);
};

Pixels& TestPixels()
{
    static Pixels pixels;
    return pixels;
}

void* Data(PixelKind kind)
{
    Pixels& pixels = TestPixels();
    return kind == PixelKind::UInt8    ? static_cast<void*>(pixels.bytes.data())
           : kind == PixelKind::UInt16 ? static_cast<void*>(pixels.words.data())
           : kind == PixelKind::Rgb8   ? static_cast<void*>(pixels.colours.data())
                                       : static_cast<void*>(pixels.floats.data());
}

const_raw_image Image(PixelKind kind)
{
    return {std::shared_ptr<const void>(std::shared_ptr<void>(), Data(kind)), {Side, Side}, kind};
}

cv::Mat Matrix(PixelKind kind)
{
    const int type = kind == PixelKind::UInt8    ? CV_8UC1
                     : kind == PixelKind::UInt16 ? CV_16UC1
                     : kind == PixelKind::Rgb8   ? CV_8UC3
                                                 : CV_32FC1;
    return {Side, Side, type, Data(kind)};
}

struct Row
{
    const char* name;
    PixelKind kind;
    DisplayFormat format;
    double gamma;
    const char* colours;
};

constexpr Row Rows[] = {
    {"8 bit, range", PixelKind::UInt8, DisplayFormat::Grey8, 1.0, "grey"},
    {"8 bit, gamma", PixelKind::UInt8, DisplayFormat::Grey8, 2.2, "grey"},
    {"8 bit, colours", PixelKind::UInt8, DisplayFormat::Rgb32, 1.0, "viridis"},
    {"16 bit, range", PixelKind::UInt16, DisplayFormat::Grey8, 1.0, "grey"},
    {"16 bit, gamma", PixelKind::UInt16, DisplayFormat::Grey8, 2.2, "grey"},
    {"16 bit, colours", PixelKind::UInt16, DisplayFormat::Rgb32, 1.0, "viridis"},
    {"float, range", PixelKind::Float32, DisplayFormat::Grey8, 1.0, "grey"},
    {"float, gamma", PixelKind::Float32, DisplayFormat::Grey8, 2.2, "grey"},
    {"float, colours", PixelKind::Float32, DisplayFormat::Rgb32, 1.0, "viridis"},
    {"RGB", PixelKind::Rgb8, DisplayFormat::Rgb32, 1.0, "grey"},
    {"RGB, gamma", PixelKind::Rgb8, DisplayFormat::Rgb32, 2.2, "grey"},
};

DisplaySettings SettingsOf(const Row& row)
{
    DisplaySettings settings;
    if (row.kind != PixelKind::Rgb8)
    {
        settings.black = row.kind == PixelKind::UInt8 ? 33.0 : row.kind == PixelKind::UInt16 ? 1200.0 : 877.2;
        settings.white = row.kind == PixelKind::UInt8 ? 250.0 : row.kind == PixelKind::UInt16 ? 9000.0 : 6579.0;
    }
    settings.gamma = row.gamma;
    settings.colours = ColourTable::Named(row.colours);
    return settings;
}

void Ours(benchmark::State& state, const Row& row)
{
    const const_raw_image image = Image(row.kind);
    DisplayBuffer buffer(image.Size(), row.format);
    const DisplayMapping mapping(row.kind, SettingsOf(row), row.format);
    for (auto _ : state)
    {
        buffer.Update(image, mapping);
        benchmark::DoNotOptimize(buffer.Pixels());
    }
}

void OpenCv(benchmark::State& state, const Row& row)
{
    const cv::Mat image = Matrix(row.kind);
    const DisplaySettings settings = SettingsOf(row);
    const double scale = 255.0 / (settings.white - settings.black);
    cv::Mat curve(1, 256, CV_8UC1);
    cv::Mat colours(256, 1, CV_8UC3);
    for (int i = 0; i < 256; ++i)
    {
        curve.at<std::uint8_t>(i) = cv::saturate_cast<std::uint8_t>(255.0 * std::pow(i / 255.0, 1.0 / row.gamma));
        const auto& colour = settings.colours[static_cast<std::size_t>(i)];
        colours.at<cv::Vec3b>(i) = {colour.blue, colour.green, colour.red};
    }
    cv::Mat levels(Side, Side, image.type() == CV_8UC3 ? CV_8UC3 : CV_8UC1);
    cv::Mat curved(Side, Side, levels.type());
    cv::Mat shown;
    for (auto _ : state)
    {
        if (row.kind == PixelKind::Rgb8)
        {
            if (row.gamma != 1.0)
            {
                cv::LUT(image, curve, levels);
            }
            cv::cvtColor(row.gamma == 1.0 ? image : levels, shown, cv::COLOR_RGB2BGRA);
        }
        else
        {
            if (row.kind != PixelKind::UInt8 || row.gamma == 1.0)
            {
                image.convertTo(levels, CV_8U, scale, -settings.black * scale);
            }
            if (row.gamma != 1.0)
            {
                cv::LUT(row.kind == PixelKind::UInt8 ? image : levels, curve, curved);
            }
            if (row.format == DisplayFormat::Rgb32)
            {
                cv::applyColorMap(levels, shown, colours);
            }
        }
        benchmark::ClobberMemory();
    }
}

/// What Qt has for it: the picture in its own format, to the one of the screen, without range.
void Qt(benchmark::State& state, const Row& row)
{
    const QImage::Format format = row.kind == PixelKind::UInt8    ? QImage::Format_Indexed8
                                  : row.kind == PixelKind::UInt16 ? QImage::Format_Grayscale16
                                                                  : QImage::Format_RGB888;
    const int bytes = static_cast<int>(BytesPerPixel(row.kind));
    QImage image(static_cast<const uchar*>(Data(row.kind)), Side, Side, Side * bytes, format);
    if (format == QImage::Format_Indexed8)
    {
        QVector<QRgb> table;
        for (std::size_t i = 0; i < 256; ++i)
        {
            const auto colour = SettingsOf(row).colours[i];
            table.push_back(qRgb(colour.red, colour.green, colour.blue));
        }
        image.setColorTable(table);
    }
    const auto wanted = row.format == DisplayFormat::Grey8 ? QImage::Format_Grayscale8 : QImage::Format_RGB32;
    for (auto _ : state)
    {
        const QImage shown = image.convertToFormat(wanted);
        benchmark::DoNotOptimize(shown.constBits());
    }
}

/// The same into a picture that exists, which only painting can do.
void QtPainter(benchmark::State& state, const Row& row)
{
    const auto format = row.kind == PixelKind::UInt8 ? QImage::Format_Grayscale8 : QImage::Format_RGB888;
    const int bytes = static_cast<int>(BytesPerPixel(row.kind));
    const QImage image(static_cast<const uchar*>(Data(row.kind)), Side, Side, Side * bytes, format);
    QImage shown(Side, Side, QImage::Format_RGB32);
    for (auto _ : state)
    {
        QPainter painter(&shown);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.drawImage(0, 0, image);
        painter.end();
        benchmark::DoNotOptimize(shown.constBits());
    }
}

void Copy(benchmark::State& state, const Row& row)
{
    const std::size_t size = PixelCount * std::max(BytesPerPixel(row.kind), BytesPerPixel(row.format));
    std::vector<std::uint8_t> from(size, 1);
    std::vector<std::uint8_t> to(size, 2);
    for (auto _ : state)
    {
        std::memcpy(to.data(), from.data(), size);
        benchmark::ClobberMemory();
    }
}

void OurHistogram(benchmark::State& state, PixelKind kind)
{
    const const_raw_image image = Image(kind);
    for (auto _ : state)
    {
        const Histogram histogram(image);
        benchmark::DoNotOptimize(histogram.AutomaticRange(0.1, 99.9));
        benchmark::DoNotOptimize(histogram.StandardDeviation());
    }
}

/// The histogram alone: \p isAll adds minimum, maximum, mean and deviation.
void OpenCvHistogram(benchmark::State& state, PixelKind kind, bool isAll)
{
    const cv::Mat image = Matrix(kind);
    cv::Mat counts;
    for (auto _ : state)
    {
        double minimum = 0.0;
        double maximum = 0.0;
        if (isAll || kind == PixelKind::Float32)
        {
            cv::minMaxLoc(image, &minimum, &maximum);
        }
        if (isAll)
        {
            cv::Mat mean;
            cv::Mat deviation;
            cv::meanStdDev(image, mean, deviation);
        }
        const int bins = kind == PixelKind::UInt8 ? 256 : 65'536;
        const float ends[] = {kind == PixelKind::Float32 ? static_cast<float>(minimum) : 0.0f,
                              kind == PixelKind::Float32 ? static_cast<float>(maximum) : static_cast<float>(bins)};
        const float* const ranges[] = {ends};
        const int channel = 0;
        cv::calcHist(&image, 1, &channel, cv::Mat(), counts, 1, &bins, const_cast<const float**>(ranges));
        benchmark::ClobberMemory();
    }
}

const bool g_registered = []
{
    cv::setNumThreads(1);
    const auto add = [](const std::string& name, auto function, auto... arguments)
    {
        benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) { function(state, arguments...); })
            ->MeasureProcessCPUTime() // Qt converts in several threads
            ->Unit(benchmark::kMillisecond);
    };
    for (const Row& row : Rows)
    {
        const std::string name = std::string("Display/") + row.name;
        add(name + "/ours", Ours, row);
        add(name + "/peer:OpenCV", OpenCv, row);
        add(name + "/limit:memcpy", Copy, row);
        if (row.kind != PixelKind::Float32 && row.gamma == 1.0 &&
            (row.kind != PixelKind::UInt16 || row.format == DisplayFormat::Grey8) &&
            (row.kind != PixelKind::UInt8 || row.format == DisplayFormat::Rgb32))
        {
            add(name + "/peer:Qt", Qt, row);
            if (row.format == DisplayFormat::Rgb32)
            {
                add(name + "/peer:Qt painter", QtPainter, row);
            }
        }
    }
    for (const auto& [name, kind] :
         {std::pair{"8 bit", PixelKind::UInt8}, {"16 bit", PixelKind::UInt16}, {"float", PixelKind::Float32}})
    {
        const std::string subject = std::string("Histogram/") + name;
        add(subject + "/ours", OurHistogram, kind);
        add(subject + "/peer:calcHist", OpenCvHistogram, kind, false);
        add(subject + "/peer:calcHist, minMaxLoc, meanStdDev", OpenCvHistogram, kind, true);
    }
    return true;
}();

} // namespace

} // namespace Ardo::Imaging
