// Records the stages of a conversion that runs on two threads, prints what was counted and writes a trace.

#include "Ardo/Kiln/Profiling/Recording.h"
#include "Ardo/Kiln/Profiling/Report.h"
#include "Ardo/Kiln/Profiling/Stage.h"
#include "Ardo/Kiln/Profiling/Startup.h"
#include "Ardo/Kiln/Profiling/Trace.h"
#include "Ardo/Kiln/Threading/BackgroundWorker.h"

#include <cstdint>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

namespace
{

using namespace Ardo::Kiln;
using Image = std::vector<std::uint16_t>;

Image Read()
{
    Profiling::Stage stage("read");
    Image image(1024 * 1024, 1000);
    stage.AddBytes(image.size() * sizeof image[0]);
    return image;
}

void Write(const Image& image)
{
    Profiling::Stage stage("write");
    {
        const Profiling::Stage checking("check");
        if (image.empty())
        {
            return;
        }
    }
    stage.AddBytes(image.size() * sizeof image[0]);
    stage.AddItems(1); // strips
}

} // namespace

int main()
{
    Profiling::MarkStartup("main");
    Profiling::StartRecording();
    Threading::BackgroundWorker writer("Writer");
    for (int number = 0; number < 3; ++number)
    {
        const Profiling::Stage stage("image");
        writer.Post([image = Read()] { Write(image); });
    }
    writer.Wait();
    Profiling::StopRecording();

    const Profiling::Report report = Profiling::MakeReport(); // ToText(report) makes the table below of it
    for (const char* const name : {"image", "read", "write", "check"})
    {
        for (const Profiling::StageFigures& stage : report.stages)
        {
            if (stage.name == name)
            {
                std::cout << std::string(2 * stage.depth, ' ') << name << ": " << stage.count << " times, "
                          << stage.bytes << " bytes\n";
            }
        }
    }
    const auto trace = std::filesystem::temp_directory_path() / "convert-images-trace.json";
    Profiling::WriteTraceFile(trace);
    std::filesystem::remove(trace);
}
