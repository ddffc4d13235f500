#pragma once

#include <filesystem>
#include <string>

namespace Ardo::Kiln::Exception
{

/// \p text, UTF-8, as wide text. Bytes that are no UTF-8, as the names of files may have on Linux, each become the
/// character of that number, so that a report is written even if it shows a wrong file name.
std::wstring ToWide(const std::string& text);

/// \p path as UTF-8; on Linux its bytes as they are.
std::string ToUtf8(const std::filesystem::path& path);

} // namespace Ardo::Kiln::Exception
