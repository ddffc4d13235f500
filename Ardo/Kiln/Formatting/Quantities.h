#pragma once

#include "Ardo/Kiln/Formatting/Units.h"

#include <array>
#include <string_view>

namespace Ardo::Kiln::Formatting
{

/// A unit and the physical quantity that it measures.
struct UnitQuantity
{
    std::wstring_view unit; ///< One of Units.
    std::wstring_view name; ///< For titles of axes, in English.
};

/// The names of quantities, in the order in which a user interface lists them. Two units may have the same name.
inline constexpr std::array<UnitQuantity, 13> Quantities{{
    {Units::Metre, L"Distance"},
    {Units::PerMetre, L"Spatial frequency"},
    {Units::Radian, L"Angle"},
    {Units::Degree, L"Angle"},
    {Units::PerRadian, L"Angular frequency"},
    {Units::Count, L"Intensity"},
    {Units::AtomicFraction, L"Atomic fraction"},
    {Units::WeightFraction, L"Weight fraction"},
    {Units::Kelvin, L"Temperature"},
    {Units::DegreeCelsius, L"Temperature"},
    {Units::Pixel, L"Position"},
    {Units::ElectronVolt, L"Energy"},
    {Units::Magnification, L"Magnification"},
}};

} // namespace Ardo::Kiln::Formatting
