#pragma once

#include "Ardo/Kiln/MetadataSerializer/Serializable.h"
#include "Ardo/KilnExport.h"

namespace Ardo::MetadataLib
{
struct Metadata;
}

namespace Ardo::Kiln::MetadataSerializer
{

class Document;
class DocumentNodes;
struct DocumentNode;

/// Writes and reads one metadata record tree. Holds a reference only: the tree must outlive the record.
///
///     std::string document = Record(metadata).SerializeToString(SerializeType::Xml);
///     Metadata copy;
///     Record(copy).DeserializeFromString(document, SerializeType::Xml);
///
/// A record of constant metadata can be written only.
class KILN_EXPORT Record : public Serializable
{
public:
    /// Refers to \p metadata, which is changed by Deserialize only.
    explicit Record(MetadataLib::Metadata& metadata);
    /// Refers to \p metadata, for writing only.
    explicit Record(const MetadataLib::Metadata& metadata);
    /// Copies refer to the same metadata.
    Record(const Record&) = default;
    Record(Record&&) = default;
    Record& operator=(const Record&) = delete;
    Record& operator=(Record&&) = delete;
    ~Record() override;

    /// The sections "Core" to "Sample", always in the same order; gas injection systems, detectors and custom
    /// properties only if there are any.
    /// \throws std::bad_optional_access if a detector has no "DetectorType".
    /// \throws boost::property_tree::ptree_bad_data if a detector's type is no XML name without colon, is
    ///         "ImagingDetector" although the detector is not of that class (nothing could read it), if the extent of a
    ///         rectangle does not fit 32 bits, or a time lies outside the years that its text can hold.
    /// \throws std::runtime_error "Cannot find value" if a custom property holds no value at all.
    boost::property_tree::ptree Serialize(SerializeType type) const override;

    /// Fills the metadata from a tree. "Core", "Acquisition", "StageSettings" and "ScanSettings" are required; the
    /// fields of another section stay as they were if it is missing. Elements of lists are appended, so start from an
    /// empty Metadata. Unknown elements and attributes, text among elements, names outside an enumeration, values of
    /// optional elements that do not convert, and custom properties of an unknown type are left out and logged at level
    /// warning, at most MaxDocumentFaults a call. Of custom properties of one name the last counts.
    ///
    /// Each of the following carries a DocumentFaultInfo with the element, the value and, in DeserializeFromString, the
    /// line; the same is logged at level error.
    /// \throws boost::property_tree::ptree_bad_path "No such node" if a required element is missing.
    /// \throws boost::property_tree::ptree_bad_data if the text of a required element does not convert.
    /// \throws std::bad_optional_access if a detector has no "DetectorType".
    /// \throws std::invalid_argument or std::out_of_range, with texts like "stof argument out of range", if the value
    ///         of a custom property is no number of its type. "true", "false", "1" and "0" are booleans; any other text
    ///         of a "bool" is a ptree_bad_data.
    /// \throws std::logic_error if the record was made of constant metadata.
    void Deserialize(const boost::property_tree::ptree& tree, SerializeType type) override;

    /// The record as a JSON object in one line, for programs that take facts from it. It cannot be read back.
    ///
    /// Its members are the sections and elements of a JSON document, in the order of their names; all values are texts.
    /// "Apertures", "Detectors", "GasInjectionSystems", "Gases", "Shutters" and "CustomProperties" are arrays, where a
    /// document has several members of one name, of which most readers of JSON keep only one.
    ///
    ///     {"Acquisition":{"AcquisitionDatetime":"2023-11-14T22:13:19.999Z"},...,"VacuumProperties":{"VacuumMode":""}}
    ///
    /// \throws what Serialize throws.
    /// \throws boost::property_tree::ptree_bad_data, with the place in its text, if a text is not UTF-8.
    std::string ToJsonObject() const;

private:
    friend class Serializable;
    void Serialize(DocumentNodes& nodes, DocumentNode& node, SerializeType type) const;
    void Deserialize(const Document& document);

    const MetadataLib::Metadata* m_metadata;
    MetadataLib::Metadata* m_changeable; ///< The same; null for a record that can be written only.
};

} // namespace Ardo::Kiln::MetadataSerializer
