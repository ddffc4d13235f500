#include "Ardo/Kiln/FileSystem/WidePath.h"

#include "Ardo/Kiln/Conversion/String.h"

#include <type_traits>

namespace Ardo::Kiln::FileSystem
{

std::filesystem::path ToPath(const std::wstring& text)
{
    if constexpr (std::is_same_v<std::filesystem::path::value_type, wchar_t>)
    {
        return text;
    }
    else
    {
        return Conversion::String::ToUtf8(text);
    }
}

} // namespace Ardo::Kiln::FileSystem
