#include "Ardo/Imaging/Histogram.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>

#include <emmintrin.h>

namespace Ardo::Imaging
{

namespace
{

constexpr std::uint64_t MostSamples = std::numeric_limits<std::uint32_t>::max();
constexpr double NotGiven = std::numeric_limits<double>::quiet_NaN();

constexpr std::size_t BlockSize = 4096; // floats, which stay in the processor's cache from step to step

// A float's bin is what precedes this number of bits.
constexpr unsigned FloatShift = 12;
constexpr std::uint32_t SignBit = 0x80000000u;

std::size_t SamplesPerPixel(PixelKind kind)
{
    return kind == PixelKind::Rgb8 || kind == PixelKind::Rgba8 ? 3 : 1;
}

/// Several counters a bin: equal samples that follow one another need not wait for the counter.
std::size_t LanesOf(PixelKind kind)
{
    return kind == PixelKind::Float32 ? 1 : kind == PixelKind::UInt16 ? 2 : 8;
}

std::size_t BinsOf(PixelKind kind)
{
    return kind == PixelKind::Float32  ? std::size_t{1} << (32 - FloatShift)
           : kind == PixelKind::UInt16 ? std::size_t{1} << 16
                                       : std::size_t{1} << 8;
}

/// \p counts has 8 lanes.
void CountBytes(const std::uint8_t* samples, std::size_t count, std::uint32_t* counts) noexcept
{
    constexpr std::size_t Lanes = 8;
    constexpr std::size_t Bins = 256;
    std::size_t i = 0;
    for (; count - i >= Lanes; i += Lanes)
    {
        std::uint64_t eight = 0;
        std::memcpy(&eight, samples + i, Lanes);
        for (std::size_t lane = 0; lane < Lanes; ++lane)
        {
            ++counts[lane * Bins + (eight >> (8 * lane) & 0xff)];
        }
    }
    for (; i < count; ++i)
    {
        ++counts[samples[i]];
    }
}

/// \p counts has 2 lanes.
void CountWords(const std::uint16_t* samples, std::size_t count, std::uint32_t* counts) noexcept
{
    constexpr std::size_t Bins = 65'536;
    std::size_t i = 0;
    for (; count - i >= 4; i += 4)
    {
        std::uint64_t four = 0;
        std::memcpy(&four, samples + i, sizeof four);
        ++counts[four & 0xffff];
        ++counts[Bins + (four >> 16 & 0xffff)];
        ++counts[four >> 32 & 0xffff];
        ++counts[Bins + (four >> 48)];
    }
    for (; i < count; ++i)
    {
        ++counts[samples[i]];
    }
}

double CheckPercent(double percent)
{
    if (!(percent >= 0.0 && percent <= 100.0))
    {
        throw std::invalid_argument("Histogram: a percentage is not between 0 and 100");
    }
    return percent;
}

/// \p percent of \p count. Products such as 99.9 % of 1000 are no whole numbers in floating point.
double Share(double percent, std::uint64_t count)
{
    const double share = percent * static_cast<double>(count) / 100.0;
    const double whole = std::nearbyint(share);
    return std::abs(share - whole) < 1e-12 * share ? whole : share;
}

} // namespace

Histogram::Histogram(PixelKind kind)
    : m_kind(kind), m_bins(BinsOf(kind)), m_lanes(LanesOf(kind)), m_counts(m_lanes * m_bins)
{
}

Histogram::Histogram(const const_raw_image& image) : Histogram(image.Kind())
{
    if (image.Stride() == image.RowSize())
    {
        Add(image.Row(0), std::size_t{image.Size().width} * image.Size().height);
        return;
    }
    for (std::uint32_t y = 0; y < image.Size().height; ++y)
    {
        Add(image.Row(y), image.Size().width);
    }
}

Histogram::Histogram(const const_raw_image& image, const rectangle& part) : Histogram(image.Kind())
{
    if (part.left < 0 || part.top < 0 || part.Width() < 0 || part.Height() < 0 ||
        part.right > std::int64_t{image.Size().width} || part.bottom > std::int64_t{image.Size().height})
    {
        throw std::invalid_argument("Histogram: a part outside the image");
    }
    const std::size_t left = BytesPerPixel(m_kind) * static_cast<std::size_t>(part.left);
    for (auto y = static_cast<std::uint32_t>(part.top); y < static_cast<std::uint32_t>(part.bottom); ++y)
    {
        Add(static_cast<const std::uint8_t*>(image.Row(y)) + left, static_cast<std::size_t>(part.Width()));
    }
}

void Histogram::Add(const void* pixels, std::size_t count)
{
    if (count > (MostSamples - m_samples) / SamplesPerPixel(m_kind))
    {
        throw std::length_error("Histogram: more than 4,294,967,295 samples");
    }
    m_samples += count * SamplesPerPixel(m_kind);
    switch (m_kind)
    {
    case PixelKind::UInt8:
        CountBytes(static_cast<const std::uint8_t*>(pixels), count, m_counts.data());
        break;
    case PixelKind::UInt16:
        CountWords(static_cast<const std::uint16_t*>(pixels), count, m_counts.data());
        break;
    case PixelKind::Float32:
        AddFloats(static_cast<const float*>(pixels), count);
        break;
    case PixelKind::Rgb8:
        CountBytes(static_cast<const std::uint8_t*>(pixels), 3 * count, m_counts.data());
        break;
    case PixelKind::Rgba8:
        for (const auto* pixel = static_cast<const std::uint8_t*>(pixels); count > 0; --count, pixel += 4)
        {
            CountBytes(pixel, 3, m_counts.data());
        }
        break;
    }
}

Histogram::Moments Histogram::Together(const Moments& first, const Moments& second) noexcept
{
    if (first.count == 0.0 || second.count == 0.0)
    {
        return first.count == 0.0 ? second : first;
    }
    // Those of Chan, Golub and LeVeque (1979): no difference of large sums.
    const double count = first.count + second.count;
    const double distance = second.mean - first.mean;
    return {count, first.mean + distance * (second.count / count),
            first.squares + second.squares + distance * distance * (first.count * second.count / count),
            std::min(first.minimum, second.minimum), std::max(first.maximum, second.maximum)};
}

/// Of finite samples: their distances from the first one, in sums side by side, because one alone would wait for each
/// addition to end before the next.
Histogram::Moments Histogram::MomentsOf(const float* samples, std::size_t count) noexcept
{
    constexpr std::size_t Lanes = 4;
    const __m128d first = _mm_set1_pd(samples[0]);
    __m128d sums[Lanes] = {};
    __m128d squares[Lanes] = {};
    __m128 minima = _mm_set1_ps(samples[0]);
    __m128 maxima = minima;
    const auto add = [&](std::size_t lane, __m128d values)
    {
        const __m128d distances = _mm_sub_pd(values, first);
        sums[lane] = _mm_add_pd(sums[lane], distances);
        squares[lane] = _mm_add_pd(squares[lane], _mm_mul_pd(distances, distances));
    };
    std::size_t i = 0;
    for (; count - i >= 2 * Lanes; i += 2 * Lanes)
    {
        const __m128 low = _mm_loadu_ps(samples + i);
        const __m128 high = _mm_loadu_ps(samples + i + Lanes);
        minima = _mm_min_ps(minima, _mm_min_ps(low, high));
        maxima = _mm_max_ps(maxima, _mm_max_ps(low, high));
        add(0, _mm_cvtps_pd(low));
        add(1, _mm_cvtps_pd(_mm_movehl_ps(low, low)));
        add(2, _mm_cvtps_pd(high));
        add(3, _mm_cvtps_pd(_mm_movehl_ps(high, high)));
    }
    const auto total = [](const __m128d* lanes)
    {
        const __m128d both = _mm_add_pd(_mm_add_pd(lanes[0], lanes[1]), _mm_add_pd(lanes[2], lanes[3]));
        return _mm_cvtsd_f64(both) + _mm_cvtsd_f64(_mm_unpackhi_pd(both, both));
    };
    double sum = total(sums);
    double squareSum = total(squares);
    for (; i < count; ++i)
    {
        const double distance = static_cast<double>(samples[i]) - static_cast<double>(samples[0]);
        sum += distance;
        squareSum += distance * distance;
        minima = _mm_min_ps(minima, _mm_set1_ps(samples[i]));
        maxima = _mm_max_ps(maxima, _mm_set1_ps(samples[i]));
    }
    std::array<float, Lanes> smallest;
    std::array<float, Lanes> largest;
    _mm_storeu_ps(smallest.data(), minima);
    _mm_storeu_ps(largest.data(), maxima);
    const auto number = static_cast<double>(count);
    const double mean = sum / number;
    return {number, static_cast<double>(samples[0]) + mean, std::max(0.0, squareSum - mean * sum),
            *std::ranges::min_element(smallest), *std::ranges::max_element(largest)};
}

/// At most BlockSize samples.
void Histogram::CountFloats(const float* samples, std::size_t count) noexcept
{
    m_moments = Together(m_moments, MomentsOf(samples, count));
    // Positive floats are ordered as their bits are, negative ones the other way round and before them. All bins are
    // calculated before they are counted, so that the compiler can take several at once.
    std::array<std::uint32_t, BlockSize> bins;
    for (std::size_t i = 0; i < count; ++i)
    {
        const auto bits = std::bit_cast<std::int32_t>(samples[i]);
        bins[i] =
            static_cast<std::uint32_t>(bits ^ (bits >> 31 | std::numeric_limits<std::int32_t>::min())) >> FloatShift;
    }
    for (std::size_t i = 0; i < count; ++i)
    {
        ++m_counts[bins[i]];
    }
}

void Histogram::AddFloats(const float* samples, std::size_t count) noexcept
{
    constexpr std::int32_t Infinity = 0x7f800000;
    for (std::size_t size = 0; count > 0; count -= size, samples += size)
    {
        size = std::min(count, BlockSize);
        std::int32_t largest = 0;
        for (std::size_t i = 0; i < size; ++i)
        {
            // Without the sign, infinities and what is no number are the largest.
            const std::int32_t magnitude =
                std::bit_cast<std::int32_t>(samples[i]) & std::numeric_limits<std::int32_t>::max();
            largest = magnitude > largest ? magnitude : largest;
        }
        if (largest < Infinity)
        {
            CountFloats(samples, size);
            continue;
        }
        std::array<float, BlockSize> finite;
        const auto end =
            std::copy_if(samples, samples + size, finite.begin(), [](float value) { return std::isfinite(value); });
        const auto finiteCount = static_cast<std::size_t>(end - finite.begin());
        m_notFinite += size - finiteCount;
        if (finiteCount > 0)
        {
            CountFloats(finite.data(), finiteCount);
        }
    }
}

std::uint64_t Histogram::CountOf(std::size_t bin) const noexcept
{
    std::uint64_t count = 0;
    for (std::size_t lane = 0; lane < m_lanes; ++lane)
    {
        count += m_counts[lane * m_bins + bin];
    }
    return count;
}

double Histogram::ValueOf(std::size_t bin) const noexcept
{
    if (m_kind != PixelKind::Float32)
    {
        return static_cast<double>(bin);
    }
    const auto ordered = static_cast<std::uint32_t>(bin) << FloatShift;
    const std::uint32_t leading = ~std::uint32_t{0} << FloatShift;
    const std::uint32_t bits = (ordered & SignBit) != 0 ? ordered & ~SignBit : ~ordered & leading;
    return std::clamp(static_cast<double>(std::bit_cast<float>(bits)), m_moments.minimum, m_moments.maximum);
}

Histogram::Moments Histogram::AllMoments() const noexcept
{
    if (m_kind == PixelKind::Float32)
    {
        return m_moments;
    }
    std::uint64_t sum = 0; // fits: less than 2^32 samples of less than 2^16
    for (std::size_t bin = 0; bin < m_bins; ++bin)
    {
        sum += bin * CountOf(bin);
    }
    Moments moments{static_cast<double>(m_samples), 0.0, 0.0, Minimum(), Maximum()};
    moments.mean = static_cast<double>(sum) / moments.count;
    for (std::size_t bin = 0; bin < m_bins; ++bin)
    {
        const double distance = static_cast<double>(bin) - moments.mean;
        moments.squares += distance * distance * static_cast<double>(CountOf(bin));
    }
    return moments;
}

double Histogram::Minimum() const noexcept
{
    return Count() == 0 ? NotGiven : m_kind == PixelKind::Float32 ? m_moments.minimum : ValueAtRank(1);
}

double Histogram::Maximum() const noexcept
{
    return Count() == 0 ? NotGiven : m_kind == PixelKind::Float32 ? m_moments.maximum : ValueAtRank(m_samples);
}

double Histogram::Mean() const noexcept
{
    return Count() == 0 ? NotGiven : AllMoments().mean;
}

double Histogram::StandardDeviation() const noexcept
{
    const Moments moments = AllMoments();
    return Count() == 0 ? NotGiven : std::sqrt(moments.squares / moments.count);
}

/// \p rank counts from 1 to Count().
double Histogram::ValueAtRank(std::uint64_t rank) const noexcept
{
    std::uint64_t below = 0;
    for (std::size_t bin = 0; bin < m_bins; ++bin)
    {
        below += CountOf(bin);
        if (below >= rank)
        {
            return ValueOf(bin);
        }
    }
    return NotGiven;
}

double Histogram::Percentile(double percent) const
{
    const auto rank = static_cast<std::uint64_t>(std::ceil(Share(CheckPercent(percent), Count())));
    return Count() == 0 ? NotGiven : rank == 0 ? Minimum() : ValueAtRank(rank);
}

ValueRange Histogram::AutomaticRange(double lowPercent, double highPercent) const
{
    if (!(CheckPercent(lowPercent) <= CheckPercent(highPercent)))
    {
        throw std::invalid_argument("Histogram: the lower percentage is the greater one");
    }
    if (Count() == 0)
    {
        return {0.0, 1.0};
    }
    const auto below = static_cast<std::uint64_t>(std::floor(Share(lowPercent, Count())));
    const ValueRange range{below == 0 ? Minimum() : ValueAtRank(std::min(below + 1, Count())),
                           highPercent == 100.0 ? Maximum() : Percentile(highPercent)};
    return range.low < range.high ? range : ValueRange{Minimum(), Maximum()};
}

std::vector<std::uint64_t> Histogram::Counts(std::size_t count, ValueRange range) const
{
    const double width = range.high - range.low;
    if (count == 0 || !(width > 0.0) || !std::isfinite(width))
    {
        throw std::invalid_argument("Histogram: no parts, or an empty range");
    }
    std::vector<std::uint64_t> counts(count);
    for (std::size_t bin = 0; bin < m_bins; ++bin)
    {
        const double value = ValueOf(bin);
        if (const std::uint64_t number = CountOf(bin); number > 0 && value >= range.low && value <= range.high)
        {
            const double part = (value - range.low) * static_cast<double>(count) / width;
            counts[std::min(static_cast<std::size_t>(part), count - 1)] += number;
        }
    }
    return counts;
}

} // namespace Ardo::Imaging
