#include <Ardo/Kiln/Conversion/String.h>
#include <Ardo/Kiln/Formatting/MicroscopeQuantities.h>
#include <exception>
#include <iostream>
#include <limits>

int main()
{
    using namespace Ardo::Kiln::Formatting;
    using Ardo::Kiln::Conversion::String;
    const auto print = [](const char* label, const std::wstring& text)
    { std::cout << label << String::ToUtf8(text) << '\n'; };

    const double notMeasured = std::numeric_limits<double>::quiet_NaN();
    print("acceleration  ", FormatAccelerationVoltage(300e3));
    print("defocus       ", FormatDefocus(-1.4996e-6));
    print("dose          ", FormatDose(4.52e21) + L" = " + FormatDose(4.52e21, DoseArea::SquareNanometre));
    print("tilt          ", FormatTiltAngle(-0.4451));
    print("chamber       ", FormatPressure(1.2e-5) + L" = " + FormatPressure(1.2e-5, PressureUnit::Millibar));
    print("beam current  ", FormatBeamCurrent(notMeasured));

    std::cout << "typed         " << ParseDefocus(L" -1,5 um") << " m, " << ParseTemperature(L"-180 °C") << " K\n";
    try
    {
        ParseCameraLength(L"115");
    }
    catch (const std::exception& error)
    {
        std::cout << error.what() << '\n';
    }
}
