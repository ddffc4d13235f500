#pragma once

#include "Ardo/KilnExport.h"

#include <filesystem>
#include <string>

namespace Ardo::Kiln::FileSystem
{

/// The path of a wide text. On Linux, where paths are UTF-8 whatever the locale, a `std::filesystem::path` made from
/// wide text directly would follow the locale instead.
///
/// \throws std::range_error of Conversion::String::ToUtf8 on Linux if \p text is no valid text.
/// Any thread may call it.
KILN_EXPORT std::filesystem::path ToPath(const std::wstring& text);

} // namespace Ardo::Kiln::FileSystem
