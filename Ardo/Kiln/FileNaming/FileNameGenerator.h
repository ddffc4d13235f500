#pragma once

#include "Ardo/Kiln/FileNaming/FileNameReservation.h"
#include "Ardo/Kiln/FileNaming/FileNamingSettings.h"
#include "Ardo/Kiln/Time/Ticks.h"
#include "Ardo/KilnExport.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace Ardo::MetadataLib
{
struct Metadata;
}

namespace Ardo::Kiln::FileNaming
{

/// Makes the names of folders and files from settings, a time point and a record.
///
/// A name is the experiment's name, its number with prefix, and the labels, with "_" between them:
/// "Experiment_Exp0042_BSE_5kx.tif" in the folder "2026-11-22". Parts that are switched off or empty are left out.
/// Every name is valid on Windows and on Linux (ToValidFileName). The number and the extension are never cut; of a
/// name that is too long the experiment's name is cut to 120 bytes and the labels to what is left.
///
/// A label may have placeholders, which the record and the time point fill in: {Date}, {Time}, {User}, {Sample},
/// {Detector}, {Mode}, {Magnification}, {AccelerationVoltage}, {BeamCurrent}, {Defocus}, {CameraLength}, {DwellTime},
/// {ExposureTime}. Quantities are written without the space: "5kx". A value that is not given leaves its label out. An
/// unknown placeholder stays as it is.
///
///     FileNameGenerator generator(settings);
///     FileNameReservation reservation = generator.Reserve(now, record);  // folder made, number taken
///     FileSystem::ReplacementFile file(reservation.Path(L"tif"));
///     ... write ...
///     file.Commit();                                                     // then destroy the reservation
///
/// Any thread may call any method.
class KILN_EXPORT FileNameGenerator
{
public:
    /// Copies \p settings. Numbers, digits and texts out of their ranges are limited to them.
    explicit FileNameGenerator(FileNamingSettings settings);

    /// The folder of acquisitions at \p time: the chosen folder and, if they are used, the folder of the local day. A
    /// time that has no calendar fields (Time::ToLocaltime) has the folder "undated".
    std::filesystem::path Folder(Time::TimePoint time) const;

    /// The name without extension that an acquisition with the number \p number gets. Does not touch the disk.
    std::wstring Stem(std::uint32_t number, Time::TimePoint time, const MetadataLib::Metadata& record) const;

    /// The path that the first acquisition in an empty folder gets. Does not touch the disk.
    /// \param extension without the dot, for example L"tif"; empty for none.
    /// \throws std::invalid_argument like FileNameReservation::Path.
    std::filesystem::path Preview(Time::TimePoint time, const MetadataLib::Metadata& record,
                                  std::wstring_view extension) const;

    /// Makes the folder and reserves the next free number in it: one more than the largest number of a file with the
    /// same experiment name and prefix there, whatever its labels and extension, and at least the number of the
    /// settings. Upper and lower case are the same. Gaps are not filled, so numbers follow the time of acquisition.
    ///
    /// No other reservation, of any thread or process, gets the number while this one exists, and none after it if a
    /// file with the number has been made. If none has been made, the number is free again: an acquisition that fails
    /// and a process that is killed lose no number. With an auto-export folder the number is free in both folders.
    ///
    /// The folder holds a hidden file ".reserved-names", empty, on which the reservations are locks. It must not be
    /// removed while acquisitions run. The folder may be on a network drive if that supports locks.
    ///
    /// Numbers with up to two more digits than the settings say are recognised. Without numbers, the second file of a
    /// name gets "_2".
    ///
    /// Reads the names of all files in the folder: tens of milliseconds for 100,000 files.
    /// \throws FileNamingException if no folder is chosen, a folder cannot be made, read or locked, another process
    ///         has held its lock for 10 s, or no number is left.
    FileNameReservation Reserve(Time::TimePoint time, const MetadataLib::Metadata& record) const;

private:
    std::wstring Base() const;
    std::wstring Labels(Time::TimePoint time, const MetadataLib::Metadata& record) const;

    FileNamingSettings m_settings;
};

} // namespace Ardo::Kiln::FileNaming
