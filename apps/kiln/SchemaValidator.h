#pragma once

#include "Ardo/Kiln/MetadataSerializer/DocumentFault.h"

#include <memory>
#include <string>
#include <vector>

namespace Ardo::Kiln::Tool
{

/// Holds XML metadata documents against the schema of the product. One thread at a time.
class SchemaValidator
{
public:
    using Fault = MetadataSerializer::DocumentFault;

    /// \throws std::runtime_error when the schema itself cannot be read.
    SchemaValidator();
    ~SchemaValidator();
    SchemaValidator(const SchemaValidator&) = delete;
    SchemaValidator& operator=(const SchemaValidator&) = delete;

    /// \param xml a whole document in UTF-8 that MetadataSerializer::CheckDocument takes for a record: other text may
    /// cost more time than grows with its length. Text that is not XML is a fault. Nothing that it names is loaded.
    /// \returns its faults in document order, at most MaximumFaults of them; empty: a valid document.
    std::vector<Fault> Validate(const std::string& xml);

    static constexpr std::size_t MaximumFaults = 100;

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace Ardo::Kiln::Tool
