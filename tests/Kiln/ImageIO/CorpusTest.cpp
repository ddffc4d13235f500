#include "Ardo/Kiln/FileSystem/WidePath.h"
#include "Ardo/Kiln/ImageIO/ReadImageFromFile.h"
#include "Ardo/Kiln/ImageIO/TiffReader.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace Ardo::Kiln::ImageIO
{

namespace
{

/// Files that no reader may take for whole are called so.
bool IsRefused(const std::string& name)
{
    return name.starts_with("cut") || name.starts_with("claims") || name.starts_with("half") || name == "16-bit.ppm";
}

} // namespace

TEST(CorpusTest, WhatFuzzingBeginsWithIsReadOrRefused)
{
    const std::filesystem::path corpus(KILN_FUZZ_CORPUS);
    for (const char* folder : {"Image", "Tiff"})
    {
        for (const auto& entry : std::filesystem::directory_iterator(corpus / folder))
        {
            const std::string name = entry.path().filename().string();
            SCOPED_TRACE(name);
            const auto read = [&] { static_cast<void>(ReadImageFromFile(FileSystem::ToWide(entry.path()))); };
            if (IsRefused(name))
            {
                EXPECT_THROW(read(), std::runtime_error);
                continue;
            }
            EXPECT_NO_THROW(read());
            if (std::string(folder) == "Tiff")
            {
                TiffReader reader;
                EXPECT_NO_THROW(reader.Open(FileSystem::ToWide(entry.path())));
            }
        }
    }
}

} // namespace Ardo::Kiln::ImageIO
