#pragma once

#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/Imaging/rectangle.h"
#include "Ardo/KilnExport.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Ardo::Imaging
{

/// Two sample values between which something is.
struct ValueRange
{
    double low = 0.0;  ///< The lower one, in the unit of the samples.
    double high = 0.0; ///< The higher one.

    friend bool operator==(const ValueRange&, const ValueRange&) = default;
};

/// How often each sample value occurs, and what follows from it. Pixels are read once, as an image or line by line.
///
/// All samples count alike: of a coloured pixel red, green and blue, but not the opacity. Samples that are infinite or
/// not a number are counted apart and are in none of the other results.
///
/// Accuracy: for 8-bit and 16-bit samples everything is exact; mean and deviation as far as double is. So are minimum,
/// maximum, mean and deviation of float samples. Their percentiles and counts take each sample for the nearest value
/// towards 0 with 12 significant bits, which is less than 1/2048 of it away, and the sample itself for whole numbers up
/// to 4095.
///
/// An object takes 8 KiB for 8-bit samples, 512 KiB for 16-bit and 4 MiB for float samples.
/// Thread-safety: as that of a container.
///
///     const Histogram histogram(image);
///     const ValueRange range = histogram.AutomaticRange(0.1, 99.9);
class KILN_EXPORT Histogram
{
public:
    /// No samples yet.
    /// \throws std::bad_alloc if there is not enough memory.
    explicit Histogram(PixelKind kind);

    /// Of all pixels of \p image.
    /// \throws as the constructor above and Add.
    explicit Histogram(const const_raw_image& image);

    /// Of a part of \p image.
    /// \throws std::invalid_argument if \p part is not within the image; otherwise as above.
    Histogram(const const_raw_image& image, const rectangle& part);

    /// Adds \p count pixels, for example a line.
    /// \param pixels of the kind that the histogram was made for, aligned as their samples are.
    /// \throws std::length_error if this makes more than 4,294,967,295 samples; nothing is added then.
    void Add(const void* pixels, std::size_t count);

    /// Number of finite samples.
    [[nodiscard]] std::uint64_t Count() const noexcept { return m_samples - m_notFinite; }

    /// Number of samples that are infinite or not a number.
    [[nodiscard]] std::uint64_t NotFiniteCount() const noexcept { return m_notFinite; }

    /// In the unit of the samples; not a number without finite samples.
    [[nodiscard]] double Minimum() const noexcept;
    /// Like Minimum().
    [[nodiscard]] double Maximum() const noexcept;
    /// Like Minimum().
    [[nodiscard]] double Mean() const noexcept;
    /// Of all samples, not estimated from some of them.
    [[nodiscard]] double StandardDeviation() const noexcept;

    /// The smallest value that at least \p percent of the samples do not exceed; for 0 the minimum.
    /// \param percent 0 to 100.
    /// \returns not a number without finite samples.
    /// \throws std::invalid_argument for another \p percent.
    [[nodiscard]] double Percentile(double percent) const;

    /// The range for a display: at most \p lowPercent of the samples are below it, and at most 100 - \p highPercent
    /// above it, so that a few hot or dead pixels do not decide. Minimum to maximum where only one value is left.
    /// \param lowPercent  0 to 100, at most \p highPercent. 0 and 100 leave nothing outside.
    /// \param highPercent 0 to 100.
    /// \returns 0 to 1 without finite samples.
    /// \throws std::invalid_argument for other percentages.
    [[nodiscard]] ValueRange AutomaticRange(double lowPercent, double highPercent) const;

    /// Numbers of samples in \p count parts of equal width of \p range, for a diagram. A sample on the border of two
    /// parts is in the upper one, one at the end of the range in the last. What is outside the range is not counted.
    /// \param count at least 1.
    /// \throws std::invalid_argument if \p count is 0, or \p range is not finite or its high end not above its low end.
    [[nodiscard]] std::vector<std::uint64_t> Counts(std::size_t count, ValueRange range) const;

private:
    /// Number, mean, sum of the squares of the distances from the mean, smallest and largest of some samples.
    struct Moments
    {
        double count = 0.0;
        double mean = 0.0;
        double squares = 0.0;
        double minimum = 0.0;
        double maximum = 0.0;
    };

    static Moments MomentsOf(const float* samples, std::size_t count) noexcept;
    static Moments Together(const Moments& first, const Moments& second) noexcept;
    Moments AllMoments() const noexcept;
    void AddFloats(const float* samples, std::size_t count) noexcept;
    void CountFloats(const float* samples, std::size_t count) noexcept;
    std::uint64_t CountOf(std::size_t bin) const noexcept;
    double ValueOf(std::size_t bin) const noexcept;
    double ValueAtRank(std::uint64_t rank) const noexcept;

    PixelKind m_kind;
    std::size_t m_bins;          ///< Number of values that are told apart.
    std::size_t m_lanes;         ///< Counters of a bin; they stand m_bins apart.
    std::uint64_t m_samples = 0; ///< All of them.
    std::uint64_t m_notFinite = 0;
    Moments m_moments; ///< Of float samples.
    std::vector<std::uint32_t> m_counts;
};

} // namespace Ardo::Imaging
