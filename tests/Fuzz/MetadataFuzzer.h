#pragma once

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

/// What can be read can be written, and the written document is read back to the same document. Texts are compared, for
/// a NaN does not equal itself.
inline int FuzzMetadata(const std::uint8_t* data, std::size_t size, SerializeType type)
{
    auto metadata = ReadFuzzed(std::string(reinterpret_cast<const char*>(data), size), type);
    if (!metadata)
    {
        return 0;
    }
    std::string first;
    try
    {
        first = Record(*metadata).SerializeToString(type);
    }
    catch (const boost::property_tree::ptree_bad_data&)
    {
        return 0; // a detector type that is no name, or a text that this syntax cannot hold: only JSON reads such
    }
    auto copy = ReadFuzzed(first, type);
    if (!copy || Record(*copy).SerializeToString(type) != first)
    {
        std::cerr << "written:\n" << first << "\nwritten again:\n";
        std::cerr << (copy ? Record(*copy).SerializeToString(type) : "not read") << '\n';
        std::abort();
    }
    return 0;
}

} // namespace Ardo::Kiln::MetadataSerializer
