#include "Ardo/Kiln/FileNaming/FileNamingSettings.h"

#include "Ardo/Kiln/FileNaming/FileNamingException.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <QSettings>

#include <gmock/gmock.h>

#include <functional>
#include <regex>

namespace Ardo::Kiln::FileNaming
{

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

namespace
{

class FileNamingSettingsTest : public testing::Test
{
protected:
    std::string Path() const { return (m_folder / "app.ini").string(); }
    QString Name() const { return QString::fromStdString(Path()); }

    FileNamingSettings Load(const std::string& lines)
    {
        // QSettings takes a file that was changed within a millisecond for the one that it has read.
        const auto path = m_folder / (std::to_string(++m_files) + ".ini");
        Support::WriteFile(path, "[File]\n" + lines);
        return LoadFileNamingSettings(QSettings(QString::fromStdString(path.string()), QSettings::IniFormat));
    }

    Support::ScopedTempDir m_folder;
    int m_files = 0;
};

// No member has its default.
FileNamingSettings AllChanged()
{
    FileNamingSettings values;
    values.folder = "/data/Proben";
    values.experimentName = L"Probe; \"7\", \u7D30\u80DE = 100% \\ \u202E";
    values.useExperimentName = false;
    values.experimentNumber = FileNamingSettings::MaxNumber;
    values.useExperimentNumber = false;
    values.experimentNumberPrefix = L" Nr.";
    values.useExperimentNumberPrefix = true;
    values.experimentNumberDigits = 9;
    values.useExperimentNumberDigits = false;
    values.labels = {L"{Detector}", L"a, b", L""};
    values.useLabels = true;
    values.useDateFolders = false;
    values.autoExportFolder = "/data/export";
    values.useAutoExportFolder = true;
    return values;
}

} // namespace

TEST_F(FileNamingSettingsTest, WhatIsSavedIsLoadedAndNothingElseIsTouched)
{
    Support::WriteFile(Path(), "[File]\nOther=1\nPath\\Unknown=2, 3\n\n[Window]\ngeometry=@ByteArray(\\x1\\x2)\n");
    std::optional<FileNamingSettings> loaded;
    for (const FileNamingSettings& values : {AllChanged(), FileNamingSettings()})
    {
        QSettings settings(Name(), QSettings::IniFormat);
        SaveFileNamingSettings(settings, values);
        EXPECT_EQ(LoadFileNamingSettings(QSettings(Name(), QSettings::IniFormat)), values);
    }
    std::string text = Support::ReadFile(Path());
    std::erase(text, '\r');
    for (const char* const line : {"Other=1\n", "Path\\Unknown=2, 3\n", "[Window]\ngeometry=@ByteArray(\\x1\\x2)\n",
                                   "Path\\ExperimentNumberPrefix=Exp\n", "Path\\UseExperimentNumberPrefix=false\n"})
    {
        EXPECT_THAT(text, HasSubstr(line));
    }
    FileNamingSettings one;
    one.labels = {L"only, one"};
    QSettings settings(Name(), QSettings::IniFormat);
    SaveFileNamingSettings(settings, one);
    EXPECT_EQ(LoadFileNamingSettings(QSettings(Name(), QSettings::IniFormat)), one);
}

TEST_F(FileNamingSettingsTest, ADamagedValueIsTheDefaultAndTheOthersStay)
{
    const FileNamingSettings defaults;
    const std::string kept = "Path\\ExperimentNumberPrefix=Kept\n";
    FileNamingSettings expected;
    expected.experimentNumberPrefix = L"Kept";
    for (const std::string line :
         {"ExperimentNumber=-1", "ExperimentNumber=1000000000", "ExperimentNumber=4.5", "ExperimentNumber=four",
          "ExperimentNumber=99999999999999999999", "ExperimentNumber=@Invalid()",
          "ExperimentNumber=", "ExperimentNumber=@Variant(\\0\\0\\0\\x7f)", "ExperimentNumber=1, 2",
          "ExperimentNumberDigits=0", "ExperimentNumberDigits=10", "UseExperimentNumber=maybe", "UseExperimentNumber=2",
          "UseDateFolders=", "ExperimentName=a, b", "ExperimentName=@ByteArray(abc)", "Labels=@Size(1 2)",
          "Labels=1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17"})
    {
        EXPECT_EQ(Load("Path\\" + line + "\n" + kept), expected) << line;
    }
    EXPECT_EQ(Load("Path\\ExperimentName=" + std::string(201, 'a') + "\n" + kept), expected);
    EXPECT_EQ(Load("Path\\Labels=" + std::string(201, 'a') + "\n" + kept), expected);
    EXPECT_EQ(Load("no settings \0\xFF"), defaults);

    expected.useExperimentName = false;
    expected.useLabels = true;
    EXPECT_EQ(Load("Path\\UseExperimentName=0\nPath\\UseLabels=1\n" + kept), expected);
}

TEST_F(FileNamingSettingsTest, ThePageNamesTheKeysAndTheirDefaults)
{
    QSettings settings(Name(), QSettings::IniFormat);
    SaveFileNamingSettings(settings, {});
    const std::string page = Support::ReadFile(KILN_SOURCE_DIR "/docs/file-naming.md");
    const std::regex row(R"re(\| `(File/Path/\w+)` \| (.*?) \|)re");
    int count = 0;
    for (std::sregex_iterator i(page.begin(), page.end(), row), end; i != end; ++i, ++count)
    {
        const std::string value = settings.value(QString::fromStdString((*i)[1])).toString().toStdString();
        EXPECT_TRUE(settings.contains(QString::fromStdString((*i)[1]))) << (*i)[1];
        EXPECT_EQ((*i)[2], value.empty() ? "(empty)" : "`" + value + "`") << (*i)[1];
    }
    EXPECT_EQ(count, settings.allKeys().size());
}

TEST_F(FileNamingSettingsTest, SavesEverythingOrSaysWhyNot)
{
    QSettings settings(Name(), QSettings::IniFormat);
    SaveFileNamingSettings(settings, AllChanged());
    const std::pair<const char*, std::function<void(FileNamingSettings&)>> wrong[] = {
        {"ExperimentNumber is out", [](auto& values) { ++(values.experimentNumber = values.MaxNumber); }},
        {"ExperimentNumberDigits is out", [](auto& values) { values.experimentNumberDigits = 0; }},
        {"ExperimentName is out", [](auto& values) { values.experimentName.assign(201, L'a'); }},
        {"Labels is out", [](auto& values) { values.labels.resize(17); }},
        {"AutoExportFolder is out", [](auto& values) { values.autoExportFolder = std::string(201, 'a'); }},
    };
    for (const auto& [text, change] : wrong)
    {
        FileNamingSettings values;
        change(values);
        EXPECT_THAT([&] { SaveFileNamingSettings(settings, values); },
                    ThrowsMessage<FileNamingException>(HasSubstr(text)));
        EXPECT_EQ(LoadFileNamingSettings(settings), AllChanged());
    }

    std::filesystem::create_directory(m_folder / "folder.ini");
    QSettings folder(QString::fromStdString((m_folder / "folder.ini").string()), QSettings::IniFormat);
    EXPECT_THAT([&] { SaveFileNamingSettings(folder, {}); },
                ThrowsMessage<FileNamingException>(HasSubstr("folder.ini")));

    Support::WriteFile(Path(), "[File]\nPath\\ExperimentName=kept\nthis line is damaged\n");
    QSettings damaged(Name(), QSettings::IniFormat);
    EXPECT_EQ(LoadFileNamingSettings(damaged).experimentName, L"kept");
    EXPECT_THAT([&] { SaveFileNamingSettings(damaged, {}); },
                ThrowsMessage<FileNamingException>(HasSubstr("is damaged")));
    EXPECT_THAT(Support::ReadFile(Path()), HasSubstr("kept\nthis line"));
}

} // namespace Ardo::Kiln::FileNaming
