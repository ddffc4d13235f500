#pragma once

#include <array>
#include <string_view>

/// The texts of the units in which quantities are written and read.
///
/// Each converts to the `std::wstring` that the functions of Formatting take. They are compile-time constants, so
/// static objects may be initialised from them.
///
///     SI(dwellTime, Units::Second, 1);  // "3.0 µs"
namespace Ardo::Kiln::Formatting::Units
{

inline constexpr wchar_t None[] = L"";                       ///< A plain number.
inline constexpr wchar_t Metre[] = L"m";                     ///< Length.
inline constexpr wchar_t SquareMetre[] = L"m^2";             ///< Area.
inline constexpr wchar_t CubicMetre[] = L"m^3";              ///< Volume.
inline constexpr wchar_t PerMetre[] = L"m^-1";               ///< Spatial frequency.
inline constexpr wchar_t MetrePerSecond[] = L"m/s";          ///< Speed.
inline constexpr wchar_t Radian[] = L"rad";                  ///< Angle.
inline constexpr wchar_t PerRadian[] = L"rad^-1";            ///< Angular frequency.
inline constexpr wchar_t Degree[] = L"\u00B0";               ///< Angle, "°".
inline constexpr wchar_t DegreeCelsius[] = L"\u00B0C";       ///< Temperature, "°C".
inline constexpr wchar_t Kelvin[] = L"K";                    ///< Temperature.
inline constexpr wchar_t Second[] = L"s";                    ///< Time.
inline constexpr wchar_t Ampere[] = L"A";                    ///< Current.
inline constexpr wchar_t AmperePerSquareMetre[] = L"A/m^2";  ///< Current density.
inline constexpr wchar_t AmperePerSteradian[] = L"A/sr";     ///< Current per solid angle.
inline constexpr wchar_t CoulombPerSquareMetre[] = L"C/m^2"; ///< Charge density.
inline constexpr wchar_t Electron[] = L"e";                  ///< Electrons.
/// Electron dose, "e/Å²".
inline constexpr wchar_t ElectronPerSquareAngstrom[] = L"e/\u00C5\u00B2";
/// Dose rate, "e/Å²/s".
inline constexpr wchar_t ElectronPerSquareAngstromPerSecond[] = L"e/\u00C5\u00B2/s";
/// Electron dose with its exponent in caret form, "e/Å^2".
inline constexpr wchar_t ElectronPerSquareAngstromCaret[] = L"e/\u00C5^2";
inline constexpr wchar_t ElectronPerSquareNanometre[] = L"e/nm^2"; ///< Electron dose.
inline constexpr wchar_t ElectronPerPixel[] = L"e/px";             ///< Electrons of one pixel.
inline constexpr wchar_t ElectronPerPixelPerSecond[] = L"e/px/s";  ///< Electrons of one pixel in one second.
inline constexpr wchar_t ElectronVolt[] = L"eV";                   ///< Energy.
inline constexpr wchar_t Kilogram[] = L"kg";                       ///< Mass; its prefix is that of the gram.
inline constexpr wchar_t WeightFraction[] = L"kg/kg";              ///< Weight fraction.
inline constexpr wchar_t AtomicFraction[] = L"mol/mol";            ///< Atomic fraction.
inline constexpr wchar_t Pascal[] = L"Pa";                         ///< Pressure.
inline constexpr wchar_t Volt[] = L"V";                            ///< Voltage.
inline constexpr wchar_t Percent[] = L"%";                         ///< A hundredth.
inline constexpr wchar_t Pixel[] = L"px";                          ///< Position in an image.
inline constexpr wchar_t Decibel[] = L"dB";                        ///< Level.
inline constexpr wchar_t Count[] = L"Count";                       ///< Events that a detector counts.
inline constexpr wchar_t Frame[] = L"frame";                       ///< Images of a series; the plural is "frames".
inline constexpr wchar_t Magnification[] = L"x";                   ///< Magnification factor.

/// All units above, for lists in a user interface.
inline constexpr std::array<std::wstring_view, 35> All{None,
                                                       Metre,
                                                       SquareMetre,
                                                       CubicMetre,
                                                       PerMetre,
                                                       MetrePerSecond,
                                                       Radian,
                                                       PerRadian,
                                                       Degree,
                                                       DegreeCelsius,
                                                       Kelvin,
                                                       Second,
                                                       Ampere,
                                                       AmperePerSquareMetre,
                                                       AmperePerSteradian,
                                                       CoulombPerSquareMetre,
                                                       Electron,
                                                       ElectronPerSquareAngstrom,
                                                       ElectronPerSquareAngstromPerSecond,
                                                       ElectronPerSquareAngstromCaret,
                                                       ElectronPerSquareNanometre,
                                                       ElectronPerPixel,
                                                       ElectronPerPixelPerSecond,
                                                       ElectronVolt,
                                                       Kilogram,
                                                       WeightFraction,
                                                       AtomicFraction,
                                                       Pascal,
                                                       Volt,
                                                       Percent,
                                                       Pixel,
                                                       Decibel,
                                                       Count,
                                                       Frame,
                                                       Magnification};

/// The units that have no prefix.
inline constexpr std::array<std::wstring_view, 7> WithoutPrefix{None,   Pixel,         Percent, Decibel,
                                                                Degree, DegreeCelsius, Frame};

} // namespace Ardo::Kiln::Formatting::Units
