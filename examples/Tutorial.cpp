// Acquires an image on a worker, exports it with its record, logs, and survives a fault of its own.

#include <Ardo/Kiln/Exception/Handler.h>
#include <Ardo/Kiln/Formatting/MicroscopeQuantities.h>
#include <Ardo/Kiln/ImageIO/TiffExporter.h>
#include <Ardo/Kiln/ImageIO/TiffReader.h>
#include <Ardo/Kiln/Logger/CreateLogger.h>
#include <Ardo/Kiln/Logger/Logging.h>
#include <Ardo/Kiln/Logger/SeveritySets.h>
#include <Ardo/Kiln/Threading/BackgroundWorker.h>
#include <Ardo/MetadataLib/Metadata.h>
#include <boost/log/sources/record_ostream.hpp>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <vector>

using namespace Ardo;
using namespace Ardo::Kiln;

namespace
{

constexpr std::uint32_t Size = 256;      // pixels
constexpr double PixelSize = 1.07e-7;    // metres
constexpr double WorkingDistance = 4e-3; // metres

/// In place of a detector: a bright disc on a dark ground.
std::vector<std::uint16_t> Expose()
{
    std::vector<std::uint16_t> pixels;
    for (int y = -128; y < 128; ++y)
    {
        for (int x = -128; x < 128; ++x)
        {
            pixels.push_back(x * x + y * y < 100 * 100 ? 40'000 : 2'000);
        }
    }
    return pixels;
}

MetadataLib::Metadata Describe()
{
    MetadataLib::Metadata metadata;
    metadata.Core.ApplicationSoftware = "Tutorial";
    const auto now = std::chrono::system_clock::now();
    metadata.Acquisition.AcquisitionDatetime = std::chrono::floor<std::chrono::milliseconds>(now);
    metadata.BinaryResult.PixelSize = MetadataLib::PixelSizeRecord{{PixelSize, "m"}, {PixelSize, "m"}};
    metadata.Optics.WorkingDistance = WorkingDistance;
    return metadata;
}

} // namespace

int main()
{
    // Faults leave a report and a minidump. First of all, so that the rest of main is covered.
    Exception::Handler::SetFlags(Exception::Handler::CreateDumpFolder | Exception::Handler::CatchUncaught |
                                 Exception::Handler::RememberThrows);
    Exception::Handler::Initialize();

    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "tutorial";
    Logger::Logging logging(folder, L"Tutorial");
    logging.Initialize();
    logging.AddSinks({{L"Tutorial", 10'000'000, {}, Logger::InfoAndAbove}});
    auto logger = Logger::CreateLogger("Acquisition");

    // The detector has a thread of its own. Call waits for the result; exceptions come to the caller.
    std::vector<std::uint16_t> pixels;
    Threading::BackgroundWorker detector("Detector");
    detector.Call([&] { pixels = Expose(); });

    const MetadataLib::Metadata metadata = Describe();
    const std::wstring file = (folder / "frame.tif").wstring();
    ImageIO::TiffExporter().WriteUInt16Image(file, pixels.data(), Size, Size, &metadata);
    BOOST_LOG_SEV(logger, Logger::info) << "exported frame.tif";

    ImageIO::TiffReader reader;
    reader.Open(file);
    const auto& read = reader.GetMetadata();
    std::wcout << L"read " << reader.GetImageWidth() << L" x " << reader.GetImageHeight() << L", working distance "
               << Formatting::FormatWorkingDistance(read.Optics.WorkingDistance) << L'\n';

    // A fault stops the worker, and not the application.
    detector.Post(
        []
        {
            volatile int* volatile nowhere = nullptr;
            *nowhere = 1;
        });
    try
    {
        detector.Call([] {});
    }
    catch (const Threading::BackgroundWorkerException& error)
    {
        std::wcout << L"detector: " << error.what() << L'\n';
    }
    BOOST_LOG_SEV(logger, Logger::info) << "the application goes on";
}
