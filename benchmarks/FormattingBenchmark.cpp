// Quantities as text and back, each beside what one writes by hand with the usual tools.

#include "Ardo/Kiln/Formatting/Parse.h"
#include "Ardo/Kiln/Formatting/SI.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <fmt/xchar.h>

#include <cmath>
#include <cwchar>
#include <string>

namespace
{

using namespace Ardo::Kiln;

// Every value and text comes from memory that the compiler must reload: nothing is computed ahead of time.
constexpr double Lengths[] = {12.5e-9, 1.07e-7, 3.2e-3, 0.5, 1234.5, 7.5e-12, 2.5e-6, 42.0};
constexpr double Frequencies[] = {5.4321e9, 1.07e7, 3.2e3, 0.5, 1.2345e10, 7.5e2, 2.5e6, 42.0};

// Peer: three comparisons of logarithms and one format string. Knows neither squared units nor superscripts.
std::wstring FormatByHand(double value, const std::wstring& unit, int decimals)
{
    static const wchar_t* const symbols[] = {L"f", L"p", L"n", L"\u00B5", L"m", L"",
                                             L"k", L"M", L"G", L"T",      L"P", L"E"};
    int step = value == 0 ? -5 : static_cast<int>(std::floor(std::log10(std::abs(value)) / 3));
    step = step < -5 ? -5 : step > 6 ? 6 : step;
    return fmt::format(L"{:.{}f} {}{}", value / std::pow(10.0, 3 * step), decimals, symbols[step + 5], unit);
}

// Peer of the uncertain form: the decimals come from the uncertainty, the prefix of a reciprocal unit is turned.
std::wstring FormatReciprocalByHand(double value, const std::wstring& unit, double uncertainty)
{
    static const wchar_t* const symbols[] = {L"E", L"P", L"T",      L"G", L"M", L"k",
                                             L"",  L"m", L"\u00B5", L"n", L"p", L"f"};
    int step = value == 0 ? -5 : static_cast<int>(std::floor(std::log10(std::abs(value)) / 3));
    step = step < -6 ? -6 : step > 5 ? 5 : step;
    const double scale = std::pow(10.0, 3 * step);
    const int decimals = static_cast<int>(-std::floor(std::log10(uncertainty / scale)));
    return fmt::format(L"{:.{}f} {}{}", value / scale, decimals < 0 ? 0 : decimals, symbols[step + 6], unit);
}

// Peer: the number by the C library, the prefix by the first character behind it.
double ParseByHand(const std::wstring& text, const std::wstring& unit)
{
    wchar_t* end = nullptr;
    const double value = std::wcstod(text.c_str(), &end);
    while (*end == L' ')
    {
        ++end;
    }
    if (unit == end)
    {
        return value;
    }
    switch (*end)
    {
    case L'f':
        return value * 1e-15;
    case L'p':
        return value * 1e-12;
    case L'n':
        return value * 1e-9;
    case L'u':
    case L'\u00B5':
        return value * 1e-6;
    case L'm':
        return value * 1e-3;
    case L'k':
        return value * 1e3;
    case L'M':
        return value * 1e6;
    case L'G':
        return value * 1e9;
    default:
        return value;
    }
}

template <typename Function>
void ForEach(benchmark::State& state, const double (&values)[8], Function function)
{
    std::size_t i = 0;
    for (auto _ : state)
    {
        double value = values[i++ % std::size(values)];
        benchmark::DoNotOptimize(value);
        benchmark::DoNotOptimize(function(value));
    }
}

const std::wstring Metre = L"m";
const std::wstring PerMetre = L"m^-1";
const std::wstring PerMetreShown = L"m\u02C9\u00B9";
const std::wstring Text = L"12.50 nm";

void SiOurs(benchmark::State& state)
{
    ForEach(state, Lengths, [](double value) { return Formatting::SI(value, Metre, 2); });
}

void SiPeer(benchmark::State& state)
{
    ForEach(state, Lengths, [](double value) { return FormatByHand(value, Metre, 2); });
}

void UncertaintyOurs(benchmark::State& state)
{
    ForEach(state, Frequencies,
            [](double value) { return Formatting::SIUsingUncertainty(value, PerMetre, value / 500); });
}

void UncertaintyPeer(benchmark::State& state)
{
    ForEach(state, Frequencies, [](double value) { return FormatReciprocalByHand(value, PerMetreShown, value / 500); });
}

// The peer of the goal, which does less: decimals given, no uncertainty.
void UncertaintyFixedPeer(benchmark::State& state)
{
    ForEach(state, Frequencies, [](double value) { return FormatByHand(value, PerMetreShown, 2); });
}

template <double (&Function)(const std::wstring&, const std::wstring&)>
void ParseText(benchmark::State& state)
{
    for (auto _ : state)
    {
        const std::wstring* text = &Text;
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(Function(*text, Metre));
    }
}

BENCHMARK(SiOurs)->Name("SI text/ours");
BENCHMARK(SiPeer)->Name("SI text/peer:fmt by hand");
BENCHMARK(UncertaintyOurs)->Name("SIUsingUncertainty, reciprocal unit/ours");
BENCHMARK(UncertaintyPeer)->Name("SIUsingUncertainty, reciprocal unit/peer:fmt by hand");
BENCHMARK(UncertaintyFixedPeer)->Name("SIUsingUncertainty, reciprocal unit/peer:fmt by hand, decimals given");
BENCHMARK(ParseText<Formatting::Parse>)->Name("Parse SI text/ours");
BENCHMARK(ParseText<ParseByHand>)->Name("Parse SI text/peer:wcstod by hand");

} // namespace
