#include "Ardo/Kiln/MetadataSerializer/DocumentScan_p.h"

#include "Ardo/Kiln/MetadataSerializer/DocumentLimits_p.h"
#include "Ardo/Kiln/MetadataSerializer/JsonScanner_p.h"

#include <boost/property_tree/json_parser/error.hpp>

namespace Ardo::Kiln::MetadataSerializer
{

void ScanJson(std::string_view text)
{
    DocumentLimits<boost::property_tree::json_parser::json_parser_error> limits(text);
    if (const std::size_t at = FindInvalid(text, TextRule::Utf8); at < text.size())
    {
        limits.Fail("not UTF-8", at);
    }
    JsonScanner(text, limits).Scan();
}

} // namespace Ardo::Kiln::MetadataSerializer
