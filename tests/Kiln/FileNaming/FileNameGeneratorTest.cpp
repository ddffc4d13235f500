#include "Ardo/Kiln/FileNaming/FileNameGenerator.h"

#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/FileNaming/NamePattern_p.h"
#include "Ardo/Kiln/FileNaming/ValidFileName.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/MetadataLib/ImagingDetector.h"
#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Support/ScopedTimeZone.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace Ardo::Kiln::FileNaming
{

using ::testing::ThrowsMessage;

namespace
{

// 2026-11-22, half past midnight in India; the day before in UTC.
constexpr Time::TimePoint Night{std::chrono::seconds(1'795'287'600)};

MetadataLib::Metadata Record()
{
    MetadataLib::Metadata record;
    record.Core.UserID = "u/v";
    record.Sample.SampleID = "\xE7\xB4\xB0";
    record.Optics.NominalMagnification = 5000;
    record.Optics.AccelerationVoltage = 3e5;
    record.Optics.Defocus = -1.5e-6;
    record.Optics.OperatingMode = MetadataLib::OpticsOperatingMode::TEM;
    MetadataLib::ImagingDetector camera;
    camera.DetectorName = "Camera-1";
    camera.ExposureTime = 0.25;
    record.Detectors.emplace_back(camera);
    return record;
}

/// With "/" between the names on every system.
std::wstring Preview(const FileNamingSettings& settings, std::wstring_view extension = L"tif")
{
    const auto path = FileNameGenerator(settings).Preview(Night, Record(), extension).generic_u8string();
    return FileSystem::ToWide(std::filesystem::path(path));
}

std::wstring Times(int count, std::wstring_view text)
{
    std::wstring repeated;
    for (int i = 0; i < count; ++i)
    {
        repeated += text;
    }
    return repeated;
}

} // namespace

TEST(FileNameGeneratorTest, EachPartHasItsSwitch)
{
    const Support::ScopedTimeZone zone("IST-5:30");
    FileNamingSettings settings;
    settings.folder = "/data";
    settings.experimentNumber = 42;
    settings.labels = {L"{Detector}", L"{Magnification}"};
    EXPECT_EQ(Preview(settings), L"/data/2026-11-22/Experiment_0042.tif");
    settings.useExperimentNumberPrefix = true;
    settings.useLabels = true;
    EXPECT_EQ(Preview(settings), L"/data/2026-11-22/Experiment_Exp0042_Camera-1_5kx.tif");
    settings.useDateFolders = false;
    settings.useExperimentName = false;
    EXPECT_EQ(Preview(settings), L"/data/Exp0042_Camera-1_5kx.tif");
    settings.useExperimentNumberDigits = false;
    EXPECT_EQ(Preview(settings), L"/data/Exp42_Camera-1_5kx.tif");
    settings.useExperimentNumber = false; // nor its prefix
    EXPECT_EQ(Preview(settings, L"ome.tif"), L"/data/Camera-1_5kx.ome.tif");
    settings.useLabels = false;
    EXPECT_EQ(Preview(settings, L""), L"/data/Image");
    settings.useDateFolders = true;
    EXPECT_EQ(FileNameGenerator(settings).Folder(Time::TimePoint()), "/data/undated");
}

TEST(FileNameGeneratorTest, LabelsAreFilledInFromTheRecord)
{
    const Support::ScopedTimeZone zone("IST-5:30");
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"{User}", L"u_v"},
        {L"{Sample}", L"\u7D30"},
        {L"{Mode} {AccelerationVoltage}", L"TEM 300kV"},
        {L"df{Defocus}", L"df-1.5\u00B5m"},
        {L"{ExposureTime}", L"250ms"},
        {L"{Date}T{Time}", L"2026-11-22T003000"},
        {L"{DwellTime} is not given", nullptr},
        {L"{Unknown} {", L"{Unknown} {"},
        {L"{{Mode}}", L"{TEM}"},
        {L" . ", nullptr},
    };
    for (const auto& [label, text] : rows)
    {
        FileNamingSettings settings;
        settings.useDateFolders = settings.useExperimentName = false;
        settings.useLabels = true;
        settings.labels = {label, L"end"};
        EXPECT_EQ(Preview(settings, L""),
                  std::wstring(L"0001_") + (text != nullptr ? text + std::wstring(L"_") : L"") + L"end")
            << label;
    }
}

TEST(FileNameGeneratorTest, EveryNameIsValid)
{
    FileNamingSettings settings;
    settings.useDateFolders = false;
    settings.useExperimentNumberPrefix = settings.useLabels = true;
    settings.experimentName.assign(200, L'\u7D30');
    settings.experimentNumberPrefix = Times(200, L"\U0001F468"); // two units in UTF-16
    settings.labels.assign(16, std::wstring(200, L'\u00B5'));
    settings.experimentNumber = FileNamingSettings::MaxNumber;
    const std::wstring longest = Preview(settings, L"fifteen bytes.x");
    EXPECT_TRUE(IsValidFileName(longest)) << longest;
    EXPECT_GE(Conversion::String::ToUtf8(longest).size(), MaxFileNameBytes - 4);
    EXPECT_THAT(longest, testing::HasSubstr(L"999999999_"));
    settings.useExperimentNumber = false;
    EXPECT_LE(Conversion::String::ToUtf8(Preview(settings, L"fifteen bytes.x")).size(), MaxFileNameBytes - 10);

    settings = FileNamingSettings();
    settings.useDateFolders = settings.useExperimentName = settings.useExperimentNumberDigits = false;
    settings.useExperimentNumberPrefix = true;
    settings.experimentNumberPrefix = L"com";
    EXPECT_EQ(Preview(settings), L"com1_.tif");
    settings.experimentNumberPrefix = L"../";
    EXPECT_EQ(Preview(settings), L"_._1.tif");

    for (const wchar_t* const extension : {L".tif", L"a/b", L"sixteen bytes...", L"tif ", L"t\u202Eif"})
    {
        EXPECT_THROW(Preview(settings, extension), std::invalid_argument) << extension;
    }
}

TEST(FileNameGeneratorTest, FindsTheNumberInEveryNameOfTheExperiment)
{
    const NamePattern pattern(L"\u00DCbung_", 6, L"");
    const std::pair<const wchar_t*, int> rows[] = {
        {L"\u00DCbung_0042.tif", 42},
        {L"\u00FCBUNG_0043_BSE.tif", 43},
        {L"\u00DCbung_7", 7},
        {L"\u00DCbung_000000", 0},
        {L"\u00DCbung_123456.tif", 123456},
        {L"\u00DCbung_20261122.tif", -1},
        {L"\u00DCbung_BSE.tif", -1},
        {L"\u00DCbung.tif", -1},
        {L"Ubung_0042.tif", -1},
        {L"\u7D30\u80DE\u7D30_0042.tif", -1},
        {L"", -1},
        {L"x\u00DCbung_1", -1},
    };
    for (const auto& [name, number] : rows)
    {
        const auto native = FileSystem::ToPath(name).native();
        EXPECT_EQ(pattern.NumberOf(native), number < 0 ? std::nullopt : std::optional<std::uint32_t>(number)) << name;
    }
    const NamePattern whole(L"a_BSE_", 9, L"a_BSE");
    using Native = std::filesystem::path;
    EXPECT_EQ(whole.NumberOf(Native("A_bse.tif").native()), 1U);
    EXPECT_EQ(whole.NumberOf(Native("a_BSE_12.png").native()), 12U);
    EXPECT_EQ(whole.NumberOf(Native("a_BSEx.png").native()), std::nullopt);
    EXPECT_EQ(NamePattern(L"", 3, L"").NumberOf(Native("017_x").native()), 17U);
}

} // namespace Ardo::Kiln::FileNaming
