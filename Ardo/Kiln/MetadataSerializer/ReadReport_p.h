#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

/// Logs what a reader leaves out, at level warning. A hostile document costs a bounded number of lines of bounded
/// length.
class ReadReport
{
public:
    /// Logs one line: \p what, the name and the place, both shortened and without control characters.
    void LeftOut(std::string_view what, std::string_view name, const std::string& place);

private:
    std::size_t m_lines = 0;
};

} // namespace Ardo::Kiln::MetadataSerializer
