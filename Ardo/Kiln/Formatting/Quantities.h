#pragma once

#include "Ardo/Kiln/Formatting/Units.h"

#include <array>
#include <string_view>

namespace Ardo::Kiln::Formatting
{

/// The physical quantity that a unit stands for.
struct UnitQuantity
{
    std::wstring_view unit; ///< One of Units.
    std::wstring_view name; ///< For axis titles and the like.
};

/// Names of quantities in the order in which they are offered to a user. Two units may share one name.
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
