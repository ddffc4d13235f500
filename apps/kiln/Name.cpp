#include "apps/kiln/Commands.h"
#include "apps/kiln/Failure.h"
#include "apps/kiln/Json.h"
#include "apps/kiln/NamingSettings.h"
#include "apps/kiln/Record.h"
#include "apps/kiln/Streams.h"

#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/FileNaming/FileNameGenerator.h"
#include "Ardo/Kiln/FileNaming/FileNamingException.h"
#include "Ardo/Kiln/FileSystem/ReplacementFile.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"

#include <QJsonArray>
#include <QSettings>

#include <stdexcept>

namespace Ardo::Kiln::Tool
{

namespace
{

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

FileNaming::FileNamingSettings NamingSettings(const std::string& file, const std::string& folder)
{
    FileNaming::FileNamingSettings values;
    if (!file.empty())
    {
        const InputFile input(file); // QSettings takes a missing file for an empty one
        const QSettings settings(QString::fromStdWString(input.WidePath()), QSettings::IniFormat);
        values = FileNaming::LoadFileNamingSettings(settings);
        if (settings.status() != QSettings::NoError) // known when the values have been read
        {
            throw Failure(file +
                          (settings.status() == QSettings::AccessError ? ": cannot be read" : ": is no settings file"));
        }
    }
    if (!folder.empty())
    {
        values.folder = ToPath(folder);
    }
    return values;
}

bool Name(const NameOptions& options)
try
{
    const auto settings = NamingSettings(options.settings, options.folder);
    const auto record = options.record.empty() ? MetadataLib::Metadata() : ReadRecordOf(options.record);
    const auto now = Time::ToTimePoint(std::chrono::system_clock::now());
    const std::wstring extension = Conversion::String::FromUtf8(options.extension);
    const FileNaming::FileNameGenerator generator(settings);
    QJsonArray files;
    const auto print = [&](const std::filesystem::path& path)
    {
        const std::string name = FileSystem::ToDisplayText(path);
        if (options.isJson)
        {
            files.append(QString::fromStdString(name));
        }
        else
        {
            Print(Printable(name) + "\n");
        }
    };
    if (!options.reserve)
    {
        print(generator.Preview(now, record, extension));
    }
    for (std::uint32_t i = 0; options.reserve && i < options.count; ++i)
    {
        // The file keeps the name when the tool has ended.
        const FileNaming::FileNameReservation reservation = generator.Reserve(now, record);
        FileSystem::ReplacementFile(reservation.Path(extension)).Commit();
        print(reservation.Path(extension));
    }
    if (options.isJson)
    {
        Print(JsonText({{"files", files}}) + "\n");
    }
    return true;
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
