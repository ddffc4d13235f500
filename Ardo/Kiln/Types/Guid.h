#pragma once

#include "Ardo/Kiln/Platform/MicrosoftGuid.h"
#include "Ardo/KilnExport.h"

#include <boost/uuid/uuid.hpp>

#include <array>
#include <compare>
#include <cstdint>
#include <string>

namespace Ardo::Kiln::Types
{

/// A globally unique identifier: 16 bytes in the order of RFC 4122, written as 32 hexadecimal digits.
///
///     const Guid image = Guid::Generate();
///     const Guid same(image.ToString()); // "3f2504e04f8941d39a0c0305e82c3301"
class KILN_EXPORT Guid
{
public:
    /// The nil identifier: all bytes zero.
    Guid() noexcept = default;

    /// Copies the 16 bytes.
    Guid(boost::uuids::uuid uuid) noexcept : m_uuid(uuid) {}

    /// Copies the 16 bytes, for example those of MetadataLib::Uuid.
    explicit Guid(const std::array<std::uint8_t, 16>& bytes) noexcept;

    /// Copies the 16 bytes from memory without swapping. In ToString the bytes of the first three groups therefore
    /// stand in the opposite order to the text form of Windows.
    Guid(_GUID guid) noexcept;

    /// Parses \p text like FromString, with the same exceptions.
    Guid(const std::string& text);

    /// A new random identifier (RFC 4122, version 4) from the system's cryptographic random source. Never nil. Each
    /// call reads the source, so a forked child does not repeat the identifiers of its parent. Any thread may call it.
    /// \throws boost::uuids::entropy_error with the failing status code if the source fails.
    static Guid Generate();

    /// Replaces the value by the parsed text: 32 hexadecimal digits of either case, optionally with the four hyphens of
    /// the form 8-4-4-4-12, optionally enclosed in braces. No other characters are allowed.
    /// \throws std::runtime_error ("invalid uuid string") for any other text. The value is then unchanged.
    void FromString(const std::string& text);

    /// The same for wide text.
    /// \throws std::runtime_error ("invalid uuid string") as above. The value is then unchanged.
    void FromWString(const std::wstring& text);

    /// The bytes in order as 32 lower-case hexadecimal digits, without hyphens or braces.
    std::string ToString() const;

    /// The same digits as wide text.
    std::wstring ToWString() const;

    /// True when all 16 bytes are zero.
    [[nodiscard]] bool IsNil() const noexcept { return m_uuid.is_nil(); }

    /// A copy of the 16 bytes.
    [[nodiscard]] boost::uuids::uuid ConvertToBoostUuid() const noexcept { return m_uuid; }

    /// A copy of the 16 bytes, for example for MetadataLib::Uuid: metadata.Core.Guid = {guid.Bytes()}.
    [[nodiscard]] std::array<std::uint8_t, 16> Bytes() const noexcept;

    /// Copies the 16 bytes into the structure without swapping. Guid(_GUID) converts back to the same value.
    [[nodiscard]] _GUID ConvertToMicrosoftGUID() const noexcept;

    /// Compares all bytes.
    friend bool operator==(const Guid& left, const Guid& right) noexcept = default;

    /// Compares byte by byte from the first, which gives the same order as comparing the texts.
    friend std::strong_ordering operator<=>(const Guid& left, const Guid& right) noexcept
    {
        return left.m_uuid == right.m_uuid  ? std::strong_ordering::equal
               : left.m_uuid < right.m_uuid ? std::strong_ordering::less
                                            : std::strong_ordering::greater;
    }

private:
    boost::uuids::uuid m_uuid{};
};

} // namespace Ardo::Kiln::Types
