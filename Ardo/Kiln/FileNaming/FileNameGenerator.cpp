#include "Ardo/Kiln/FileNaming/FileNameGenerator.h"

#include "Ardo/Kiln/Conversion/Replacing.h"
#include "Ardo/Kiln/FileNaming/FileNameReservation_p.h"
#include "Ardo/Kiln/FileNaming/FileNamingException.h"
#include "Ardo/Kiln/FileNaming/LabelText_p.h"
#include "Ardo/Kiln/FileNaming/ValidFileName.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Platform/SystemError.h"

#include <QString>

#include <algorithm>

namespace Ardo::Kiln::FileNaming
{

namespace fs = std::filesystem;

namespace
{

constexpr std::size_t MaxNameBytes = 120;
constexpr std::size_t MaxPrefixBytes = 60;
// Room for the dot and the extension, and for "_" and the number of a file whose name has none.
constexpr std::size_t MaxStemBytes = MaxFileNameBytes - (1 + MaxExtensionBytes);
constexpr std::size_t MaxCounterBytes = 10;
constexpr int DigitsBeyond = 2;

std::size_t Utf8Size(const std::wstring& text)
{
    std::string bytes;
    Conversion::AppendReplacing(bytes, text);
    return bytes.size();
}

/// FNV-1a of the text without upper and lower case, the same in every process.
std::uint32_t KeyOf(const std::wstring& text)
{
    std::uint32_t hash = 2166136261U;
    for (const QChar unit : QString::fromStdWString(text).toCaseFolded())
    {
        const std::uint32_t value = unit.unicode();
        for (const std::uint32_t byte : {value & 0xFFU, value >> 8U})
        {
            hash = (hash ^ byte) * 16777619U;
        }
    }
    return hash;
}

void MakeFolder(const fs::path& folder)
{
    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
    {
        const std::error_code reason(error.value(), Platform::SystemErrors()); // whose texts are in no locale
        throw FileNamingException(
            "The folder " + FileSystem::ToDisplayText(folder) + " cannot be made: " + reason.message(), reason);
    }
}

} // namespace

FileNameGenerator::FileNameGenerator(FileNamingSettings settings) : m_settings(std::move(settings))
{
    using Limits = FileNamingSettings;
    m_settings.experimentNumber = std::min(m_settings.experimentNumber, Limits::MaxNumber);
    m_settings.experimentNumberDigits = std::clamp(m_settings.experimentNumberDigits, 1, Limits::MaxDigits);
    m_settings.labels.resize(std::min(m_settings.labels.size(), Limits::MaxLabels));
    for (std::wstring* const text : {&m_settings.experimentName, &m_settings.experimentNumberPrefix})
    {
        text->resize(std::min(text->size(), Limits::MaxTextLength));
    }
}

fs::path FileNameGenerator::Folder(Time::TimePoint time) const
{
    return m_settings.useDateFolders ? m_settings.folder / FileSystem::ToPath(DayOf(time)) : m_settings.folder;
}

// The name up to the number: the experiment's name, "_" and the prefix.
std::wstring FileNameGenerator::Base() const
{
    std::wstring base =
        m_settings.useExperimentName ? ToValidFileName(m_settings.experimentName, MaxNameBytes) : std::wstring();
    if (!m_settings.useExperimentNumber)
    {
        return base;
    }
    base += base.empty() ? L"" : L"_";
    return m_settings.useExperimentNumberPrefix
               ? base + ToValidFileName(m_settings.experimentNumberPrefix, MaxPrefixBytes)
               : base;
}

std::wstring FileNameGenerator::Labels(Time::TimePoint time, const MetadataLib::Metadata& record) const
{
    std::wstring labels;
    for (const std::wstring& label : m_settings.useLabels ? m_settings.labels : std::vector<std::wstring>())
    {
        const std::wstring text = ToValidFileName(FillIn(label, time, record).value_or(std::wstring()));
        labels += (labels.empty() || text.empty() ? L"" : L"_") + text;
    }
    return labels;
}

std::wstring FileNameGenerator::Stem(std::uint32_t number, Time::TimePoint time,
                                     const MetadataLib::Metadata& record) const
{
    std::wstring stem = Base();
    std::size_t room = MaxStemBytes;
    if (m_settings.useExperimentNumber)
    {
        std::wstring digits = std::to_wstring(number);
        const auto width =
            static_cast<std::size_t>(m_settings.useExperimentNumberDigits ? m_settings.experimentNumberDigits : 1);
        digits.insert(0, width - std::min(width, digits.size()), L'0');
        stem += digits;
    }
    else
    {
        room -= MaxCounterBytes;
    }
    if (const std::wstring labels = Labels(time, record); !labels.empty())
    {
        stem += (stem.empty() ? L"" : L"_");
        stem += ToValidFileName(labels, room - Utf8Size(stem));
    }
    stem = ToValidFileName(stem);
    return stem.empty() ? L"Image" : stem;
}

fs::path FileNameGenerator::Preview(Time::TimePoint time, const MetadataLib::Metadata& record,
                                    std::wstring_view extension) const
{
    return Folder(time) / FileSystem::ToPath(WithExtension(Stem(m_settings.experimentNumber, time, record), extension));
}

FileNameReservation FileNameGenerator::Reserve(Time::TimePoint time, const MetadataLib::Metadata& record) const
{
    if (m_settings.folder.empty())
    {
        throw FileNamingException("No file name can be reserved: no folder is chosen");
    }
    const fs::path folder = Folder(time);
    const fs::path exportFolder = m_settings.useAutoExportFolder ? m_settings.autoExportFolder : fs::path();
    std::vector<fs::path> folders{folder};
    MakeFolder(folder);
    if (!exportFolder.empty())
    {
        MakeFolder(exportFolder);
        std::error_code error;
        if (!fs::equivalent(folder, exportFolder, error))
        {
            folders.push_back(exportFolder);
        }
    }

    // Without numbers the name itself is counted.
    const bool isNumbered = m_settings.useExperimentNumber;
    const std::wstring whole = isNumbered ? std::wstring() : Stem(1, time, record);
    const std::wstring begin = isNumbered ? Base() : whole + L"_";
    const int digits = isNumbered && m_settings.useExperimentNumberDigits
                           ? std::min(m_settings.experimentNumberDigits + DigitsBeyond, FileNamingSettings::MaxDigits)
                           : FileNamingSettings::MaxDigits;
    std::uint32_t last = 0;
    for (int i = 0; i < digits; ++i)
    {
        last = 10 * last + 9;
    }
    FileNameReservation reservation(
        FileNameReservation::Locks::Take(std::move(folders), NamePattern(begin, digits, whole), KeyOf(begin),
                                         isNumbered ? m_settings.experimentNumber : 1, last),
        folder, exportFolder);
    const std::uint32_t number = reservation.Number();
    reservation.m_stem = isNumbered    ? Stem(number, time, record)
                         : number == 1 ? whole
                                       : begin + std::to_wstring(number);
    return reservation;
}

} // namespace Ardo::Kiln::FileNaming
