#include "Ardo/Kiln/MetadataSerializer/JsonTree_p.h"

#include "Ardo/Kiln/MetadataSerializer/PropertyTreeVersion_p.h"

#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>

namespace Ardo::Kiln::MetadataSerializer
{

// The only file that uses private parts of the library's JSON parser (json_parser::detail).

using boost::property_tree::ptree;

void ParseJson(std::string_view text, ptree& tree)
{
    // Like read_json, but directly on the text: through a stream the parser takes 50 % longer.
    namespace detail = boost::property_tree::json_parser::detail;
    detail::standard_callbacks<ptree> callbacks;
    detail::encoding<char> encoding;
    detail::read_json_internal(text.data(), text.data() + text.size(), encoding, callbacks, std::string());
    tree.swap(callbacks.output());
}

} // namespace Ardo::Kiln::MetadataSerializer
