#include "Ardo/Kiln/ImageIO/FileDevice_p.h"

#include <algorithm>
#include <limits>

namespace Ardo::Kiln::ImageIO
{

FileDevice::FileDevice(BlockReader& file, ReadProgress& reading) : m_file(file), m_reading(reading)
{
    open(QIODevice::ReadOnly);
}

qint64 FileDevice::size() const
{
    constexpr auto MaxSize = static_cast<std::uint64_t>(std::numeric_limits<qint64>::max());
    return static_cast<qint64>(std::min(m_file.SizeWhenOpened(), MaxSize));
}

bool FileDevice::seek(qint64 position)
{
    m_position = position;
    return QIODevice::seek(position);
}

qint64 FileDevice::readData(char* bytes, qint64 size)
{
    const std::int64_t count = m_reading.ReadAt(m_file, static_cast<std::uint64_t>(m_position), bytes, size);
    if (count < 0)
    {
        setErrorString(QString::fromStdString(m_file.LastError().message()));
        return -1;
    }
    m_position += count;
    return count;
}

} // namespace Ardo::Kiln::ImageIO
