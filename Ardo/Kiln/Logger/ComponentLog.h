#pragma once

#include "Ardo/Kiln/Logger/SeverityLevel.h"
#include "Ardo/KilnExport.h"

#include <memory>
#include <string_view>

namespace Ardo::Kiln::Logger
{

/// The log of one of the library's own components. Keeps the logging library out of the header.
///
/// A failure costs the record and nothing else: no method throws. Any thread may use it.
class KILN_EXPORT_FOR_TESTS ComponentLog
{
public:
    /// \param component the name that follows the application's in "Originator". If the log cannot be made, its records
    ///        are dropped.
    explicit ComponentLog(std::string_view component) noexcept;
    ~ComponentLog();
    ComponentLog(const ComponentLog&) = delete;
    ComponentLog& operator=(const ComponentLog&) = delete;

    /// Writes one record of level \p level. \p text is UTF-8.
    void Write(SeverityLevel level, std::string_view text) noexcept;

    /// Writes one record of level warning. \p text is UTF-8.
    void Warning(std::string_view text) noexcept { Write(SeverityLevel::warning, text); }

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation; ///< Null when the log could not be made.
};

} // namespace Ardo::Kiln::Logger
