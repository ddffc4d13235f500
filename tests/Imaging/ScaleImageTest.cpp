#include "Ardo/Imaging/ScaleImage.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

namespace Ardo::Imaging
{

namespace
{

template <typename Sample>
std::vector<Sample> Scaled(const std::vector<Sample>& samples, size_2d from, PixelKind kind, size_2d to)
{
    const auto copy = std::make_shared<std::vector<Sample>>(samples);
    const const_raw_image scaled = ScaleImage({std::shared_ptr<const void>(copy, copy->data()), from, kind}, to);
    EXPECT_EQ(scaled.Size(), to);
    EXPECT_EQ(scaled.Kind(), kind);
    EXPECT_EQ(scaled.Stride(), scaled.RowSize());
    const auto* const first = static_cast<const Sample*>(scaled.Row(0));
    return {first, first + scaled.RowSize() / sizeof(Sample) * to.height};
}

TEST(ScaleImageTest, PixelsAreMeansOrInterpolated)
{
    using testing::ElementsAre;
    const std::vector<std::uint16_t> words = {1000,  3000,  10, 20, //
                                              5000,  7001,  30, 41, //
                                              65535, 65535, 0,  0,  //
                                              65535, 65535, 0,  1};
    EXPECT_THAT(Scaled(words, {4, 4}, PixelKind::UInt16, {2, 2}), ElementsAre(4000, 25, 65535, 0));
    EXPECT_THAT(Scaled(words, {4, 4}, PixelKind::UInt16, {1, 4}), ElementsAre(1008, 3018, 32768, 32768));
    // Three pixels become two: each covers one and a half.
    EXPECT_THAT(Scaled(std::vector{3.0f, 9.0f, 30.0f}, {3, 1}, PixelKind::Float32, {2, 1}), ElementsAre(5.0f, 23.0f));
    // Centres of the new pixels at -1/4, 1/4, 3/4 and 5/4 of the old ones.
    EXPECT_THAT(Scaled(std::vector{0.0f, 8.0f}, {1, 2}, PixelKind::Float32, {1, 4}),
                ElementsAre(0.0f, 2.0f, 6.0f, 8.0f));
    EXPECT_THAT(Scaled(std::vector<std::uint8_t>{0, 100, 200, 10, 120, 255}, {2, 1}, PixelKind::Rgb8, {1, 1}),
                ElementsAre(5, 110, 228));
    // The transparent pixel has no colour that counts.
    EXPECT_THAT(Scaled(std::vector<std::uint8_t>{200, 100, 50, 255, 0, 255, 255, 0}, {2, 1}, PixelKind::Rgba8, {1, 1}),
                ElementsAre(200, 100, 50, 128));
    EXPECT_THAT(Scaled(std::vector<std::uint8_t>(8, 0), {2, 1}, PixelKind::Rgba8, {1, 1}), ElementsAre(0, 0, 0, 0));
}

TEST(ScaleImageTest, AConstantImageStaysConstantAndTheMeanStays)
{
    std::vector<float> ramp(37 * 29);
    double sum = 0.0;
    for (std::size_t i = 0; i < ramp.size(); ++i)
    {
        ramp[i] = static_cast<float>(i % 101);
        sum += ramp[i];
    }
    for (const size_2d size : {size_2d{1, 1}, {36, 28}, {5, 100}, {36, 3}, {111, 58}, {37, 30}})
    {
        for (const std::uint8_t value :
             Scaled(std::vector<std::uint8_t>(37 * 29, 255), {37, 29}, PixelKind::UInt8, size))
        {
            ASSERT_EQ(value, 255);
        }
        if (size.width < 37 && size.height < 29)
        {
            double scaledSum = 0.0;
            for (const float value : Scaled(ramp, {37, 29}, PixelKind::Float32, size))
            {
                scaledSum += value;
            }
            EXPECT_NEAR(scaledSum / (size.width * size.height), sum / (37 * 29), 1e-4);
        }
    }
}

TEST(ScaleImageTest, NotANumberStaysWhereItIs)
{
    std::vector<float> samples(300, 1.0f);
    samples[150] = std::numeric_limits<float>::quiet_NaN();
    const auto scaled = Scaled(samples, {300, 1}, PixelKind::Float32, {100, 1});
    for (std::size_t i = 0; i < scaled.size(); ++i)
    {
        EXPECT_EQ(std::isnan(scaled[i]), i == 50) << i;
    }
}

TEST(ScaleImageTest, RefusesNoPixelsAndDoesNotCopyWithoutNeed)
{
    const std::shared_ptr<const void> pixels = std::make_shared<std::uint8_t>(std::uint8_t{7});
    const const_raw_image image(pixels, {1, 1}, PixelKind::UInt8);
    EXPECT_EQ(ScaleImage(image, {1, 1}).Pixels(), pixels);
    EXPECT_THROW(ScaleImage(image, {0, 1}), std::invalid_argument);
    EXPECT_THROW(ScaleImage(image, {1, 0}), std::invalid_argument);
}

} // namespace

} // namespace Ardo::Imaging
