#include <Ardo/Kiln/FileNaming/FileNameGenerator.h>
#include <Ardo/Kiln/FileSystem/ReplacementFile.h>
#include <Ardo/Kiln/FileSystem/WidePath.h>
#include <Ardo/MetadataLib/Metadata.h>
#include <filesystem>
#include <fstream>
#include <iostream>

int main()
{
    using namespace Ardo::Kiln;
    namespace fs = std::filesystem;

    FileNaming::FileNamingSettings settings;
    settings.folder = fs::temp_directory_path() / "file-naming-guide";
    settings.experimentName = L"Liver 7/b";
    settings.labels = {L"{Magnification}"};
    settings.useLabels = true;
    settings.useDateFolders = false;
    fs::remove_all(settings.folder); // of an earlier run

    Ardo::MetadataLib::Metadata record;
    record.Optics.NominalMagnification = 5000;
    const auto now = Time::ToTimePoint(std::chrono::system_clock::now());
    const FileNaming::FileNameGenerator generator(settings);
    const auto print = [](const char* what, const fs::path& path)
    { std::cout << what << FileSystem::ToDisplayText(path.filename()) << '\n'; };

    print("preview   ", generator.Preview(now, record, L"tif"));
    for (int image = 0; image < 2; ++image)
    {
        const FileNaming::FileNameReservation reservation = generator.Reserve(now, record);
        FileSystem::ReplacementFile file(reservation.Path(L"tif"));
        std::ofstream(file.Path()) << "the image";
        file.Commit(); // before the reservation ends
        print("written   ", reservation.Path(L"tif"));
    }
    generator.Reserve(now, record); // an acquisition that fails gives its number back
    print("next      ", generator.Reserve(now, record).Path(L"tif"));
    fs::remove_all(settings.folder);
}
