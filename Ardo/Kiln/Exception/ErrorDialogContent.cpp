#include "Ardo/Kiln/Exception/ErrorDialogContent_p.h"

#include "Ardo/Kiln/Exception/ErrorInfo.h"
#include "Ardo/Kiln/Exception/Warning.h"

#include <boost/algorithm/string/trim.hpp>
#include <boost/core/demangle.hpp>
#include <boost/exception/diagnostic_information.hpp>
#include <boost/exception/get_error_info.hpp>

#include <locale>
#include <sstream>

namespace Ardo::Kiln::Exception
{

namespace
{

constexpr const char* ErrorHeading = "(EEE) ------- Error ------- (EEE)\n";

std::string Trimmed(const std::string& text)
{
    return boost::trim_copy(text, std::locale::classic());
}

/// Adds a line for the entry if it is attached.
template <class Info>
void AddEntry(std::ostringstream& lines, const char* name, const std::exception& exception)
{
    if (const auto* const value = boost::get_error_info<Info>(exception))
    {
        lines << name << ": " << *value << '\n';
    }
}

/// The type's name, without what BOOST_THROW_EXCEPTION wraps around it.
std::string TypeName(const std::exception& exception)
{
    const std::string name = boost::core::demangle(typeid(exception).name());
    const std::string wrapper = "boost::wrapexcept<";
    const std::size_t begin = name.find(wrapper);
    return begin == std::string::npos || !name.ends_with('>')
               ? name
               : name.substr(begin + wrapper.size(), name.size() - begin - wrapper.size() - 1);
}

std::string Details(const std::exception& exception)
{
    std::ostringstream lines;
    lines.imbue(std::locale::classic());
    AddEntry<SeverityInfo>(lines, "Severity", exception);
    AddEntry<CategoryInfo>(lines, "Category", exception);
    AddEntry<ErrorCodeInfo>(lines, "Code", exception);
    const auto* const handled = dynamic_cast<const HandledException*>(&exception);
    if (const std::string origin = handled != nullptr ? handled->GetOrigin() : std::string(); !origin.empty())
    {
        lines << "Origin: " << origin << '\n';
    }
    lines << "Type: " << TypeName(exception) << '\n';
    if (const std::string* const report = boost::get_error_info<ReportInfo>(exception))
    {
        lines << '\n' << Trimmed(*report) << '\n';
    }
    return lines.str();
}

} // namespace

ErrorDialogContent ErrorDialogContent::Of(const Warning& warning)
{
    return {.isWarning = true,
            .message = Trimmed(warning.what()),
            .details = Details(warning),
            .console = "(WWW) ------- Warning ------- (WWW)\n" + boost::diagnostic_information(warning)};
}

ErrorDialogContent ErrorDialogContent::Of(const std::exception& exception)
{
    return {.offerMinidump = true,
            .message = Trimmed(exception.what()),
            .details = Details(exception),
            .console = ErrorHeading + boost::diagnostic_information(exception)};
}

ErrorDialogContent ErrorDialogContent::Of(const std::string& message, bool offerMinidump)
{
    return {
        .offerMinidump = offerMinidump, .message = Trimmed(message), .details = {}, .console = ErrorHeading + message};
}

} // namespace Ardo::Kiln::Exception
