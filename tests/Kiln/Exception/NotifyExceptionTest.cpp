#include "Ardo/Kiln/Exception/NotifyException.h"

#include "Ardo/Kiln/Exception/DefaultWarningHandler.h"
#include "Ardo/Kiln/Exception/Error.h"
#include "Ardo/Kiln/Exception/Notification.h"
#include "Ardo/Kiln/Exception/Warning.h"
#include "tests/Support/LogCollector.h"

#include <boost/exception/diagnostic_information.hpp>
#include <gmock/gmock.h>

namespace Ardo::Kiln::Exception
{

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace
{

std::string Present(const std::shared_ptr<Notification>& notification)
{
    ::testing::internal::CaptureStderr();
    NotifyException(notification);
    return ::testing::internal::GetCapturedStderr();
}

} // namespace

TEST(NotifyExceptionTest, EachKindIsPrintedAndAnsweredWithTheDefault)
{
    const Warning warning("low vacuum");
    const std::string warningText =
        "(WWW) ------- Warning ------- (WWW)\n" + boost::diagnostic_information(warning) + "\n";
    const std::pair<std::exception_ptr, ::testing::Matcher<std::string>> rows[] = {
        {std::make_exception_ptr(warning), warningText},
        {std::make_exception_ptr(Error("no beam")),
         AllOf(StartsWith("(EEE) ------- Error ------- (EEE)\n"), HasSubstr("no beam"), EndsWith("= Fatal\n\n"))},
        {std::make_exception_ptr(std::out_of_range("range")), HasSubstr("range")},
        {std::make_exception_ptr(7), EndsWith("\nUnknown exception\n")},
        {nullptr, EndsWith("\nUnknown exception\n")},
    };
    for (const auto& [exception, text] : rows)
    {
        const auto notification = std::make_shared<Notification>();
        notification->exception = exception;
        std::future<MinidumpActions> answer = notification->reply.get_future();
        EXPECT_THAT(Present(notification), text);
        ASSERT_EQ(answer.wait_for(std::chrono::seconds(0)), std::future_status::ready);
        const MinidumpActions actions = answer.get();
        EXPECT_EQ(actions.decision, 1);
        EXPECT_FALSE(actions.function);
    }
}

TEST(NotifyExceptionTest, TheFirstAnswerStaysAndADroppedQuestionEndsTheWait)
{
    auto notification = std::make_shared<Notification>();
    notification->exception = std::make_exception_ptr(Error("answered before"));
    notification->Answer({.decision = 0, .function = {}});
    Present(notification);
    EXPECT_EQ(notification->reply.get_future().get().decision, 0);

    notification = std::make_shared<Notification>();
    std::future<MinidumpActions> answer = notification->reply.get_future();
    notification.reset();
    EXPECT_THROW(answer.get(), std::future_error);
}

TEST(DefaultWarningHandlerTest, AWarningIsLoggedAndShown)
{
    const Support::LogCollector collector;
    auto logger = Logger::CreateLogger("Vacuum");
    ::testing::internal::CaptureStderr();
    CreateDefaultWarningHandler(logger)(Warning("pressure rises"));
    EXPECT_THAT(::testing::internal::GetCapturedStderr(),
                AllOf(StartsWith("(WWW) ------- Warning ------- (WWW)\n"), HasSubstr("pressure rises")));
    const auto record = collector.Records().at(0);
    EXPECT_EQ(std::tuple(record.severity, record.originator, record.message),
              std::tuple(Logger::warning, "ExceptionTests.Vacuum", "pressure rises"));
}

} // namespace Ardo::Kiln::Exception
