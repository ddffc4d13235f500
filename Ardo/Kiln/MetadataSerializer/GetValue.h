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

/// \name Readers of single values
///
/// Each takes the tree and the place of the node, a path whose parts are separated by '.' ("" is the tree itself), and
/// returns the value. Numbers are read with "." and without grouping in any locale; white space around them is skipped,
/// a leading '+' accepted.
///
/// The plain readers throw boost::property_tree::ptree_bad_path "No such node" if the node or a child of a composite
/// value is missing, and boost::property_tree::ptree_bad_data "conversion of data to type ... failed" if a text does
/// not convert. The optional readers return an empty optional if the node is missing, or if the text of a single value
/// does not convert; a composite value that is present must be complete. Any thread may call them. \{

/// 32 bits.
KILN_EXPORT std::int32_t GetInt(const boost::property_tree::ptree& tree, const std::string& key);
/// Also "nan", "inf" and "-inf".
KILN_EXPORT double GetDouble(const boost::property_tree::ptree& tree, const std::string& key);
/// The text as it is, UTF-8.
KILN_EXPORT std::string GetStdString(const boost::property_tree::ptree& tree, const std::string& key);
/// \throws std::range_error if the text is not UTF-8.
KILN_EXPORT std::wstring GetStdWstring(const boost::property_tree::ptree& tree, const std::string& key);
/// ISO 8601. Without a designator ("Z" or an offset) the text is local time.
KILN_EXPORT MetadataLib::TimePoint GetStdTimepoint(const boost::property_tree::ptree& tree, const std::string& key);
/// 36 characters, hexadecimal digits of either case in groups of 8-4-4-4-12.
KILN_EXPORT MetadataLib::Uuid GetGuid(const boost::property_tree::ptree& tree, const std::string& key);
/// Children "Width", "Height".
KILN_EXPORT MetadataLib::Size2D<std::int32_t> GetSize2dInt(const boost::property_tree::ptree& tree,
                                                           const std::string& key);
/// Children "Width", "Height".
KILN_EXPORT MetadataLib::Size2D<double> GetSize2dDouble(const boost::property_tree::ptree& tree,
                                                        const std::string& key);
/// Corners from origin and extent; both have to fit 32 bits.
KILN_EXPORT MetadataLib::Rectangle<std::int32_t> GetRectangleInt(const boost::property_tree::ptree& tree,
                                                                 const std::string& key);
/// Children "X", "Y", "Z".
KILN_EXPORT MetadataLib::Vector3<double> GetVector3d(const boost::property_tree::ptree& tree, const std::string& key);

/// "true", "false", "1" or "0".
KILN_EXPORT std::optional<bool> GetOptionalBool(const boost::property_tree::ptree& tree, const std::string& key);
/// As GetInt.
KILN_EXPORT std::optional<std::int32_t> GetOptionalInt(const boost::property_tree::ptree& tree, const std::string& key);
/// As GetInt: "long" has 32 bits in documents.
KILN_EXPORT std::optional<std::int32_t> GetOptionalLong(const boost::property_tree::ptree& tree,
                                                        const std::string& key);
/// As GetDouble.
KILN_EXPORT std::optional<double> GetOptionalDouble(const boost::property_tree::ptree& tree, const std::string& key);
/// As GetStdString.
KILN_EXPORT std::optional<std::string> GetOptionalStdString(const boost::property_tree::ptree& tree,
                                                            const std::string& key);
/// As GetStdWstring.
KILN_EXPORT std::optional<std::wstring> GetOptionalStdWstring(const boost::property_tree::ptree& tree,
                                                              const std::string& key);
/// As GetStdTimepoint.
KILN_EXPORT std::optional<MetadataLib::TimePoint> GetOptionalStdTimepoint(const boost::property_tree::ptree& tree,
                                                                          const std::string& key);
/// As GetGuid.
KILN_EXPORT std::optional<MetadataLib::Uuid> GetOptionalGuid(const boost::property_tree::ptree& tree,
                                                             const std::string& key);
/// Children "Begin", "End".
KILN_EXPORT std::optional<MetadataLib::Range<double>> GetOptionalRangeDouble(const boost::property_tree::ptree& tree,
                                                                             const std::string& key);
/// As GetRectangleInt.
KILN_EXPORT std::optional<MetadataLib::Rectangle<std::int32_t>>
GetOptionalRectangleInt(const boost::property_tree::ptree& tree, const std::string& key);
/// Corners from origin and extent.
KILN_EXPORT std::optional<MetadataLib::Rectangle<double>>
GetOptionalRectangleDouble(const boost::property_tree::ptree& tree, const std::string& key);
/// As GetSize2dInt.
KILN_EXPORT std::optional<MetadataLib::Size2D<std::int32_t>>
GetOptionalSize2dInt(const boost::property_tree::ptree& tree, const std::string& key);
/// As GetSize2dDouble.
KILN_EXPORT std::optional<MetadataLib::Size2D<double>> GetOptionalSize2dDouble(const boost::property_tree::ptree& tree,
                                                                               const std::string& key);
/// Children "X", "Y".
KILN_EXPORT std::optional<MetadataLib::Vector2<double>> GetOptionalVector2d(const boost::property_tree::ptree& tree,
                                                                            const std::string& key);
/// Children "a11", "a12", "a13", "a21", "a22", "a23".
KILN_EXPORT std::optional<MetadataLib::TransformMatrix>
GetOptionalTransformMatrix(const boost::property_tree::ptree& tree, const std::string& key);

/// \}

} // namespace Ardo::Kiln::MetadataSerializer
