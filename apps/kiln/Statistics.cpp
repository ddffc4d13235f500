#include "apps/kiln/Statistics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>

namespace Ardo::Kiln::Tool
{

namespace
{

using Imaging::const_raw_image;
using Imaging::PixelKind;

/// The values of a row, or of several: how many, their mean, and the sum of the squares of their distances from it.
struct Moments
{
    double count = 0.0;
    double mean = 0.0;
    double squares = 0.0;
    double minimum = std::numeric_limits<double>::infinity();
    double maximum = -std::numeric_limits<double>::infinity();

    /// Adds other values. The distances are those of Chan, Golub and LeVeque (1979): no difference of large sums.
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

/// Whole numbers of up to 16 bits, exactly: their distances from the first one in 64 bits.
template <typename Sample>
Moments MomentsOf(const Sample* row, std::uint32_t width)
{
    const std::int32_t first = row[0];
    std::int64_t sum = 0;
    std::int64_t squares = 0;
    Sample minimum = row[0];
    Sample maximum = row[0];
    for (std::uint32_t x = 0; x < width; ++x)
    {
        const std::int64_t distance = row[x] - first;
        sum += distance;
        squares += distance * distance;
        minimum = std::min(minimum, row[x]);
        maximum = std::max(maximum, row[x]);
    }
    const auto count = static_cast<double>(width);
    const double mean = static_cast<double>(sum) / count;
    return {count, first + mean, std::max(0.0, static_cast<double>(squares) - mean * static_cast<double>(sum)),
            static_cast<double>(minimum), static_cast<double>(maximum)};
}

/// Several sums side by side: one alone would wait for each addition to end before the next.
using Lanes = std::array<double, 8>;

double Sum(const Lanes& lanes)
{
    double sum = 0.0;
    for (const double lane : lanes)
    {
        sum += lane;
    }
    return sum;
}

/// Calls \p add with a lane and a value for each one, and what makes it count: 1 for a number, 0 for what is none.
template <typename Add>
void ForEachFloat(const float* row, std::uint32_t width, Add add)
{
    const auto call = [&](std::size_t lane, float value)
    {
        const bool counts = std::abs(value) <= std::numeric_limits<float>::max();
        add(lane, counts ? static_cast<double>(value) : 0.0, counts);
    };
    std::uint32_t x = 0;
    for (; width - x >= std::tuple_size_v<Lanes>; x += std::tuple_size_v<Lanes>)
    {
        for (std::size_t lane = 0; lane < std::tuple_size_v<Lanes>; ++lane)
        {
            call(lane, row[x + lane]);
        }
    }
    for (; x < width; ++x)
    {
        call(0, row[x]);
    }
}

/// A row is passed twice, the second time from the processor's cache: first for its mean, then for the distances.
Moments MomentsOf(const float* row, std::uint32_t width)
{
    Lanes sums{};
    Lanes counts{};
    Lanes minima{};
    Lanes maxima{};
    minima.fill(std::numeric_limits<double>::infinity());
    maxima.fill(-std::numeric_limits<double>::infinity());
    ForEachFloat(row, width,
                 [&](std::size_t lane, double value, bool isNumber)
                 {
                     sums[lane] += value;
                     counts[lane] += isNumber ? 1.0 : 0.0;
                     minima[lane] = isNumber ? std::min(minima[lane], value) : minima[lane];
                     maxima[lane] = isNumber ? std::max(maxima[lane], value) : maxima[lane];
                 });
    const double count = Sum(counts);
    if (count == 0.0)
    {
        return {};
    }
    const double mean = Sum(sums) / count;
    Lanes squares{};
    ForEachFloat(row, width,
                 [&](std::size_t lane, double value, bool isNumber)
                 {
                     const double distance = isNumber ? value - mean : 0.0;
                     squares[lane] += distance * distance;
                 });
    return {count, mean, Sum(squares), *std::ranges::min_element(minima), *std::ranges::max_element(maxima)};
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
