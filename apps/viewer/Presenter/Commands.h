#pragma once

#include "Ardo/Kiln/Threading/ModelCapabilities.h"
#include "Ardo/Kiln/Threading/ViewCapabilities.h"

namespace Ardo::Kiln::Viewer
{

/// What the models can do at a moment.
enum class Ability
{
    ShowImage,  ///< There is an image.
    ShowRecord, ///< There is a text of a record.
    ReadAgain,  ///< The image comes from a file.
    EndReading, ///< A file is being read.
    EndSaving,  ///< A file is being written.
    BeginSaving,
    BeginScan,
    EndScan
};

/// What a person can ask for, as far as it is not always possible.
enum class Command
{
    Reload,
    Step, ///< To another file of the folder.
    Save,
    SaveAs,
    ExportPicture,
    Zoom,
    Measure,
    ShowRawRecord,
    Acquire,
    Stop,
    Cancel ///< Reading or saving.
};

using Abilities = Threading::ModelCapabilities<Ability>;
using Offers = Threading::ViewCapabilities<Command>;

/// What may be offered.
Offers OffersOf(const Abilities& abilities);

} // namespace Ardo::Kiln::Viewer
