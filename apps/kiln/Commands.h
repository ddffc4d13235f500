#pragma once

#include <string>

namespace Ardo::Kiln::Tool
{

/// What `kiln import` was asked for. All texts are UTF-8 as they were given.
struct ImportOptions
{
    std::string image;     ///< The image to read; "-" for standard input.
    std::string output;    ///< The TIFF to write; "-" for standard output.
    std::string pixelSize; ///< Metres as a plain number; empty when not given.
    std::string metadata;  ///< A record to embed (XML, JSON or TIFF); empty when not given.
};

/// Writes an image and its record as a TIFF file.
void Import(const ImportOptions& options);

/// Prints what a TIFF file holds, for a person. Pixels or a record that cannot be read are said so, the rest is
/// printed.
void Info(const std::string& file);

/// Writes the record of a TIFF, XML or JSON file as a document.
/// \param format "xml" or "json".
/// \param output a file, or "-" for standard output.
void WriteMetadata(const std::string& file, const std::string& format, const std::string& output);

/// Holds the record of a TIFF, XML or JSON file against the schema. \returns false after printing its faults.
bool Validate(const std::string& file);

/// Compares two files: their pixels when both are images, their records when both have one.
/// \param allowAdditions fields that only the second one has are no difference.
/// \returns false after printing the differences.
bool Compare(const std::string& first, const std::string& second, bool allowAdditions);

} // namespace Ardo::Kiln::Tool
