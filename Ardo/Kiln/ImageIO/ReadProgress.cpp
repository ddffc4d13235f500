#include "Ardo/Kiln/ImageIO/ReadProgress_p.h"

#include "Ardo/Kiln/ImageIO/ReadImageException.h"

#include <algorithm>
#include <utility>

namespace Ardo::Kiln::ImageIO
{

namespace
{

constexpr std::uint64_t Step = std::uint64_t{4} << 20; // large enough to cost little, small enough to be seen

} // namespace

void ReadProgress::Start(Function function)
{
    m_function = std::move(function);
    m_failure = nullptr;
    m_read = 0;
    m_reported = 0;
}

std::int64_t ReadProgress::ReadAt(BlockReader& file, std::uint64_t offset, void* bytes, std::int64_t size) noexcept
{
    if (!m_function)
    {
        return file.ReadAt(offset, bytes, size);
    }
    std::int64_t done = 0;
    while (done < size)
    {
        if (m_failure != nullptr)
        {
            return -1;
        }
        const std::int64_t wanted = std::min(size - done, static_cast<std::int64_t>(Step));
        const std::int64_t count =
            file.ReadAt(offset + static_cast<std::uint64_t>(done), static_cast<char*>(bytes) + done, wanted);
        if (count < 0)
        {
            return count;
        }
        done += count;
        m_read += static_cast<std::uint64_t>(count);
        if (m_read - m_reported >= Step && !Report(file.SizeWhenOpened()))
        {
            return -1;
        }
        if (count < wanted)
        {
            break;
        }
    }
    return done;
}

void ReadProgress::Finish()
{
    m_function = nullptr;
    if (m_failure != nullptr)
    {
        std::rethrow_exception(std::exchange(m_failure, nullptr));
    }
}

bool ReadProgress::Report(std::uint64_t size) noexcept
try
{
    m_reported = m_read;
    if (!m_function(std::min(m_read, size), size))
    {
        throw ReadImageException(ReadImageException::Cause::Cancelled, "cancelled");
    }
    return true;
}
catch (...)
{
    m_failure = std::current_exception();
    return false;
}

} // namespace Ardo::Kiln::ImageIO
