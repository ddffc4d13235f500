#include "Ardo/Kiln/ImageIO/Presentation.h"

#include "Ardo/Imaging/ScaleImage.h"
#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/Formatting/SI.h"
#include "Ardo/Kiln/ImageIO/Annotation_p.h"
#include "Ardo/Kiln/ImageIO/PictureFormats_p.h"
#include "Ardo/Kiln/ImageIO/TiffExporter.h"
#include "Ardo/Kiln/ImageIO/WholeFile_p.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>

namespace Ardo::Kiln::ImageIO
{

namespace
{

using Imaging::const_raw_image;
using Imaging::DisplayFormat;
using Imaging::DisplayMapping;
using Imaging::PixelKind;
using Imaging::size_2d;

constexpr Canvas::Colour Black{0, 0, 0};
constexpr Canvas::Colour White{255, 255, 255};

bool IsGrey(const const_raw_image& image, const Imaging::DisplaySettings& settings)
{
    const auto isGrey = [](const std::optional<Canvas::Colour>& colour)
    { return !colour || (colour->red == colour->green && colour->green == colour->blue); };
    return image.Kind() != PixelKind::Rgb8 && image.Kind() != PixelKind::Rgba8 && settings.colours.IsGrey() &&
           isGrey(settings.below) && isGrey(settings.above) && isGrey(settings.notANumber);
}

/// The height of capital letters in a picture of \p size: readable on a slide, and not less than a small font.
double TextHeight(size_2d size)
{
    constexpr double MinHeight = 9.0;
    return std::max(MinHeight, std::round(std::min(size.width, size.height) / 32.0));
}

double StrokeWidth(double textHeight)
{
    return std::max(1.2, textHeight / 9.0);
}

/// The cells of a data bar in lines, as many in a line as fit.
class DataBar
{
public:
    DataBar(const std::vector<DataBarCell>& cells, std::uint32_t width, double textHeight)
        : m_textHeight(textHeight), m_gap(1.5 * textHeight)
    {
        double x = m_gap;
        for (const DataBarCell& cell : cells)
        {
            const std::wstring text =
                cell.title + (cell.title.empty() || cell.value.empty() ? L"" : L"  ") + cell.value;
            const double end = x + TextWidth(text, textHeight) + m_gap;
            if (!m_cells.empty() && end > width)
            {
                ++m_lines;
                x = m_gap;
            }
            m_cells.push_back({x, m_lines, text});
            x += TextWidth(text, textHeight) + 2.0 * m_gap;
        }
    }

    std::uint32_t Height() const
    {
        return m_cells.empty() ? 0 : static_cast<std::uint32_t>(std::ceil(m_gap + (m_lines + 1) * LineHeight()));
    }

    void Draw(Canvas& canvas, std::uint32_t top) const
    {
        for (const Cell& cell : m_cells)
        {
            canvas.DrawText(cell.x, top + m_gap + m_textHeight + cell.line * LineHeight(), m_textHeight,
                            StrokeWidth(m_textHeight), cell.text, White);
        }
    }

private:
    struct Cell
    {
        double x;
        int line;
        std::wstring text;
    };

    double LineHeight() const { return 2.0 * m_textHeight; }

    double m_textHeight;
    double m_gap;
    int m_lines = 0; ///< Index of the last line.
    std::vector<Cell> m_cells;
};

/// The image as levels or colours, with black rows for a data bar below.
Canvas Map(const const_raw_image& image, const Imaging::DisplaySettings& settings, std::uint32_t barHeight)
{
    const bool isGrey = IsGrey(image, settings);
    const DisplayMapping mapping(image.Kind(), settings, isGrey ? DisplayFormat::Grey8 : DisplayFormat::Rgb32);
    const auto [width, height] = image.Size();
    Canvas canvas{{width, height + barHeight}, isGrey ? 1u : 3u, {}};
    canvas.pixels.resize(canvas.samples * width * (std::size_t{height} + barHeight));
    std::vector<std::uint32_t> colours(isGrey ? 0 : width);
    for (std::uint32_t y = 0; y < height; ++y)
    {
        std::uint8_t* out = canvas.pixels.data() + canvas.samples * width * y;
        mapping.Map(image.Row(y), width, isGrey ? static_cast<void*>(out) : colours.data());
        for (const std::uint32_t colour : colours)
        {
            *out++ = static_cast<std::uint8_t>(colour >> 16);
            *out++ = static_cast<std::uint8_t>(colour >> 8);
            *out++ = static_cast<std::uint8_t>(colour);
        }
    }
    return canvas;
}

/// A white bar with its label above it, both with a black edge, so that they show on any image.
void DrawScaleBar(Canvas& canvas, const ScaleBar& bar, std::uint32_t imageHeight, double textHeight)
{
    const double edge = std::max(1.0, std::round(textHeight / 10.0));
    const double left = std::round(textHeight);
    const double thickness = std::max(2.0, std::round(textHeight / 3.0));
    const double bottom = imageHeight - std::round(textHeight);
    const auto fill = [&](double grow, const Canvas::Colour& colour)
    {
        canvas.FillRectangle(static_cast<int>(left - grow), static_cast<int>(bottom - thickness - grow),
                             static_cast<int>(left + std::round(bar.pixels) + grow), static_cast<int>(bottom + grow),
                             colour);
    };
    fill(edge, Black);
    fill(0.0, White);
    const double baseline = bottom - thickness - std::round(0.6 * textHeight);
    const double stroke = StrokeWidth(textHeight);
    canvas.DrawText(left, baseline, textHeight, stroke + 2.0 * edge, bar.label, Black);
    canvas.DrawText(left, baseline, textHeight, stroke, bar.label, White);
}

bool IsLength(const MetadataLib::Quantity& quantity)
{
    const double value = InBaseUnit(quantity);
    return quantity.Unit == "m" && std::isfinite(value) && value > 0.0;
}

std::optional<PixelDensity> DensityOf(const std::optional<MetadataLib::PixelSizeRecord>& pixelSize)
{
    if (!pixelSize || !IsLength(pixelSize->X) || !IsLength(pixelSize->Y))
    {
        return std::nullopt;
    }
    return PixelDensity{1.0 / InBaseUnit(pixelSize->X), 1.0 / InBaseUnit(pixelSize->Y)};
}

/// The record of the scaled image.
MetadataLib::Metadata ScaledRecord(const MetadataLib::Metadata& metadata, size_2d from, size_2d to)
{
    MetadataLib::Metadata scaled = metadata;
    auto& result = scaled.BinaryResult;
    if (result.ImageSize)
    {
        result.ImageSize = {static_cast<double>(to.width), static_cast<double>(to.height)};
    }
    if (result.PixelSize)
    {
        result.PixelSize = ScaledPixelSize(*result.PixelSize, from, to);
    }
    return scaled;
}

/// Writes a file with a path. Throws exceptions whose text is the reason.
using Writer = std::function<void(const std::filesystem::path&)>;

/// Checks the arguments and makes the picture; the function that is returned only writes.
Writer MakeWriter(ExportType type, const const_raw_image& image, const MetadataLib::Metadata* metadata,
                  const PresentationSettings& settings)
{
    using Path = std::filesystem::path;
    if (settings.jpegQuality < 1 || settings.jpegQuality > 100)
    {
        throw std::invalid_argument("the quality of JPEG is from 1 to 100");
    }
    const size_2d size = settings.size.Of(image.Size());
    if (InfoOf(type).type == ExportType::Data)
    {
        const auto record =
            metadata == nullptr ? std::nullopt : std::optional(ScaledRecord(*metadata, image.Size(), size));
        return [record, scaled = ScaleImage(image, size)](const Path& path)
        { TiffExporter().WriteImage(FileSystem::ToWide(path), scaled, record ? &*record : nullptr); };
    }
    const auto pixelSize = metadata == nullptr ? std::nullopt : metadata->BinaryResult.PixelSize;
    const const_raw_image picture = MakePresentation(image, pixelSize ? &*pixelSize : nullptr, settings);
    const auto density =
        DensityOf(pixelSize ? std::optional(ScaledPixelSize(*pixelSize, image.Size(), size)) : std::nullopt);
    switch (type)
    {
    case ExportType::Png:
        return [picture, density](const Path& path) { WriteContents(path, PngContents(picture, density)); };
    case ExportType::Jpeg:
        return [picture, density, quality = settings.jpegQuality](const Path& path)
        { WriteContents(path, JpegContents(picture, density, quality)); };
    default:
        return [picture, density](const Path& path)
        {
            constexpr double Centimetre = 0.01;
            WritePictureTiff(path, picture,
                             density
                                 ? std::optional(TiffResolution{density->x * Centimetre, density->y * Centimetre, true})
                                 : std::nullopt);
        };
    }
}

} // namespace

std::optional<ScaleBar> MakeScaleBar(const MetadataLib::Quantity& pixelSize, double maxPixels)
{
    const double size = InBaseUnit(pixelSize);
    const double most = size * maxPixels;
    const std::string unit = pixelSize.Unit.value_or("");
    if (unit.empty() || !(size > 0.0) || !(maxPixels > 0.0) || !std::isnormal(most) || !std::isfinite(1.0 / size))
    {
        return std::nullopt;
    }
    const double power = std::pow(10.0, std::floor(std::log10(most)));
    constexpr double Rounding = 1.0 + 1e-9; // the logarithm and the power are rounded
    double length = power;
    for (const double factor : {2.0, 5.0, 10.0})
    {
        length = factor * power <= most * Rounding ? factor * power : length;
    }
    constexpr double NotGiven = std::numeric_limits<double>::quiet_NaN();
    // The prefix keeps the number whole, except below the smallest one.
    return ScaleBar{length, length / size,
                    Formatting::SI(length, Conversion::String::FromUtf8(unit), 3, NotGiven, NotGiven,
                                   Formatting::Prefix::Femto, Formatting::Prefix::Exa, false)};
}

const_raw_image MakePresentation(const const_raw_image& image, const MetadataLib::PixelSizeRecord* pixelSize,
                                 const PresentationSettings& settings)
{
    const const_raw_image scaled = ScaleImage(image, settings.size.Of(image.Size()));
    const double textHeight = TextHeight(scaled.Size());
    std::optional<ScaleBar> bar;
    if (settings.hasScaleBar)
    {
        const double maxPixels = scaled.Size().width / 4.0;
        bar = pixelSize == nullptr
                  ? std::nullopt
                  : MakeScaleBar(ScaledPixelSize(*pixelSize, image.Size(), scaled.Size()).X, maxPixels);
        if (!bar)
        {
            throw std::invalid_argument("a scale bar needs the pixel size of the image and its unit");
        }
    }
    const DataBar dataBar(settings.dataBar, scaled.Size().width, textHeight);
    const auto canvas = std::make_shared<Canvas>(Map(scaled, settings.display, dataBar.Height()));
    dataBar.Draw(*canvas, scaled.Size().height);
    if (bar)
    {
        DrawScaleBar(*canvas, *bar, scaled.Size().height, textHeight);
    }
    return {std::shared_ptr<const void>(canvas, canvas->pixels.data()), canvas->size,
            canvas->samples == 1 ? PixelKind::UInt8 : PixelKind::Rgb8};
}

void ExportImage(const std::wstring& fileName, ExportType type, const const_raw_image& image,
                 const MetadataLib::Metadata* metadata, const PresentationSettings& settings)
{
    const Writer write = MakeWriter(type, image, metadata, settings);
    WriteWholeFile(fileName, write);
}

void ExportImageInPlace(const std::wstring& fileName, ExportType type, const const_raw_image& image,
                        const MetadataLib::Metadata* metadata, const PresentationSettings& settings)
{
    const Writer write = MakeWriter(type, image, metadata, settings);
    try
    {
        write(FileSystem::ToPath(fileName));
    }
    catch (const std::runtime_error& error)
    {
        throw Exception::Error(FileSystem::ToDisplayText(FileSystem::ToPath(fileName)) + ": " + error.what());
    }
}

} // namespace Ardo::Kiln::ImageIO
