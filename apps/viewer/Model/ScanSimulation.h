#pragma once

#include "Ardo/Imaging/const_raw_image.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <cstdint>
#include <vector>

namespace Ardo::Kiln::Viewer
{

/// What a person sets of a scan.
struct ScanSettings
{
    std::uint32_t side = 1024; ///< Pixels of a line, and lines; 16 to 8192.
    double dwellTime = 1e-6;   ///< Of the beam on a pixel, in s.
    bool isContinuous = true;  ///< Frames follow one another until the scan is stopped.

    /// Of a line with its flyback, in s.
    double LineTime() const noexcept { return 1.1 * dwellTime * side; }

    friend bool operator==(const ScanSettings&, const ScanSettings&) = default;
};

/// A scanning detector that looks at a micrograph: values of 14 bits with noise, less of it the longer the beam stays
/// on a pixel. One thread at a time.
class ScanSimulation
{
public:
    /// \param micrograph of kind UInt8.
    ScanSimulation(Imaging::const_raw_image micrograph, const ScanSettings& settings);

    /// Writes a line. Each call gives other noise.
    /// \param line  from 0 to ScanSettings::side - 1.
    /// \param values room for ScanSettings::side of them.
    void Scan(std::uint32_t line, std::uint16_t* values);

private:
    struct Column
    {
        std::uint32_t left;
        float part; ///< Of the pixel to the right, 0 to 1.
    };

    Imaging::const_raw_image m_micrograph;
    std::uint32_t m_side;
    float m_noise;
    std::vector<Column> m_columns;
    std::uint64_t m_random = 0x9E3779B97F4A7C15;
};

/// The micrograph that is looked at, which is part of the program.
/// \throws Exception::Error if it cannot be read.
Imaging::const_raw_image EmbeddedMicrograph();

/// The complete record of a scan.
/// \param image  the pixels that were acquired, in the size in which they were.
/// \param frames the number of complete frames.
MetadataLib::Metadata MakeScanRecord(const ScanSettings& settings, const Imaging::const_raw_image& image,
                                     MetadataLib::TimePoint begin, MetadataLib::TimePoint end, std::uint32_t frames);

} // namespace Ardo::Kiln::Viewer
