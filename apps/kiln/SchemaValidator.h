#pragma once

#include "Ardo/Kiln/MetadataSerializer/DocumentFault.h"

#include <memory>
#include <string>
#include <vector>

namespace Ardo::Kiln::Tool
{

/// Validates XML metadata documents against the schema of the product. One thread at a time may use an object.
class SchemaValidator
{
public:
    using Fault = MetadataSerializer::DocumentFault;

    /// \throws std::runtime_error when the schema itself cannot be read.
    SchemaValidator();
    ~SchemaValidator();
    SchemaValidator(const SchemaValidator&) = delete;
    SchemaValidator& operator=(const SchemaValidator&) = delete;

    /// True only if Validate() would find no fault. Takes less time, because it makes no tree, and so finds no places.
    /// \param xml as for Validate(), and a record for whose content CheckDocument reports no fault.
    bool IsValid(const std::string& xml);

    /// \param xml a whole document in UTF-8 that MetadataSerializer::CheckDocument accepts as a record: for other text
    ///        the time may grow faster than the length. Text that is not XML is a fault. No other resource is loaded.
    /// \returns its faults in document order, at most MaxFaults of them; empty: a valid document.
    std::vector<Fault> Validate(const std::string& xml);

    static constexpr std::size_t MaxFaults = 100;

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace Ardo::Kiln::Tool
