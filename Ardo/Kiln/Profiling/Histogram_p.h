#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace Ardo::Kiln::Profiling::Private
{

// Bins for durations in nanoseconds. Below 32 each value has its own; above, each power of two is divided into 16, so
// that the middle of a bin differs from what is in it by at most 1/32. The last bin takes what is longer than 3 days.

/// Bins of a power of two.
constexpr unsigned BinsPerOctave = 16;
/// The binary logarithm of BinsPerOctave.
constexpr unsigned OctaveShift = 4;
/// The power of two of the longest duration.
constexpr unsigned LastOctave = 47;

constexpr std::size_t BinCount = (LastOctave - OctaveShift + 2) * BinsPerOctave;

/// The bin of a duration.
constexpr std::size_t BinOf(std::uint64_t duration)
{
    if (duration < BinsPerOctave)
    {
        return static_cast<std::size_t>(duration);
    }
    const auto octave = static_cast<unsigned>(std::bit_width(duration)) - 1;
    if (octave > LastOctave)
    {
        return BinCount - 1;
    }
    const auto within = static_cast<std::size_t>((duration >> (octave - OctaveShift)) % BinsPerOctave);
    return (octave - OctaveShift + 1) * BinsPerOctave + within;
}

/// The middle of a bin.
constexpr std::uint64_t MiddleOf(std::size_t bin)
{
    if (bin < BinsPerOctave)
    {
        return bin;
    }
    const std::size_t shift = bin / BinsPerOctave - 1;
    const std::uint64_t low = std::uint64_t{BinsPerOctave + bin % BinsPerOctave} << shift;
    return low + (std::uint64_t{1} << shift) / 2;
}

/// Counts of durations.
using Bins = std::array<std::uint64_t, BinCount>;

/// The smallest duration that at least \p percent of \p count durations do not exceed. 0 without durations.
constexpr std::uint64_t Quantile(const Bins& bins, std::uint64_t count, unsigned percent)
{
    const std::uint64_t rank = (count * percent + 99) / 100;
    std::uint64_t seen = 0;
    for (std::size_t bin = 0; bin < BinCount; ++bin)
    {
        seen += bins[bin];
        if (seen >= rank)
        {
            return MiddleOf(bin);
        }
    }
    return MiddleOf(BinCount - 1); // counts that were read while another thread counted on
}

} // namespace Ardo::Kiln::Profiling::Private
