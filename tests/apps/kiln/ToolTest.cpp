#include "Ardo/Kiln/ImageIO/TiffExporter.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace Ardo::Kiln::Tool
{

namespace
{

using Support::ProcessResult;
using Support::Quoted;
using Support::ReadFile;
using Support::ScopedTempDir;
using Support::WriteFile;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

const std::string Kiln = Quoted(KILN_TOOL);
const std::string Cell = Quoted(KILN_TEST_DATA "/images/cell.png");
const std::string Ihc = Quoted(KILN_TEST_DATA "/images/ihc.png");

class ToolTest : public testing::Test
{
protected:
    /// Runs shell text in which "kiln" is the tool.
    ProcessResult Run(const std::string& line) const
    {
        return Support::RunShell("kiln() { " + Kiln + " \"$@\"; }\n" + line, m_folder.Path());
    }

    /// Runs a step that the test builds on.
    std::string Must(const std::string& line) const
    {
        const ProcessResult result = Run(line);
        EXPECT_EQ(result.status, 0) << line << '\n' << result.error;
        EXPECT_EQ(result.error, "") << line;
        return result.output;
    }

    std::size_t Entries() const
    {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(m_folder.Path()), std::filesystem::directory_iterator()));
    }

    ScopedTempDir m_folder;
};

} // namespace

TEST_F(ToolTest, HelpAndVersionAreResultsAndWrongUsageIsStatusTwo)
{
    for (const std::string command : {"", "import", "info", "metadata", "validate", "compare", "format", "parse"})
    {
        EXPECT_THAT(Must("kiln " + command + " --help"), HasSubstr("--version"));
        EXPECT_THAT(Must("kiln " + command + " --version"), StartsWith("kiln 1."));
    }
    const std::vector<std::string> wrong = {"",
                                            "paint",
                                            "info",
                                            "info a.tif b.tif",
                                            "info --colour a.tif",
                                            "metadata a.xml --format yaml",
                                            "import " + Cell + " out.tif --pixel-size tiny",
                                            "import " + Cell + " out.tif --pixel-size 0",
                                            "import " + Cell + " out.tif --pixel-size '107 kV'",
                                            "format 1 m --prefix q",
                                            "format one m",
                                            "format 1 m --decimals many",
                                            "import " + Cell + " out.tif --pixel-size nan"};
    for (const std::string& arguments : wrong)
    {
        const ProcessResult result = Run("kiln " + arguments);
        EXPECT_EQ(result.status, 2) << arguments;
        EXPECT_EQ(result.output, "") << arguments;
        EXPECT_NE(result.error, "") << arguments;
    }
    EXPECT_EQ(Entries(), 0U);
}

TEST_F(ToolTest, CtrlCDuringAnExportLeavesTheOldFileAndNothingElse)
{
    constexpr std::uint32_t Width = 4096;
    constexpr std::uint32_t Height = 8192;
    const std::vector<Imaging::rgb_type<unsigned char>> pixels(std::size_t{Width} * Height);
    ImageIO::TiffExporter().WriteRgbImage((m_folder / "large.tif").wstring(), pixels.data(), Width, Height, 0, nullptr);
    WriteFile(m_folder / "out.tif", "old");
    // Stopped while the file is being written, so that the interrupt meets the export and not its end.
    const ProcessResult result =
        Run("for try in 1 2 3 4 5 6 7 8 9 10; do\n"
            "    env --default-signal=INT " +
            Kiln +
            " import --progress large.tif out.tif & pid=$!\n"
            "    until [ -n \"$(find . -name '*.part' -size +0)\" ] || ! kill -0 $pid; do :; done\n"
            "    kill -STOP $pid\n"
            "    [ -n \"$(find . -name '*.part' -size -90000k)\" ] && break\n"
            "    kill -CONT $pid; wait $pid; printf old >out.tif\n"
            "done\n"
            "kill -INT $pid; kill -CONT $pid; wait $pid");
    EXPECT_EQ(result.status, 130);
    EXPECT_THAT(result.error, StartsWith("\rwriting out.tif: "));
    EXPECT_THAT(result.error, EndsWith(" %\nkiln: interrupted\n"));
    EXPECT_EQ(ReadFile(m_folder / "out.tif"), "old");
    EXPECT_EQ(Entries(), 2U);
    EXPECT_THAT(Run("kiln import --progress large.tif out.tif").error, EndsWith("\rwriting out.tif: 100 %\n"));
}

TEST_F(ToolTest, AMicrographComesBackWithEveryPixelAndEveryField)
{
    Must(Quoted(KILN_EXAMPLE_RECORD) + " 'one cell' 550 660 '107 nm' > record.xml");
    Must("kiln import " + Cell + " 'cell 細胞.tif' --pixel-size '107 nm' --metadata record.xml");
    EXPECT_EQ(Must("kiln compare " + Cell + " 'cell 細胞.tif'"), "equal: 363000 pixels\n");
    EXPECT_THAT(Must("kiln compare --allow-additions record.xml 'cell 細胞.tif'"), StartsWith("equal: "));

    Must("kiln metadata 'cell 細胞.tif' --output cell.xml");
    Must("kiln metadata cell.xml --format json --output cell.json");
    EXPECT_THAT(Must("kiln compare 'cell 細胞.tif' cell.json"), StartsWith("equal: "));
    EXPECT_EQ(Must("kiln metadata cell.json --format xml"), ReadFile(m_folder / "cell.xml"));
    for (const std::string file : {"'cell 細胞.tif'", "cell.xml", "cell.json", "record.xml"})
    {
        EXPECT_THAT(Must("kiln validate " + file), HasSubstr("valid"));
    }

    const std::string info = Must("kiln info 'cell 細胞.tif'");
    for (const std::string text : {"550 x 660", "107 nm", "58.85 µm x 70.62 µm", "200 kV", "Camera-1", "Orbex"})
    {
        EXPECT_THAT(info, HasSubstr(text));
    }
}

TEST_F(ToolTest, QuantitiesAreWrittenAndReadAsAPersonDoes)
{
    const std::vector<std::pair<std::string, std::string>> results = {
        {"format 1234.5 m --decimals 2", "1.23 km"},
        {"format 1234.5 m --decimals 2 --prefix ''", "1234.50 m"},
        {"format -5e-7 m --prefix µ --decimals 1", "-0.5 µm"},
        {"format 1234 m --uncertainty 50", "1.23 km"},
        {"format 0.5e-9 m --uncertainty 2e-10 --reference 2e-6", "0.0005 µm"},
        {"format nan V", "- V"},
        {"parse '12,5 nm' m", "1.25e-08"},
        {"parse ' 5 µmˉ¹' m^-1", "5000000"},
        {"parse 3 V", "3"}};
    for (const auto& [arguments, result] : results)
    {
        EXPECT_EQ(Must("kiln " + arguments), result + "\n") << arguments;
    }
    for (const std::string arguments : {"parse tiny m", "parse 1e999 m", "format 1 m^x"})
    {
        EXPECT_EQ(Run("kiln " + arguments).status, 1) << arguments;
    }
}

TEST_F(ToolTest, StandardStreamsTakeThePlaceOfFiles)
{
    Must("kiln import - - --pixel-size 5e-7 < " + Ihc + " > ihc.tif");
    EXPECT_EQ(Must("kiln compare " + Ihc + " - < ihc.tif"), "equal: 262144 pixels\n");
    EXPECT_THAT(Must("kiln info - < ihc.tif"), HasSubstr("RGB"));
    EXPECT_THAT(Must("kiln metadata - --format json < ihc.tif | kiln validate -"), HasSubstr("valid"));
}

TEST_F(ToolTest, DifferencesAreNamedAndEndWithStatusOne)
{
    Must("kiln import " + Cell + " cell.tif --pixel-size 1e-7");
    std::string bytes = ReadFile(m_folder / "cell.tif");
    bytes[4096 + 550 * 3 + 7] = static_cast<char>(bytes[4096 + 550 * 3 + 7] ^ 1);
    WriteFile(m_folder / "changed.tif", bytes);

    ProcessResult result = Run("kiln compare cell.tif changed.tif");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "different: pixel 7, 3\n");

    result = Run("kiln compare " + Cell + " " + Ihc);
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("550 x 660"));

    Must("kiln metadata cell.tif | sed 's/550/551/' > other.xml");
    result = Run("kiln compare cell.tif other.xml");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("/BinaryResult/ImageSize/X: 550 | 551"));
}

TEST_F(ToolTest, AnImportThatFailsLeavesTheOldFileAndNothingElse)
{
    WriteFile(m_folder / "out.tif", "the old file");
    WriteFile(m_folder / "text.png", "no image at all");
    WriteFile(m_folder / "broken.xml", "<Metadata><Core>");
    WriteFile(m_folder / "other.xml", ReadFile(m_folder / "broken.xml") + "<");
    std::filesystem::create_directory(m_folder / "folder");

    const std::vector<std::pair<std::string, std::string>> lines = {
        // A limit on the size of files stands for a full disk: the first is told, the second is killed by it.
        {"trap '' XFSZ; ulimit -f 100; kiln import " + Cell + " out.tif", "out.tif"},
        {"kiln import text.png out.tif", "text.png"},
        {"kiln import missing.png out.tif", "missing.png"},
        {"kiln import folder out.tif", "folder"},
        {"kiln import " + Cell + " out.tif --metadata broken.xml", "broken.xml"},
        {"kiln import " + Cell + " folder", "folder"},
        {"kiln import " + Cell + " nowhere/out.tif", "nowhere"},
        {"kiln import " + Cell + " - > /dev/full", "standard output"},
        {"kiln metadata broken.xml --output out.tif", "broken.xml"}};
    const std::size_t entries = Entries();
    for (const auto& [line, named] : lines)
    {
        const ProcessResult result = Run(line);
        EXPECT_EQ(result.status, 1) << line;
        EXPECT_EQ(result.output, "") << line;
        EXPECT_THAT(result.error, StartsWith("kiln: ")) << line;
        EXPECT_THAT(result.error, HasSubstr(named)) << line;
        EXPECT_EQ(ReadFile(m_folder / "out.tif"), "the old file") << line;
        EXPECT_EQ(Entries(), entries) << line;
    }

    const ProcessResult killed = Run("ulimit -c 0; ulimit -f 100; exec " + Kiln + " import " + Cell + " out.tif");
    EXPECT_GT(killed.status, 128);
    EXPECT_EQ(ReadFile(m_folder / "out.tif"), "the old file");
}

TEST_F(ToolTest, DamagedFilesStillTellWhatTheyHold)
{
    Must(Quoted(KILN_EXAMPLE_RECORD) + " 'one cell' 550 660 '107 nm' > record.xml");
    Must("kiln import " + Cell + " cell.tif --metadata record.xml --pixel-size 107e-9");
    // The pixels are said to lie behind the end of the file.
    Must(Quoted("/usr/bin/python3") + R"( - <<'EOF'
import struct
data = bytearray(open("cell.tif", "rb").read())
directory, = struct.unpack_from("<I", data, 4)
for entry in range(struct.unpack_from("<H", data, directory)[0]):
    at = directory + 2 + 12 * entry
    if struct.unpack_from("<H", data, at)[0] == 273:
        struct.pack_into("<HII", data, at + 2, 4, 1, 1 << 30)
open("damaged.tif", "wb").write(data)
EOF
)");
    const ProcessResult info = Run("kiln info damaged.tif");
    EXPECT_EQ(info.status, 0) << info.error;
    EXPECT_THAT(info.output, HasSubstr("550 x 660"));
    EXPECT_THAT(info.output, HasSubstr("Orbex 200"));
    EXPECT_THAT(info.error, HasSubstr("damaged"));
    EXPECT_EQ(Must("kiln metadata damaged.tif"), Must("kiln metadata cell.tif"));
    EXPECT_EQ(Run("kiln compare cell.tif damaged.tif").status, 1);

    WriteFile(m_folder / "cut.tif", ReadFile(m_folder / "cell.tif").substr(0, 5000));
    EXPECT_EQ(Run("kiln info cut.tif").status, 1);
}

TEST_F(ToolTest, ValidateNamesEachFaultWithItsPlace)
{
    Must("kiln import " + Cell + " cell.tif");
    Must("kiln metadata cell.tif --output good.xml");
    std::string document = ReadFile(m_folder / "good.xml");
    const auto replace = [&](const std::string& from, const std::string& to)
    {
        const auto at = document.find(from);
        ASSERT_NE(at, std::string::npos) << from;
        document.replace(at, from.size(), to);
    };
    replace("<BitsPerPixel>8<", "<BitsPerPixel>eight<");
    replace("<VacuumMode", "<Colour/><VacuumMode");
    WriteFile(m_folder / "bad.xml", document);

    const ProcessResult bad = Run("kiln validate bad.xml");
    EXPECT_EQ(bad.status, 1);
    EXPECT_THAT(bad.output, HasSubstr("/Metadata/BinaryResult/BitsPerPixel: "));
    EXPECT_THAT(bad.output, HasSubstr("Colour"));
    EXPECT_THAT(bad.output, testing::ContainsRegex("bad.xml:[0-9]+: /Metadata/VacuumProperties"));

    std::string nested;
    for (int i = 0; i < 100000; ++i)
    {
        nested += "<a>";
    }
    const std::vector<std::string> broken = {"<Metadata>",
                                             "<Metadata>\x01</Metadata>",
                                             nested,
                                             "<DetectorName/>",
                                             "{\"Metadata\": ",
                                             "<!DOCTYPE a [<!ENTITY b \"bbbbbbbbbb\">]><Metadata>&b;</Metadata>"};
    for (const std::string& text : broken)
    {
        WriteFile(m_folder / "broken", text);
        const ProcessResult result = Run("kiln validate broken");
        EXPECT_EQ(result.status, 1) << text.substr(0, 60);
        EXPECT_NE(result.output + result.error, "") << text.substr(0, 60);
    }
}

TEST_F(ToolTest, WhatAReaderLeavesOutIsSaidOnStandardError)
{
    Must("kiln import " + Cell + " cell.tif");
    Must("kiln metadata cell.tif | sed 's|<VacuumMode|<Colour>red</Colour><VacuumMode|' > later.xml");
    const ProcessResult result = Run("kiln metadata later.xml");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, Must("kiln metadata cell.tif"));
    EXPECT_THAT(result.error, testing::MatchesRegex("kiln: warning: .*Colour.*\n"));
}

TEST_F(ToolTest, WhatIsDoneIsLoggedWhereAsked)
{
    Must("kiln --log logs import " + Cell + " cell.tif");
    Must("kiln info cell.tif --log logs");
    EXPECT_EQ(Run("kiln --log logs info missing.tif").status, 1);
    const std::string log = ReadFile(m_folder / "logs/Log/kiln.log");
    EXPECT_THAT(log, HasSubstr("kiln.Tool: wrote "));
    EXPECT_THAT(log, HasSubstr("kiln.Tool: info: missing.tif"));
    EXPECT_THAT(ReadFile(m_folder / "logs/Log/kiln_Dbg.log"), HasSubstr("kiln.Tool begin info"));
    EXPECT_EQ(Run("kiln --log /dev/null/nowhere info cell.tif").status, 1);
}

TEST_F(ToolTest, WhatADocumentHoldsCannotCommandTheTerminal)
{
    Must("kiln import " + Cell + " cell.tif");
    Must("kiln metadata cell.tif | sed 's|<Manufacturer.*|<Manufacturer>evil\xC2\x9B"
         "2J</Manufacturer>|' > evil.xml");
    Must("kiln import " + Cell + " evil.tif --metadata evil.xml");
    const std::string info = Must("kiln info evil.tif");
    EXPECT_THAT(info, HasSubstr("evil?2J"));
}

} // namespace Ardo::Kiln::Tool
