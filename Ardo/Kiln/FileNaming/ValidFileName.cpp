#include "Ardo/Kiln/FileNaming/ValidFileName.h"

#include "Ardo/Kiln/Conversion/Replacing.h"

#include <algorithm>
#include <array>

namespace Ardo::Kiln::FileNaming
{

namespace
{

constexpr wchar_t Replacement = L'_';

struct CharacterRange
{
    wchar_t first;
    wchar_t last;
};

// Characters that no name contains, beside the punctuation that Windows reserves.
constexpr std::array<CharacterRange, 12> Unwanted{{
    {L'\0', L'\x1F'},
    {L'\x7F', L'\x9F'},
    {L'\u00AD', L'\u00AD'}, // soft hyphen
    {L'\u061C', L'\u061C'}, // Arabic letter mark
    {L'\u180E', L'\u180E'}, // Mongolian vowel separator
    {L'\u200B', L'\u200B'}, // zero width space; the joiners after it belong to words and symbols
    {L'\u200E', L'\u200F'}, // direction marks
    {L'\u2028', L'\u202E'}, // line and paragraph separators, embeddings and overrides of the direction
    {L'\u2060', L'\u206F'}, // invisible operators, isolates of the direction
    {L'\uFEFF', L'\uFEFF'}, // byte order mark
    {L'\uFFF9', L'\uFFFD'}, // annotations, and what replaces invalid units
    {L'\uFFFE', L'\uFFFF'}, // no characters
}};

bool IsUnwanted(wchar_t character) noexcept
{
    constexpr std::wstring_view reserved = L"<>:\"/\\|?*";
    return reserved.find(character) != std::wstring_view::npos ||
           std::any_of(Unwanted.begin(), Unwanted.end(),
                       [character](const CharacterRange& range)
                       { return character >= range.first && character <= range.last; });
}

// Blanks of every width: a name that ends in one looks like another name.
bool IsBlank(wchar_t character) noexcept
{
    return character == L' ' || character == L'\u00A0' || character == L'\u1680' ||
           (character >= L'\u2000' && character <= L'\u200A') || character == L'\u202F' || character == L'\u205F' ||
           character == L'\u3000';
}

wchar_t ToUpper(wchar_t character) noexcept
{
    return character >= L'a' && character <= L'z' ? static_cast<wchar_t>(character - L'a' + L'A') : character;
}

// True for a device of Windows. Windows ignores what follows the first dot, and blanks before it.
bool IsDevice(std::wstring_view stem)
{
    stem = stem.substr(0, stem.find_last_not_of(L' ') + 1);
    std::wstring name(stem.size(), L' ');
    std::transform(stem.begin(), stem.end(), name.begin(), ToUpper);
    constexpr std::array<std::wstring_view, 6> devices{L"CON", L"PRN", L"AUX", L"NUL", L"CONIN$", L"CONOUT$"};
    if (std::find(devices.begin(), devices.end(), name) != devices.end())
    {
        return true;
    }
    constexpr std::wstring_view numbers = L"0123456789\u00B9\u00B2\u00B3";
    return name.size() == 4 && (name.starts_with(L"COM") || name.starts_with(L"LPT")) &&
           numbers.find(name.back()) != std::wstring_view::npos;
}

// Cuts at a character.
std::wstring Cut(std::wstring_view text, std::size_t maxBytes)
{
    std::string bytes;
    Conversion::AppendReplacing(bytes, text);
    if (bytes.size() <= maxBytes)
    {
        return std::wstring(text);
    }
    std::size_t length = maxBytes;
    while (length > 0 && (static_cast<unsigned char>(bytes[length]) & 0xC0U) == 0x80U)
    {
        --length;
    }
    std::wstring cut;
    Conversion::AppendReplacing(cut, std::string_view(bytes).substr(0, length));
    return cut;
}

void RemoveBlanksAndDotsAtEnd(std::wstring& name)
{
    while (!name.empty() && (name.back() == L'.' || IsBlank(name.back())))
    {
        name.pop_back();
    }
}

} // namespace

std::wstring ToValidFileName(std::wstring_view text, std::size_t maxBytes)
{
    maxBytes = std::clamp<std::size_t>(maxBytes, 1, MaxFileNameBytes);
    while (!text.empty() && IsBlank(text.front()))
    {
        text.remove_prefix(1);
    }
    // No unit is less than a quarter of a byte too long; the conversion below need not see a text of megabytes.
    text = text.substr(0, maxBytes + 1);

    // Through UTF-8 and back: a unit that is not part of valid text becomes U+FFFD.
    std::string bytes;
    Conversion::AppendReplacing(bytes, text);
    std::wstring name;
    Conversion::AppendReplacing(name, std::string_view(bytes));
    std::replace_if(name.begin(), name.end(), IsUnwanted, Replacement);
    name = Cut(name, maxBytes);
    RemoveBlanksAndDotsAtEnd(name);
    if (!name.empty() && name.front() == L'.')
    {
        name.front() = Replacement;
    }
    const std::size_t dot = name.find(L'.');
    if (IsDevice(std::wstring_view(name).substr(0, dot)))
    {
        name.insert(std::min(dot, name.size()), 1, Replacement);
        if (Cut(name, maxBytes) != name)
        {
            // No room to lengthen it.
            name.erase(1, 1).front() = Replacement;
        }
    }
    return name;
}

bool IsValidFileName(std::wstring_view name)
{
    return !name.empty() && ToValidFileName(name) == name;
}

} // namespace Ardo::Kiln::FileNaming
