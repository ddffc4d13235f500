#include "apps/kiln/ToolOptions.h"

#include "apps/kiln/Failure.h"
#include "Ardo/Kiln/System/ApplicationOptions.h"

#include <QSettings>

namespace Ardo::Kiln::Tool
{

namespace
{

System::ApplicationOptions Declare()
{
    return {"KILN", {{"log", std::string(), "Log folder"}}};
}

} // namespace

std::string LogFolder(const std::string& logFolder)
try
{
    System::ApplicationOptions options = Declare();
    options.ReadSettings(QSettings("Ardo", "kiln"));
    options.ReadEnvironment();
    if (!logFolder.empty())
    {
        options.Set("log", logFolder, System::OptionSource::CommandLine);
    }
    return options.Get<std::string>("log");
}
catch (const System::OptionError& error)
{
    throw UsageError(error.what());
}

std::string OptionsHelp()
{
    return Declare().Help();
}

} // namespace Ardo::Kiln::Tool
