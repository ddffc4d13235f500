#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

class QSettings;

namespace Ardo::Kiln::FileNaming
{

/// How acquired images are named. Each part has a switch, so that its text is kept while it is not used.
///
/// The comment of each member names its key in a QSettings file and the values that are accepted; the initial value is
/// the default. docs/file-naming.md shows the same table. Texts may be anything: the generator makes valid names of
/// them.
struct FileNamingSettings
{
    /// The longest text of a setting, in units.
    static constexpr std::size_t MaxTextLength = 200;
    /// The largest number of labels.
    static constexpr std::size_t MaxLabels = 16;
    /// The largest number that an experiment gets.
    static constexpr std::uint32_t MaxNumber = 999'999'999;
    /// The largest number of digits.
    static constexpr std::int32_t MaxDigits = 9;

    std::filesystem::path folder; ///< "File/Path/Folder": where experiments go; empty: not chosen yet.

    std::wstring experimentName = L"Experiment"; ///< "File/Path/ExperimentName"
    bool useExperimentName = true;               ///< "File/Path/UseExperimentName"

    std::uint32_t experimentNumber = 1; ///< "File/Path/ExperimentNumber": the smallest to give, 0 to MaxNumber.
    bool useExperimentNumber = true;    ///< "File/Path/UseExperimentNumber"

    std::wstring experimentNumberPrefix = L"Exp"; ///< "File/Path/ExperimentNumberPrefix": directly before the number.
    bool useExperimentNumberPrefix = false;       ///< "File/Path/UseExperimentNumberPrefix"

    std::int32_t experimentNumberDigits =
        4; ///< "File/Path/ExperimentNumberDigits": filled up with zeros, 1 to MaxDigits.
    bool useExperimentNumberDigits = true; ///< "File/Path/UseExperimentNumberDigits": else no zeros in front.

    std::vector<std::wstring> labels; ///< "File/Path/Labels": a list of texts with placeholders; at most MaxLabels.
    bool useLabels = false;           ///< "File/Path/UseLabels"

    bool useDateFolders = true; ///< "File/Path/UseDateFolders": a folder a day, "2026-11-22", in `folder`.

    std::filesystem::path autoExportFolder; ///< "File/Path/AutoExportFolder": for copies in other formats.
    bool useAutoExportFolder = false;       ///< "File/Path/UseAutoExportFolder"

    bool operator==(const FileNamingSettings&) const = default;
};

/// Reads the settings. A key that is missing, or whose value has another type or is out of its range, gives the
/// default; a text or list that is too long is damaged, too. One damaged value does not change the others.
///
/// One thread at a time uses \p settings.
KILN_EXPORT FileNamingSettings LoadFileNamingSettings(const QSettings& settings);

/// Writes the settings and synchronises the file. Keys of others are not touched.
///
/// One thread at a time uses \p settings.
/// \throws FileNamingException with the name of the file if \p settings has a format error (a write would destroy the
///         rest of the file), is not writable or cannot be written; with the name of the setting if a value is out of
///         its range. Nothing is changed in these cases, unless the file could not be written.
KILN_EXPORT void SaveFileNamingSettings(QSettings& settings, const FileNamingSettings& values);

} // namespace Ardo::Kiln::FileNaming
