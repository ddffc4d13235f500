#pragma once

#include <algorithm>
#include <cstddef>

namespace Ardo::Kiln::ImageIO
{

/// Sets every negative one of \p count samples to 0. Written so that the compiler vectorises it at -O3: a conditional
/// store would cost a mispredicted branch for every second sample of noise.
template <typename Sample>
void ClampNegative(Sample* samples, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        samples[i] = std::max(samples[i], Sample{0});
    }
}

} // namespace Ardo::Kiln::ImageIO
