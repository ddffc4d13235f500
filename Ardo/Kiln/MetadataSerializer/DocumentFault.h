#pragma once

#include "Ardo/Kiln/MetadataSerializer/SerializeType.h"
#include "Ardo/KilnExport.h"

#include <boost/exception/info.hpp>

#include <cstddef>
#include <exception>
#include <iosfwd>
#include <string>
#include <vector>

namespace Ardo::MetadataLib
{
struct Metadata;
}

namespace Ardo::Kiln::MetadataSerializer
{

/// A fault at one place of a metadata document. The texts are UTF-8 and may quote the document: a program that prints
/// them on a terminal must remove the control characters.
struct DocumentFault
{
    std::size_t line = 0; ///< From 1; 0 when the place is unknown.
    std::string place;    ///< The node, for example "/Metadata/Optics/SpotIndex"; empty when unknown.
    std::string text;     ///< The fault, for example "the value \"x\" is no whole number".

    bool operator==(const DocumentFault&) const = default;
};

/// "line 12: /Metadata/Optics/SpotIndex: the value ...", without the parts that are unknown.
KILN_EXPORT std::string ToText(const DocumentFault& fault);
/// Writes ToText.
KILN_EXPORT std::ostream& operator<<(std::ostream& stream, const DocumentFault& fault);

struct DocumentFault_; ///< Tag of a fault in a document.

/// Attached to the exceptions of Record::Deserialize, whose own texts name no place:
///
///     catch (const boost::exception& error)
///     {
///         if (const auto* fault = boost::get_error_info<DocumentFaultInfo>(error)) ...
using DocumentFaultInfo = boost::error_info<DocumentFault_, DocumentFault>;

/// The fault behind an exception of Serializable::DeserializeFromString: the one that is attached, the message and line
/// of a parser, or the exception's own text without a place.
KILN_EXPORT DocumentFault FaultOf(const std::exception& error);

/// Reads a record and returns the faults that Record would log as left out, in the order of lines, and last the reason
/// if reading stopped with an exception. An empty list means that the document is read without loss, except the
/// additional elements of a detector of another type, which any document may hold.
///
/// Of what is left out at most MaxDocumentFaults are listed, and a last fault says that there is more. Text over
/// Serializable::MaxTextSize, which Record ignores, is a fault. Any thread may call it.
/// \throws std::bad_alloc only.
KILN_EXPORT std::vector<DocumentFault> CheckDocument(const std::string& text, SerializeType type);

/// The same for programs that need the record, too.
/// \param record an empty one, which receives what is read: the whole record if no fault is returned, a part of it if
///        reading stopped.
/// \throws std::bad_alloc only.
KILN_EXPORT std::vector<DocumentFault> CheckDocument(const std::string& text, SerializeType type,
                                                     MetadataLib::Metadata& record);

/// How many faults of one document are listed or logged.
inline constexpr std::size_t MaxDocumentFaults = 20;

} // namespace Ardo::Kiln::MetadataSerializer
