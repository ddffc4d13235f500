#include "Ardo/Imaging/Histogram.h"

#include "tests/Support/NotFinite.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <random>
#include <stdexcept>

namespace Ardo::Imaging
{

namespace
{

using Kiln::Support::Infinity;
using Kiln::Support::NotANumber;

template <typename Sample>
const_raw_image Image(const std::vector<Sample>& samples, size_2d size, PixelKind kind, std::size_t stride = 0)
{
    const auto copy = std::make_shared<std::vector<Sample>>(samples);
    return {std::shared_ptr<const void>(copy, copy->data()), size, kind, stride};
}

template <typename Sample>
Histogram HistogramOf(PixelKind kind, const std::vector<Sample>& samples)
{
    Histogram histogram(kind);
    histogram.Add(samples.data(), samples.size());
    return histogram;
}

/// Compares with the same from sorted doubles.
template <typename Sample>
void Compare(PixelKind kind, const std::vector<Sample>& samples, double tolerance)
{
    const Histogram histogram = HistogramOf(kind, samples);
    std::vector<double> sorted(samples.begin(), samples.end());
    std::ranges::sort(sorted);
    const auto count = static_cast<double>(sorted.size());
    const double mean = std::accumulate(sorted.begin(), sorted.end(), 0.0) / count;
    double squares = 0.0;
    std::ranges::for_each(sorted, [&](double value) { squares += (value - mean) * (value - mean); });
    EXPECT_EQ(histogram.Count(), sorted.size());
    EXPECT_EQ(histogram.Minimum(), sorted.front());
    EXPECT_EQ(histogram.Maximum(), sorted.back());
    EXPECT_NEAR(histogram.Mean(), mean, 1e-12 * std::abs(mean));
    EXPECT_NEAR(histogram.StandardDeviation(), std::sqrt(squares / count), 1e-9 * std::abs(mean));
    for (const double percent : {0.0, 0.1, 1.0, 33.3, 50.0, 99.0, 99.9, 100.0})
    {
        const double rank = std::max(1.0, std::ceil(percent * count / 100.0 - 1e-9));
        const double expected = sorted[static_cast<std::size_t>(rank) - 1];
        EXPECT_NEAR(histogram.Percentile(percent), expected, tolerance * std::abs(expected)) << percent;
    }
}

TEST(HistogramTest, AgreesWithSortedSamples)
{
    std::mt19937 random(1);
    for (const std::size_t size : {1u, 7u, 1000u, 30'011u})
    {
        SCOPED_TRACE(size);
        std::vector<std::uint8_t> bytes(size);
        std::vector<std::uint16_t> words(size);
        std::vector<float> floats(size);
        std::vector<float> wholes(size);
        for (std::size_t i = 0; i < size; ++i)
        {
            bytes[i] = static_cast<std::uint8_t>(random() >> (i % 3));
            words[i] = static_cast<std::uint16_t>(i % 2 == 0 ? random() : 40'000 + random() % 100);
            wholes[i] = static_cast<float>(static_cast<int>(random() % 8191) - 4095);
            floats[i] = std::ldexp(wholes[i], static_cast<int>(random() % 40) - 20);
        }
        Compare(PixelKind::UInt8, bytes, 0.0);
        Compare(PixelKind::UInt16, words, 0.0);
        Compare(PixelKind::Float32, floats, 1.0 / 2048);
        Compare(PixelKind::Float32, wholes, 0.0);
    }
}

TEST(HistogramTest, WhatIsNotFiniteIsCountedApart)
{
    std::vector<float> samples(10'000, 5.0f);
    samples[0] = NotANumber;
    samples[4095] = Infinity;
    samples[4096] = -Infinity;
    samples[9999] = -2.5f;
    const Histogram histogram = HistogramOf(PixelKind::Float32, samples);
    EXPECT_EQ(histogram.Count(), 9997u);
    EXPECT_EQ(histogram.NotFiniteCount(), 3u);
    EXPECT_EQ(histogram.Minimum(), -2.5);
    EXPECT_EQ(histogram.Maximum(), 5.0);
    EXPECT_EQ(histogram.Counts(2, {-2.5, 5.0}), (std::vector<std::uint64_t>{1, 9996}));

    const Histogram none = HistogramOf(PixelKind::Float32, std::vector{NotANumber, Infinity});
    EXPECT_TRUE(std::isnan(none.Minimum()) && std::isnan(none.Maximum()) && std::isnan(none.Mean()) &&
                std::isnan(none.StandardDeviation()) && std::isnan(none.Percentile(50.0)));
    EXPECT_EQ(none.AutomaticRange(1.0, 99.0), (ValueRange{0.0, 1.0}));
    EXPECT_TRUE(std::isnan(Histogram(PixelKind::UInt8).Mean()));
}

TEST(HistogramTest, AFewPixelsDoNotDecideTheAutomaticRange)
{
    std::vector<std::uint16_t> samples(1000);
    std::iota(samples.begin(), samples.end(), std::uint16_t{1000});
    samples.front() = 0;     // a dead pixel
    samples.back() = 65'535; // a hot one
    const Histogram histogram = HistogramOf(PixelKind::UInt16, samples);
    EXPECT_EQ(histogram.AutomaticRange(0.1, 99.9), (ValueRange{1001, 1998}));
    EXPECT_EQ(histogram.AutomaticRange(0.0, 100.0), (ValueRange{0, 65'535}));
    EXPECT_EQ(histogram.AutomaticRange(50.0, 50.0), (ValueRange{0, 65'535}));
    EXPECT_EQ(HistogramOf(PixelKind::UInt8, std::vector<std::uint8_t>(9, 7)).AutomaticRange(0.1, 99.9),
              (ValueRange{7, 7}));
    std::vector<float> floats(2000, 3.0f);
    floats[7] = 1e30f;
    floats[8] = 2.0f;
    floats[9] = 1.0f;
    EXPECT_EQ(HistogramOf(PixelKind::Float32, floats).AutomaticRange(0.05, 99.9), (ValueRange{2.0, 3.0}));
}

TEST(HistogramTest, PartsRowsAndColours)
{
    // 3 x 2 pixels in rows of 4; the padding must not count.
    const std::vector<std::uint8_t> bytes = {1, 2, 3, 99, 4, 5, 6, 99};
    const const_raw_image image = Image(bytes, {3, 2}, PixelKind::UInt8, 4);
    EXPECT_EQ(Histogram(image).Counts(6, {1, 7}), (std::vector<std::uint64_t>{1, 1, 1, 1, 1, 1}));
    EXPECT_EQ(Histogram(image, {1, 0, 3, 2}).Counts(3, {1, 7}), (std::vector<std::uint64_t>{1, 1, 2}));
    EXPECT_EQ(Histogram(image, {1, 1, 1, 1}).Count(), 0u);
    for (const rectangle& part : {rectangle{-1, 0, 1, 1}, {0, 0, 4, 1}, {0, 0, 1, 3}, {2, 0, 1, 1}, {0, 2, 1, 1}})
    {
        EXPECT_THROW(Histogram(image, part), std::invalid_argument);
    }

    Histogram lines(PixelKind::UInt8);
    lines.Add(image.Row(0), 3);
    lines.Add(image.Row(1), 3);
    EXPECT_EQ(lines.Mean(), 3.5);

    const std::vector<std::uint8_t> colours = {10, 20, 30, 40, 50, 60, 70, 80};
    EXPECT_EQ(Histogram(Image(colours, {2, 1}, PixelKind::Rgb8)).Maximum(), 60.0);
    const Histogram rgba(Image(colours, {2, 1}, PixelKind::Rgba8));
    EXPECT_EQ(rgba.Count(), 6u);
    EXPECT_EQ(rgba.Counts(8, {5, 85}), (std::vector<std::uint64_t>{1, 1, 1, 0, 1, 1, 1, 0}));
}

TEST(HistogramTest, RefusesWhatMeansNothing)
{
    Histogram histogram = HistogramOf(PixelKind::UInt8, std::vector<std::uint8_t>{1, 2});
    for (const double percent : {-0.1, 100.1, double{NotANumber}, double{Infinity}})
    {
        EXPECT_THROW(static_cast<void>(histogram.Percentile(percent)), std::invalid_argument);
        EXPECT_THROW(static_cast<void>(histogram.AutomaticRange(percent, 99.0)), std::invalid_argument);
    }
    EXPECT_THROW(static_cast<void>(histogram.AutomaticRange(60.0, 40.0)), std::invalid_argument);
    EXPECT_THROW(static_cast<void>(histogram.Counts(0, {0, 1})), std::invalid_argument);
    for (const ValueRange& range : {ValueRange{1, 1}, {2, 1}, {0, Infinity}, {NotANumber, 1}})
    {
        EXPECT_THROW(static_cast<void>(histogram.Counts(4, range)), std::invalid_argument);
    }
    const std::uint8_t none = 0;
    EXPECT_THROW(histogram.Add(&none, std::size_t{1} << 32), std::length_error);
    EXPECT_EQ(histogram.Count(), 2u);
}

} // namespace

} // namespace Ardo::Imaging
