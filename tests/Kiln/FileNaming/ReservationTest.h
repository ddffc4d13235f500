#pragma once

#include "Ardo/Kiln/FileNaming/FileNameGenerator.h"
#include "Ardo/Kiln/FileNaming/FileNamingException.h"
#include "Ardo/Kiln/FileSystem/ReplacementFile.h"
#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Support/ScopedTempDir.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace Ardo::Kiln::FileNaming
{

namespace fs = std::filesystem;

/// Reserves names in a folder of the test's own.
class ReservationTest : public testing::Test
{
protected:
    ReservationTest()
    {
        m_settings.folder = m_folder.Path();
        m_settings.useDateFolders = false;
    }

    FileNameReservation Reserve() const { return FileNameGenerator(m_settings).Reserve({}, {}); }

    void Make(const FileNameReservation& reservation) const
    {
        FileSystem::ReplacementFile(reservation.Path(L"tif")).Commit();
    }

    void Touch(const std::string& name) const { std::ofstream(m_folder / name) << "x"; }

    Support::ScopedTempDir m_folder;
    FileNamingSettings m_settings;
};

} // namespace Ardo::Kiln::FileNaming
