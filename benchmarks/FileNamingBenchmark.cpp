#include "Ardo/Kiln/FileNaming/FileNameGenerator.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <benchmark/benchmark.h>

#include <QDir>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>

namespace Ardo::Kiln
{

namespace
{

namespace fs = std::filesystem;

constexpr int Files = 100'000;

/// A folder with many images of one experiment. There is one, because it takes long to make; removed at the end.
class LargeFolder
{
public:
    static const LargeFolder& Get()
    {
        static const LargeFolder folder;
        return folder;
    }

    LargeFolder(const LargeFolder&) = delete;
    LargeFolder& operator=(const LargeFolder&) = delete;

    const fs::path& Path() const { return m_path; }

private:
    LargeFolder()
    {
        fs::remove_all(m_path);
        fs::create_directories(m_path);
        for (int i = 1; i <= Files; ++i)
        {
            char name[64];
            std::snprintf(name, sizeof name, "Experiment_Exp%06d_BSE.tif", i);
            std::fclose(std::fopen((m_path / name).c_str(), "w"));
        }
    }
    ~LargeFolder()
    {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }

    fs::path m_path = fs::temp_directory_path() / "kiln-benchmark-names";
};

FileNaming::FileNameGenerator Generator()
{
    FileNaming::FileNamingSettings settings;
    settings.folder = LargeFolder::Get().Path();
    settings.useDateFolders = false;
    settings.useExperimentNumberPrefix = true;
    settings.experimentNumberDigits = 6;
    return FileNaming::FileNameGenerator(settings);
}

// One reservation, alone.
void Reserve(benchmark::State& state)
{
    const auto generator = Generator();
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(generator.Reserve({}, {}).Number());
    }
}

// The same while another reservation exists.
void ReserveBeside(benchmark::State& state)
{
    const auto generator = Generator();
    const auto other = generator.Reserve({}, {});
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(generator.Reserve({}, {}).Number());
    }
}

// The last of the sorted names: reserves nothing.
void ListNames(benchmark::State& state)
{
    const QDir directory(QString::fromStdString(LargeFolder::Get().Path().string()));
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(directory.entryList({"Experiment_Exp*"}, QDir::Files, QDir::Name).last());
    }
}

// The names alone, unsorted.
void VisitNames(benchmark::State& state)
{
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(
            std::distance(fs::directory_iterator(LargeFolder::Get().Path()), fs::directory_iterator()));
    }
}

const bool Registered = []
{
    benchmark::RegisterBenchmark("FileNaming/Reserve100000/ours", Reserve);
    benchmark::RegisterBenchmark("FileNaming/Reserve100000/peer", ListNames);
    benchmark::RegisterBenchmark("FileNaming/Reserve100000/limit", VisitNames);
    benchmark::RegisterBenchmark("FileNaming/ReserveBeside100000/ours", ReserveBeside);
    benchmark::RegisterBenchmark("FileNaming/ReserveBeside100000/peer", ListNames);
    return true;
}();

} // namespace

} // namespace Ardo::Kiln
