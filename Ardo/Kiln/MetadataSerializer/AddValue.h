#pragma once

#include "Ardo/KilnExport.h"
#include "Ardo/MetadataLib/Range.h"
#include "Ardo/MetadataLib/Rectangle.h"
#include "Ardo/MetadataLib/Size2D.h"
#include "Ardo/MetadataLib/TimePoint.h"
#include "Ardo/MetadataLib/TransformMatrix.h"
#include "Ardo/MetadataLib/Uuid.h"
#include "Ardo/MetadataLib/Vector.h"

#include <boost/property_tree/ptree_fwd.hpp>
#include <cstdint>
#include <optional>
#include <string>

namespace Ardo::Kiln::MetadataSerializer
{

/// \name Writers of single values
///
/// Each takes the tree, the place of the node and the value. \p key is a path whose parts are separated by '.', so
/// "X.<xmlattr>.unit" names a node three levels down and "" the tree itself; missing nodes are made. Numbers, booleans
/// and strings replace the text of a node that is there, which keeps its children. Times, UUIDs and composite values (a
/// node with a child for each part) replace the whole node. A name that holds a '.' cannot be reached. Numbers are
/// written with "." and without grouping in any locale: integers in decimal, doubles with 17 significant digits, "nan",
/// "inf" or "-inf". An empty optional writes nothing at all.
///
/// Any thread may call them, for a tree of its own. Besides std::bad_alloc they throw only the exceptions named at
/// each. \{

/// Decimal digits.
KILN_EXPORT void AddInt(boost::property_tree::ptree& tree, const std::string& key, std::int32_t value);
/// 17 significant digits.
KILN_EXPORT void AddDouble(boost::property_tree::ptree& tree, const std::string& key, double value);
/// The text as it is, UTF-8.
KILN_EXPORT void AddStdString(boost::property_tree::ptree& tree, const std::string& key, const std::string& value);
/// UTF-8.
/// \throws std::range_error if \p value is not valid UTF-16 (Linux: UTF-32).
KILN_EXPORT void AddStdWstring(boost::property_tree::ptree& tree, const std::string& key, const std::wstring& value);
/// UTC in ISO 8601 with milliseconds; the rest of the time is cut off.
/// \throws boost::property_tree::ptree_bad_data for a year that is not one of 1 to 9999, which has no such text.
KILN_EXPORT void AddStdTimepoint(boost::property_tree::ptree& tree, const std::string& key,
                                 MetadataLib::TimePoint value);
/// 36 characters: lower-case hexadecimal digits in groups of 8-4-4-4-12.
KILN_EXPORT void AddGuid(boost::property_tree::ptree& tree, const std::string& key, const MetadataLib::Uuid& value);
/// Children "Width", "Height".
KILN_EXPORT void AddSize2dInt(boost::property_tree::ptree& tree, const std::string& key,
                              const MetadataLib::Size2D<std::int32_t>& value);
/// Children "Width", "Height".
KILN_EXPORT void AddSize2dDouble(boost::property_tree::ptree& tree, const std::string& key,
                                 const MetadataLib::Size2D<double>& value);
/// Children "X", "Y" (left, top), "Width", "Height".
/// \throws boost::property_tree::ptree_bad_data if width or height does not fit 32 bits.
KILN_EXPORT void AddRectangleInt(boost::property_tree::ptree& tree, const std::string& key,
                                 const MetadataLib::Rectangle<std::int32_t>& value);
/// Children "X", "Y", "Z".
KILN_EXPORT void AddVector3d(boost::property_tree::ptree& tree, const std::string& key,
                             const MetadataLib::Vector3<double>& value);

/// "true" or "false".
KILN_EXPORT void AddOptionalBool(boost::property_tree::ptree& tree, const std::string& key,
                                 const std::optional<bool>& value);
/// As AddInt.
KILN_EXPORT void AddOptionalInt(boost::property_tree::ptree& tree, const std::string& key,
                                const std::optional<std::int32_t>& value);
/// As AddInt: "long" has 32 bits in documents.
KILN_EXPORT void AddOptionalLong(boost::property_tree::ptree& tree, const std::string& key,
                                 const std::optional<std::int32_t>& value);
/// As AddDouble.
KILN_EXPORT void AddOptionalDouble(boost::property_tree::ptree& tree, const std::string& key,
                                   const std::optional<double>& value);
/// As AddStdString.
KILN_EXPORT void AddOptionalStdString(boost::property_tree::ptree& tree, const std::string& key,
                                      const std::optional<std::string>& value);
/// As AddStdWstring.
KILN_EXPORT void AddOptionalStdWstring(boost::property_tree::ptree& tree, const std::string& key,
                                       const std::optional<std::wstring>& value);
/// As AddStdTimepoint.
KILN_EXPORT void AddOptionalStdTimepoint(boost::property_tree::ptree& tree, const std::string& key,
                                         const std::optional<MetadataLib::TimePoint>& value);
/// As AddGuid.
KILN_EXPORT void AddOptionalGuid(boost::property_tree::ptree& tree, const std::string& key,
                                 const std::optional<MetadataLib::Uuid>& value);
/// Children "Begin", "End".
KILN_EXPORT void AddOptionalRangeDouble(boost::property_tree::ptree& tree, const std::string& key,
                                        const std::optional<MetadataLib::Range<double>>& value);
/// As AddRectangleInt.
KILN_EXPORT void AddOptionalRectangleInt(boost::property_tree::ptree& tree, const std::string& key,
                                         const std::optional<MetadataLib::Rectangle<std::int32_t>>& value);
/// Children "X", "Y" (left, top), "Width", "Height".
KILN_EXPORT void AddOptionalRectangleDouble(boost::property_tree::ptree& tree, const std::string& key,
                                            const std::optional<MetadataLib::Rectangle<double>>& value);
/// As AddSize2dInt.
KILN_EXPORT void AddOptionalSize2dInt(boost::property_tree::ptree& tree, const std::string& key,
                                      const std::optional<MetadataLib::Size2D<std::int32_t>>& value);
/// As AddSize2dDouble.
KILN_EXPORT void AddOptionalSize2dDouble(boost::property_tree::ptree& tree, const std::string& key,
                                         const std::optional<MetadataLib::Size2D<double>>& value);
/// Children "X", "Y".
KILN_EXPORT void AddOptionalVector2d(boost::property_tree::ptree& tree, const std::string& key,
                                     const std::optional<MetadataLib::Vector2<double>>& value);
/// Children "a11", "a12", "a13", "a21", "a22", "a23".
KILN_EXPORT void AddOptionalTransformMatrix(boost::property_tree::ptree& tree, const std::string& key,
                                            const std::optional<MetadataLib::TransformMatrix>& value);

/// \}

} // namespace Ardo::Kiln::MetadataSerializer
