#include "apps/kiln/Statistics.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <numeric>
#include <vector>

namespace Ardo::Kiln::Tool
{

namespace
{

using Imaging::const_raw_image;
using Imaging::PixelKind;

/// Count and mean of the values of one or more rows, and the sum of their squared distances from the mean.
struct Moments
{
    double count = 0.0;
    double mean = 0.0;
    double squares = 0.0;
    double minimum = std::numeric_limits<double>::infinity();
    double maximum = -std::numeric_limits<double>::infinity();

    /// Adds other values with the formula of Chan, Golub and LeVeque (1979), which avoids differences of large sums.
    void Add(const Moments& other)
    {
        if (other.count == 0.0)
        {
            return;
        }
        const double total = count + other.count;
        const double distance = other.mean - mean;
        mean += distance * (other.count / total);
        squares += other.squares + distance * distance * (count * other.count / total);
        count = total;
        minimum = std::min(minimum, other.minimum);
        maximum = std::max(maximum, other.maximum);
    }
};

/// Whole numbers of up to 16 bits, exactly: the sums of a row fit 64 bits.
template <typename Sample>
Moments MomentsOf(const Sample* row, std::uint32_t width)
{
    std::uint64_t sum = 0;
    std::uint64_t squares = 0;
    Sample minimum = row[0];
    Sample maximum = row[0];
    for (std::uint32_t x = 0; x < width; ++x)
    {
        const std::uint32_t value = row[x];
        sum += value;
        squares += std::uint64_t{value} * value;
        minimum = std::min(minimum, row[x]);
        maximum = std::max(maximum, row[x]);
    }
    // The same sums for the distances from the first value, so that doubles are not subtracted from large doubles. They
    // fit 64 bits, so arithmetic modulo 2^64 gives the exact values.
    const std::uint64_t first = row[0];
    const auto distances = static_cast<double>(static_cast<std::int64_t>(sum - width * first));
    const auto distanceSquares = static_cast<double>(squares - 2 * first * sum + width * first * first);
    const auto count = static_cast<double>(width);
    const double mean = distances / count;
    return {count, static_cast<double>(first) + mean, std::max(0.0, distanceSquares - mean * distances),
            static_cast<double>(minimum), static_cast<double>(maximum)};
}

/// Floats, all of them finite. The distances from the first one are added in several sums: the additions of a single
/// sum would depend on each other.
Moments MomentsOfFinite(const float* row, std::size_t width)
{
    constexpr std::size_t Lanes = 8;
    const double first = row[0];
    std::array<double, Lanes> sums{};
    std::array<double, Lanes> squares{};
    std::array<float, Lanes> minima;
    std::array<float, Lanes> maxima;
    minima.fill(row[0]);
    maxima.fill(row[0]);
    const auto add = [&](std::size_t lane, float value)
    {
        const double distance = static_cast<double>(value) - first;
        sums[lane] += distance;
        squares[lane] += distance * distance;
        minima[lane] = value < minima[lane] ? value : minima[lane];
        maxima[lane] = value > maxima[lane] ? value : maxima[lane];
    };
    std::size_t x = 0;
    for (; width - x >= Lanes; x += Lanes)
    {
        for (std::size_t lane = 0; lane < Lanes; ++lane)
        {
            add(lane, row[x + lane]);
        }
    }
    for (; x < width; ++x)
    {
        add(0, row[x]);
    }
    const auto count = static_cast<double>(width);
    const double sum = std::accumulate(sums.begin(), sums.end(), 0.0);
    const double mean = sum / count;
    return {count, first + mean, std::max(0.0, std::accumulate(squares.begin(), squares.end(), 0.0) - mean * sum),
            *std::ranges::min_element(minima), *std::ranges::max_element(maxima)};
}

Moments MomentsOf(const float* row, std::uint32_t width)
{
    // As integers the bits without the sign order floats by magnitude; infinities and NaNs come last.
    constexpr std::uint32_t Magnitude = 0x7fffffff;
    constexpr std::uint32_t Infinity = 0x7f800000;
    std::uint32_t largest = 0;
    for (std::uint32_t x = 0; x < width; ++x)
    {
        largest = std::max(largest, std::bit_cast<std::uint32_t>(row[x]) & Magnitude);
    }
    if (largest < Infinity)
    {
        return MomentsOfFinite(row, width);
    }
    std::vector<float> finite;
    std::copy_if(row, row + width, std::back_inserter(finite), [](float value) { return std::isfinite(value); });
    return finite.empty() ? Moments() : MomentsOfFinite(finite.data(), finite.size());
}

template <typename Sample>
std::optional<Statistics> MeasureSamples(const const_raw_image& image)
{
    Moments moments;
    for (std::uint32_t y = 0; y < image.Size().height; ++y)
    {
        moments.Add(MomentsOf(static_cast<const Sample*>(image.Row(y)), image.Size().width));
    }
    if (moments.count == 0.0)
    {
        return std::nullopt;
    }
    return Statistics{moments.minimum, moments.maximum, moments.mean, std::sqrt(moments.squares / moments.count)};
}

} // namespace

std::optional<Statistics> Measure(const const_raw_image& image)
{
    switch (image.Kind())
    {
    case PixelKind::UInt8:
        return MeasureSamples<std::uint8_t>(image);
    case PixelKind::UInt16:
        return MeasureSamples<std::uint16_t>(image);
    case PixelKind::Float32:
        return MeasureSamples<float>(image);
    case PixelKind::Rgb8:
    case PixelKind::Rgba8:
        break;
    }
    return std::nullopt;
}

} // namespace Ardo::Kiln::Tool
