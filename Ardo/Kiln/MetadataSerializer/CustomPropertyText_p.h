#pragma once

#include "Ardo/Kiln/MetadataSerializer/Fields_p.h"
#include "Ardo/KilnExport.h"
#include "Ardo/MetadataLib/CustomProperty.h"

#include <optional>
#include <string>

namespace Ardo::Kiln::MetadataSerializer
{

/// The representation of a custom property in documents.
struct CustomPropertyText
{
    std::string name;
    std::string value;
    std::string type;        ///< "int32" to "bool".
    std::string rawdatatype; ///< "Int", "Double", "String" or "Boolean", for readers that know only these.
};

template <SameIgnoringConst<CustomPropertyText> T, typename Visitor>
void VisitFields(T& property, Visitor& visit)
{
    visit.Attribute("name"_field, property.name);
    visit.Attribute("value"_field, property.value);
    visit.Attribute("type"_field, property.type);
    visit.AttributeForOthers("rawdatatype"_field, property.rawdatatype);
}

/// \throws std::runtime_error "Cannot find value" if \p value holds none.
KILN_EXPORT_FOR_TESTS CustomPropertyText ToCustomPropertyText(const std::string& name,
                                                              const MetadataLib::CustomPropertyValue& value);

/// The value that \p property describes; empty if its type is unknown.
/// \throws std::invalid_argument, std::out_of_range, boost::property_tree::ptree_bad_data: see Record::Deserialize.
KILN_EXPORT_FOR_TESTS std::optional<MetadataLib::CustomPropertyValue>
FromCustomPropertyText(const CustomPropertyText& property);

} // namespace Ardo::Kiln::MetadataSerializer
