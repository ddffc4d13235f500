#pragma once

#include "apps/kiln/Batch.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Ardo::Kiln::Tool
{

// Each command throws Failure, UsageError and what the library throws. One that returns true is done.

/// The arguments of `kiln import`. All texts are UTF-8 as they were given.
struct ImportOptions
{
    BatchOptions batch;    ///< The images to read, and last, unless they are named, the TIFF or folder to write.
    std::string folder;    ///< Where named files go. With it or \c settings the files are named.
    std::string settings;  ///< An INI file with naming settings.
    std::string pixelSize; ///< A length such as "107 nm", or metres as a plain number; empty when not given.
    std::string metadata;  ///< A record to embed (XML, JSON or TIFF); empty when not given.
    /// The number of the image in the file, from 1. Not given: the first, with a message if there are others.
    std::optional<std::uint32_t> page;
};

/// Writes images and their records as TIFF files. The names of files that are named are printed.
/// \returns whether all have been written.
/// \throws Interrupted when Ctrl-C has ended it.
bool Import(const ImportOptions& options);

/// The arguments of `kiln info`.
struct InfoOptions
{
    BatchOptions batch;
    bool isQuick = false; ///< Do not read the pixels, so that damages of them stay unknown.
};

/// Prints the contents of TIFF files as readable text or as JSON. If the pixels or the record cannot be read, the
/// reason is printed and the rest is shown.
/// \returns whether all files are TIFF files.
bool Info(const InfoOptions& options);

/// The arguments of `kiln metadata`. All texts are UTF-8.
struct MetadataOptions
{
    BatchOptions batch;         ///< TIFF, XML or JSON files.
    std::string format = "xml"; ///< "xml" or "json".
    std::string output;         ///< "-" for standard output, a file, or a folder for several documents.
    bool isAsIs = false;        ///< Write the document as it stands in its file.
};

/// Writes the records of files as documents.
/// \returns whether all have been written.
bool WriteMetadata(const MetadataOptions& options);

/// The arguments of `kiln set`. All texts are UTF-8.
struct SetOptions
{
    std::string file;                 ///< A TIFF, XML or JSON file with a record.
    std::vector<std::string> changes; ///< Each FIELD=VALUE.
    std::string list;                 ///< A text file with more of them, one a line; empty for none.
    std::string output;               ///< The copy.
};

/// Writes a copy of a file with another record.
bool Set(const SetOptions& options);

/// Validates the records of TIFF, XML or JSON files against the schema and prints their faults.
/// \returns whether all are valid.
bool Validate(const BatchOptions& options);

/// Prints what crash reports and minidumps tell. A report and a minidump that lie side by side are read together.
/// \returns whether all have been read.
bool Report(const BatchOptions& options);

/// The arguments of `kiln compare`. All texts are UTF-8.
struct CompareOptions
{
    std::string first;
    std::string second;
    bool allowAdditions = false; ///< Fields that only the second one has are no difference.
    bool isJson = false;
};

/// Compares two files: their pixels when both are images, their records when both have one.
/// \returns false after printing the differences.
bool Compare(const CompareOptions& options);

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
    bool isForImageJ = false;     ///< A TIFF with all samples, calibrated as ImageJ reads it. No picture.
};

/// Writes an image as it is shown, or its scaled data, or a copy for ImageJ.
bool ExportPicture(const PictureOptions& options);

/// The arguments of `kiln histogram`. All texts are UTF-8.
struct HistogramOptions
{
    std::string image;           ///< The image to read; "-" for standard input.
    std::string output;          ///< The text file to write; "-" for standard output; empty for none, with isJson only.
    bool isJson = false;         ///< Also print the histogram as JSON.
    int parts = 256;             ///< Maximum number of lines below the header.
    std::string separator = ","; ///< One character, or "tab".
    std::uint32_t page = 1;      ///< Which image of the file, from 1.
};

/// Writes how often each value of an image occurs, as a text that spreadsheets open.
bool WriteHistogram(const HistogramOptions& options);

/// The arguments of `kiln system`.
struct SystemOptions
{
    std::string file; ///< A Windows program or library whose version is printed; UTF-8; empty for none.
    bool isJson = false;
};

/// Describes the library and the machine, or prints the version of a file.
bool DescribeSystem(const SystemOptions& options);

/// The arguments of `kiln name`.
struct NameOptions
{
    std::string folder;            ///< The folder of experiments; empty: that of the settings.
    std::string settings;          ///< An INI file with naming settings; empty: the defaults.
    std::string record;            ///< A record for the placeholders of labels; empty: an empty record.
    std::string extension = "tif"; ///< Without the dot.
    bool reserve = false;          ///< Take the next free names and make empty files.
    std::uint32_t count = 1;       ///< The number of names.
    bool isJson = false;
};

/// Prints the paths that acquisitions of this moment get.
bool Name(const NameOptions& options);

/// The arguments of `kiln format`. Empty texts: not given.
struct FormatOptions
{
    std::string value; ///< In the base unit.
    std::string unit;
    int decimals = 0;
    std::optional<std::string> prefix; ///< The symbol of the only prefix allowed; empty for none.
    std::string uncertainty;           ///< In the base unit.
    std::string reference;             ///< In the base unit.
    bool isJson = false;
};

/// Prints a quantity as text with an SI prefix.
bool Format(const FormatOptions& options);

/// The arguments of `kiln parse`. All texts are UTF-8.
struct ParseOptions
{
    std::string text;
    std::string unit; ///< A base unit, or the name of a quantity.
    bool isJson = false;
};

/// Parses the text of a quantity and prints its value in base units.
bool Parse(const ParseOptions& options);

} // namespace Ardo::Kiln::Tool
