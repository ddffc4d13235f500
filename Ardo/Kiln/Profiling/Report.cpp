#include "Ardo/Kiln/Profiling/Report.h"

#include "Ardo/Kiln/Conversion/Replacing.h"
#include "Ardo/Kiln/Formatting/SI.h"
#include "Ardo/Kiln/Formatting/Units.h"
#include "Ardo/Kiln/Profiling/QuantityText_p.h"
#include "Ardo/Kiln/Profiling/Registry_p.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace Ardo::Kiln::Profiling
{

namespace
{

using Formatting::Prefix;
using Private::BinCount;
using Private::StageSums;
using Private::Sums;
using Private::TimeText;

/// \p value with three digits and a prefix up to \p most.
std::string ThreeDigits(double value, const std::wstring& unit, Prefix most)
{
    // The exponent of the rounded value: 99.97 has three digits as "100".
    std::array<char, 32> text{};
    const char* const end = std::to_chars(text.begin(), text.end(), value, std::chars_format::scientific, 2).ptr;
    const char* const mark = std::find<const char*>(text.data(), end, 'e');
    int exponent = 0;
    std::from_chars(mark + (mark + 1 < end && mark[1] == '+' ? 2 : 1), end, exponent);
    const double resolution = value > 0.0 ? std::pow(10.0, exponent - 2) : 0.0;
    std::string quantity;
    Conversion::AppendReplacing(quantity, Formatting::SI(value, unit, 0, resolution,
                                                         std::numeric_limits<double>::quiet_NaN(), Prefix::Nano, most));
    return quantity;
}

std::chrono::nanoseconds Nanoseconds(std::uint64_t count)
{
    return std::chrono::nanoseconds(static_cast<std::int64_t>(count));
}

double Seconds(std::chrono::nanoseconds time)
{
    return std::chrono::duration<double>(time).count();
}

StageFigures FiguresOf(const std::string& name, std::size_t depth, const StageSums& sums, std::uint64_t outermost)
{
    StageFigures figures{name, depth, sums.count};
    if (sums.count == 0)
    {
        return figures; // only stages within it have ended
    }
    // Not std::clamp: the sums of a thread that is recording may not fit together.
    const auto quantile = [&](unsigned percent)
    {
        return Nanoseconds(
            std::min(std::max(Private::Quantile(sums.bins, sums.count, percent), sums.shortest), sums.longest));
    };
    figures.total = Nanoseconds(sums.total);
    figures.shortest = Nanoseconds(std::min(sums.shortest, sums.longest));
    figures.longest = Nanoseconds(sums.longest);
    figures.mean = Nanoseconds(sums.total / sums.count);
    figures.median = quantile(50);
    figures.percentile99 = quantile(99);
    figures.share = outermost == 0 ? 0.0 : static_cast<double>(sums.total) / static_cast<double>(outermost);
    figures.bytes = sums.bytes;
    figures.items = sums.items;
    return figures;
}

void AddChildren(std::vector<StageFigures>& stages, const Sums::Node& parent, std::size_t depth,
                 std::uint64_t outermost)
{
    using Child = std::pair<const std::string, Sums::Node>;
    std::vector<const Child*> children;
    for (const Child& child : parent.children)
    {
        children.push_back(&child);
    }
    std::stable_sort(children.begin(), children.end(),
                     [](const Child* first, const Child* second)
                     { return first->second.sums.total > second->second.sums.total; });
    for (const Child* const child : children)
    {
        stages.push_back(FiguresOf(child->first, depth, child->second.sums, outermost));
        AddChildren(stages, child->second, depth + 1, outermost);
    }
}

std::string NumberText(double value)
{
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.begin(), text.end(), value, std::chars_format::general, 4);
    return {text.begin(), end.ptr};
}

/// Bytes or items a second.
std::string ThroughputText(const StageFigures& stage)
{
    if (stage.total.count() == 0 || stage.bytes + stage.items == 0)
    {
        return {};
    }
    return stage.bytes != 0 ? Private::QuantityText(static_cast<double>(stage.bytes) / Seconds(stage.total), L"B/s")
                            : Private::QuantityText(static_cast<double>(stage.items) / Seconds(stage.total), L"/s");
}

/// The width of UTF-8 text in characters.
std::size_t WidthOf(const std::string& text)
{
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80; }));
}

using Row = std::vector<std::string>;

/// Rows as lines: the first column to the left, the others to the right.
std::string Table(const std::vector<Row>& rows)
{
    std::vector<std::size_t> widths(rows.front().size());
    for (const Row& row : rows)
    {
        for (std::size_t column = 0; column < row.size(); ++column)
        {
            widths[column] = std::max(widths[column], WidthOf(row[column]));
        }
    }
    std::string text;
    for (const Row& row : rows)
    {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column)
        {
            const std::string blanks(widths[column] - WidthOf(row[column]), ' ');
            line += column == 0 ? row[column] + blanks : "  " + blanks + row[column];
        }
        line.resize(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

/// A name in valid UTF-8 and on one line.
std::string NameText(const std::string& name)
{
    std::string text;
    Conversion::AppendReplacing(text, std::string_view(name));
    std::replace_if(
        text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) < ' '; }, '?');
    return text;
}

} // namespace

namespace Private
{

std::string QuantityText(double value, const std::wstring& unit)
{
    return ThreeDigits(value, unit, Prefix::Exa);
}

std::string TimeText(std::chrono::nanoseconds time)
{
    return ThreeDigits(Seconds(time), Formatting::Units::Second, Prefix::None);
}

} // namespace Private

Report MakeReport()
{
    const Private::Registry::Totals totals = Private::Registry::Instance().ReadSums();
    Report report;
    report.duration = totals.duration;
    AddChildren(report.stages, totals.sums.root, 0, totals.sums.outermost);
    for (const auto& [name, sums] : totals.sums.counters)
    {
        if (sums.count != 0)
        {
            report.counters.push_back(
                {name, sums.count, sums.least, sums.sum / static_cast<double>(sums.count), sums.most});
        }
    }
    return report;
}

std::string ToText(const Report& report)
{
    std::vector<Row> stages{{"stage", "count", "total", "mean", "median", "99 %", "share", "throughput"}};
    for (const StageFigures& stage : report.stages)
    {
        stages.push_back({std::string(2 * stage.depth, ' ') + NameText(stage.name), std::to_string(stage.count),
                          TimeText(stage.total), TimeText(stage.mean), TimeText(stage.median),
                          TimeText(stage.percentile99), NumberText(std::round(1000.0 * stage.share) / 10.0) + " %",
                          ThroughputText(stage)});
    }
    std::string text = Table(stages);
    if (!report.counters.empty())
    {
        std::vector<Row> counters{{"counter", "count", "least", "mean", "most"}};
        for (const CounterFigures& counter : report.counters)
        {
            counters.push_back({NameText(counter.name), std::to_string(counter.count), NumberText(counter.least),
                                NumberText(counter.mean), NumberText(counter.most)});
        }
        text += "\n" + Table(counters);
    }
    return text;
}

} // namespace Ardo::Kiln::Profiling
