#include "Ardo/Kiln/Platform/FolderNames.h"

#include "Ardo/Kiln/Platform/SystemError.h"

#include <memory>
#include <windows.h>

namespace Ardo::Kiln::Platform
{

std::error_code VisitNames(const std::filesystem::path& folder, const std::function<void(std::wstring_view)>& visit)
{
    struct Close
    {
        void operator()(void* search) const noexcept { ::FindClose(search); }
    };
    WIN32_FIND_DATAW entry = {};
    const HANDLE handle = ::FindFirstFileExW((folder / L"*").c_str(), FindExInfoBasic, &entry, FindExSearchNameMatch,
                                             nullptr, FIND_FIRST_EX_LARGE_FETCH);
    if (handle == INVALID_HANDLE_VALUE)
    {
        return LastSystemError();
    }
    const std::unique_ptr<void, Close> search(handle);
    do
    {
        const std::wstring_view name = entry.cFileName;
        if (name != L"." && name != L"..")
        {
            visit(name);
        }
    } while (::FindNextFileW(handle, &entry));
    return ::GetLastError() == ERROR_NO_MORE_FILES ? std::error_code() : LastSystemError();
}

} // namespace Ardo::Kiln::Platform
