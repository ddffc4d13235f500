#include "tests/Kiln/FileNaming/ReservationTest.h"

namespace Ardo::Kiln::FileNaming
{

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

TEST_F(ReservationTest, TheNextNumberFollowsTheLargestOfAnyNameOfTheExperiment)
{
    EXPECT_EQ(Reserve().Stem(), L"Experiment_0001");
    EXPECT_EQ(Reserve().Number(), 1U) << "a reservation without a file is given back";
    Touch("Experiment_0007_BSE.png");
    Touch("EXPERIMENT_0011.TIF");
    Touch("Experiment_20261122.tif");
    Touch("Experiments_0099.tif");
    fs::create_directory(m_folder / "Experiment_0012");
    EXPECT_EQ(Reserve().Path(L"tif"), m_folder / "Experiment_0013.tif");
    m_settings.experimentNumber = 500;
    m_settings.useLabels = true;
    m_settings.labels = {L"SE"};
    EXPECT_EQ(Reserve().Stem(), L"Experiment_0500_SE");
    m_settings.useDateFolders = true;
    EXPECT_EQ(Reserve().Path(L""), m_folder / "undated" / "Experiment_0500_SE");
    m_settings.useDateFolders = false;
    Touch("Experiment_999999_BSE.png");
    EXPECT_THAT([&] { Reserve(); }, ThrowsMessage<FileNamingException>(HasSubstr("no number up to 999999 is free")));
    m_settings.experimentName = L"Other";
    m_settings.experimentNumber = 0;
    EXPECT_EQ(Reserve().Number(), 0U);
    Touch("Other_0000.tif");
    EXPECT_EQ(Reserve().Number(), 1U);
}

TEST_F(ReservationTest, WithoutNumbersTheNameIsCounted)
{
    m_settings.useExperimentNumber = false;
    const FileNameReservation first = Reserve();
    const FileNameReservation second = Reserve();
    EXPECT_EQ(first.Stem(), L"Experiment");
    EXPECT_EQ(second.Stem(), L"Experiment_2");
    Make(second);
    EXPECT_EQ(Reserve().Stem(), L"Experiment_3");
}

TEST_F(ReservationTest, ReservationsOfOneProcessExcludeEachOther)
{
    const FileNameReservation first = Reserve();
    {
        const FileNameReservation second = Reserve();
        EXPECT_EQ(second.Number(), 2U);
        m_settings.experimentName = L"EXPERIMENT"; // the same name on Windows
        EXPECT_EQ(Reserve().Number(), 3U);
        m_settings.experimentName = L"Another";
        EXPECT_EQ(Reserve().Number(), 1U);
        m_settings.experimentName = L"Experiment";
    }
    EXPECT_EQ(Reserve().Number(), 2U);
}

TEST_F(ReservationTest, WithAnExportFolderTheNumberIsFreeInBoth)
{
    m_settings.autoExportFolder = m_folder / "export";
    fs::create_directory(m_settings.autoExportFolder);
    Touch("export/Experiment_0004.png");
    EXPECT_EQ(Reserve().Number(), 1U) << "not in use";
    m_settings.useAutoExportFolder = true;
    const FileNameReservation both = Reserve();
    EXPECT_EQ(both.Number(), 5U);
    EXPECT_EQ(both.ExportPath(L"png"), m_folder / "export" / "Experiment_0005.png");
    EXPECT_EQ(both.Path(L"tif"), m_folder / "Experiment_0005.tif");
    // An experiment in another folder exports to the same one.
    m_settings.folder = m_folder / "elsewhere";
    const FileNameReservation other = Reserve();
    EXPECT_EQ(other.Number(), 6U);
    m_settings.autoExportFolder = m_settings.folder;
    EXPECT_EQ(Reserve().Number(), 1U) << "one folder, locked once";
}

TEST_F(ReservationTest, SaysWhyNoNameCanBeReserved)
{
    m_settings.folder.clear();
    EXPECT_THAT([&] { Reserve(); }, ThrowsMessage<FileNamingException>(HasSubstr("no folder is chosen")));
    Touch("file");
    m_settings.folder = m_folder / "file" / "sub";
    EXPECT_THAT([&] { Reserve(); }, ThrowsMessage<FileNamingException>(HasSubstr("sub cannot be made: ")));
    m_settings.folder = m_folder / "locked";
    fs::create_directories(m_settings.folder / ".reserved-names");
    EXPECT_THAT([&] { Reserve(); }, ThrowsMessage<FileNamingException>(HasSubstr("locked: the lock file cannot be")));
}

} // namespace Ardo::Kiln::FileNaming
