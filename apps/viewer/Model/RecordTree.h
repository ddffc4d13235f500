#pragma once

#include "Ardo/MetadataLib/Metadata.h"

#include <QString>

#include <vector>

namespace Ardo::Kiln::Viewer
{

/// A line of a record as a person reads it.
struct RecordNode
{
    QString name;                     ///< "Acceleration voltage"
    QString value;                    ///< "300 kV"; empty for a section.
    std::vector<RecordNode> children; ///< In the order of the document.
};

/// The fields of a record that are given, in the order of the document, quantities with unit and prefix.
/// \throws what MetadataSerializer::Record::Serialize throws for a record that cannot be written.
std::vector<RecordNode> MakeRecordTree(const MetadataLib::Metadata& metadata);

} // namespace Ardo::Kiln::Viewer
