#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Ardo::Kiln::Tool
{

/// The arguments of `kiln import`. All texts are UTF-8 as they were given.
struct ImportOptions
{
    std::string image;     ///< The image to read; "-" for standard input.
    std::string output;    ///< The TIFF to write; "-" for standard output.
    std::string pixelSize; ///< A length such as "107 nm", or metres as a plain number; empty when not given.
    std::string metadata;  ///< A record to embed (XML, JSON or TIFF); empty when not given.
    /// The number of the image in the file, from 1. Not given: the first, with a message if there are others.
    std::optional<std::uint32_t> page;
    bool progress = false; ///< Show the progress also when standard error is not a console.
};

/// Writes an image and its record as a TIFF file.
/// \throws Interrupted when Ctrl-C has ended it.
void Import(const ImportOptions& options);

/// Prints the contents of a TIFF file as readable text. If the pixels or the record cannot be read, an error is printed
/// on standard error and the rest is shown.
void Info(const std::string& file);

/// Writes the record of a TIFF, XML or JSON file as a document.
/// \param format "xml" or "json".
/// \param output a file, or "-" for standard output.
void WriteMetadata(const std::string& file, const std::string& format, const std::string& output);

/// Validates the record of a TIFF, XML or JSON file against the schema.
/// \returns false after printing its faults.
bool Validate(const std::string& file);

/// Compares two files: their pixels when both are images, their records when both have one.
/// \param allowAdditions fields that only the second one has are no difference.
/// \returns false after printing the differences.
bool Compare(const std::string& first, const std::string& second, bool allowAdditions);

/// The arguments of `kiln export`. All texts are UTF-8; empty ones: not given.
struct PictureOptions
{
    std::string image;            ///< The image to read; "-" for standard input.
    std::string output;           ///< The file to write; "-" for standard output.
    std::string type;             ///< The name of an export type.
    std::string size;             ///< As ImageIO::ExportSize::Parse takes it.
    std::string range;            ///< "full", "LOW..HIGH" or "LOW%..HIGH%".
    double gamma = 1.0;           ///< 0.1 to 10.
    std::string colours = "grey"; ///< The name of a table, or a file.
    bool hasScaleBar = false;     ///< Draw a scale bar.
    std::string dataBar;          ///< "usual", or names of quantities separated by commas.
    int quality = 92;             ///< Of JPEG, 1 to 100.
    std::uint32_t page = 1;       ///< Which image of the file, from 1.
};

/// Writes an image as it is shown, or its scaled data.
void ExportPicture(const PictureOptions& options);

/// The arguments of `kiln histogram`. All texts are UTF-8.
struct HistogramOptions
{
    std::string image;           ///< The image to read; "-" for standard input.
    std::string output;          ///< The text file to write; "-" for standard output.
    int parts = 256;             ///< Maximum number of lines below the header.
    std::string separator = ","; ///< One character, or "tab".
    std::uint32_t page = 1;      ///< Which image of the file, from 1.
};

/// Writes how often each value of an image occurs, as a text that spreadsheets open.
void WriteHistogram(const HistogramOptions& options);

/// Describes the library and the machine.
/// \param file a Windows program or library whose version is printed instead; empty for none.
void DescribeSystem(const std::string& file);

/// The arguments of `kiln name`.
struct NameOptions
{
    std::string folder;            ///< The folder of experiments; empty: that of the settings.
    std::string settings;          ///< An INI file with naming settings; empty: the defaults.
    std::string record;            ///< A record for the placeholders of labels; empty: an empty record.
    std::string extension = "tif"; ///< Without the dot.
    bool reserve = false;          ///< Take the next free names and make empty files.
    std::uint32_t count = 1;       ///< The number of names.
};

/// Prints the paths that acquisitions of this moment get.
void Name(const NameOptions& options);

/// The arguments of `kiln format`. Empty texts: not given.
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

/// Parses the text of a quantity and prints its value in base units.
void Parse(const std::string& text, const std::string& unit);

} // namespace Ardo::Kiln::Tool
