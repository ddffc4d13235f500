// Small things that an application adds of its own.

#include <Ardo/Kiln/Conversion/String.h>
#include <Ardo/Kiln/Formatting/SI.h>
#include <Ardo/Kiln/Logger/CreateLogger.h>
#include <Ardo/Kiln/Logger/Logging.h>
#include <Ardo/Kiln/Logger/SeveritySets.h>
#include <Ardo/Kiln/MetadataSerializer/Record.h>
#include <Ardo/MetadataLib/Metadata.h>
#include <boost/log/sources/record_ostream.hpp>
#include <filesystem>
#include <iostream>

int main()
{
    using namespace Ardo::Kiln;

    // A log file for one component. Its originator is the name of the program, a dot and the name of the logger.
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "recipes";
    std::filesystem::remove_all(folder);
    {
        Logger::Logging logging(folder, L"Recipes");
        logging.Initialize();
        logging.AddSinks({{L"Stage", 1'000'000, {"recipes.Stage"}, Logger::InfoAndAbove}});
        auto logger = Logger::CreateLogger("Stage");
        BOOST_LOG_SEV(logger, Logger::info) << "moved";
    }
    const bool isWritten = std::filesystem::file_size(folder / "Log" / "Stage.log") > 0;
    std::cout << "Stage.log is " << (isWritten ? "written" : "empty") << '\n';

    // A unit that the library does not have.
    std::cout << Conversion::String::ToUtf8(Formatting::SI(0.0025, L"Gy", 1)) << '\n';

    // A value of one's own in the record: it is in the XML, the JSON and the TIFF.
    Ardo::MetadataLib::Metadata metadata;
    metadata.CustomProperties["Operator.Name"] = "Ada";
    const std::string json =
        MetadataSerializer::Record(metadata).SerializeToString(MetadataSerializer::SerializeType::Json);
    std::cout << "the record names " << (json.find("Ada") == std::string::npos ? "nobody" : "Ada") << '\n';
}
