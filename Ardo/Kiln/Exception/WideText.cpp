#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/Exception/WideText_p.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace Ardo::Kiln::Exception
{

std::wstring ToWide(const std::string& text)
{
    try
    {
        return Conversion::String::FromUtf8(text);
    }
    catch (const std::range_error&)
    {
        std::wstring wide;
        std::transform(text.begin(), text.end(), std::back_inserter(wide),
                       [](char byte) { return static_cast<wchar_t>(static_cast<unsigned char>(byte)); });
        return wide;
    }
}

std::string ToUtf8(const std::filesystem::path& path)
{
    const auto text = path.u8string();
    return {text.begin(), text.end()};
}

} // namespace Ardo::Kiln::Exception
