#pragma once

#include "Ardo/KilnExport.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace Ardo::Kiln::FileNaming
{

/// Finds the numbers in the names of files: the digits between the text that all names of an experiment begin with and
/// the rest. Upper and lower case are the same, because they are on Windows.
class NamePattern
{
public:
    /// \param begin the text before the number.
    /// \param maxDigits the largest number of digits of a number.
    /// \param whole a name that counts as the number 1 when it stands without a number; empty for none.
    KILN_EXPORT_FOR_TESTS NamePattern(const std::wstring& begin, int maxDigits, const std::wstring& whole);

    /// The number in \p name, the name of a file in the encoding of the system; empty if it is not of this experiment.
    KILN_EXPORT_FOR_TESTS std::optional<std::uint32_t>
    NumberOf(std::basic_string_view<std::filesystem::path::value_type> name) const;

private:
    using NativeView = std::basic_string_view<std::filesystem::path::value_type>;

    std::optional<std::uint32_t> ReadNumber(NativeView text) const;

    std::filesystem::path::string_type m_begin;
    std::filesystem::path::string_type m_whole;
    std::size_t m_maxDigits;
};

} // namespace Ardo::Kiln::FileNaming
