#pragma once

#include "Ardo/KilnExport.h"
#include "Ardo/MetadataLib/TimePoint.h"
#include "Ardo/MetadataLib/Uuid.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

// Conversions between values and the texts of a document, without locale and stream. No other code does them.

/// Replaces \p text by the text of a value.
void ToText(bool value, std::string& text);
void ToText(std::int32_t value, std::string& text);
void ToText(double value, std::string& text);
void ToText(const std::string& value, std::string& text);
void ToText(const MetadataLib::Uuid& value, std::string& text);
/// \throws boost::property_tree::ptree_bad_data if the year has no text of four digits.
void ToText(MetadataLib::TimePoint value, std::string& text);

/// Reads the text of a value, skipping white space around it. Returns false, and leaves \p value unchanged, if it does
/// not convert.
bool FromText(std::string_view text, bool& value);
bool FromText(std::string_view text, std::int32_t& value);
bool FromText(std::string_view text, double& value);
bool FromText(std::string_view text, std::string& value);
bool FromText(std::string_view text, MetadataLib::Uuid& value);
bool FromText(std::string_view text, MetadataLib::TimePoint& value);

/// The result of reading a number.
enum class NumberResult
{
    Done,
    Invalid,   ///< Not a number, or something follows it.
    OutOfRange ///< A number that the type cannot hold.
};

/// Reads a decimal number of the type's own syntax, with white space around it and a leading '+' allowed. Only for
/// floating-point types there are "nan", "inf" and "infinity", in letters of either case as std::stof does. A value too
/// small for a floating-point type is a zero with \p lost set.
template <typename Number>
KILN_EXPORT_FOR_TESTS NumberResult ParseNumber(std::string_view text, Number& value, bool* lost = nullptr);

/// The shortest of the fixed and scientific notations of "%.*g" with 17 significant digits (9 for a float), without
/// trailing zeros; "nan" and "inf", with '-' if the sign bit is set.
template <typename Number>
KILN_EXPORT_FOR_TESTS void FormatNumber(Number value, std::string& text);

} // namespace Ardo::Kiln::MetadataSerializer
