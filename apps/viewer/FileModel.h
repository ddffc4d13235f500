#pragma once

#include "apps/viewer/LoadedImage.h"
#include "Ardo/Kiln/Threading/ModelCapabilities.h"
#include "Ardo/Kiln/Threading/Sender.h"

#include <QString>

#include <optional>
#include <string>

namespace Ardo::Kiln::Viewer
{

/// What came of a file.
struct FileOutcome
{
    std::optional<LoadedImage> image;
    std::string error; ///< Without an image: the reason, for the user.
};

/// What can be done with the file.
enum class FileAbility
{
    Reread ///< It is an image.
};

/// Some of FileAbility.
using FileAbilities = Threading::ModelCapabilities<FileAbility>;

/// Reads files and sends what comes of them. Knows nothing of the window.
struct FileModel
{
    /// Reads a file. One thread at a time; it is never the main thread.
    void Read(const QString& path) const;

    Threading::Sender<QString> progress; ///< What is being done, for the user.
    Threading::Sender<FileOutcome> outcomes;
    Threading::Sender<FileAbilities> abilities;
};

} // namespace Ardo::Kiln::Viewer
