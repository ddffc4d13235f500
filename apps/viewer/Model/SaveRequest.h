#pragma once

#include "apps/viewer/Model/Document.h"
#include "Ardo/Imaging/DisplayMapping.h"
#include "Ardo/Kiln/FileNaming/FileNamingSettings.h"
#include "Ardo/Kiln/ImageIO/ExportType.h"
#include "Ardo/Kiln/ImageIO/Presentation.h"

#include <QString>

#include <optional>

namespace Ardo::Kiln::Viewer
{

/// What is to be written, and where.
struct SaveRequest
{
    DocumentPtr document; ///< With a picture.
    QString path;         ///< Empty: the name is made by the settings below.
    FileNaming::FileNamingSettings naming;
    ImageIO::ExportType type = ImageIO::ExportType::Data; ///< Data with a path of its own, or a picture.
    ImageIO::PresentationSettings presentation;           ///< Of pictures, also of the automatic export.
    bool exportsPicture = false;                          ///< With a made name: a PNG file of that name, too.
};

/// What was written.
struct SavedFiles
{
    QString path;        ///< The file that was asked for.
    QString picturePath; ///< Of the automatic export; empty without it.
};

/// Writes the files of a request. Each is complete or not there. Any thread may call it.
/// \param progress of pictures it is asked before and after they are made only.
/// \throws Cancelled, and std::exception with a text for a person. Of two files the first may then be complete.
SavedFiles SaveFiles(const SaveRequest& request, const Progress& progress);

} // namespace Ardo::Kiln::Viewer
