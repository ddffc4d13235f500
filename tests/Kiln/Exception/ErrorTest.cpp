#include "Ardo/Kiln/Exception/Error.h"

#include "Ardo/Kiln/Exception/ErrorInfo.h"
#include "Ardo/Kiln/Exception/ErrorWithCode.h"
#include "Ardo/Kiln/Exception/Warning.h"

#include <boost/exception/diagnostic_information.hpp>
#include <boost/throw_exception.hpp>
#include <gmock/gmock.h>

#include <optional>
#include <sstream>
#include <thread>

namespace Ardo::Kiln::Exception
{

using ::testing::HasSubstr;

static_assert(std::is_nothrow_copy_constructible_v<Error> && std::is_nothrow_copy_assignable_v<ErrorWithCode>);
static_assert(!std::is_base_of_v<std::runtime_error, HandledException>);

TEST(ErrorTest, TheThreadRemembersTheLastErrorUntilItIsDestroyed)
{
    EXPECT_EQ(Error::GetLast(), nullptr);
    {
        std::optional<Error> first("first");
        EXPECT_EQ(Error::GetLast(), &*first);
        {
            const Error copy = *first;
            const Error moved = std::move(*first);
            *first = copy;
            EXPECT_EQ(Error::GetLast(), &*first);
        }
        EXPECT_EQ(Error::GetLast(), &*first);

        const ErrorWithCode second(42, "second");
        EXPECT_EQ(Error::GetLast(), &second);
        first.reset();
        EXPECT_EQ(Error::GetLast(), &second);

        const Warning warning("warning");
        EXPECT_EQ(Error::GetLast(), &second);
        EXPECT_EQ(Warning::GetLast(), &warning);
        std::thread([] { EXPECT_EQ(Error::GetLast(), nullptr); }).join();
    }
    EXPECT_EQ(Error::GetLast(), nullptr);
    EXPECT_EQ(Warning::GetLast(), nullptr);
}

TEST(ErrorTest, CarriesItsFacts)
{
    const ErrorWithCode error(42, std::string("text\xC2\xB5 [Severity]"));
    EXPECT_STREQ(error.what(), "text\xC2\xB5 [Severity]");
    EXPECT_EQ(error.GetErrorCode(), 42);
    EXPECT_EQ(error.GetSeverity(), Severity::Fatal);
    EXPECT_EQ(error.GetCategory(), "");
    EXPECT_EQ(error.GetOrigin(), "");
    EXPECT_EQ(Warning("").GetSeverity(), Severity::Warning);

    error << CategoryInfo("Camera") << boost::throw_file("F.cpp") << boost::throw_line(123)
          << boost::throw_function("f");
    EXPECT_EQ(error.GetCategory(), "Camera");
    EXPECT_EQ(error.GetOrigin(), "F.cpp (123) : f");
    error << boost::throw_line(-7);
    EXPECT_EQ(error.GetOrigin(), "F.cpp (-7) : f");
}

TEST(ErrorTest, CopiesShareTheirEntriesAndOutliveTheirSource)
{
    std::optional<ErrorWithCode> first(std::in_place, 1, "first");
    ErrorWithCode copy = *first;
    *first << CategoryInfo("shared");
    const ErrorWithCode moved = std::move(*first);
    EXPECT_STREQ(first->what(), "first"); // moving takes nothing away
    first.reset();
    EXPECT_EQ(copy.GetCategory(), "shared");
    EXPECT_EQ(moved.GetErrorCode(), 1);

    ErrorWithCode alone(2, "alone");
    alone = *&alone; // the only owner of its entries
    EXPECT_STREQ(alone.what(), "alone");
    EXPECT_EQ(alone.GetErrorCode(), 2);
    alone = copy;
    EXPECT_STREQ(alone.what(), "first");
    EXPECT_EQ(alone.GetErrorCode(), 1);
    EXPECT_EQ(alone.GetCategory(), "shared");
}

TEST(ErrorTest, CopiesLiveAndArePrintedOnTwoThreads) // the thread sanitizer's run tells
{
    const ErrorWithCode error(3, "shared");
    const auto use = [&error]
    {
        for (int count = 0; count < 2000; ++count)
        {
            const ErrorWithCode copy = error;
            ASSERT_EQ(copy.GetErrorCode(), 3);
            ASSERT_THAT(boost::diagnostic_information(copy), HasSubstr("ErrorCode_*] = 3\n"));
        }
    };
    std::thread other(use);
    use();
    other.join();
    EXPECT_EQ(error.GetErrorCode(), 3);
}

TEST(ErrorTest, AThrowSiteIsRecordedAndListed)
{
    try
    {
        BOOST_THROW_EXCEPTION(ErrorWithCode(5, "no beam") << CategoryInfo("Gun"));
    }
    catch (const HandledException& error)
    {
        EXPECT_THAT(error.GetOrigin(), HasSubstr("ErrorTest.cpp ("));
        const std::string listing = boost::diagnostic_information(error);
        for (const char* part : {"Severity*] = Fatal\n", "ErrorCode_*] = 5\n", "Category*] = Gun\n", "no beam"})
        {
            EXPECT_THAT(listing, HasSubstr(part));
        }
    }
    std::ostringstream text;
    text << Severity::Fatal << Severity::Warning << static_cast<Severity>(2);
    EXPECT_EQ(text.str(), "FatalWarningUnknown");
}

} // namespace Ardo::Kiln::Exception
