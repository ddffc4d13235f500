#pragma once

#include "Ardo/KilnExport.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace Ardo::Kiln::Crash
{

/// A number that is written with upper-case hexadecimal digits, with leading zeros up to `digits` of them.
struct Hexadecimal
{
    std::uint64_t value;
    std::size_t digits = 1;
};

/// Receives text that is composed of texts and numbers, independent of the locale.
class KILN_EXPORT_FOR_TESTS TextSink
{
public:
    TextSink(const TextSink&) = delete;
    TextSink& operator=(const TextSink&) = delete;

    /// Adds \p text at the end.
    virtual void Append(std::string_view text) = 0;

    TextSink& operator<<(std::string_view text)
    {
        Append(text);
        return *this;
    }
    TextSink& operator<<(std::unsigned_integral auto number) { return AppendDecimal(number); }
    TextSink& operator<<(Hexadecimal number);

protected:
    TextSink() = default;
    ~TextSink() = default;

private:
    TextSink& AppendDecimal(std::uint64_t number);
};

/// Text of any length. Append throws std::bad_alloc.
class KILN_EXPORT_FOR_TESTS StringSink final : public TextSink
{
public:
    void Append(std::string_view text) override { m_text += text; }
    std::string Take() { return std::move(m_text); }

private:
    std::string m_text;
};

/// \p text, cut to at most \p size bytes at the border of a UTF-8 character.
std::string_view CutUtf8(std::string_view text, std::size_t size) noexcept;

/// Text in memory of a fixed size, always null-terminated; no allocation. What does not fit is dropped, whole
/// characters only. A signal handler may use it.
class KILN_EXPORT_FOR_TESTS BufferSink final : public TextSink
{
public:
    /// \param buffer of \p size bytes, at least 1; stays the caller's.
    BufferSink(char* buffer, std::size_t size) noexcept : m_begin(buffer), m_capacity(size - 1) { *m_begin = '\0'; }

    void Append(std::string_view text) noexcept override;
    std::string_view Text() const noexcept { return {m_begin, m_length}; }

    /// Whether something was dropped.
    bool IsCut() const noexcept { return m_isCut; }

private:
    char* m_begin;
    std::size_t m_capacity;
    std::size_t m_length = 0;
    bool m_isCut = false;
};

} // namespace Ardo::Kiln::Crash
