#pragma once

#include "Ardo/KilnExport.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace Ardo::Kiln::Profiling
{

/// What was recorded of one stage: of all that have the same name within the same stages, on all threads.
struct StageFigures
{
    std::string name;                        ///< As given to the stage.
    std::size_t depth = 0;                   ///< The number of stages around it.
    std::uint64_t count = 0;                 ///< How often the stage ended.
    std::chrono::nanoseconds total{};        ///< Stages within it included.
    std::chrono::nanoseconds shortest{};     ///< Of one stage.
    std::chrono::nanoseconds longest{};      ///< Of one stage.
    std::chrono::nanoseconds mean{};         ///< Total divided by count.
    std::chrono::nanoseconds median{};       ///< Within 3.2 %.
    std::chrono::nanoseconds percentile99{}; ///< 99 % of the stages took no longer; within 3.2 %.
    double share = 0;        ///< Total, as a part of the time that all threads spent in outermost stages; 0 to 1.
    std::uint64_t bytes = 0; ///< Bytes that the stages have told, summed up.
    std::uint64_t items = 0; ///< Items that the stages have told, summed up.
};

/// What was recorded of one counter.
struct CounterFigures
{
    std::string name;        ///< As given to the counter.
    std::uint64_t count = 0; ///< The number of values.
    double least = 0;        ///< The smallest value.
    double mean = 0;         ///< The mean of the values.
    double most = 0;         ///< The largest value.
};

/// A recording in figures.
struct Report
{
    std::chrono::nanoseconds duration{};  ///< From the beginning of the recording to its end, or until now.
    std::vector<StageFigures> stages;     ///< Each followed by those within it; the longest total first.
    std::vector<CounterFigures> counters; ///< By name.
};

/// The figures of the last recording, also while it goes on: of the stages that have ended. Any thread may call it.
/// \throws std::bad_alloc.
KILN_EXPORT Report MakeReport();

/// A report as a table for a person, in UTF-8, the names of inner stages indented.
///
///     stage          count    total     mean   median     99 %   share  throughput
///     convert            1  12.3 ms  12.3 ms  12.3 ms  12.3 ms   100 %
///       read             1  2.05 ms  2.05 ms  2.05 ms  2.05 ms    17 %    355 MB/s
/// \throws std::bad_alloc. Any thread may call it.
KILN_EXPORT std::string ToText(const Report& report);

} // namespace Ardo::Kiln::Profiling
