#include "Ardo/Kiln/ImageIO/PixelBuffer_p.h"

#include "Ardo/Kiln/Platform/Pages.h"

#include <new>

namespace Ardo::Kiln::ImageIO
{

namespace
{

/// Below this size the heap is faster, because it reuses the memory of the last image.
constexpr std::size_t SmallestMapping = std::size_t{2} << 20;

} // namespace

PixelBuffer::~PixelBuffer()
{
    Resize(0);
}

bool PixelBuffer::IsMapped() const noexcept
{
    return m_size >= SmallestMapping;
}

void PixelBuffer::Resize(std::size_t size)
{
    if (size == m_size)
    {
        return;
    }
    if (IsMapped() && size >= SmallestMapping && size < m_size)
    {
        Platform::ShrinkPages(m_data, m_size, size);
        m_size = size;
        return;
    }
    IsMapped() ? Platform::FreePages(m_data, m_size) : ::operator delete(m_data);
    m_data = nullptr;
    m_size = 0;
    if (size != 0)
    {
        m_data =
            size >= SmallestMapping ? Platform::AllocatePages(size) : static_cast<unsigned char*>(::operator new(size));
        m_size = size;
    }
}

} // namespace Ardo::Kiln::ImageIO
