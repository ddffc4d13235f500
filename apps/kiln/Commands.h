#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Ardo::Kiln::Tool
{

/// What `kiln import` was asked for. All texts are UTF-8 as they were given.
struct ImportOptions
{
    std::string image;     ///< The image to read; "-" for standard input.
    std::string output;    ///< The TIFF to write; "-" for standard output.
    std::string pixelSize; ///< A length such as "107 nm", or metres as a plain number; empty when not given.
    std::string metadata;  ///< A record to embed (XML, JSON or TIFF); empty when not given.
    /// Which image of the file, from 1; not given: the first, and it is said that there are others.
    std::optional<std::uint32_t> page;
    bool progress = false; ///< Show the progress also when nobody seems to look.
};

/// Writes an image and its record as a TIFF file.
/// \throws Interrupted when Ctrl-C has prevented it.
void Import(const ImportOptions& options);

/// Prints what a TIFF file holds, for a person. Pixels or a record that cannot be read are said so, the rest is
/// printed.
void Info(const std::string& file);

/// Writes the record of a TIFF, XML or JSON file as a document.
/// \param format "xml" or "json".
/// \param output a file, or "-" for standard output.
void WriteMetadata(const std::string& file, const std::string& format, const std::string& output);

/// Holds the record of a TIFF, XML or JSON file against the schema.
/// \returns false after printing its faults.
bool Validate(const std::string& file);

/// Compares two files: their pixels when both are images, their records when both have one.
/// \param allowAdditions fields that only the second one has are no difference.
/// \returns false after printing the differences.
bool Compare(const std::string& first, const std::string& second, bool allowAdditions);

/// What `kiln format` was asked for. Empty texts: not given.
struct FormatOptions
{
    std::string value; ///< In the base unit.
    std::string unit;
    int decimals = 0;
    std::optional<std::string> prefix; ///< The symbol of the only prefix allowed; empty for none.
    std::string uncertainty;           ///< In the base unit.
    std::string reference;             ///< In the base unit.
};

/// Prints a quantity as text with an SI prefix.
void Format(const FormatOptions& options);

/// Prints the number in base units that a quantity's text stands for.
void Parse(const std::string& text, const std::string& unit);

} // namespace Ardo::Kiln::Tool
