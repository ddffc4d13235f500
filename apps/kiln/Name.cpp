#include "apps/kiln/Commands.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Record.h"
#include "apps/kiln/Streams.h"

#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/FileNaming/FileNameGenerator.h"
#include "Ardo/Kiln/FileNaming/FileNamingException.h"
#include "Ardo/Kiln/FileSystem/ReplacementFile.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"

#include <QSettings>

#include <stdexcept>

namespace Ardo::Kiln::Tool
{

namespace
{

FileNaming::FileNamingSettings ReadSettings(const std::string& name)
{
    const InputFile file(name); // QSettings takes a missing file for an empty one
    const QSettings settings(QString::fromStdWString(file.WidePath()), QSettings::IniFormat);
    auto values = FileNaming::LoadFileNamingSettings(settings);
    if (settings.status() != QSettings::NoError) // known when the values have been read
    {
        throw Failure(name + ": is no settings file");
    }
    return values;
}

MetadataLib::Metadata ReadRecordOf(const std::string& name)
{
    auto record = ReadRecord(InputFile(name), name);
    if (!record)
    {
        throw Failure(name + ": has no record");
    }
    return std::move(*record);
}

} // namespace

void Name(const NameOptions& options)
try
{
    auto settings = options.settings.empty() ? FileNaming::FileNamingSettings() : ReadSettings(options.settings);
    if (!options.folder.empty())
    {
        settings.folder = ToPath(options.folder);
    }
    const auto record = options.record.empty() ? MetadataLib::Metadata() : ReadRecordOf(options.record);
    const auto now = Time::ToTimePoint(std::chrono::system_clock::now());
    const std::wstring extension = Conversion::String::FromUtf8(options.extension);
    const FileNaming::FileNameGenerator generator(settings);
    const auto print = [](const std::filesystem::path& path)
    { Print(Printable(FileSystem::ToDisplayText(path)) + "\n"); };
    if (!options.reserve)
    {
        print(generator.Preview(now, record, extension));
        return;
    }
    for (std::uint32_t i = 0; i < options.count; ++i)
    {
        // The file keeps the name when the tool has ended.
        const FileNaming::FileNameReservation reservation = generator.Reserve(now, record);
        FileSystem::ReplacementFile(reservation.Path(extension)).Commit();
        print(reservation.Path(extension));
    }
}
catch (const FileNaming::FileNamingException& error)
{
    throw Failure(error.what());
}
catch (const std::filesystem::filesystem_error& error)
{
    throw Failure(error.what());
}
catch (const std::logic_error& error)
{
    throw UsageError(error.what());
}
catch (const std::range_error&)
{
    throw UsageError("--extension: is not valid UTF-8");
}

} // namespace Ardo::Kiln::Tool
