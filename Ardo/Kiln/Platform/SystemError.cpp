#include "Ardo/Kiln/Platform/SystemError.h"

namespace Ardo::Kiln::Platform
{

namespace
{

class SystemErrorCategory : public std::error_category
{
public:
    // The names are those of the base class.
    // NOLINTBEGIN(readability-identifier-naming)
    const char* name() const noexcept override { return "system"; }

    /// The text of the standard category depends on the locale and its encoding.
    std::string message(int error) const override { return SystemErrorText(error); }

    std::error_condition default_error_condition(int error) const noexcept override
    {
        return std::system_category().default_error_condition(error);
    }
    // NOLINTEND(readability-identifier-naming)
};

} // namespace

const std::error_category& SystemErrors() noexcept
{
    // Never destroyed, because destructors of static objects may report errors.
    static const union Immortal
    {
        Immortal() noexcept : category() {}
        ~Immortal() {}
        SystemErrorCategory category;
    } g_immortal;
    return g_immortal.category;
}

} // namespace Ardo::Kiln::Platform
