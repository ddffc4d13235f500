// What scripts need: many files, facts as JSON, changed records, completions.

#include "tests/apps/kiln/ToolTest.h"
#include "tests/Support/Pattern.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gmock/gmock.h>

namespace Ardo::Kiln::Tool
{

namespace
{

using Support::ProcessResult;
using Support::ReadFile;
using Support::WriteFile;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class ScriptTest : public ToolTest
{
protected:
    /// The folder "images" with two images, the second one in a folder below, and one damaged image.
    void MakeImages() const
    {
        namespace fs = std::filesystem;
        fs::create_directories(m_folder / "images" / "sub");
        fs::copy_file(KILN_TEST_DATA "/images/cell.png", m_folder / "images" / "a.png");
        fs::copy_file(KILN_TEST_DATA "/images/ihc.png", m_folder / "images" / "sub" / "b.PNG");
        WriteFile(m_folder / "images" / "c.jpg", "no image");
        WriteFile(m_folder / "images" / "notes.txt", "no image either");
    }

    /// Runs a line. The paths that it prints have slashes, whatever the separator of the system is.
    ProcessResult RunSlashed(const std::string& line) const
    {
        ProcessResult result = Run(line);
        const std::string separator(1, static_cast<char>(std::filesystem::path::preferred_separator));
        result.output = Support::Replaced(result.output, separator, "/");
        result.error = Support::Replaced(result.error, separator, "/");
        return result;
    }

    /// The JSON that a line prints.
    QJsonDocument Facts(const std::string& line, int status = 0) const
    {
        const ProcessResult result = Run(line);
        EXPECT_EQ(result.status, status) << line << result.error;
        QJsonParseError error{};
        const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(result.output), &error);
        EXPECT_EQ(error.error, QJsonParseError::NoError) << line << '\n' << result.output;
        return document;
    }
};

} // namespace

TEST_F(ScriptTest, ManyFilesAreWorkedOnAndABadOneDoesNotStopTheOthers)
{
    MakeImages();
    const ProcessResult import = RunSlashed("kiln import images tifs --recursive --pixel-size '5 nm' --progress");
    EXPECT_EQ(import.status, 1);
    EXPECT_THAT(import.error,
                AllOf(HasSubstr("images/c.jpg: no image of a known format\n"), HasSubstr("3 of 3 files, 1 failed"),
                      EndsWith("kiln: 3 files, 1 failed\n    images/c.jpg\n")));
    EXPECT_THAT(Must("kiln info tifs/a.tif"), HasSubstr("5 nm x 5 nm"));
    EXPECT_EQ(RunSlashed("kiln validate tifs --recursive").output, "tifs/a.tif: valid\ntifs/sub/b.tif: valid\n");

    // The order is that of the arguments, whatever finishes first.
    WriteFile(m_folder / "bad.tif", "no TIFF");
    const ProcessResult info = RunSlashed("kiln info tifs/sub/b.tif bad.tif tifs/a.tif missing.tif images");
    EXPECT_EQ(info.status, 1);
    EXPECT_THAT(info.output, Support::ContainsPattern("^tifs/sub/b.tif\n.*\ntifs/a.tif\n"));
    EXPECT_THAT(info.error, EndsWith("kiln: 5 files, 3 failed\n    bad.tif\n    missing.tif\n    images\n"));
    EXPECT_THAT(info.error, HasSubstr("images: has no TIFF files itself; with --recursive"));

    // A warning of the reader names the file that it is about.
    WriteFile(m_folder / "later.xml", Support::Replaced(Must("kiln metadata tifs/a.tif"), "<Sample", "<New/><Sample"));
    EXPECT_THAT(Run("kiln metadata tifs/a.tif later.xml").error, HasSubstr("kiln: warning: later.xml: "));

    Must("kiln metadata tifs --recursive --output docs --format json");
    EXPECT_EQ(Must("kiln compare docs/sub/b.json tifs/sub/b.tif"), Must("kiln compare tifs/sub/b.tif docs/sub/b.json"));
    EXPECT_EQ(Must("kiln metadata tifs/a.tif --as-is"), Must("kiln metadata tifs/a.tif"));

    // Two images with one name: the second one must not replace the first.
    const ProcessResult twice = RunSlashed("kiln import images/a.png images/sub/b.PNG tifs/a.tif twice");
    EXPECT_EQ(twice.status, 1);
    EXPECT_THAT(twice.error, HasSubstr("tifs/a.tif: twice/a.tif is that of images/a.png\n"));
    // What would be lost is not written to.
    for (const std::string command : {"import tifs/a.tif tifs/a.tif", "metadata tifs/a.tif --output tifs/a.tif",
                                      "histogram tifs/a.tif tifs/a.tif", "import images/a.png images/sub/b.PNG"})
    {
        EXPECT_EQ(Run("kiln " + command).status, 2) << command;
    }
    EXPECT_EQ(Run("kiln import images -").status, 2);
    EXPECT_EQ(Run("kiln import images/a.png").status, 2);
}

TEST_F(ScriptTest, ImportsAreNamedBySettings)
{
    MakeImages();
    WriteFile(m_folder / "naming.ini", "[File]\nPath\\UseDateFolders=false\nPath\\UseAutoExportFolder=true\n"
                                       "Path\\AutoExportFolder=copies\nPath\\ExperimentName=Cells\n");
    EXPECT_EQ(RunSlashed("kiln import images/a.png images/sub/b.PNG --name data --settings naming.ini").output,
              "data/Cells_0001.tif\ndata/Cells_0002.tif\n");
    EXPECT_EQ(RunSlashed("kiln import images/a.png --name data --settings naming.ini").output, "data/Cells_0003.tif\n");
    EXPECT_TRUE(ReadFile(m_folder / "copies" / "Cells_0003.tif") == ReadFile(m_folder / "data" / "Cells_0003.tif"));
    EXPECT_THAT(Must("kiln metadata data/Cells_0003.tif"), HasSubstr("<FileName>Cells_0003.tif</FileName>"));
    EXPECT_EQ(Run("kiln import images/a.png --settings naming.ini").status, 1); // no folder is chosen
}

TEST_F(ScriptTest, FactsAreJson)
{
    WriteExampleRecord();
    Must("kiln import " + Cell + " cell.tif --metadata record.xml --pixel-size '107 nm'");
    const QJsonArray infos = Facts("kiln info cell.tif record.xml --json", 1).array();
    ASSERT_EQ(infos.size(), 2);
    EXPECT_EQ(infos[0]["file"].toString(), "cell.tif");
    EXPECT_EQ(infos[0]["image"]["width"].toInt(), 550);
    EXPECT_EQ(infos[0]["image"]["sampleFormat"].toString(), "unsigned");
    EXPECT_TRUE(infos[0]["faults"].toArray().isEmpty());
    EXPECT_THAT(infos[1]["error"].toString().toStdString(), StartsWith("record.xml: "));
    const QJsonValue record = Facts("kiln metadata cell.tif --json").array().at(0)["record"];
    EXPECT_EQ(record, infos[0]["record"]);
    EXPECT_EQ(record["BinaryResult"]["PixelSize"]["X"]["unit"].toString(), "m");
    // Lists are arrays, also if nothing or one thing is in them.
    for (const char* const list : {"Detectors", "GasInjectionSystems"})
    {
        EXPECT_TRUE(record[list].isArray() || record[list].isUndefined()) << list;
    }
    EXPECT_TRUE(record["Optics"]["Apertures"].isArray());

    WriteFile(m_folder / "bad.xml",
              Support::Replaced(ReadFile(m_folder / "record.xml"), "<AccelerationVoltage>", "<AccelerationVoltage>x"));
    const QJsonArray checks = Facts("kiln validate cell.tif bad.xml --json", 1).array();
    EXPECT_TRUE(checks[0]["valid"].toBool());
    EXPECT_EQ(checks[1]["valid"].toBool(true), false);
    EXPECT_FALSE(checks[1]["faults"].toArray().isEmpty());

    EXPECT_EQ(Facts("kiln compare cell.tif cell.tif --json")["equal"].toBool(), true);
    EXPECT_EQ(Facts("kiln compare cell.tif " + Ihc + " --json", 1)["differences"].toArray().size(), 1);
    EXPECT_EQ(Facts("kiln parse '12.5 nm' m --json")["value"].toDouble(), 12.5e-9);
    EXPECT_EQ(Facts("kiln format 1.07e-7 m --json")["text"].toString(), "107 nm");
    EXPECT_EQ(Facts("kiln name data --json")["files"].toArray().size(), 1);
    EXPECT_GE(Facts("kiln system --json")["processors"].toInt(), 1);
    const QJsonDocument histogram = Facts("kiln histogram cell.tif --parts=4 --json");
    EXPECT_EQ(histogram["counts"].toArray().size(), 4);
    EXPECT_EQ(histogram["pixels"].toInt(), 550 * 660);
    EXPECT_EQ(histogram["width"].toInt(), 64);
}

TEST_F(ScriptTest, SetWritesAChangedCopy)
{
    WriteExampleRecord();
    Must("kiln import " + Cell + " cell.tif --metadata record.xml --pixel-size '107 nm'");
    Must("kiln set cell.tif --output changed.tif Optics/AccelerationVoltage=300e3 "
         "/Metadata/BinaryResult/PixelSize='21.4 nm' "
         "Core.Comment='a=b ä' CustomProperties.Stage.Temp='4 K' Optics/BeamCurrent=");
    const ProcessResult compared = Run("kiln compare cell.tif changed.tif");
    EXPECT_THAT(compared.output, AllOf(HasSubstr("/Optics/AccelerationVoltage: 200000 | 300000\n"),
                                       HasSubstr("/BinaryResult/PixelSize/X/value: 1.0700000000000001e-07 | 2.14"),
                                       HasSubstr("/BinaryResult/PixelSize/Y/value: "), HasSubstr("| a=b ä\n"),
                                       HasSubstr("Stage.Temp"), HasSubstr("/Optics/BeamCurrent: ")));
    EXPECT_EQ(compared.status, 1);
    Must("kiln set cell.tif --output nameless.tif Core/ApplicationSoftware= Core/ApplicationComputerName=");
    EXPECT_THAT(Must("kiln info nameless.tif"), HasSubstr("\nSoftware        -\n"));
    WriteFile(m_folder / "list.txt", std::string("\xFF\xFE#\0\r\0\n\0", 8)); // UTF-16: a comment
    EXPECT_EQ(Run("kiln set record.xml --output changed.xml --changes list.txt").status, 2);
    WriteFile(m_folder / "list.txt", "# wrong in the log\r\nOptics/AccelerationVoltage=300e3\r\n\r\n");
    Must("kiln set record.xml --output changed.xml --changes list.txt");
    EXPECT_THAT(Must("kiln metadata changed.xml"), HasSubstr("<AccelerationVoltage>300000</AccelerationVoltage>"));
    EXPECT_THAT(Must("kiln validate changed.xml changed.tif"), EndsWith("changed.tif: valid\n"));

    Must("kiln set cell.tif --output copy.tif Core/Comment=b");
    EXPECT_TRUE(Must("kiln set cell.tif --output - Core/Comment=b") == ReadFile(m_folder / "copy.tif"));

    // White is 0: a copy would have other samples.
    const std::string blackIsZero("\x06\x01\x03\0\x01\0\0\0\x01", 9);
    const std::string whiteIsZero("\x06\x01\x03\0\x01\0\0\0\0", 9);
    WriteFile(m_folder / "white.tif", Support::Replaced(ReadFile(m_folder / "cell.tif"), blackIsZero, whiteIsZero));
    WriteFile(m_folder / "out.tif", "the old file");
    CheckFailures({{"kiln set white.tif --output out.tif Core/Comment=x", "a copy would not keep"},
                   {"kiln set cell.tif --output out.tif Optics/NoSuchField=1", "Optics/NoSuchField: "},
                   {"kiln set cell.tif --output out.tif ScanSettings/DwellTime=long", "ScanSettings/DwellTime: "},
                   {"kiln set cell.tif --output out.tif Optics/OperatingMode=XEM", "'XEM' is no value of it"},
                   {"kiln set cell.tif --output out.tif BinaryResult/PixelSize='5 kV'", "BinaryResult/PixelSize: "},
                   {"kiln set cell.tif --output out.tif Optics=1", "has fields of its own"},
                   {"kiln set cell.tif --output out.tif Core/NotThere=", "has no such field"},
                   {"kiln set " + Cell + " --output out.tif Core/Comment=x", "holds no record"}});
    for (const std::string change : {"Comment", "=1", "A[0]=1", "A[x]=1", "A//B=1"})
    {
        EXPECT_EQ(Run("kiln set cell.tif --output out.tif " + change).status, 2) << change;
    }
}

} // namespace Ardo::Kiln::Tool
