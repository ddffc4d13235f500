#pragma once

#include "Ardo/KilnExport.h"

#include <string>
#include <vector>

namespace Ardo::Kiln::ImageIO
{

/// An axis of a plot, or the name of a series. Texts are UTF-8.
struct PlotAxis
{
    std::string name; ///< For example "Energy loss".
    std::string unit; ///< For example "eV"; empty for none.
};

/// One curve of a plot.
struct PlotSeries
{
    PlotAxis axis;              ///< What its values are.
    std::vector<double> values; ///< One for each position of the plot, or fewer. Not a number: there is none.
};

/// Some series of values over one axis, for example line profiles or spectra.
struct Plot
{
    PlotAxis axis;                  ///< What the positions are.
    std::vector<double> positions;  ///< In the unit of the axis. Not a number: none.
    std::vector<PlotSeries> series; ///< The columns, in order.
};

/// How a plot is written as text.
struct PlotTextFormat
{
    /// Between the cells of a line: any ASCII character but a letter, a digit, '"', '.', '+', '-' and line ends.
    char separator = ',';
    /// Whether the first line has the name of each column, with its unit in brackets: "Energy loss [eV]".
    bool hasHeader = true;
};

/// The text of a plot, which spreadsheets open: one line a position, the first cell the position, then one cell a
/// series. Lines end in CR LF and texts that need it are quoted, as RFC 4180 says. Numbers have "." and as many digits
/// as reading back the same double needs, whatever the locale. A cell without a number, and one of a series that is
/// shorter than the positions, is empty; infinities are "inf" and "-inf".
///
/// Any thread may call it.
/// \throws std::invalid_argument for a separator that is not allowed, a series with more values than there are
///         positions, or a name or unit that is not UTF-8.
KILN_EXPORT std::string PlotText(const Plot& plot, const PlotTextFormat& format = {});

/// Writes PlotText to a file, which is complete or not there: an existing file is replaced in one step.
///
/// Spreadsheets on some systems take a file for UTF-8 only if it begins with a byte order mark, so it has one if a
/// character of the header is not ASCII.
/// \param fileName wide text of a path, see FileSystem::ToPath.
/// \throws Exception::Error with the file and the system's reason if the file cannot be written.
/// \throws std::invalid_argument as PlotText.
KILN_EXPORT void WritePlot(const std::wstring& fileName, const Plot& plot, const PlotTextFormat& format = {});

} // namespace Ardo::Kiln::ImageIO
