#include "Ardo/Kiln/Time/IsoString.h"
#include "Ardo/Kiln/Types/Guid.h"

#include <benchmark/benchmark.h>
#include <boost/uuid/detail/random_provider.hpp>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <QDateTime>

#include <string>

namespace Ardo::Kiln
{

namespace
{

const std::string PlainGuid = "3f2504e04f8941d39a0c0305e82c3301";
constexpr Time::TimePoint Moment(Time::Ticks(17'092'119'090'429'999));

/// Registers a function whose result is computed anew in every round.
void Measure(const char* name, auto function)
{
    benchmark::RegisterBenchmark(name,
                                 [function](benchmark::State& state)
                                 {
                                     for (auto _ : state)
                                     {
                                         benchmark::DoNotOptimize(function());
                                     }
                                 });
}

const bool Registered = []
{
    Measure("Guid/Generate/ours", [] { return Types::Guid::Generate(); });
    Measure("Guid/Generate/peer", [] { return boost::uuids::random_generator()(); });
    Measure("Guid/Generate/limit",
            []
            {
                boost::uuids::uuid bytes;
                boost::uuids::detail::random_provider().get_random_bytes(&bytes, sizeof(bytes)); // one getrandom(2)
                return bytes;
            });

    Measure("Guid/ToString/ours", [guid = Types::Guid(PlainGuid)] { return guid.ToString(); });
    Measure("Guid/ToString/peer",
            [uuid = Types::Guid(PlainGuid).ConvertToBoostUuid()] { return boost::uuids::to_string(uuid); });

    Measure("Guid/FromString/ours", [] { return Types::Guid(PlainGuid); });
    Measure("Guid/FromString/peer", [] { return boost::uuids::string_generator()(PlainGuid); });

    Measure("Time/ToUtcText/ours", [] { return Time::ToUtcTimeISOString(Moment); });
    Measure("Time/ToUtcText/peer",
            []
            {
                return QDateTime::fromMSecsSinceEpoch(Moment.time_since_epoch().count() / 10'000, Qt::UTC)
                    .toString(Qt::ISODateWithMs)
                    .toStdString();
            });

    Measure("Time/FromUtcText/ours",
            [text = Time::ToUtcTimeISOString(Moment)] { return Time::FromLocalTimeISOString(text); });
    Measure("Time/FromUtcText/peer", [text = Time::ToUtcTimeISOString(Moment)]
            { return QDateTime::fromString(QString::fromStdString(text), Qt::ISODateWithMs).toMSecsSinceEpoch(); });
    return true;
}();

} // namespace

} // namespace Ardo::Kiln
