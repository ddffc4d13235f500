#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace Ardo::Kiln::ImageIO
{

/// Makes \p write write a new file and gives it the name \p fileName when it is complete.
/// \throws Exception::Error with \p fileName and the reason; the old file is then as it was.
void WriteWholeFile(const std::wstring& fileName, const std::function<void(const std::filesystem::path&)>& write);

/// The same with the contents of the file.
void WriteWholeFile(const std::wstring& fileName, std::string_view contents);

/// Writes a file in place.
/// \throws std::exception whose text is the reason.
void WriteContents(const std::filesystem::path& path, std::string_view contents);

} // namespace Ardo::Kiln::ImageIO
