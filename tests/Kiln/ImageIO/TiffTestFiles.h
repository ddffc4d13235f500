#pragma once

#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/ImageIO/TiffExporter.h"
#include "Ardo/Kiln/ImageIO/TiffReader.h"
#include "Ardo/Kiln/Platform/RandomAccessFile.h"
#include "tests/Support/MessageOf.h"
#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <algorithm>
#include <random>
#include <string>
#include <system_error>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>

namespace Ardo::Kiln::ImageIO
{

using Support::MessageOf;
using Support::ReadFile;
using Support::WriteFile;

using FileSystem::ToWide;

/// Values that differ from pixel to pixel, row to row and strip to strip.
template <typename Pixel>
std::vector<Pixel> Pattern(std::size_t count)
{
    std::vector<Pixel> pixels(count);
    std::mt19937 generator;
    std::generate_n(reinterpret_cast<unsigned char*>(pixels.data()), count * sizeof(Pixel),
                    [&generator] { return static_cast<unsigned char>(generator()); });
    return pixels;
}

template <typename Pixel>
std::string BytesOf(const std::vector<Pixel>& pixels)
{
    return {reinterpret_cast<const char*>(pixels.data()), pixels.size() * sizeof(Pixel)};
}

inline std::string PixelsOf(const TiffReader& reader)
{
    return {reinterpret_cast<const char*>(reader.GetRawImageData()), reader.GetRawImageDataSize()};
}

/// Writes such values with one of the exporter's operations.
/// \returns the bytes of the pixels after the write, which may change them, and of some pixels behind them.
template <typename Pixel, typename... Rest>
std::string
WritePattern(TiffExporter& exporter, const std::filesystem::path& path, std::uint32_t width, std::uint32_t height,
             void (TiffExporter::*write)(const std::wstring&, Pixel*, std::uint32_t, std::uint32_t, Rest...),
             std::type_identity_t<Rest>... rest)
{
    auto pixels = Pattern<std::remove_const_t<Pixel>>(std::size_t{width} * height + 100); // room for padded rows
    (exporter.*write)(ToWide(path), pixels.data(), width, height, rest...);
    return BytesOf(pixels);
}

class TiffTest : public ::testing::Test
{
protected:
    /// The system's text for a file that cannot be opened because its folder is missing.
    static std::string NotFound() { return ReasonOf({"/no folder/file"}); }
    /// The same for a folder.
    std::string Folder() const { return ReasonOf(m_dir.Path()); }

    static std::string ReasonOf(const std::filesystem::path& path)
    {
        try
        {
            Platform::RandomAccessFile(path, Platform::RandomAccessFile::Access::Read);
        }
        catch (const std::system_error& error)
        {
            return error.code().message();
        }
        return "none";
    }

    /// The message of the failure; empty after a success, whose pixels have been looked at.
    std::string Open(const std::string& bytes)
    {
        WriteFile(m_path, bytes);
        return Open(m_path);
    }

    std::string Open(const std::filesystem::path& path)
    {
        return MessageOf<std::runtime_error>(
            [&]
            {
                m_reader.Open(ToWide(path));
                EXPECT_EQ(PixelsOf(m_reader).size(), std::size_t{m_reader.GetImageWidth()} * m_reader.GetImageHeight() *
                                                         m_reader.GetBytesPerSample() * m_reader.GetSamplesPerPixel());
            });
    }

    const Support::ScopedTempDir m_dir;
    const std::filesystem::path m_path = m_dir / "画像 é \xF0\x9F\x94\xAC.tif";
    const std::wstring m_name = ToWide(m_path);
    TiffReader m_reader;
};

} // namespace Ardo::Kiln::ImageIO
