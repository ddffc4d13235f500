#include "tests/apps/kiln/ToolTest.h"
#include "Ardo/Kiln/FileSystem/TemporaryFile.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/ImageIO/TiffExporter.h"
#include "tests/Support/Pattern.h"

#include <gmock/gmock.h>

#include <limits>
#include <locale>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace Ardo::Kiln::Tool
{

namespace
{

using Support::ProcessResult;
using Support::ReadFile;
using Support::Replaced;
using Support::WriteFile;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

std::string Repeated(const std::string& text, std::size_t count)
{
    std::string result;
    for (std::size_t i = 0; i < count; ++i)
    {
        result += text;
    }
    return result;
}

/// A number of \p size bytes in a file, least significant first.
std::size_t Word(const std::string& bytes, std::size_t offset, std::size_t size)
{
    std::size_t value = 0;
    for (std::size_t index = size; index-- > 0;)
    {
        value = value << 8U | static_cast<unsigned char>(bytes.at(offset + index));
    }
    return value;
}

void SetWord(std::string& bytes, std::size_t offset, std::size_t value, std::size_t size)
{
    for (std::size_t index = 0; index < size; ++index)
    {
        bytes.at(offset + index) = static_cast<char>(value >> (8 * index));
    }
}

/// A TIFF file with one black pixel and \p text in the tag of the record.
std::string TiffWithRecord(const std::string& text)
{
    std::string file("II*\0\x08\0\0\0", 8);
    const auto put = [&file](std::uint32_t value, int bytes)
    {
        for (; bytes > 0; --bytes, value >>= 8U)
        {
            file += static_cast<char>(value & 0xFFU);
        }
    };
    constexpr std::uint32_t Entries = 9;
    constexpr std::uint32_t End = 8 + 2 + Entries * 12 + 4;
    const auto size = static_cast<std::uint32_t>(text.size() + 1);
    const std::uint32_t fields[Entries][4] = {{256, 3, 1, 1}, {257, 3, 1, 1}, {258, 3, 1, 8},
                                              {259, 3, 1, 1}, {262, 3, 1, 1}, {273, 4, 1, End},
                                              {278, 3, 1, 1}, {279, 4, 1, 1}, {34683, 2, size, End + 4}};
    put(Entries, 2);
    for (const auto& field : fields)
    {
        put(field[0], 2);
        put(field[1], 2);
        put(field[2], 4);
        put(field[3], 4);
    }
    put(0, 4);
    put(0, 4); // the pixel, at an even offset
    return file + text + '\0';
}

} // namespace

TEST_F(ToolTest, HelpAndVersionAreResultsAndWrongUsageIsStatusTwo)
{
    for (const std::string command : {"", "import", "export", "histogram", "info", "metadata", "validate", "compare",
                                      "name", "system", "format", "parse", "set", "describe", "report"})
    {
        EXPECT_THAT(Must("kiln " + command + " --help"), HasSubstr("--version"));
        EXPECT_THAT(Must("kiln " + command + " --version"), StartsWith("kiln 1."));
    }
    const std::vector<std::string> wrong = {"",
                                            "paint",
                                            "info",
                                            "set a.xml --output b.xml",
                                            "info --colour a.tif",
                                            "metadata a.xml --format yaml",
                                            "import " + Cell + " out.tif --pixel-size tiny",
                                            "import " + Cell + " out.tif --pixel-size 0",
                                            "import " + Cell + " out.tif --pixel-size ''",
                                            "import " + Cell + " out.tif --metadata ''",
                                            "format 1 m --uncertainty ''",
                                            "info ''",
                                            "import " + Cell + " out.tif --pixel-size '107 kV'",
                                            "format 1 m --prefix q",
                                            "format one m",
                                            "format 1 m --decimals many",
                                            "import " + Cell + " out.tif --pixel-size nan",
                                            "export " + Cell + " out.gif",
                                            "export " + Cell + " out.png --type gif",
                                            "export " + Cell + " out.png --size 0x5",
                                            "export " + Cell + " out.png --range 5",
                                            "export " + Cell + " out.png --range 1%..200%",
                                            "export " + Cell + " out.png --range 1..nan",
                                            "export " + Cell + " out.png --gamma 0",
                                            "export " + Cell + " out.png --colours rainbow",
                                            "export " + Cell + " out.png --data-bar 'beam current,colour'",
                                            "histogram " + Cell + " out.csv --separator ."};
    for (const std::string& arguments : wrong)
    {
        const ProcessResult result = Run("kiln " + arguments);
        EXPECT_EQ(result.status, 2) << arguments;
        EXPECT_EQ(result.output, "") << arguments;
        EXPECT_NE(result.error, "") << arguments;
    }
    EXPECT_THAT(Run("kiln inof a.tif").error, HasSubstr("there is no command inof; similar: info\n"));
    EXPECT_THAT(Run("kiln --log . exp").error, HasSubstr("there is no command exp; similar: export\n"));
    EXPECT_EQ(Run("kiln").error, "A subcommand is required\nRun with --help for more information.\n");
    EXPECT_EQ(Entries(), 0U);
}

TEST_F(ToolTest, AMicrographComesBackWithEveryPixelAndEveryField)
{
    WriteExampleRecord();
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
        {"parse 3 V", "3"},
        {"format 4.52e21 'dose per nm²'", "4.52 ke/nm²"},
        {"format nan Defocus", "-"},
        {"parse '15 Å' 'pixel size'", "1.5e-09"}};
    for (const auto& [arguments, result] : results)
    {
        EXPECT_EQ(Must("kiln " + arguments), result + "\n") << arguments;
    }
    for (const std::string arguments : {"parse tiny m", "parse 1e999 m", "parse 5 defocus", "format 1 m^x"})
    {
        EXPECT_EQ(Run("kiln " + arguments).status, 1) << arguments;
    }
}

TEST_F(ToolTest, StandardStreamsTakeThePlaceOfFiles)
{
    Must("kiln import - - --pixel-size 5e-7 < " + Ihc + " > ihc.tif");
    EXPECT_EQ(Must("kiln compare " + Ihc + " - < ihc.tif"), "equal: 262144 pixels\n");
    EXPECT_THAT(Must("kiln info - < ihc.tif"), HasSubstr("RGB"));
    Must("kiln metadata - --format json < ihc.tif > ihc.json");
    EXPECT_THAT(Must("kiln validate - < ihc.json"), HasSubstr("valid"));
}

TEST_F(ToolTest, NamesArePreviewedAndReservedBetweenProcesses)
{
    WriteFile(m_folder / "naming.ini", "[File]\nPath\\UseDateFolders=false\nPath\\UseLabels=true\n"
                                       "Path\\Labels={Magnification}, a:b\nPath\\ExperimentNumber=7\n");
    const std::string first = (std::filesystem::path("data") / "Experiment_0007_a_b").make_preferred().string();
    EXPECT_EQ(Must("kiln name data --settings naming.ini --extension png"), first + ".png\n");
    EXPECT_FALSE(std::filesystem::exists(m_folder / "data"));
    const Support::Program reserving{
        {KILN_TOOL, "name", "data", "--settings", "naming.ini", "--reserve", "--count", "25"}, m_folder.Path()};
    std::set<std::string> printed;
    for (const ProcessResult& result : Support::RunSideBySide({4, reserving}))
    {
        EXPECT_EQ(result.status, 0) << result.error;
        std::istringstream lines(result.output);
        for (std::string line; std::getline(lines, line);)
        {
            printed.insert(line);
        }
    }
    EXPECT_EQ(printed.size(), 100U);
    std::set<std::string> made;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder / "data"))
    {
        made.insert(entry.path().filename().string());
    }
    made.erase(".reserved-names");
    EXPECT_EQ(made.size(), 100U);
    EXPECT_EQ(*made.begin() + *made.rbegin(), "Experiment_0007_a_b.tifExperiment_0106_a_b.tif");

    Must("kiln import " + Cell + " cell.tif");
    EXPECT_THAT(Must("kiln name --settings naming.ini --record cell.tif data"), HasSubstr("Experiment_0007_a_b.tif"));
    EXPECT_EQ(Run("kiln name data --extension a/b").status, 2);
    for (const std::string arguments :
         {"name --reserve", "name data --settings missing.ini", "name data --record naming.ini",
          "name cell.tif --reserve", "system cell.tif", "system missing.dll"})
    {
        const ProcessResult result = Run("kiln " + arguments);
        EXPECT_EQ(result.status, 1) << arguments;
        EXPECT_THAT(result.error, StartsWith("kiln: ")) << arguments;
    }
    EXPECT_THAT(Must("kiln system"),
                Support::ContainsPattern("^Library  +1.*\nSystem .*\nProcessor .* logical\nMemory"));
}

TEST_F(ToolTest, AnImportKeepsTheRecordOfItsImage)
{
    WriteExampleRecord();
    Must("kiln import " + Cell + " cell.tif --metadata record.xml");
    Must("kiln import cell.tif again.tif");
    EXPECT_EQ(Must("kiln metadata again.tif"), Must("kiln metadata cell.tif"));
    EXPECT_THAT(Must("kiln compare cell.tif again.tif"), HasSubstr("363000 pixels, "));
    Must("kiln import cell.tif again.tif --pixel-size '5 nm'");
    const std::string differences = Run("kiln compare cell.tif again.tif").output;
    EXPECT_THAT(differences, HasSubstr("/BinaryResult/PixelSize/X/value: (missing) | 5.0"));
    EXPECT_THAT(differences, testing::Not(Support::ContainsPattern("different: .(Core|Acq|BinaryResult/[^P])")));
    const std::string record = Replaced(Must("kiln metadata cell.tif"), "one cell", "other cell");
    WriteFile(m_folder / "other.xml", Replaced(record, "<BitsPerPixel>8", "<BitsPerPixel>7"));
    Must("kiln import cell.tif again.tif --metadata other.xml");
    EXPECT_THAT(Must("kiln info again.tif"), HasSubstr("other cell"));
    EXPECT_THAT(Must("kiln metadata again.tif"), HasSubstr("<BitsPerPixel>7<")) << "the image has 8";

    WriteFile(m_folder / "broken.tif", Replaced(ReadFile(m_folder / "cell.tif"), "Core>", "Cory>"));
    const ProcessResult broken = Run("kiln import broken.tif again.tif");
    EXPECT_EQ(broken.status, 1);
    EXPECT_THAT(broken.error, HasSubstr("broken.tif: its record: "));
    Must("kiln import broken.tif again.tif --metadata record.xml");

    std::string cut = ReadFile(m_folder / "cell.tif");
    cut.resize(cut.size() - 1000);
    WriteFile(m_folder / "cut.tif", cut);
    for (const std::string command : {"compare cell.tif cut.tif", "metadata cut.tif", "import cut.tif again.tif"})
    {
        const ProcessResult result = Run("kiln " + command);
        EXPECT_EQ(result.status, 1) << command;
        EXPECT_THAT(result.error, HasSubstr("cut.tif: ")) << command;
        EXPECT_THAT(result.error, HasSubstr("beyond the end of the file")) << command;
    }
}

TEST_F(ToolTest, GreyValuesAreMeasuredAsLongAsTheyAreNumbers)
{
    constexpr float NotANumber = std::numeric_limits<float>::quiet_NaN();
    constexpr float Infinite = std::numeric_limits<float>::infinity();
    const std::vector<float> floats = {1, 2, 3, NotANumber, Infinite, 6, -Infinite, NotANumber};
    const std::vector<float> none(4, NotANumber);
    std::vector<std::uint16_t> high(20 * 30, 65535);
    high.back() = 65515;
    ImageIO::TiffExporter exporter;
    const auto measure = [&](auto write, const auto& pixels, std::uint32_t width)
    {
        const auto height = static_cast<std::uint32_t>(pixels.size()) / width;
        (exporter.*write)((m_folder / "in.tif").wstring(), pixels.data(), width, height, nullptr);
        Must("kiln import in.tif out.tif");
        const std::string info = Must("kiln info out.tif");
        const std::size_t grey = info.find("\nGrey");
        return grey == std::string::npos ? "" : info.substr(grey + 1, info.find('\n', grey + 1) - grey);
    };
    EXPECT_THAT(measure(&ImageIO::TiffExporter::WriteFloatImage, floats, 2),
                EndsWith(" 1 to 6, mean 3, standard deviation 1.871\n"));
    EXPECT_EQ(measure(&ImageIO::TiffExporter::WriteFloatImage, none, 2), "");
    EXPECT_THAT(measure(&ImageIO::TiffExporter::WriteUInt16Image, high, 20),
                Support::ContainsPattern("65.*, standard deviation 0.816"));
}

TEST_F(ToolTest, OfSeveralPagesOneIsTakenAndTheirNumberIsSaid)
{
    Must("kiln import " + Cell + " one.tif");
    std::string bytes = ReadFile(m_folder / "one.tif");
    const std::size_t directory = Word(bytes, 4, 4);
    const std::size_t entries = Word(bytes, directory, 2);
    std::string second = bytes.substr(directory, 2 + 12 * entries + 4);
    for (std::size_t at = 2; at < 2 + 12 * entries; at += 12)
    {
        if (Word(second, at, 2) == 257 || Word(second, at, 2) == 278) // the second page has ten rows
        {
            SetWord(second, at + 2, 4, 2);
            SetWord(second, at + 4, 1, 4);
            SetWord(second, at + 8, 10, 4);
        }
    }
    bytes.resize(bytes.size() + bytes.size() % 2);
    SetWord(bytes, directory + 2 + 12 * entries, bytes.size(), 4);
    WriteFile(m_folder / "two.tif", bytes + second);
    EXPECT_THAT(Must("kiln info two.tif"), HasSubstr("the first of 2 pages"));
    const ProcessResult first = Run("kiln import two.tif out.tif");
    EXPECT_EQ(first.status, 0);
    EXPECT_EQ(first.error, "kiln: two.tif: the first of 2 pages is taken; --page takes another\n");
    WriteFile(m_folder / "ten.xml", Replaced(Must("kiln metadata one.tif"), ">660<", ">10<"));
    Must("kiln import two.tif out.tif --page 2 --metadata ten.xml");
    EXPECT_THAT(Must("kiln info out.tif"), HasSubstr("550 x 10 px"));
    EXPECT_EQ(Run("kiln import two.tif out.tif --page 3").error, "kiln: two.tif: has no page 3, only 2\n");
    EXPECT_EQ(Run("kiln import two.tif out.tif --page 0").status, 2);
}

TEST_F(ToolTest, DifferencesAreNamedAndEndWithStatusOne)
{
    Must("kiln import " + Cell + " cell.tif --pixel-size 1e-7");
    std::string bytes = ReadFile(m_folder / "cell.tif");
    for (const std::size_t pixel : {550U * 3 + 7, 550U * 5 + 549})
    {
        bytes[4096 + pixel] = static_cast<char>(bytes[4096 + pixel] ^ 1);
    }
    WriteFile(m_folder / "changed.tif", bytes);

    ProcessResult result = Run("kiln compare cell.tif changed.tif");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "different: pixel 7, 3\ndifferent: pixel 549, 5\n");

    result = Run("kiln compare " + Cell + " " + Ihc);
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("550 x 660"));

    WriteFile(m_folder / "other.xml", Replaced(Must("kiln metadata cell.tif"), ">550<", ">551<"));
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
        {"kiln import text.png out.tif", "text.png"},
        {"kiln import missing.png out.tif", "missing.png"},
        {"kiln import folder out.tif", "folder"},
        {"kiln import " + Cell + " out.tif --metadata broken.xml", "broken.xml"},
        {"kiln import " + Cell + " nowhere/out.tif", "nowhere"},
        {"kiln metadata broken.xml --output out.tif", "broken.xml"}};
    CheckFailures(lines);
}

TEST_F(ToolTest, DamagedFilesStillTellWhatTheyHold)
{
    WriteExampleRecord();
    Must("kiln import " + Cell + " cell.tif --metadata record.xml --pixel-size 107e-9");
    // The pixels are said to lie behind the end of the file.
    std::string bytes = ReadFile(m_folder / "cell.tif");
    const std::size_t directory = Word(bytes, 4, 4);
    for (std::size_t entry = 0; entry < Word(bytes, directory, 2); ++entry)
    {
        const std::size_t at = directory + 2 + 12 * entry;
        if (Word(bytes, at, 2) == 273)
        {
            SetWord(bytes, at + 2, 4, 2);
            SetWord(bytes, at + 4, 1, 4);
            SetWord(bytes, at + 8, 1U << 30U, 4);
        }
    }
    WriteFile(m_folder / "damaged.tif", bytes);
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
    EXPECT_THAT(bad.output, Support::ContainsPattern("bad.xml:[0-9]+: /Metadata/VacuumProperties"));

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

TEST_F(ToolTest, ARecordThatCannotBeReadIsNamedWithLineAndElementAndNothingIsInvented)
{
    Must("kiln import " + Cell + " cell.tif");
    const std::string good = Must("kiln metadata cell.tif");
    const auto with = [&good](const std::string& from, const std::string& to)
    {
        std::string text = good;
        return text.replace(text.find(from), from.size(), to);
    };
    const std::string group = "<CustomPropertyGroup><CustomProperties><CustomProperty name='n' value='x' type='int32'/>"
                              "</CustomProperties></CustomPropertyGroup>";
    const struct
    {
        std::string text;
        std::string fault; ///< In what is said of it.
    } rows[] = {
        {with("</Metadata>", group + "</Metadata>"), "/Metadata/CustomPropertyGroup/CustomProperties/CustomProperty: "},
        {with("<X>0<", "<X>left<"), "/Metadata/StageSettings/StagePosition/X: "},
        {good, ""},
        {with("</Core>", "</Kore>"), "mismatched end tag"},
        {"<Metadata><Core/></Metadata>", "Guid"},
        {"no record", "expected <"},
        {with("<Core>", "<!--" + std::string(20'971'520, 'x') + "--><Core>"), "readers take 20971520"},
    };
    const std::vector<std::string> commands = {"info r.tif", "metadata r.tif", "validate r.tif", "compare r.tif r.tif",
                                               "import " + Cell + " out.tif --metadata r.tif"};
    for (const auto& [text, fault] : rows)
    {
        WriteFile(m_folder / "r.tif", TiffWithRecord(text));
        const ProcessResult info = Run("kiln info r.tif");
        EXPECT_EQ(info.status, 0) << fault;
        EXPECT_THAT(info.output, HasSubstr("1 x 1 px"));
        const bool isRead = fault.empty();
        EXPECT_EQ(info.output.find("cannot be read") == std::string::npos, isRead) << fault;
        EXPECT_EQ(info.output.find("Stage ") != std::string::npos, isRead) << info.output;
        for (const std::string& command : commands)
        {
            const ProcessResult result = Run("kiln " + command);
            const std::string said = result.output + result.error;
            EXPECT_TRUE(isRead || (said.find(fault) != std::string::npos && said.find("r.tif:") != std::string::npos))
                << command << '\n'
                << said;
            EXPECT_THAT(said, Not(HasSubstr("unspecified")));
            EXPECT_TRUE(command == "info r.tif" || (result.status == 0) == isRead || command.starts_with("import"))
                << command << '\n'
                << said;
        }
    }
    EXPECT_THAT(Run("kiln info r.tif").error, testing::StartsWith("kiln: r.tif: "));
}

TEST_F(ToolTest, ARecordIsValidWhenItIsReadWithoutLossInEitherSyntax)
{
    WriteExampleRecord();
    Must("kiln metadata record.xml --format json --output record.json");
    const std::string json = ReadFile(m_folder / "record.json");
    const auto without = [](std::string text, const std::string& begin, const std::string& end)
    {
        const auto at = text.find(begin);
        return text.erase(at, text.find(end, at) - at);
    };
    const auto with = [](std::string text, const std::string& from, const std::string& to)
    { return text.replace(text.find(from), from.size(), to); };
    const std::string xml = ReadFile(m_folder / "record.xml");
    std::string attributes;
    for (int i = 0; i < 200'000; ++i)
    {
        attributes += " a" + std::to_string(i) + "=''";
    }
    const struct
    {
        std::string text;
        std::string fault; ///< Empty: valid.
    } rows[] = {
        {without(xml, "<Instrument>", "<Acquisition>"), ""},
        {without(json, "\"Instrument\"", "\"Acquisition\""), ""},
        {with(xml, "\"utf-8\"", "\"UTF-16\""), ""},
        {with(xml, "\"utf-8\"", "\"latin-1\""), ""}, // the text is UTF-8 all the same
        {with(xml, "<Core>", "<Core><Colour/>"), ":3: /Metadata/Core/Colour: "},
        {with(json, "\"Core\": {", "\"Core\": {\n\"Colour\": \"\","), ":8: /Metadata/Core: the element \"Colour\""},
        {with(json, "200000", "1e999"), "/Metadata/Optics/AccelerationVoltage: the value \"1e999\" is no number"},
        {with(json, "\"DetectorType\": \"", "\"DetectorType\": \"no name "), "is no XML name"},
        {with(xml, "<Core>", "<Core a='\xE9'>"), "not UTF-8"},
        // Much of it costs no more time than there is of it.
        {with(xml, "<Core>", "<Core" + attributes + ">"), "more than 100 attributes"},
        {with(xml, "</Metadata>", Repeated("<x/>", 200'000) + "</Metadata>"), "more is left out"},
        {"<Metadata a='\x1B[31m'/>", "a character that XML excludes"},
        {with(xml, "<Core>", "<Core\xC2\x9B>"), "invalid name"},
    };
    for (const auto& [text, fault] : rows)
    {
        WriteFile(m_folder / "r", text);
        const ProcessResult result = Run("kiln validate r");
        EXPECT_EQ(result.status, fault.empty() ? 0 : 1) << result.output;
        EXPECT_THAT(result.output, HasSubstr(fault.empty() ? "r: valid" : fault));
        EXPECT_EQ(result.error, "");
        for (const char c : result.output)
        {
            EXPECT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= 0x20) << result.output;
        }
    }
}

TEST_F(ToolTest, WhatAReaderLeavesOutIsSaidOnStandardError)
{
    Must("kiln import " + Cell + " cell.tif");
    WriteFile(m_folder / "later.xml",
              Replaced(Must("kiln metadata cell.tif"), "<VacuumMode", "<Colour>red</Colour><VacuumMode"));
    const ProcessResult result = Run("kiln metadata later.xml");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, Must("kiln metadata cell.tif"));
    EXPECT_THAT(result.error, Support::MatchesPattern("kiln: warning: .*Colour.*\n"));
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
    EXPECT_EQ(Run("kiln --log cell.tif/nowhere info cell.tif").status, 1);
}

TEST_F(ToolTest, WhatADocumentHoldsCannotCommandTheTerminal)
{
    Must("kiln import " + Cell + " cell.tif");
    std::string document = Must("kiln metadata cell.tif");
    const std::size_t at = document.find("<Manufacturer");
    document.replace(at, document.find('\n', at) - at, "<Manufacturer>evil\xC2\x9B\x32J</Manufacturer>");
    WriteFile(m_folder / "evil.xml", document);
    Must("kiln import " + Cell + " evil.tif --metadata evil.xml");
    const std::string info = Must("kiln info evil.tif");
    EXPECT_THAT(info, HasSubstr("evil?2J"));
}

TEST_F(ToolTest, PicturesAreScaledColouredAndLabelled)
{
    Must("kiln import " + Cell + " cell.tif --pixel-size '107 nm'");
    Must("kiln export cell.tif plain.png");
    EXPECT_THAT(Must("kiln compare plain.png " + Cell), HasSubstr("equal"));
    Must("kiln export cell.tif half.tif --type data --size 50%");
    const std::string info = Must("kiln info half.tif");
    EXPECT_THAT(info, HasSubstr("275 x 330 px"));
    EXPECT_THAT(info, HasSubstr("214 nm x 214 nm"));
    WriteFile(m_folder / "own.txt", "255 0 0\n0 0 255\n");
    for (const std::string colours : {"viridis", "own.txt"})
    {
        Must("kiln export cell.tif - --type png --size 200 --range 10..99 --gamma 1.5 --colours " + colours +
             " --scale-bar --data-bar usual > shown.png");
        Must("kiln import shown.png shown.tif");
        EXPECT_THAT(Must("kiln info shown.tif"), Support::ContainsPattern("167 x [23][0-9][0-9] px, RGB"));
    }
    Must("kiln histogram half.tif counts.csv --parts=2 --separator ';'");
    std::istringstream counts(ReadFile(m_folder / "counts.csv"));
    std::string header;
    double values[4]{};
    char separator = ' ';
    std::getline(counts, header);
    EXPECT_EQ(header, "Value;Pixels\r");
    counts.imbue(std::locale::classic());
    counts >> values[0] >> separator >> values[1] >> values[2] >> separator >> values[3];
    EXPECT_TRUE(counts);
    EXPECT_GT(values[2], values[0]);
    EXPECT_EQ(values[1] + values[3], 275.0 * 330.0);

    const std::size_t entries = Entries();
    const std::pair<const char*, const char*> failures[] = {
        {"half.tif none/out.png", "out.png: "},
        {"plain.png out.png --data-bar usual", "plain.png: has no record for a data bar"},
        {"plain.png out.png --scale-bar", "a scale bar needs the pixel size of the image"},
        {"plain.png out.png --colours half.tif", "half.tif: colour table: longer than 65,536 bytes"},
        {"plain.png out.png --size 10000%", "more than 65500 pixels"}};
    for (const auto& [arguments, text] : failures)
    {
        const ProcessResult result = Run(std::string("kiln export ") + arguments);
        EXPECT_EQ(result.status, 1) << arguments;
        EXPECT_THAT(result.error, HasSubstr(text)) << arguments;
    }
    EXPECT_EQ(Entries(), entries);
}

} // namespace Ardo::Kiln::Tool
