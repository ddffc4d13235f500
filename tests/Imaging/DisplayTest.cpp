#include "Ardo/Imaging/DisplayBuffer.h"
#include "Ardo/Imaging/DisplayKernels_p.h"
#include "tests/Support/NotFinite.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <stdexcept>

namespace Ardo::Imaging
{

namespace
{

using Colour = ColourTable::Colour;

using Kiln::Support::Infinity;
using Kiln::Support::NotANumber;

/// The level before rounding, by the formula of the header.
double ExactLevel(double value, const DisplaySettings& settings)
{
    if (settings.white == settings.black)
    {
        return value > settings.black ? 255.0 : 0.0;
    }
    const double position = (value - settings.black) / (settings.white - settings.black);
    return position > 0.0 ? 255.0 * std::pow(std::min(position, 1.0), 1.0 / settings.gamma) : 0.0;
}

template <typename Sample>
void CompareLevels(PixelKind kind, const std::vector<Sample>& samples, const DisplaySettings& settings)
{
    // The positions of floats that pass a curve are rounded.
    const bool isRounded = kind == PixelKind::Float32 && settings.gamma != 1.0;
    const double nearby = kind == PixelKind::UInt16 && settings.gamma == 1.0 ? 0.02 : 1e-4;
    const double tolerance = 0.5 + (isRounded ? 0.07 / settings.gamma : kind == PixelKind::UInt8 ? 1e-12 : nearby);
    std::vector<std::uint8_t> levels(samples.size());
    std::vector<std::uint32_t> colours(samples.size());
    DisplaySettings reversed = settings;
    reversed.colours = ColourTable::Named("inverted");
    DisplayMapping(kind, settings, DisplayFormat::Grey8).Map(samples.data(), samples.size(), levels.data());
    DisplayMapping(kind, reversed).Map(samples.data(), samples.size(), colours.data());
    for (std::size_t i = 0; i < samples.size(); ++i)
    {
        ASSERT_NEAR(levels[i], ExactLevel(samples[i], settings), tolerance) << "sample " << double(samples[i]);
        ASSERT_EQ(colours[i], 0xff000000u + (255u - levels[i]) * 0x010101u) << "sample " << double(samples[i]);
    }
}

TEST(DisplayTest, LevelsFollowTheFormula)
{
    std::vector<std::uint8_t> bytes(256);
    std::vector<std::uint16_t> words(65'536);
    std::vector<float> floats = {Infinity, -Infinity, NotANumber, 0.0f, -0.0f, 1e-40f, 1e38f, -3e38f};
    for (std::size_t i = 0; i < words.size(); ++i)
    {
        bytes[i % 256] = static_cast<std::uint8_t>(i);
        words[i] = static_cast<std::uint16_t>(i);
        floats.push_back(static_cast<float>(i) * 0.37f - 200.0f);
    }
    const struct
    {
        double black, white, gamma;
    } cases[] = {{0, 255, 1},         {0, 65'535, 1},     {10, 200, 2.2},     {200, 10, 1},       {1000, 1003, 1},
                 {7, 7, 1},           {-100, 50'000, 1},  {3000, 500, 0.45},  {0, 65'535, 0.1},   {0, 24'000, 5},
                 {-0.125, 0.0625, 1}, {20.5, 20.75, 1.5}, {-1e30, 1e30, 1.0}, {40'000, 100, 2.2}, {1e-38, 2e-38, 1},
                 {1203, 1204, 1},     {1, 4, 1},          {0, 254, 1},        {1, 257, 1},        {0, 32767, 1},
                 {1203, 33971, 1},    {65000, 65535, 1}};
    for (const auto& [black, white, gamma] : cases)
    {
        SCOPED_TRACE(testing::Message() << black << " to " << white << ", gamma " << gamma);
        DisplaySettings settings;
        settings.black = black;
        settings.white = white;
        settings.gamma = gamma;
        CompareLevels(PixelKind::UInt8, bytes, settings);
        CompareLevels(PixelKind::UInt16, words, settings);
        CompareLevels(PixelKind::Float32, floats, settings);
    }
}

TEST(DisplayTest, LoopsOfEachProcessorGiveTheSame)
{
    constexpr std::size_t Most = 300;
    std::mt19937 random(5);
    std::vector<std::uint8_t> bytes(4 * Most + 1);
    std::vector<std::uint16_t> words(Most + 1);
    std::vector<float> floats(Most + 1);
    std::vector<std::uint8_t> table(LevelCurve::Size);
    std::ranges::generate(bytes, [&] { return static_cast<std::uint8_t>(random()); });
    std::ranges::generate(words, [&] { return static_cast<std::uint16_t>(random()); });
    std::ranges::generate(floats, [&] { return static_cast<float>(random() % 100'000) - 2e4f; });
    std::ranges::generate(table, [&] { return static_cast<std::uint8_t>(random()); });
    floats[3] = NotANumber;
    floats[40] = Infinity;
    floats[41] = -Infinity;
    const LevelLine line{12'345.0f, 0.0071f};
    const LevelCurve curve{{1e3f, 1.3e-5f}, table.data()};
    const auto results = [&](const DisplayKernels& kernels, std::size_t count)
    {
        // One byte more than each loop may write, and inputs that begin at odd places.
        std::vector<std::vector<std::uint8_t>> bytesOut(6, std::vector<std::uint8_t>(count + 1, 0xaa));
        std::vector<std::vector<std::uint32_t>> wordsOut(2, std::vector<std::uint32_t>(count + 1, 0xaaaaaaaa));
        kernels.lookUp8(bytes.data() + 1, count, table.data(), bytesOut[0].data());
        kernels.line16(words.data() + 1, count, line, bytesOut[1].data());
        kernels.lineFloat(floats.data() + 1, count, line, bytesOut[2].data());
        kernels.curveFloat(floats.data() + 1, count, curve, bytesOut[3].data());
        kernels.wholeLine8(bytes.data() + 1, count, WholeLine::Between(17, 203), bytesOut[4].data());
        kernels.wholeLine16(words.data() + 1, count, WholeLine::Between(1203, 48'000), bytesOut[5].data());
        kernels.packRgb(bytes.data() + 1, count, wordsOut[0].data());
        kernels.packRgba(bytes.data() + 1, count, wordsOut[1].data());
        return std::pair(bytesOut, wordsOut);
    };
    for (std::size_t count = 0; count < Most; count += count < 70 ? 1 : 37)
    {
        const auto portable = results(*UsableDisplayKernels().front(), count);
        for (const DisplayKernels* const kernels : UsableDisplayKernels().subspan(1))
        {
            ASSERT_EQ(results(*kernels, count), portable) << count;
        }
        EXPECT_TRUE(std::ranges::all_of(portable.first, [](const auto& out) { return out.back() == 0xaa; }));
        EXPECT_TRUE(std::ranges::all_of(portable.second, [](const auto& out) { return out.back() == 0xaaaaaaaa; }));
    }
}

TEST(DisplayTest, ALargeFloatImageHasTheLevelsOfItsParts)
{
    constexpr std::size_t Count = (std::size_t{4} << 20) + 2077;
    const LevelLine line{100.0f, 0.011f};
    std::vector<float> samples(Count);
    for (std::size_t i = 0; i < Count; ++i)
    {
        samples[i] = i % 1009 == 0 ? NotANumber : i % 1013 == 0 ? Infinity : static_cast<float>(i % 30'011) - 3000.0f;
    }
    std::vector<std::uint8_t> expected(Count + 2, 0xaa);
    UsableDisplayKernels().front()->lineFloat(samples.data(), Count, line, expected.data() + 1);
    for (const DisplayKernels* const kernels : UsableDisplayKernels().subspan(1))
    {
        std::vector<std::uint8_t> levels(Count + 2, 0xaa);
        kernels->lineFloat(samples.data(), Count, line, levels.data() + 1); // not aligned
        EXPECT_TRUE(levels == expected);
    }
}

TEST(DisplayTest, PixelsOutsideTheRangeHaveTheChosenColours)
{
    DisplaySettings settings;
    settings.black = 20.0;
    settings.white = 10.0; // exchanged: outside is still below 10 and above 20
    settings.below = Colour{0, 0, 255};
    settings.above = Colour{255, 0, 0};
    settings.notANumber = Colour{0, 255, 0};
    constexpr std::uint32_t Blue = 0xff0000ff;
    constexpr std::uint32_t Red = 0xffff0000;
    constexpr std::uint32_t Green = 0xff00ff00;
    constexpr std::uint32_t Black = 0xff000000;
    constexpr std::uint32_t White = 0xffffffff;
    const auto map = [&](PixelKind kind, const auto& samples)
    {
        std::vector<std::uint32_t> out(samples.size() * sizeof(samples[0]) / BytesPerPixel(kind));
        DisplayMapping(kind, settings).Map(samples.data(), out.size(), out.data());
        return out;
    };
    using testing::ElementsAre;
    EXPECT_THAT(map(PixelKind::UInt8, std::vector<std::uint8_t>{9, 10, 20, 21}), ElementsAre(Blue, White, Black, Red));
    EXPECT_THAT(map(PixelKind::UInt16, std::vector<std::uint16_t>{9, 10, 20, 21}),
                ElementsAre(Blue, White, Black, Red));
    EXPECT_THAT(map(PixelKind::Float32, std::vector{9.9f, 10.0f, NotANumber, 20.0f, 20.1f, Infinity, -Infinity}),
                ElementsAre(Blue, White, Green, Black, Red, Red, Blue));
    // One sample above; all below; some below.
    const std::vector<std::uint8_t> colours = {20, 21, 20, 9, 8, 7, 9, 10, 20};
    EXPECT_THAT(map(PixelKind::Rgb8, colours), ElementsAre(Red, Blue, 0xffffff00));

    settings.notANumber.reset();
    settings.below.reset();
    settings.gamma = 2.0;
    EXPECT_THAT(map(PixelKind::Float32, std::vector{9.0f, NotANumber, 21.0f, 17.5f}),
                ElementsAre(White, Black, Red, 0xff808080));
    settings.colours = ColourTable::Named("viridis");
    EXPECT_THAT(map(PixelKind::UInt16, std::vector<std::uint16_t>{9, 20, 21}),
                ElementsAre(0xfffde725, 0xff440154, Red));

    // Shades of grey are colours of grey formats.
    settings.colours = ColourTable();
    settings.above = Colour{77, 77, 77};
    std::vector<std::uint8_t> grey(3);
    const std::vector<float> floats = {21.0f, 10.0f, 30.0f};
    DisplayMapping(PixelKind::Float32, settings, DisplayFormat::Grey8).Map(floats.data(), 3, grey.data());
    EXPECT_THAT(grey, ElementsAre(77, 255, 77));
}

TEST(DisplayTest, ColouredPixelsAreMappedSampleBySample)
{
    DisplaySettings settings;
    const std::vector<std::uint8_t> pixels = {1, 2, 3, 255, 100, 150, 200, 255, 200, 100, 50, 127, 9, 9, 9, 0};
    std::vector<std::uint32_t> out(4);
    DisplayMapping(PixelKind::Rgba8, settings).Map(pixels.data(), 4, out.data());
    EXPECT_THAT(out, testing::ElementsAre(0xff010203, 0xff6496c8, 0xff643219, 0xff000000));
    settings.black = 50;
    settings.white = 152;
    settings.colours = ColourTable::Named("magma"); // does not apply
    DisplayMapping(PixelKind::Rgba8, settings).Map(pixels.data(), 4, out.data());
    EXPECT_THAT(out, testing::ElementsAre(0xff000000, 0xff7dfaff, 0xff7f3e00, 0xff000000));
    out.resize(1);
    DisplayMapping(PixelKind::Rgb8, settings).Map(pixels.data() + 4, 1, out.data());
    EXPECT_EQ(out[0], 0xff7dfaff);
}

/// \param gap bytes behind each row of the image.
void ShowImagePartsAndLines(std::uint32_t width, std::size_t gap, DisplayFormat format)
{
    const size_2d size{width, 3};
    const std::size_t stride = width * sizeof(std::uint16_t) + gap;
    const auto samples = std::make_shared<std::vector<std::uint16_t>>(stride / 2 * size.height);
    for (std::size_t i = 0; i < samples->size(); ++i)
    {
        (*samples)[i] = static_cast<std::uint16_t>(1 + i % 255);
    }
    const const_raw_image image(std::shared_ptr<const void>(samples, samples->data()), size, PixelKind::UInt16, stride);
    const DisplayMapping mapping(PixelKind::UInt16, {}, format);
    const auto expectShown = [&](const DisplayBuffer& buffer, auto isShown)
    {
        for (std::uint32_t y = 0; y < size.height; ++y)
        {
            for (std::uint32_t x = 0; x < width; ++x)
            {
                std::uint32_t pixel = 0;
                std::memcpy(&pixel, buffer.Row(y) + x * BytesPerPixel(format), BytesPerPixel(format));
                const std::uint32_t level = isShown(x, y) ? (*samples)[y * stride / 2 + x] : 0;
                ASSERT_EQ(pixel, format == DisplayFormat::Grey8 ? level : 0xff000000u + level * 0x010101u)
                    << x << ", " << y;
            }
        }
    };
    DisplayBuffer whole(size, format);
    EXPECT_EQ(whole.Stride(), format == DisplayFormat::Grey8 ? 5004u : 4 * width);
    expectShown(whole, [](auto, auto) { return false; });
    whole.Update(image, mapping);
    expectShown(whole, [](auto, auto) { return true; });

    DisplayBuffer part(size, format);
    part.Update(image, {4, 1, 5001, 2}, mapping);
    part.UpdateLine(2, image.Row(2), 3, mapping);
    part.UpdateLine(2, static_cast<const std::uint16_t*>(image.Row(2)) + 5000, width - 5000, mapping, 5000);
    part.UpdateLine(1, nullptr, 0, mapping, width);
    part.Update(image, {7, 0, 7, 3}, mapping);
    expectShown(part,
                [](auto x, auto y) { return (y == 1 && x >= 4 && x < 5001) || (y == 2 && (x < 3 || x >= 5000)); });
}

TEST(DisplayTest, ABufferShowsImagesPartsAndLines)
{
    // A row is more than one block of the loops.
    for (const DisplayFormat format : {DisplayFormat::Grey8, DisplayFormat::Rgb32})
    {
        ShowImagePartsAndLines(5003, 6, format);
        ShowImagePartsAndLines(5004, 0, format); // one long row
    }
}

TEST(DisplayTest, RefusesWhatDoesNotFit)
{
    const auto make = [](double black, double white, double gamma, DisplayFormat format = DisplayFormat::Rgb32,
                         PixelKind kind = PixelKind::UInt8, const char* colours = "grey")
    {
        DisplaySettings settings;
        settings.black = black;
        settings.white = white;
        settings.gamma = gamma;
        settings.colours = ColourTable::Named(colours);
        return DisplayMapping(kind, settings, format);
    };
    for (const double wrong : {double{NotANumber}, double{Infinity}, 1e39})
    {
        EXPECT_THROW(make(wrong, 0, 1), std::invalid_argument);
        EXPECT_THROW(make(0, wrong, 1), std::invalid_argument);
        EXPECT_THROW(make(0, 1, wrong), std::invalid_argument);
    }
    EXPECT_THROW(make(0, 1, 0), std::invalid_argument);
    EXPECT_THROW(make(0, 1, -1), std::invalid_argument);
    EXPECT_THROW(make(0, 1, 1, DisplayFormat::Grey8, PixelKind::Rgb8), std::invalid_argument);
    EXPECT_THROW(make(0, 1, 1, DisplayFormat::Grey8, PixelKind::UInt16, "magma"), std::invalid_argument);
    DisplaySettings red;
    red.above = Colour{255, 0, 0};
    EXPECT_THROW(DisplayMapping(PixelKind::UInt8, red, DisplayFormat::Grey8), std::invalid_argument);

    EXPECT_THROW(DisplayBuffer({0, 1}, DisplayFormat::Grey8), std::invalid_argument);
    EXPECT_THROW(DisplayBuffer({1, 0}, DisplayFormat::Rgb32), std::invalid_argument);
    DisplayBuffer buffer({3, 2}, DisplayFormat::Rgb32);
    const DisplayMapping mapping = make(0, 255, 1);
    const std::shared_ptr<const void> pixels(new std::uint8_t[16](), [](const void* memory)
                                             { delete[] static_cast<const std::uint8_t*>(memory); });
    const const_raw_image image(pixels, {3, 2}, PixelKind::UInt8);
    EXPECT_THROW(buffer.Update({pixels, {2, 2}, PixelKind::UInt8}, mapping), std::invalid_argument);
    EXPECT_THROW(buffer.Update({pixels, {3, 2}, PixelKind::UInt16}, mapping), std::invalid_argument);
    EXPECT_THROW(buffer.Update(image, make(0, 1, 1, DisplayFormat::Grey8)), std::invalid_argument);
    for (const rectangle& part : {rectangle{-1, 0, 1, 1}, {0, 0, 4, 1}, {0, 0, 1, 3}, {2, 0, 1, 1}})
    {
        EXPECT_THROW(buffer.Update(image, part, mapping), std::invalid_argument);
    }
    EXPECT_THROW(buffer.UpdateLine(2, pixels.get(), 1, mapping), std::invalid_argument);
    EXPECT_THROW(buffer.UpdateLine(0, pixels.get(), 3, mapping, 1), std::invalid_argument);
    EXPECT_THROW(buffer.UpdateLine(0, pixels.get(), 1, mapping, 4), std::invalid_argument);
    EXPECT_THROW(buffer.UpdateLine(0, nullptr, 1, mapping), std::invalid_argument);
    EXPECT_THROW(buffer.UpdateLine(0, pixels.get(), 1, make(0, 1, 1, DisplayFormat::Grey8)), std::invalid_argument);
    EXPECT_EQ(*buffer.Row(0), 0u);
}

} // namespace

} // namespace Ardo::Imaging
