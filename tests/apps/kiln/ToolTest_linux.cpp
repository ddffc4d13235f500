#include "Ardo/Kiln/FileSystem/TemporaryFile.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/ImageIO/TiffExporter.h"
#include "tests/apps/kiln/ToolTest.h"
#include "tests/Support/LibraryCopy_posix.h"
#include "tests/Support/TraceCheck.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace Ardo::Kiln::Tool
{

namespace
{

using Support::ProcessResult;
using Support::Quoted;
using Support::ReadFile;
using Support::WriteFile;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// Signals, pipes, limits and names that are bytes.
class ToolLinuxTest : public ToolTest
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
};

} // namespace

TEST_F(ToolLinuxTest, TheLogFolderComesFromTheCommandLineTheEnvironmentOrTheSettings)
{
    Must("kiln import " + Cell + " cell.tif");
    Must("mkdir -p home/Ardo; printf '[Options]\nlog=fromSettings\n' > home/Ardo/kiln.conf");
    const std::string home = "export XDG_CONFIG_HOME=\"$PWD/home\"; ";
    Must(home + "kiln info cell.tif");
    EXPECT_TRUE(std::filesystem::exists(m_folder / "fromSettings/Log/kiln.log"));
    Must(home +
         "export KILN_LOG=fromEnvironment; kiln info cell.tif; rm -r fromSettings; kiln info cell.tif --log last");
    EXPECT_TRUE(std::filesystem::exists(m_folder / "fromEnvironment/Log/kiln.log"));
    EXPECT_TRUE(std::filesystem::exists(m_folder / "last/Log/kiln.log"));
    EXPECT_FALSE(std::filesystem::exists(m_folder / "fromSettings"));
    Must("printf '[Options]\nlog=a, b\n' > home/Ardo/kiln.conf");
    const ProcessResult wrong = Run(home + "kiln info cell.tif");
    EXPECT_EQ(wrong.status, 2);
    EXPECT_THAT(wrong.error, HasSubstr("home/Ardo/kiln.conf: log is no single value"));
}

TEST_F(ToolLinuxTest, TheProfileOfACommandIsATraceAndATable)
{
    const ProcessResult import = Run("kiln --profile trace.json import " + Cell + " cell.tif");
    EXPECT_EQ(import.status, 0);
    EXPECT_EQ(import.output, "");
    EXPECT_THAT(import.error,
                testing::ContainsRegex("stage +count +total.*\nimport +1 .*\n  read image +1 .* [kMG]?B/s\n"));
    const std::string events = Support::CheckedTraceEvents(ReadFile(m_folder / "trace.json"));
    for (const std::string event :
         {"M process_name {\"name\":\"kiln\"}\n", "i main {}\ni command {}\n", "X import {}\n", "X make record {}\n",
          "X measure pixels {}\n", "M thread_name {\"name\":\"Export\"}\n",
          "X write image {\"bytes\":363000,\"items\":0}\nX replace file {}\n", "dropped 0\n"})
    {
        EXPECT_THAT(events, HasSubstr(event));
    }

    // A command that fails has a profile, too; its status and its message stay the same.
    const ProcessResult failed = Run("kiln info missing.tif --profile trace.json");
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.error, HasSubstr("kiln: missing.tif: No such file or directory"));
    EXPECT_THAT(Support::CheckedTraceEvents(ReadFile(m_folder / "trace.json")), HasSubstr("X info {}\n"));

    Run("kiln info cell.tif cell.tif --profile trace.json");
    EXPECT_THAT(Support::CheckedTraceEvents(ReadFile(m_folder / "trace.json")),
                HasSubstr("M thread_name {\"name\":\"Files "));

    // Nothing is done when the trace cannot be written.
    const ProcessResult refused = Run("kiln import " + Cell + " other.tif --profile nowhere/trace.json");
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.error, StartsWith("kiln: nowhere/trace.json: "));
    EXPECT_EQ(Run("kiln --profile '' info cell.tif").status, 2);
    EXPECT_EQ(Entries(), 2);
    EXPECT_THAT(Run("kiln parse '1 nm' m --profile -").output, StartsWith("1e-09\n{\"displayTimeUnit\""));
}

TEST_F(ToolLinuxTest, ShellsAndManReadTheDescriptionOfTheTool)
{
    for (const std::string format : {"man", "bash", "zsh", "fish"})
    {
        Must("kiln describe " + format + " > " + format + ".txt");
    }
    EXPECT_EQ(Must("MANROFFOPT=-ww man --warnings -l man.txt | grep -c '^   metadata$'"), "1\n");

    WriteFile(m_folder / "cell 1.tif", "");
    const std::string bash = R"(
        . ./bash.txt
        complete_line() { COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _kiln; printf '%s|' "${COMPREPLY[@]}"; echo; }
        complete_line kiln val; complete_line kiln metadata --as; complete_line kiln metadata --format ''
        complete_line kiln info cell; complete_line kiln --log x describe f; complete_line kiln parse ce)";
    WriteFile(m_folder / "complete.bash", bash);
    EXPECT_EQ(Must("bash complete.bash"), "validate|\n--as-is|\nxml|json|\ncell 1.tif|\nfish|\n|\n");
    EXPECT_EQ(Must("fish --private -c 'source fish.txt; complete -C \"kiln val\"; complete -C \"kiln metadata --as\"; "
                   "complete -C \"kiln describe f\"' | cut -f1"),
              "validate\n--as-is\nfish\n");
    EXPECT_EQ(
        Must("mv zsh.txt _kiln; zsh -fc 'fpath=($PWD $fpath); autoload -U compinit; compinit -uD; autoload +X _kiln; "
             "echo $_comps[kiln]'"),
        "_kiln\n");
}

TEST_F(ToolLinuxTest, WhateverEndsAnExportTheOldFileStaysAndNothingElse)
{
    constexpr std::uint32_t Width = 4096;
    constexpr std::uint32_t Height = 8192;
    const std::vector<Imaging::rgb_type<unsigned char>> pixels(std::size_t{Width} * Height);
    ImageIO::TiffExporter().WriteRgbImage(FileSystem::ToWide(m_folder / "large.tif"), pixels.data(), Width, Height, 0,
                                          nullptr);
    // Only a file without a name goes with a process that is killed; not every file system has such.
    const bool hasName = !FileSystem::TemporaryFile().Path().native().starts_with("/proc/");
    for (const auto& [signal, number] : {std::pair("INT", 2), {"TERM", 15}, {"HUP", 1}, {"KILL", 9}})
    {
        WriteFile(m_folder / "out.tif", "old");
        // Stopped while the file is being written, so that the signal meets the export and not its end.
        // Asking for its progress takes no other process: that would be too slow on a busy machine.
        const ProcessResult result = Run("ask() {\n"
                                         "    read _ _ state _ </proc/$pid/stat\n"
                                         "    while read key value; do\n"
                                         "        case $key in wchar:) written=$value;; esac\n"
                                         "    done </proc/$pid/io\n"
                                         "}\n"
                                         "for try in 1 2 3 4 5 6 7 8 9 10; do\n"
                                         "    env --default-signal=INT,HUP " +
                                         Kiln +
                                         " import --progress large.tif out.tif & pid=$!\n"
                                         "    until ask; [ $written -gt 1000000 ] || [ $state = Z ]; do :; done\n"
                                         "    kill -STOP $pid\n"
                                         "    ask; [ $written -gt 1000000 ] && [ $written -lt 90000000 ] && break\n"
                                         "    kill -CONT $pid; wait $pid; printf old >out.tif\n"
                                         "done\n"
                                         "kill -" +
                                         signal + " $pid; kill -CONT $pid; wait $pid");
        EXPECT_EQ(result.status, 128 + number) << result.error;
        EXPECT_EQ(ReadFile(m_folder / "out.tif"), "old") << signal;
        EXPECT_EQ(Entries(), 2U) << signal;
        if (number == 2)
        {
            EXPECT_THAT(result.error, StartsWith("\rwriting out.tif: "));
            EXPECT_THAT(result.error, EndsWith(" %\nkiln: interrupted\n"));
        }
        if (hasName)
        {
            break;
        }
    }
    EXPECT_THAT(Run("kiln import --progress large.tif out.tif").error, EndsWith("\rwriting out.tif: 100 %\n"));

    // Who reads the output goes away: a copy in the temporary folder goes with the tool, too.
    if (!hasName)
    {
        std::filesystem::create_directory(m_folder / "copies");
        Run("export TMPDIR=$PWD/copies; exec env --default-signal=PIPE " + Kiln + " import out.tif - | head -c 1");
        EXPECT_TRUE(std::filesystem::is_empty(m_folder / "copies"));
    }
}

TEST_F(ToolLinuxTest, APipeIsReadFromItsBeginningAndAFileOfAnyName)
{
    Must("kiln import " + Cell + " \"$(printf 'b\\344r.tif')\" --pixel-size 1e-7");
    EXPECT_TRUE(std::filesystem::exists(m_folder.Path() / "b\xE4r.tif"));
    EXPECT_THAT(Must("kiln info b*r.tif"), StartsWith("b\uFFFDr.tif\nImage           550 x 660"));
    Must("kiln metadata b*r.tif --output \"$(printf '\\303.xml')\"");
    const std::string record = ReadFile(m_folder.Path() / "\xC3.xml");
    EXPECT_THAT(record, HasSubstr("b\uFFFDr.tif"));

    Must("mkfifo pipe");
    EXPECT_EQ(Must("cat ?.xml >pipe & kiln metadata pipe"), record);
    EXPECT_EQ(Must("cat b*r.tif >pipe & kiln compare " + Cell + " pipe"), "equal: 363000 pixels\n");
    EXPECT_EQ(Must("cat ?.xml | kiln metadata /dev/stdin"), record);

    // What cannot be read is no file without a record. A privileged user has to give up the right to read everything.
    const std::string drop = "[ $(id -u) = 0 ] && drop='setpriv --bounding-set=-all'; chmod 0 record; $drop " + Kiln;
    const std::vector<std::pair<std::string, std::string>> lines = {
        {"echo >record; " + drop + " metadata record", "kiln: record: Permission denied\n"},
        {"kiln metadata /dev/null", "kiln: /dev/null: is neither a file nor a pipe\n"},
        {"kiln metadata ?.xml --output pipe", "kiln: pipe: is not a file that can be replaced\n"},
        {"kiln metadata $(printf 'b\\344')", "kiln: b\uFFFD: No such file or directory\n"}};
    for (const auto& [line, error] : lines)
    {
        const ProcessResult result = Run(line);
        EXPECT_EQ(result.status, 1) << line;
        EXPECT_EQ(result.error, error) << line;
    }
}

TEST_F(ToolLinuxTest, LoadsTheLibrariesForImagesWithTheFirstImageAndThoseForWindowsNever)
{
    EXPECT_THAT(Must("LD_TRACE_LOADED_OBJECTS=1 kiln"),
                AllOf(HasSubstr("libCommon.so"), Not(HasSubstr("Qt5Gui")), Not(HasSubstr("libX11"))));
    EXPECT_THAT(Run("LD_DEBUG=files kiln import " + Cell + " cell.tif").error,
                AllOf(HasSubstr("Qt5Gui"), Not(HasSubstr("Qt5Widgets"))));
    EXPECT_THAT(Run("LD_DEBUG=files kiln import cell.tif again.tif").error, Not(HasSubstr("Qt5Gui")));

    const Support::ScopedTempDir folder;
    const std::string loadsCopy = Support::WithLibraryCopy(folder.Path());
    Must(loadsCopy + "kiln info cell.tif");
    const ProcessResult result = Run(loadsCopy + "kiln import " + Cell + " other.tif");
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error, AllOf(HasSubstr("cell.png"), HasSubstr(folder.Path().native() + "/CommonImages-")));
}

TEST_F(ToolLinuxTest, AFullDiskLeavesTheOldFileAndNothingElse)
{
    WriteFile(m_folder / "out.tif", "the old file");
    // A limit on the size of files stands for a full disk.
    CheckFailures({{"ulimit -f 100; kiln import " + Cell + " out.tif", "out.tif"},
                   {"kiln import " + Cell + " - > /dev/full", "standard output"}},
                  [this](const std::string& line) { return Run(line); });
}

} // namespace Ardo::Kiln::Tool
