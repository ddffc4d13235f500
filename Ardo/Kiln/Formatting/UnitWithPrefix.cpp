#include "Ardo/Kiln/Formatting/UnitWithPrefix.h"

#include "Ardo/Kiln/Formatting/Parse.h"
#include "Ardo/Kiln/Formatting/SI.h"
#include "Ardo/Kiln/Formatting/UnitAlgebra.h"

namespace Ardo::Kiln::Formatting
{

std::wstring RetrieveUnitWithPrefix(const std::wstring& text, const std::wstring& unit, int decimals)
{
    const std::wstring base = FormatIfReciprocalUnit(unit);
    return SplitNumberAndUnit(SI(Parse(text, base), base, decimals)).second;
}

} // namespace Ardo::Kiln::Formatting
