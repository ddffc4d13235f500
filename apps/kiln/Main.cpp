#include "apps/kiln/CommandLine.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Profile.h"
#include "apps/kiln/Streams.h"
#include "apps/kiln/ToolLog.h"
#include "apps/kiln/ToolOptions.h"
#include "apps/Program/ProgramArguments.h"

#include "Ardo/Kiln/Exception/Handler.h"
#include "Ardo/Kiln/Profiling/Stage.h"
#include "Ardo/Kiln/Profiling/Startup.h"

#include <algorithm>
#include <csignal>
#include <exception>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

namespace
{

constexpr int Done = 0;
constexpr int Failed = 1;
constexpr int WrongUsage = 2;
constexpr int WasInterrupted = 130; // the status that shells give for a program ended by Ctrl-C

/// Runs a command with its log and its profile.
template <typename Action>
void Do(const Ardo::Kiln::Tool::CommonOptions& options, const CLI::App& command, Action action)
{
    using namespace Ardo::Kiln;
    using namespace Ardo::Kiln::Tool;

    const ToolLog log(LogFolder(options.logFolder));
    Profile profile(options.profile);
    LogDebug("begin " + command.get_name());
    try
    {
        const Profiling::Stage stage(Profiling::InternName(command.get_name()));
        action();
    }
    catch (const std::exception& error)
    {
        LogError(command.get_name() + ": " + error.what());
        try
        {
            profile.Write(); // shows how far the command came
        }
        catch (const std::exception& second)
        {
            std::cerr << "kiln: " << Printable(second.what()) << '\n'; // the exit status is that of the first
        }
        throw;
    }
    profile.Write();
    LogDebug("end " + command.get_name());
}

/// \param arguments the command line without the name of the program.
int Run(std::vector<std::string> arguments)
{
    using namespace Ardo::Kiln::Tool;

    int status = Done;
    CommonOptions options;
    CLI::App app;
    AddCommands(app, options,
                [&](const CLI::App& command, const Action& action)
                { Do(options, command, [&] { status = action() ? Done : Failed; }); });
    try
    {
        std::ranges::reverse(arguments); // as CLI11 takes them
        app.parse(std::move(arguments));
        std::cout.flush();
    }
    catch (const CLI::ParseError& error)
    {
        const std::string unknown = error.get_name() == "RequiredError" ? UnknownCommand(app) : std::string();
        if (!unknown.empty())
        {
            std::cerr << "kiln: " << Printable(unknown) << "\nRun with --help for more information.\n";
            return WrongUsage;
        }
        return app.exit(error) == Done ? Done : WrongUsage;
    }
    catch (const UsageError& error)
    {
        std::cerr << "kiln: " << error.what() << "\nRun with --help for more information.\n";
        return WrongUsage;
    }
    catch (const Interrupted& interrupted)
    {
        std::cerr << "kiln: " << interrupted.what() << '\n';
        return WasInterrupted;
    }
    return status;
}

} // namespace

int main(int argc, char** argv)
{
#ifdef SIGXFSZ
    std::signal(SIGXFSZ, SIG_IGN); // a write beyond the limit on file sizes fails instead
#endif
    Ardo::Kiln::Profiling::MarkStartup("main");
    Ardo::Kiln::Exception::Handler::SetMonitorAllThread(false); // a fault on a worker ends the tool as any other does
    try
    {
        using namespace Ardo::Kiln::Program;
        UseBinaryStreams();
        std::vector<std::string> arguments = ProgramArguments(argc, argv);
        arguments.erase(arguments.begin(), arguments.begin() + (arguments.empty() ? 0 : 1));
        return Run(std::move(arguments));
    }
    catch (const std::exception& error)
    {
        std::cerr << "kiln: " << Ardo::Kiln::Tool::Printable(error.what()) << '\n';
    }
    catch (...)
    {
        std::cerr << "kiln: unknown failure\n";
    }
    return Failed;
}
