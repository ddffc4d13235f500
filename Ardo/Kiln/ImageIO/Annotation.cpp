#include "Ardo/Kiln/ImageIO/Annotation_p.h"

#include "Ardo/Kiln/ImageIO/StrokeFont_p.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace Ardo::Kiln::ImageIO
{

namespace
{

constexpr double CapitalHeight = StrokeFont::Baseline - StrokeFont::Top;

/// How a character is made of a glyph of the font.
struct Form
{
    char glyph;
    bool isRaised = false; ///< A superscript.
    char mark = ' ';       ///< A stroke to the lower left ('/') or a ring above ('o').
};

Form FormOf(wchar_t character)
{
    constexpr std::uint32_t RaisedDigits[] = {0x2070, 0xb9, 0xb2, 0xb3, 0x2074, 0x2075, 0x2076, 0x2077, 0x2078, 0x2079};
    const auto code = static_cast<std::uint32_t>(character);
    for (std::size_t digit = 0; digit < std::size(RaisedDigits); ++digit)
    {
        if (code == RaisedDigits[digit])
        {
            return {static_cast<char>('0' + digit), true};
        }
    }
    switch (code)
    {
    case 0xb5:  // micro
    case 0x3bc: // mu
        return {'u', false, '/'};
    case 0xc5:   // A with ring
    case 0x212b: // angstrom
        return {'A', false, 'o'};
    case 0xb0: // degree
        return {'o', true};
    case 0x2c9:  // the minus of exponents
    case 0xaf:   // macron
    case 0x207b: // superscript minus
        return {'-', true};
    case 0x2010: // hyphen
    case 0x2011:
    case 0x2012:
    case 0x2013: // dashes
    case 0x2014:
    case 0x2212: // minus
        return {'-'};
    case 0xb7:   // middle dot
    case 0x22c5: // dot operator
        return {'.', true};
    case 0xd7: // multiplication
        return {'x'};
    case 0x221e: // infinity
        return {'8'};
    case 0xa0:   // no-break space
    case 0x2009: // thin space
    case 0x202f: // narrow no-break space
        return {' '};
    default:
        return {code >= 0x20 && code < 0x7f ? static_cast<char>(code) : '?'};
    }
}

std::string_view GlyphOf(char character)
{
    return StrokeFont::Glyphs[static_cast<std::size_t>(character) - StrokeFont::First];
}

constexpr int Number(char character)
{
    return character - 'R';
}

constexpr double RaisedScale = 0.62;

double Advance(const Form& form)
{
    const std::string_view glyph = GlyphOf(form.glyph);
    return (Number(glyph[1]) - Number(glyph[0])) * (form.isRaised ? RaisedScale : 1.0);
}

struct Point
{
    double x;
    double y;
};

/// Calls \p draw with the ends of each straight part of the strokes of \p glyph, in the unit of the font.
template <typename Draw>
void VisitStrokes(std::string_view glyph, Draw draw)
{
    Point last{0.0, 0.0};
    bool isPenDown = false;
    for (std::size_t i = 2; i + 1 < glyph.size(); i += 2)
    {
        if (glyph[i] == ' ')
        {
            isPenDown = false;
            continue;
        }
        const Point point{static_cast<double>(Number(glyph[i]) - Number(glyph[0])),
                          static_cast<double>(Number(glyph[i + 1]))};
        if (isPenDown)
        {
            draw(last, point);
        }
        last = point;
        isPenDown = true;
    }
}

double Distance(Point point, Point from, Point to)
{
    const double dx = to.x - from.x;
    const double dy = to.y - from.y;
    const double length = dx * dx + dy * dy;
    const double along =
        length > 0.0 ? std::clamp(((point.x - from.x) * dx + (point.y - from.y) * dy) / length, 0.0, 1.0) : 0.0;
    return std::hypot(point.x - from.x - along * dx, point.y - from.y - along * dy);
}

/// How much of each pixel of a part of the canvas the strokes cover: each pixel once, so that crossings do not show.
class Mask
{
public:
    Mask(int left, int top, int right, int bottom)
        : m_left(left),
          m_top(top),
          m_right(std::max(left, right)),
          m_bottom(std::max(top, bottom)),
          m_cover(static_cast<std::size_t>(m_right - m_left) * static_cast<std::size_t>(m_bottom - m_top))
    {
    }

    void DrawLine(Point from, Point to, double width)
    {
        const double reach = width / 2.0 + 1.0;
        const auto limit = [](double value, int low, int high)
        { return static_cast<int>(std::clamp(value, static_cast<double>(low), static_cast<double>(high))); };
        const int left = limit(std::min(from.x, to.x) - reach, m_left, m_right);
        const int right = limit(std::max(from.x, to.x) + reach + 1.0, m_left, m_right);
        const int top = limit(std::min(from.y, to.y) - reach, m_top, m_bottom);
        const int bottom = limit(std::max(from.y, to.y) + reach + 1.0, m_top, m_bottom);
        for (int y = top; y < bottom; ++y)
        {
            for (int x = left; x < right; ++x)
            {
                const double distance = Distance({x + 0.5, y + 0.5}, from, to);
                float& cover = m_cover[Index(x, y)];
                cover = std::max(cover, static_cast<float>(std::clamp(width / 2.0 + 0.5 - distance, 0.0, 1.0)));
            }
        }
    }

    void Apply(Canvas& canvas, const Canvas::Colour& colour) const
    {
        const std::uint8_t channels[] = {colour.red, colour.green, colour.blue};
        for (int y = m_top; y < m_bottom; ++y)
        {
            for (int x = m_left; x < m_right; ++x)
            {
                const float cover = m_cover[Index(x, y)];
                auto* const pixel =
                    canvas.pixels.data() +
                    (static_cast<std::size_t>(y) * canvas.size.width + static_cast<std::size_t>(x)) * canvas.samples;
                for (std::size_t s = 0; s < canvas.samples; ++s)
                {
                    const float old = pixel[s];
                    pixel[s] = static_cast<std::uint8_t>(old + cover * (static_cast<float>(channels[s]) - old) + 0.5f);
                }
            }
        }
    }

private:
    std::size_t Index(int x, int y) const
    {
        return static_cast<std::size_t>(y - m_top) * static_cast<std::size_t>(m_right - m_left) +
               static_cast<std::size_t>(x - m_left);
    }

    int m_left;
    int m_top;
    int m_right;
    int m_bottom;
    std::vector<float> m_cover;
};

int Limit(double value, std::uint32_t size)
{
    return static_cast<int>(std::clamp(value, 0.0, static_cast<double>(size)));
}

} // namespace

double TextWidth(const std::wstring& text, double height)
{
    double width = 0.0;
    for (const wchar_t character : text)
    {
        width += Advance(FormOf(character));
    }
    return width * height / CapitalHeight;
}

void Canvas::FillRectangle(int left, int top, int right, int bottom, const Colour& colour)
{
    const std::uint8_t channels[] = {colour.red, colour.green, colour.blue};
    for (int y = Limit(top, size.height); y < Limit(bottom, size.height); ++y)
    {
        for (int x = Limit(left, size.width); x < Limit(right, size.width); ++x)
        {
            const std::size_t pixel = static_cast<std::size_t>(y) * size.width + static_cast<std::size_t>(x);
            std::copy_n(channels, samples, pixels.begin() + static_cast<std::ptrdiff_t>(pixel * samples));
        }
    }
}

void Canvas::DrawText(double x, double baseline, double height, double stroke, const std::wstring& text,
                      const Colour& colour)
{
    const double unit = height / CapitalHeight;
    const double top = baseline - (StrokeFont::Baseline - StrokeFont::Top + 6) * unit; // with the ring of an angstrom
    const double bottom = baseline + (StrokeFont::Bottom - StrokeFont::Baseline) * unit;
    const double reach = stroke / 2.0 + 2.0;
    Mask mask(Limit(x - reach, size.width), Limit(top - reach, size.height),
              Limit(x + TextWidth(text, height) + reach, size.width), Limit(bottom + reach, size.height));
    for (const wchar_t character : text)
    {
        const Form form = FormOf(character);
        // Raised glyphs stand on the upper third of the capital letters.
        const double scale = form.isRaised ? RaisedScale * unit : unit;
        const double base = form.isRaised ? baseline - 0.45 * height : baseline;
        const auto place = [&](Point point) {
            return Point{x + point.x * scale, base + (point.y - StrokeFont::Baseline) * scale};
        };
        const auto draw = [&](Point from, Point to) { mask.DrawLine(place(from), place(to), stroke); };
        VisitStrokes(GlyphOf(form.glyph), draw);
        if (form.mark == '/')
        {
            draw({4.0, -5.0}, {4.0, 15.0});
        }
        else if (form.mark == 'o')
        {
            const double centre = Advance(form) / 2.0;
            constexpr int Corners = 12;
            for (int i = 0; i < Corners; ++i)
            {
                const auto corner = [&](int k)
                {
                    const double angle = 2.0 * 3.14159265358979 * k / Corners;
                    return Point{centre + 2.5 * std::cos(angle), -14.5 + 2.5 * std::sin(angle)};
                };
                draw(corner(i), corner(i + 1));
            }
        }
        x += Advance(form) * unit;
    }
    mask.Apply(*this, colour);
}

} // namespace Ardo::Kiln::ImageIO
