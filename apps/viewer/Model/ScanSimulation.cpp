#include "apps/viewer/Model/ScanSimulation.h"

#include "Ardo/Kiln/Exception/Error.h"

#include <QImage>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numbers>
#include <utility>

namespace Ardo::Kiln::Viewer
{

namespace
{

constexpr float MaxValue = 16383.0F; // 14 bits
constexpr std::size_t NoiseCount = 1 << 14;

/// Numbers with a normal distribution of deviation 1.
const std::array<float, NoiseCount>& Noise()
{
    static const auto g_noise = []
    {
        std::array<float, NoiseCount> noise{};
        std::uint32_t state = 12345;
        const auto next = [&]
        {
            state = state * 1664525U + 1013904223U;
            return (static_cast<double>(state >> 8) + 0.5) / (1 << 24);
        };
        for (float& value : noise) // Box and Muller
        {
            const double radius = std::sqrt(-2 * std::log(next()));
            value = static_cast<float>(radius * std::cos(2 * std::numbers::pi * next()));
        }
        return noise;
    }();
    return g_noise;
}

} // namespace

ScanSimulation::ScanSimulation(Imaging::const_raw_image micrograph, const ScanSettings& settings)
    : m_micrograph(std::move(micrograph)),
      m_side(settings.side),
      m_noise(static_cast<float>(6.0 / std::sqrt(std::max(settings.dwellTime, 1e-9) / 1e-6)))
{
    const auto [width, height] = m_micrograph.Size();
    const double square = std::min(width, height) - 1.0; // the middle of the micrograph
    for (std::uint32_t x = 0; x < m_side; ++x)
    {
        const double position = (width - 1.0 - square) / 2 + square * x / m_side;
        const auto left = std::min(static_cast<std::uint32_t>(position), width - 2);
        m_columns.push_back({left, static_cast<float>(position - left)});
    }
}

void ScanSimulation::Scan(std::uint32_t line, std::uint16_t* values)
{
    const auto [width, height] = m_micrograph.Size();
    const double square = std::min(width, height) - 1.0;
    const double position = (height - 1.0 - square) / 2 + square * line / m_side;
    const auto top = std::min(static_cast<std::uint32_t>(position), height - 2);
    const auto part = static_cast<float>(position - top);
    const auto* const upper = static_cast<const std::uint8_t*>(m_micrograph.Row(top));
    const auto* const lower = static_cast<const std::uint8_t*>(m_micrograph.Row(top + 1));
    const auto& noise = Noise();
    constexpr float Dark = 400.0F;
    constexpr float PerGrey = 40.0F;
    for (std::uint32_t x = 0; x < m_side; ++x)
    {
        const Column& column = m_columns[x];
        const float left = upper[column.left] + part * static_cast<float>(lower[column.left] - upper[column.left]);
        const float right =
            upper[column.left + 1] + part * static_cast<float>(lower[column.left + 1] - upper[column.left + 1]);
        const float mean = Dark + PerGrey * (left + column.part * (right - left));
        m_random ^= m_random << 13;
        m_random ^= m_random >> 7;
        m_random ^= m_random << 17;
        const float value = mean + m_noise * std::sqrt(mean) * noise[m_random % NoiseCount];
        values[x] = static_cast<std::uint16_t>(std::clamp(value, 0.0F, MaxValue));
    }
}

Imaging::const_raw_image EmbeddedMicrograph()
{
    const QImage image = QImage(QStringLiteral(":/viewer/micrograph.png")).convertToFormat(QImage::Format_Grayscale8);
    if (image.isNull())
    {
        throw Exception::Error("The micrograph of the simulated detector cannot be read.");
    }
    const auto owner = std::make_shared<QImage>(image);
    return {std::shared_ptr<const void>(owner, owner->constBits()),
            {static_cast<std::uint32_t>(image.width()), static_cast<std::uint32_t>(image.height())},
            Imaging::PixelKind::UInt8,
            static_cast<std::size_t>(image.bytesPerLine())};
}

} // namespace Ardo::Kiln::Viewer
