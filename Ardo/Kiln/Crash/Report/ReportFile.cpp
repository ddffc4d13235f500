#include "Ardo/Kiln/Crash/Report/ReportFile.h"

#include "Ardo/Kiln/Crash/Report/TextSink.h"

#include <cstring>

namespace Ardo::Kiln::Crash
{

namespace
{

constexpr unsigned MaxCounter = 10000; // beyond that something else is wrong with the folder
constexpr std::size_t MaxExtension = sizeof ".dmp.part";

/// The name under which a file is written until it is whole.
struct PartialExtension
{
    explicit PartialExtension(std::string_view extension) noexcept : sink(text, sizeof text)
    {
        sink << extension << ".part";
    }
    operator std::string_view() const noexcept { return sink.Text(); }

    char text[32];
    BufferSink sink;
};

} // namespace

ReportStem::~ReportStem()
{
    if (m_isReserved)
    {
        Remove(".part");
    }
}

bool ReportStem::IsFree() const noexcept
{
    for (const std::string_view extension : {".dmp", ".dmp.part", ".txt", ".txt.part"})
    {
        if (Exists(extension))
        {
            return false;
        }
    }
    return true;
}

int ReportStem::Reserve(const char* folder, const char* name) noexcept
{
    if (const int error = OpenFolder(folder); error != 0)
    {
        return error;
    }
    for (unsigned counter = 1; counter <= MaxCounter; ++counter)
    {
        BufferSink path(m_path, sizeof m_path - MaxExtension);
        path << folder << "/";
        m_nameAt = path.Text().size();
        path << name;
        if (counter > 1)
        {
            path << "_" << counter;
        }
        if (path.IsCut())
        {
            m_path[0] = '\0';
            return TooLongError();
        }
        Platform::NativeHandle reservation;
        const int error = CreateNew(".part", reservation);
        reservation.Close(); // Windows removes no file that is open
        if (error == 0)
        {
            // Checked after the reservation: the object that had reserved the name before has published its files by
            // now, or has removed them.
            if (IsFree())
            {
                m_isReserved = true;
                return 0;
            }
            Remove(".part");
        }
        else if (!IsTaken(error))
        {
            m_path[0] = '\0';
            return error;
        }
    }
    m_path[0] = '\0';
    return TakenError();
}

ReportFile::~ReportFile()
{
    m_file.Close();
    if (m_exists)
    {
        m_stem->Remove(PartialExtension(m_extension));
    }
}

int ReportFile::Create(const ReportStem& stem, std::string_view extension) noexcept
{
    m_stem = &stem;
    m_extension = extension;
    const int error = stem.CreateNew(PartialExtension(extension), m_file);
    m_exists = error == 0;
    return error;
}

void* ReportFile::Native() const noexcept
{
    return reinterpret_cast<void*>(m_file.Get()); // NOLINT(performance-no-int-to-ptr): the system's value
}

int ReportFile::Publish() noexcept
{
    const PartialExtension part(m_extension);
    int error = FlushAndClose();
    error = error == 0 ? m_stem->Rename(part, m_extension) : error;
    if (error != 0)
    {
        m_stem->Remove(part);
    }
    m_exists = false;
    return error;
}

} // namespace Ardo::Kiln::Crash
