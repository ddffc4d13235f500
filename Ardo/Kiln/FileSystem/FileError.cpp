#include "Ardo/Kiln/FileSystem/FileError_p.h"

#include "Ardo/Kiln/Conversion/Replacing.h"

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

} // namespace

FileError::FileError(const std::string& operation, const std::filesystem::path& path, std::error_code code)
    : filesystem_error(operation, path, code), m_text(ValidUtf8(filesystem_error::what()))
{
}

} // namespace Ardo::Kiln::FileSystem
