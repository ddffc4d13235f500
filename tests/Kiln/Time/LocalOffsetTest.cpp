#include "Ardo/Kiln/Platform/LocalOffset.h"

#include "Ardo/Kiln/Platform/CalendarFields.h"
#include "tests/Support/ScopedTimeZone.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace Ardo::Kiln::Platform
{

TEST(LocalOffsetTest, FollowsTheZoneThroughTheChangesOfTheComingYear)
{
    using namespace std::chrono;
    // The last one keeps its second offset for five weeks only.
    for (const char* const zone : {"UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "NST3:30NDT,M3.2.0,M11.1.0",
                                   "AEST-10AEDT,M10.1.0,M4.1.0/3", "XXX5YYY,J40/12:34:56,J75/1"})
    {
        const Support::ScopedTimeZone scope(zone);
        RefreshLocalOffset();
        const auto now = duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
        std::int32_t before = LocalOffset();
        int changes = 0;
        for (std::int64_t time = now; time < now + seconds(390 * 24h).count(); time += 600)
        {
            const std::int32_t offset = LocalOffsetAt(time);
            ASSERT_EQ(offset, SecondsOf(LocalCalendarTime(time).value()) - time) << zone << ", " << time - now << " s";
            for (std::int64_t second = time - 600; offset != before && second < time; ++second)
            {
                ASSERT_EQ(LocalOffsetAt(second), SecondsOf(LocalCalendarTime(second).value()) - second) << zone;
            }
            changes += offset != before ? 1 : 0;
            before = offset;
        }
        EXPECT_GE(changes, zone == std::string("UTC0") ? 0 : 2) << zone;
    }
    RefreshLocalOffset();
}

} // namespace Ardo::Kiln::Platform
