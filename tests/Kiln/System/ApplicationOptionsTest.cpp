#include "Ardo/Kiln/System/ApplicationOptions.h"

#include "tests/Support/Environment.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <QSettings>

#include <gmock/gmock.h>

namespace Ardo::Kiln::System
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Throws;
using ::testing::ThrowsMessage;

namespace
{

using Number = std::int64_t;

std::vector<OptionDeclaration> Declarations()
{
    return {{"threads", Number{4}, "Threads of the exporter", 1, 64},
            {"gamma", 1.0, "Display gamma", 0.1, 10},
            {"log-folder", std::string(), "Folder of the log files"},
            {"format", std::string("tif"), "Export format", 0, 0, {"tif", "png"}},
            {"fast", false, "Skip the checks"}};
}

class ApplicationOptionsTest : public testing::Test
{
protected:
    ~ApplicationOptionsTest() override
    {
        for (const char* const name : {"TEST_THREADS", "TEST_LOG_FOLDER", "TEST_FAST"})
        {
            Support::SetEnvironmentValue(name, {});
        }
    }

    void ReadSettings(const std::string& lines)
    {
        // QSettings takes a file that was changed within a millisecond for the one that it has read.
        const std::string name = std::to_string(++m_files) + "a.ini";
        Support::WriteFile(m_folder / name, "[Options]\n" + lines);
        m_options.ReadSettings(QSettings(QString::fromStdString((m_folder / name).string()), QSettings::IniFormat));
    }

    Support::ScopedTempDir m_folder;
    int m_files = 0;
    ApplicationOptions m_options{"TEST", Declarations()};
};

} // namespace

TEST_F(ApplicationOptionsTest, TheCommandLineComesBeforeTheEnvironmentAndThatBeforeTheSettings)
{
    EXPECT_EQ(m_options.Get<Number>("threads"), 4);
    EXPECT_EQ(m_options.SourceOf("threads"), OptionSource::Default);
    const auto rest = m_options.ReadCommandLine({"a.tif", "--threads", "8", "--fast", "-", "--", "--format"});
    EXPECT_THAT(rest, ElementsAre("a.tif", "-", "--format"));
    Support::SetEnvironmentValue("TEST_THREADS", "16");
    Support::SetEnvironmentValue("TEST_LOG_FOLDER", "/l\xC3\xB6g");
    Support::SetEnvironmentValue("TEST_FAST", ""); // not set
    m_options.ReadEnvironment();
    ReadSettings("threads=32\nlog-folder=/settings\ngamma=2.2\nunknown=1\n");
    EXPECT_EQ(m_options.Get<Number>("threads"), 8);
    EXPECT_EQ(m_options.SourceOf("threads"), OptionSource::CommandLine);
    EXPECT_EQ(m_options.Get<std::string>("log-folder"), "/l\xC3\xB6g");
    EXPECT_EQ(m_options.SourceOf("log-folder"), OptionSource::Environment);
    EXPECT_EQ(m_options.Get<double>("gamma"), 2.2);
    EXPECT_EQ(m_options.SourceOf("gamma"), OptionSource::Settings);
    EXPECT_TRUE(m_options.Get<bool>("fast"));
    m_options.Set("fast", "off", OptionSource::Environment);
    EXPECT_TRUE(m_options.Get<bool>("fast"));
    m_options.ReadCommandLine({"--no-fast", "--log-folder=", "--format=png"});
    EXPECT_FALSE(m_options.Get<bool>("fast"));
    EXPECT_EQ(m_options.Get<std::string>("log-folder"), "");
    EXPECT_EQ(m_options.Get<std::string>("format"), "png");
}

TEST_F(ApplicationOptionsTest, AWrongValueIsAnErrorThatNamesItsSourceAndChangesNothing)
{
    const std::pair<std::vector<std::string>, const char*> lines[] = {
        {{"--gamma=2", "--threads=65"}, "the command line: threads: \"65\" is not a whole number of 1 to 64"},
        {{"--threads", "0"}, "threads: \"0\""},
        {{"--threads=4.0"}, "threads: \"4.0\""},
        {{"--threads="}, "threads: \"\""},
        {{"--threads=99999999999999999999"}, "threads: \"99999999999999999999\""},
        {{"--gamma=nan"}, "gamma: \"nan\" is not a number of 0.1 to 10"},
        {{"--gamma=2,2"}, "gamma: \"2,2\""},
        {{"--format=gif"}, "format: \"gif\" is not one of tif, png"},
        {{"--fast=maybe"}, "fast: \"maybe\" is not a switch: on or off"},
        {{"--threads"}, "\"--threads\" needs a value"},
        {{"--threads=1", "--threads=2"}, "--threads is given twice"},
        {{"--fast", "--no-fast"}, "--fast is given twice"},
        {{"--no-threads"}, "\"--no-threads\" is no option"},
        {{"--no-fast=1"}, "\"--no-fast=1\" takes no value"},
        {{"--\x1B[2J" + std::string(10'000, 'x')}, "\"--?[2Jxxx"},
        {{"--log-folder=" + std::string(4097, 'x')}, "is not a text of at most 4096 bytes"},
        {{"--"}, nullptr},
    };
    for (const auto& [line, text] : lines)
    {
        if (text == nullptr)
        {
            EXPECT_THAT(m_options.ReadCommandLine(line), testing::IsEmpty());
            continue;
        }
        EXPECT_THAT([&] { m_options.ReadCommandLine(line); }, ThrowsMessage<OptionError>(HasSubstr(text)));
        EXPECT_EQ(m_options.Get<double>("gamma"), 1.0);
    }
    Support::SetEnvironmentValue("TEST_THREADS", "many");
    EXPECT_THAT([&] { m_options.ReadEnvironment(); },
                ThrowsMessage<OptionError>(HasSubstr("the environment variable TEST_THREADS: threads: \"many\"")));
    EXPECT_THAT([&] { ReadSettings("threads=many\n"); }, ThrowsMessage<OptionError>(HasSubstr("a.ini: threads: ")));
    EXPECT_THAT([&] { ReadSettings("threads=1, 2\n"); }, ThrowsMessage<OptionError>(HasSubstr("is no single value")));
    EXPECT_THAT([&] { ReadSettings("no settings\n"); }, ThrowsMessage<OptionError>(HasSubstr("is damaged")));
    EXPECT_THROW(m_options.Set("unknown", "1", OptionSource::Settings), OptionError);
    EXPECT_THROW(m_options.Get<bool>("threads"), std::invalid_argument);
    EXPECT_THROW(m_options.Get<bool>("unknown"), std::invalid_argument);
    EXPECT_EQ(m_options.Get<Number>("threads"), 4);
}

TEST_F(ApplicationOptionsTest, HelpSaysWhatIsAllowed)
{
    EXPECT_EQ(m_options.Help(), "  --threads NUMBER   Threads of the exporter (1 to 64; default 4; TEST_THREADS)\n"
                                "  --gamma NUMBER     Display gamma (0.1 to 10; default 1; TEST_GAMMA)\n"
                                "  --log-folder TEXT  Folder of the log files (default none; TEST_LOG_FOLDER)\n"
                                "  --format TEXT      Export format (tif, png; default tif; TEST_FORMAT)\n"
                                "  --fast             Skip the checks (default off; TEST_FAST)\n");
}

TEST_F(ApplicationOptionsTest, ADeclarationThatContradictsItselfIsRefused)
{
    const OptionDeclaration wrong[] = {
        {"", false, ""},
        {"Upper", false, ""},
        {"no-fast", false, ""},
        {"a b", false, ""},
        {"-a", false, ""},
        {"n", Number{0}, "", 1, 2},
        {"n", 0.5, "", 1, 2},
        {"c", std::string("x"), "", 0, 0, {"y"}},
        {"c", true, "", 0, 0, {"y"}},
    };
    for (const OptionDeclaration& declaration : wrong)
    {
        EXPECT_THROW(ApplicationOptions("TEST", {declaration}), std::invalid_argument) << declaration.name;
    }
    EXPECT_THROW(ApplicationOptions("TEST", {{"a", true, ""}, {"a", false, ""}}), std::invalid_argument);
}

} // namespace Ardo::Kiln::System
