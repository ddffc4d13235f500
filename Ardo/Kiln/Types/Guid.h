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

/// A globally unique identifier: 16 bytes in the order of RFC 4122, written as 32 hexadecimal digits. A plain value.
///
///     const Guid image = Guid::Generate();
///     const Guid same(image.ToString()); // "3f2504e04f8941d39a0c0305e82c3301"
class KILN_EXPORT Guid
{
public:
    /// The nil identifier: all bytes zero.
    Guid() noexcept = default;

    /// Takes the 16 bytes as they are.
    Guid(boost::uuids::uuid uuid) noexcept : m_uuid(uuid) {}

    /// Takes the 16 bytes as they are, for example those of MetadataLib::Uuid.
    explicit Guid(const std::array<std::uint8_t, 16>& bytes) noexcept;

    /// Takes the 16 bytes as they lie in memory. Nothing is swapped: against the text form of Windows, the first three
    /// groups of ToString appear byte-reversed.
    Guid(_GUID guid) noexcept;

    /// Parses as FromString does, with the same exceptions.
    Guid(const std::string& text);

    /// A new random identifier (RFC 4122, version 4) from the system's cryptographic random source. Never nil. Any
    /// thread may call it; each call asks the source, so a forked child does not repeat its parent's identifiers.
    /// \throws boost::uuids::entropy_error with the failing status code if the source fails.
    static Guid Generate();

    /// Replaces the value by the parsed text: 32 hexadecimal digits of either case, optionally with the four hyphens of
    /// the form 8-4-4-4-12, optionally enclosed in braces; nothing before, between or after.
    /// \throws std::runtime_error ("invalid uuid string") for any other text; the value stays as it was.
    void FromString(const std::string& text);

    /// The same for wide text.
    /// \throws std::runtime_error ("invalid uuid string") as above; the value stays as it was.
    void FromWString(const std::wstring& text);

    /// 32 lower-case hexadecimal digits, the bytes in order; no hyphens, no braces.
    std::string ToString() const;

    /// The same digits as wide text.
    std::wstring ToWString() const;

    /// True when all 16 bytes are zero.
    [[nodiscard]] bool IsNil() const noexcept { return m_uuid.is_nil(); }

    /// The 16 bytes as they are.
    [[nodiscard]] boost::uuids::uuid ConvertToBoostUuid() const noexcept { return m_uuid; }

    /// The 16 bytes as they are, for example for MetadataLib::Uuid: metadata.Core.Guid = {guid.Bytes()}.
    [[nodiscard]] std::array<std::uint8_t, 16> Bytes() const noexcept;

    /// The 16 bytes copied into the structure without swapping; Guid(_GUID) gives the same value back.
    [[nodiscard]] _GUID ConvertToMicrosoftGUID() const noexcept;

    /// Byte by byte.
    friend bool operator==(const Guid& left, const Guid& right) noexcept = default;

    /// The order of the bytes, which is that of the texts.
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
