#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Ardo::Kiln::Tool
{

/// Holds XML metadata documents against the schema of the product. One thread at a time.
class SchemaValidator
{
public:
    /// One place where a document is not what the schema says.
    struct Fault
    {
        int line;         ///< From 1; 0 when the place is unknown.
        std::string path; ///< The element, for example "/Metadata/Optics/SpotIndex"; empty when unknown.
        std::string text; ///< What is wrong there.
    };

    /// \throws std::runtime_error when the schema itself cannot be read.
    SchemaValidator();
    ~SchemaValidator();
    SchemaValidator(const SchemaValidator&) = delete;
    SchemaValidator& operator=(const SchemaValidator&) = delete;

    /// \param xml a whole document; text that is not XML is a fault, too. No entity of it is expanded and nothing that
    /// it names is loaded. \returns its faults in document order, at most MaximumFaults of them; empty: a valid
    /// document.
    std::vector<Fault> Validate(const std::string& xml);

    static constexpr std::size_t MaximumFaults = 100;

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace Ardo::Kiln::Tool
