#pragma once

#include "Ardo/Kiln/MetadataSerializer/DocumentFault.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/MetadataLib/Metadata.h"

#include <boost/property_tree/exceptions.hpp>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>

namespace Ardo::Kiln::MetadataSerializer
{

/// Reads a document; empty if it ends in one of the documented errors.
inline std::optional<MetadataLib::Metadata> ReadFuzzed(const std::string& text, SerializeType type)
{
    MetadataLib::Metadata metadata;
    try
    {
        Record(metadata).DeserializeFromString(text, type);
        return metadata;
    }
    catch (const boost::property_tree::ptree_error&)
    {
    }
    catch (const std::bad_optional_access&)
    {
    }
    catch (const std::invalid_argument&)
    {
    }
    catch (const std::out_of_range&)
    {
    }
    return std::nullopt;
}

inline void Require(bool condition, const char* what, const std::string& text)
{
    if (!condition)
    {
        std::cerr << what << ":\n" << text << '\n';
        std::abort();
    }
}

/// What can be read is checked to be readable; if the check finds no fault it can be written, and the written document
/// is without fault and read back to the same document. Texts are compared, for a NaN does not equal itself.
inline int FuzzMetadata(const std::uint8_t* data, std::size_t size, SerializeType type)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const bool isFaultless = CheckDocument(text, type).empty();
    const auto metadata = ReadFuzzed(text, type);
    Require(metadata || !isFaultless, "without fault, but not read", text);
    if (!metadata)
    {
        return 0;
    }
    std::string written;
    try
    {
        written = Record(*metadata).SerializeToString(type);
    }
    catch (const boost::property_tree::ptree_bad_data& error)
    {
        Require(!isFaultless, error.what(), text); // a detector type that is no name
        return 0;
    }
    Require(CheckDocument(written, type).empty(), "written with a fault", written);
    const auto copy = ReadFuzzed(written, type);
    Require(copy.has_value(), "written, but not read", written);
    Require(Record(*copy).SerializeToString(type) == written, "read back differently", written);
    return 0;
}

} // namespace Ardo::Kiln::MetadataSerializer
