#include "Ardo/Kiln/Formatting/MicroscopeQuantities.h"

#include "tests/Support/NotFinite.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace Ardo::Kiln::Formatting
{

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Throws;
using ::testing::ThrowsMessage;

namespace
{

using Support::Infinity;
using Support::NotANumber;
constexpr double Exact = 4 * std::numeric_limits<double>::epsilon();

} // namespace

TEST(QuantityTest, RoundsBeforeItChoosesThePrefix)
{
    const struct
    {
        const char* shows;
        double value;
        Quantity quantity;
        const wchar_t* text;
    } rows[] = {
        {"up to the next prefix", 999.96e-9, Quantity::Defocus, L"+1 \u00B5m"},
        {"not yet", -999.94e-9, Quantity::Defocus, L"-999.9 nm"},
        {"a zero with a sign", -0.0, Quantity::Defocus, L"0 nm"},
        {"less than half a step", -0.4e-12, Quantity::Defocus, L"0 nm"},
        {"half a step", 0.5e-12, Quantity::Defocus, L"0 nm"},
        {"more than half a step", -0.6e-12, Quantity::Defocus, L"-0.001 nm"},
        {"one digit of the step", 1.6e-12, Quantity::Defocus, L"+0.002 nm"},
        {"up to a digit more", 9.7e-12, Quantity::Defocus, L"+0.01 nm"},
        {"a tie, to the even digit", 1234.5, Quantity::Magnification, L"1.234 kx"},
        {"a tie that a division loses", 8.0785000000000004e21, Quantity::Magnification, L"8.079E+15 Mx"},
        {"up to what cannot be read", 999999999.5, Quantity::ImageSize, L"1.000000000E+09 px"},
        {"beyond the largest prefix", 123.0, Quantity::Defocus, L"+123000 mm"},
        {"beyond what can be read", 1e12, Quantity::WorkingDistance, L"1.0000E+15 mm"},
        {"the largest double", std::numeric_limits<double>::max(), Quantity::FrameRate, L"1.798E+308 fps"},
        {"the smallest double", 5e-324, Quantity::PixelSize, L"0 pm"},
        {"an infinity", -Infinity, Quantity::Defocus, L"-\u221E m"},
        {"a measured value below 0", -3e-12, Quantity::ScreenCurrent, L"-3 pA"},
        {"a difference of large numbers", 293.15, Quantity::TemperatureInCelsius, L"20 \u00B0C"},
        {"absolute zero", 0, Quantity::TemperatureInCelsius, L"-273.15 \u00B0C"},
        {"a whole turn", 2 * 3.14159265358979, Quantity::TiltAngle, L"360\u00B0"},
        {"an exponent", 0, Quantity::PressureInMillibar, L"0.00e+00 mbar"},
        {"an infinity with an exponent", Infinity, Quantity::PressureInMillibar, L"\u221E mbar"},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(FormatQuantity(row.value, row.quantity), row.text) << row.shows;
    }
    for (const QuantityFormat& format : QuantityFormats())
    {
        EXPECT_EQ(FormatQuantity(NotANumber, format.quantity), L"-");
        EXPECT_EQ(FormatQuantity(std::nullopt, format.quantity), L"-");
        EXPECT_EQ(QuantityFromName(format.name), format.quantity);
    }
    EXPECT_EQ(QuantityFromName(L"DEFOCUS"), Quantity::Defocus);
    EXPECT_EQ(QuantityFromName(L"Defoc"), std::nullopt);
    EXPECT_THROW(FormatQuantity(1, static_cast<Quantity>(-1)), std::invalid_argument);
    EXPECT_THROW(ParseQuantity(L"1 m", static_cast<Quantity>(QuantityFormats().size())), std::invalid_argument);
}

TEST(QuantityTest, WhatIsShownIsReadAsWhatIsShown)
{
    // Numbers with at most the digits of every row, over all magnitudes.
    for (const QuantityFormat& format : QuantityFormats())
    {
        for (double value = 1.23e-6; value < 1e7; value *= 7.3)
        {
            const double inUnit = std::max(value, 30 * std::pow(10.0, format.smallestStep));
            const std::wstring text =
                FormatQuantity(inUnit * format.unit->inBase + format.unit->zeroInBase, format.quantity);
            const double read = ParseQuantity(text, format.quantity);
            EXPECT_EQ(FormatQuantity(read, format.quantity), text);
            EXPECT_NEAR((read - format.unit->zeroInBase) / format.unit->inBase, inUnit,
                        std::max(inUnit * 0.5001 * std::pow(10.0, 1 - format.digits),
                                 0.5001 * std::pow(10.0, format.smallestStep)))
                << format.digits;
        }
    }
}

TEST(QuantityTest, TheCallerChoosesTheUnit)
{
    EXPECT_EQ(FormatConvergenceAngle(0.0253, AngleUnit::Degree), L"1.45\u00B0");
    EXPECT_EQ(FormatTiltAngle(0.0253, AngleUnit::Milliradian), L"25.3 mrad");
    EXPECT_EQ(FormatDose(4.52e21, DoseArea::SquareNanometre), L"4.52 ke/nm\u00B2");
    EXPECT_EQ(FormatDoseRate(1.25e21, DoseArea::SquareNanometre), L"1.25 ke/nm\u00B2/s");
    EXPECT_EQ(FormatPressure(101325, PressureUnit::Millibar), L"1.01e+03 mbar");
    EXPECT_EQ(FormatTemperature(93.15, TemperatureUnit::Celsius), L"-180 \u00B0C");
    EXPECT_EQ(FormatPixelSize(1.07e-7, NotANumber), L"107 nm x -");
    EXPECT_EQ(FormatPixelSize(NotANumber, std::nullopt), L"-");
    EXPECT_EQ(FormatPixelSize(1.25e7, 1.5e7, PixelSpace::Reciprocal), L"0.0125 nm\u02C9\u00B9 x 0.015 nm\u02C9\u00B9");
    EXPECT_EQ(FormatPixelSize(1.25e-5, PixelSpace::Angle), L"12.5 \u00B5rad");
    EXPECT_EQ(FormatFieldOfView(5.885e-5, 7.062e-5), L"58.85 \u00B5m x 70.62 \u00B5m");
    EXPECT_EQ(FormatImageSize(4096, 3072), L"4096 x 3072 px");
    EXPECT_EQ(FormatImageSize(4096, std::nullopt), L"4096 px x -");
}

TEST(QuantityTest, ReadsWhatAPersonTypes)
{
    const struct
    {
        const wchar_t* text;
        Quantity quantity;
        double value;
    } rows[] = {
        {L"-1,5 um", Quantity::Defocus, -1.5e-6},
        {L"\u2212 1.5\u00A0\u00B5m", Quantity::Defocus, NotANumber},
        {L"\u22121.5\u202F\u00B5m\t", Quantity::Defocus, -1.5e-6},
        {L"+1.5\u03BCm", Quantity::Defocus, 1.5e-6},
        {L"15 \u212B", Quantity::PixelSize, 1.5e-9},
        {L"0.01 1/nm", Quantity::ReciprocalPixelSize, 1e7},
        {L"0.01 nm\u207B\u00B9", Quantity::ReciprocalPixelSize, 1e7},
        {L"0.01 nm^\u22121", Quantity::ReciprocalPixelSize, 1e7},
        {L"50 kx", Quantity::Magnification, 5e4},
        {L"50000\u00D7", Quantity::Magnification, 5e4},
        {L"50k", Quantity::Magnification, 5e4},
        {L"180 deg", Quantity::TiltAngle, 3.141592653589793},
        {L"2 mrad", Quantity::TiltAngle, 0.002},
        {L"4.52 ke/nm^2", Quantity::Dose, 4.52e21},
        {L"1e-7 mbar", Quantity::Pressure, 1e-5},
        {L"-180 \u00B0C", Quantity::Temperature, 93.15},
        {L"0 K", Quantity::TemperatureInCelsius, 0},
        {L"25 Hz", Quantity::FrameRate, 25},
    };
    for (const auto& row : rows)
    {
        double value = NotANumber;
        EXPECT_EQ(TryParseQuantity(row.text, row.quantity, value), !std::isnan(row.value)) << row.text;
        EXPECT_TRUE(std::isnan(row.value) ? std::isnan(value)
                                          : std::abs(value - row.value) <= std::abs(row.value) * Exact)
            << row.text << ' ' << value;
    }
}

TEST(QuantityTest, RefusesEveryOtherUnit)
{
    const std::vector<const wchar_t*> wrong = {L"",       L"5",     L"-",      L"m",     L"5 km",  L"5 kg",
                                               L"5 mm^2", L"5 m m", L"5 nm 3", L"nan m", L"1 2 m", L"1.2.3 m",
                                               L"5 nmx",  L"x5 nm", L"5 mÅ",   L"5 Nm",  L"5 1/nm"};
    for (const wchar_t* const text : wrong)
    {
        EXPECT_THROW(ParseDefocus(text), std::invalid_argument) << text;
    }
    EXPECT_THROW(ParseDefocus(std::wstring(L"5\0 nm", 5)), std::invalid_argument);
    EXPECT_THROW(ParseTiltAngle(L"5 m\u00B0"), std::invalid_argument);
    EXPECT_THROW(ParseTemperature(L"5 k\u00B0C"), std::invalid_argument);
    EXPECT_THROW(ParseExposureTime(L"3 Ms"), std::invalid_argument);
    EXPECT_THROW(ParseMagnification(L"50 px"), std::invalid_argument);
    EXPECT_THROW(ParseFrameRate(L"25"), std::invalid_argument);

    EXPECT_THAT([] { ParseCameraLength(L"115"); },
                ThrowsMessage<std::invalid_argument>("Camera length: \"115\" needs one of the units: m, \u00C5"));
    EXPECT_THAT([] { ParseExposureTime(L"-1 s"); },
                ThrowsMessage<std::out_of_range>("Exposure time: \"-1 s\" must not be negative"));
    EXPECT_THAT([] { ParseTemperature(L"-273.16 \u00B0C"); },
                ThrowsMessage<std::out_of_range>(HasSubstr("must not be negative")));
    EXPECT_THAT([] { ParseDefocus(L"1e999 m"); }, ThrowsMessage<std::out_of_range>(HasSubstr("is out of range")));
    EXPECT_THAT([] { ParseDefocus(L"-\u221E m"); }, ThrowsMessage<std::out_of_range>(HasSubstr("is not finite")));
    EXPECT_THAT([] { ParseDose(L"1e300 e/\u00C5^2"); }, ThrowsMessage<std::out_of_range>(HasSubstr("is not finite")));
    // A hostile text reaches a message neither whole nor with its control characters.
    EXPECT_THAT(
        [] { ParseDefocus(L"5 \x1B[2J\n" + std::wstring(1'000'000, L'm')); },
        ThrowsMessage<std::invalid_argument>(AllOf(HasSubstr("\"5 ?[2J?mmm"), testing::SizeIs(testing::Lt(200)))));
    double unchanged = 7;
    EXPECT_FALSE(TryParseQuantity(L"5 kg", Quantity::Defocus, unchanged));
    EXPECT_EQ(unchanged, 7);
}

TEST(QuantityTest, AnImageSizeHasTwoSides)
{
    using Size = std::pair<std::uint32_t, std::uint32_t>;
    EXPECT_EQ(ParseImageSize(L"4096 x 3072"), Size(4096, 3072));
    EXPECT_EQ(ParseImageSize(L"4096x3072 px"), Size(4096, 3072));
    EXPECT_EQ(ParseImageSize(L"512 px \u00D7 256 px"), Size(512, 256));
    EXPECT_EQ(ParseImageSize(L" 512px"), Size(512, 512));
    EXPECT_EQ(ParseImageSize(L"4294967295"), Size(4294967295, 4294967295));
    for (const wchar_t* const text : {L"", L"x", L"5 x", L"1 x 2 x 3", L"5.5", L"5 nm", L"5 x 5 kx"})
    {
        EXPECT_THROW(ParseImageSize(text), std::invalid_argument) << text;
    }
    for (const wchar_t* const text : {L"0", L"-1 x 5", L"4294967296"})
    {
        EXPECT_THROW(ParseImageSize(text), std::out_of_range) << text;
    }
}

} // namespace Ardo::Kiln::Formatting
