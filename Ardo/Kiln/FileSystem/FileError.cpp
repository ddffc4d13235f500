#include "Ardo/Kiln/FileSystem/FileError.h"

#include "Ardo/Kiln/Conversion/Replacing.h"
#include "Ardo/Kiln/FileSystem/WidePath.h"

namespace Ardo::Kiln::FileSystem
{

namespace
{

std::string ValidUtf8(const char* text)
{
    std::string valid;
    Conversion::AppendReplacing(valid, std::string_view(text));
    return valid;
}

/// The base class makes a narrow text of the path, which some standard libraries refuse for a name that is no text. The
/// path of the error is then that of the text for people.
std::filesystem::filesystem_error ErrorAbout(const std::string& operation, const std::filesystem::path& path,
                                             std::error_code code)
{
    try
    {
        return {operation, path, code};
    }
    catch (const std::system_error&)
    {
        const std::string text = ToDisplayText(path);
        return {operation, std::filesystem::path(std::u8string(text.begin(), text.end())), code};
    }
}

} // namespace

FileError::FileError(const std::string& operation, const std::filesystem::path& path, std::error_code code)
    : filesystem_error(ErrorAbout(operation, path, code)), m_text(ValidUtf8(filesystem_error::what()))
{
}

} // namespace Ardo::Kiln::FileSystem
