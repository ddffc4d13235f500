#include "Ardo/Imaging/ScaleImage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <vector>

namespace Ardo::Imaging
{

namespace
{

/// What a new pixel is made of along one axis: weights of neighbouring old ones, whose sum is 1.
struct Taps
{
    std::size_t first;
    std::size_t weight; ///< Index of the first weight.
    std::size_t count;
};

class Axis
{
public:
    Axis(std::size_t from, std::size_t to)
    {
        const double step = static_cast<double>(from) / static_cast<double>(to);
        m_taps.reserve(to);
        for (std::size_t i = 0; i < to; ++i)
        {
            const auto position = static_cast<double>(i);
            step >= 1.0 ? Cover(position * step, (position + 1.0) * step, from)
                        : Interpolate((position + 0.5) * step - 0.5, from);
        }
    }

    std::size_t Size() const { return m_taps.size(); }
    const Taps& At(std::size_t i) const { return m_taps[i]; }
    double Weight(const Taps& taps, std::size_t i) const { return m_weights[taps.weight + i]; }

private:
    void Cover(double begin, double end, std::size_t from)
    {
        const auto first = std::min(static_cast<std::size_t>(begin), from - 1);
        Taps taps{first, m_weights.size(), 0};
        for (std::size_t i = first; i < from && static_cast<double>(i) < end; ++i, ++taps.count)
        {
            const auto at = static_cast<double>(i);
            m_weights.push_back((std::min(at + 1.0, end) - std::max(at, begin)) / (end - begin));
        }
        // A sliver that rounding has left over would bring in a neighbour, which may be not a number.
        if (taps.count > 1 && m_weights.back() < 1e-9)
        {
            m_weights.pop_back();
            --taps.count;
        }
        m_taps.push_back(taps);
    }

    void Interpolate(double centre, std::size_t from)
    {
        const double limited = std::clamp(centre, 0.0, static_cast<double>(from - 1));
        const auto first = static_cast<std::size_t>(limited);
        const double part = limited - static_cast<double>(first);
        m_taps.push_back({first, m_weights.size(), part > 0.0 ? 2u : 1u});
        m_weights.push_back(1.0 - part);
        if (part > 0.0)
        {
            m_weights.push_back(part);
        }
    }

    std::vector<Taps> m_taps;
    std::vector<double> m_weights;
};

/// Scales one row to doubles; of \p Samples = 4 the last is an opacity, by which the others are multiplied.
template <typename Sample, std::size_t Samples>
void ScaleRow(const Sample* row, const Axis& axis, std::vector<double>& out)
{
    for (std::size_t x = 0; x < axis.Size(); ++x)
    {
        const Taps& taps = axis.At(x);
        std::array<double, Samples> sums{};
        for (std::size_t i = 0; i < taps.count; ++i)
        {
            const Sample* const pixel = row + Samples * (taps.first + i);
            double weight = axis.Weight(taps, i);
            if constexpr (Samples == 4)
            {
                sums[3] += weight * pixel[3];
                weight *= pixel[3];
            }
            for (std::size_t s = 0; s < std::min<std::size_t>(Samples, 3); ++s)
            {
                sums[s] += weight * static_cast<double>(pixel[s]);
            }
        }
        std::copy(sums.begin(), sums.end(), out.begin() + static_cast<std::ptrdiff_t>(Samples * x));
    }
}

template <typename Sample, std::size_t Samples>
void StoreRow(std::vector<double>& sums, Sample* out)
{
    if constexpr (Samples == 4)
    {
        for (std::size_t i = 0; i < sums.size(); i += 4)
        {
            for (std::size_t s = 0; s < 3; ++s)
            {
                sums[i + s] = sums[i + 3] > 0.0 ? sums[i + s] / sums[i + 3] : 0.0;
            }
        }
    }
    std::ranges::transform(sums, out,
                           [](double value)
                           {
                               if constexpr (std::is_floating_point_v<Sample>)
                               {
                                   return static_cast<Sample>(value);
                               }
                               return static_cast<Sample>(value + 0.5); // a mean of samples is within their range
                           });
}

template <typename Sample, std::size_t Samples>
void Scale(const const_raw_image& image, const Axis& columns, const Axis& rows, Sample* out)
{
    const std::size_t size = Samples * columns.Size();
    // Neighbouring new rows share at most two old ones.
    struct Kept
    {
        std::size_t y = static_cast<std::size_t>(-1);
        std::vector<double> row;
    };
    std::array<Kept, 2> kept;
    std::vector<double> sums(size);
    for (std::size_t y = 0; y < rows.Size(); ++y)
    {
        const Taps& taps = rows.At(y);
        std::ranges::fill(sums, 0.0);
        for (std::size_t i = 0; i < taps.count; ++i)
        {
            Kept& old = kept[(taps.first + i) % kept.size()];
            if (old.y != taps.first + i)
            {
                old.y = taps.first + i;
                old.row.resize(size);
                ScaleRow<Sample, Samples>(static_cast<const Sample*>(image.Row(static_cast<std::uint32_t>(old.y))),
                                          columns, old.row);
            }
            const double weight = rows.Weight(taps, i);
            std::ranges::transform(sums, old.row, sums.begin(),
                                   [weight](double sum, double value) { return sum + weight * value; });
        }
        StoreRow<Sample, Samples>(sums, out + size * y);
    }
}

} // namespace

const_raw_image ScaleImage(const const_raw_image& image, size_2d size)
{
    if (size == image.Size())
    {
        return image;
    }
    const std::size_t rowSize = BytesPerPixel(image.Kind()) * size.width;
    if (rowSize == 0 || size.height == 0 || rowSize > static_cast<std::size_t>(-1) / size.height)
    {
        throw std::invalid_argument("ScaleImage: no pixels, or too many");
    }
    // Of floats, so that any sample is aligned.
    const auto pixels =
        std::make_shared<std::vector<float>>((rowSize * size.height + sizeof(float) - 1) / sizeof(float));
    void* const out = pixels->data();
    const Axis columns(image.Size().width, size.width);
    const Axis rows(image.Size().height, size.height);
    switch (image.Kind())
    {
    case PixelKind::UInt8:
        Scale<std::uint8_t, 1>(image, columns, rows, static_cast<std::uint8_t*>(out));
        break;
    case PixelKind::UInt16:
        Scale<std::uint16_t, 1>(image, columns, rows, static_cast<std::uint16_t*>(out));
        break;
    case PixelKind::Float32:
        Scale<float, 1>(image, columns, rows, static_cast<float*>(out));
        break;
    case PixelKind::Rgb8:
        Scale<std::uint8_t, 3>(image, columns, rows, static_cast<std::uint8_t*>(out));
        break;
    case PixelKind::Rgba8:
        Scale<std::uint8_t, 4>(image, columns, rows, static_cast<std::uint8_t*>(out));
        break;
    }
    return {std::shared_ptr<const void>(pixels, out), size, image.Kind()};
}

} // namespace Ardo::Imaging
