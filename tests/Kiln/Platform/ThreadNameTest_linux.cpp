#include "Ardo/Kiln/Platform/ThreadName.h"

#include "tests/Support/Process.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <string>
#include <unistd.h>

namespace Ardo::Kiln::Platform
{

TEST(ThreadNameTest, TheKernelGetsFifteenBytesInWholeCharacters)
{
    const struct
    {
        std::string name;
        const char* expected;
    } rows[] = {{"Exporter", "Exporter"},
                {"123456789012345", "123456789012345"},
                {"1234567890123456", "123456789012345"},
                {"1234567890123\u00B5", "1234567890123\u00B5"},
                {"12345678901234\u00B5", "12345678901234"},
                {"123456789012\u20AC\u20AC", "123456789012\u20AC"},
                {"12345678901\U0001F52C\U0001F52C", "12345678901\U0001F52C"},
                {"123456789012\U0001F52C", "123456789012"},
                {std::string(20, '\x80'), ""}, // no character ends in it
                {std::string("front\0back", 10), "front"},
                {"", ""}};
    for (const auto& row : rows)
    {
        std::string found;
        std::thread named(
            [&]
            {
                SetThreadName(::pthread_self(), row.name);
                found = Support::ReadFile("/proc/self/task/" + std::to_string(::gettid()) + "/comm");
            });
        named.join();
        EXPECT_EQ(found, std::string(row.expected) + "\n") << row.name;
    }
}

} // namespace Ardo::Kiln::Platform
