#include "Ardo/Kiln/ImageIO/ExportSize.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>
#include <string>

namespace Ardo::Kiln::ImageIO
{

namespace
{

using Imaging::size_2d;

bool IsSide(std::uint32_t pixels)
{
    return pixels >= 1 && pixels <= ExportSize::MaxSide;
}

/// Reads the whole of \p text.
template <typename Number>
bool Read(std::string_view text, Number& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

/// \p size times \p factor; the side that decides, if it is known, is exact.
size_2d Scaled(size_2d size, double factor)
{
    const auto side = [factor](std::uint32_t pixels)
    { return std::max(1.0, std::round(static_cast<double>(pixels) * factor)); };
    if (std::max(side(size.width), side(size.height)) > ExportSize::MaxSide)
    {
        throw std::invalid_argument("the exported image would have more than " + std::to_string(ExportSize::MaxSide) +
                                    " pixels on a side");
    }
    return {static_cast<std::uint32_t>(side(size.width)), static_cast<std::uint32_t>(side(size.height))};
}

} // namespace

ExportSize ExportSize::Percent(double percent)
{
    if (!(percent > 0.0 && percent <= 10'000.0))
    {
        throw std::invalid_argument("a size in percent is greater than 0 and at most 10000");
    }
    ExportSize size;
    size.m_size = percent / 100.0;
    return size;
}

ExportSize ExportSize::LongestSide(std::uint32_t pixels)
{
    if (!IsSide(pixels))
    {
        throw std::invalid_argument("a side has from 1 to " + std::to_string(MaxSide) + " pixels");
    }
    ExportSize size;
    size.m_size = pixels;
    return size;
}

ExportSize ExportSize::Within(size_2d pixels)
{
    if (!IsSide(pixels.width) || !IsSide(pixels.height))
    {
        throw std::invalid_argument("a side has from 1 to " + std::to_string(MaxSide) + " pixels");
    }
    ExportSize size;
    size.m_size = pixels;
    return size;
}

ExportSize ExportSize::Parse(std::string_view text)
{
    std::string plain;
    std::ranges::copy_if(text, std::back_inserter(plain), [](char c) { return c != ' ' && c != '\t'; });
    const std::string_view view = plain;
    const std::size_t cross = view.find('x');
    double percent = 0.0;
    std::uint32_t side = 0;
    size_2d sides;
    try
    {
        if (view == "original")
        {
            return {};
        }
        if (view.ends_with('%') && Read(view.substr(0, view.size() - 1), percent))
        {
            return Percent(percent);
        }
        if (Read(view, side))
        {
            return LongestSide(side);
        }
        if (cross != std::string_view::npos && Read(view.substr(0, cross), sides.width) &&
            Read(view.substr(cross + 1), sides.height))
        {
            return Within(sides);
        }
    }
    catch (const std::invalid_argument& error)
    {
        throw std::invalid_argument("'" + std::string(text) + "': " + error.what());
    }
    throw std::invalid_argument("'" + std::string(text) +
                                "' is no size, such as \"50 %\", \"1024\" (longest side), \"800x600\" or \"original\"");
}

size_2d ExportSize::Of(size_2d original) const
{
    if (original.width == 0 || original.height == 0)
    {
        throw std::invalid_argument("ExportSize: an image without pixels");
    }
    const auto width = static_cast<double>(original.width);
    const auto height = static_cast<double>(original.height);
    if (const auto* const factor = std::get_if<double>(&m_size))
    {
        return *factor == 1.0 ? original : Scaled(original, *factor);
    }
    if (const auto* const side = std::get_if<std::uint32_t>(&m_size))
    {
        return Scaled(original, *side / std::max(width, height));
    }
    if (const auto* const sides = std::get_if<size_2d>(&m_size))
    {
        return Scaled(original, std::min(sides->width / width, sides->height / height));
    }
    return original;
}

MetadataLib::PixelSizeRecord ScaledPixelSize(const MetadataLib::PixelSizeRecord& pixelSize, size_2d from,
                                             size_2d to) noexcept
{
    MetadataLib::PixelSizeRecord scaled = pixelSize;
    scaled.X.Value *= static_cast<double>(from.width) / to.width;
    scaled.Y.Value *= static_cast<double>(from.height) / to.height;
    return scaled;
}

} // namespace Ardo::Kiln::ImageIO
