#pragma once

#include "Ardo/Kiln/ImageIO/BlockReader_p.h"
#include "Ardo/Kiln/ImageIO/ReadProgress_p.h"

#include <QIODevice>

namespace Ardo::Kiln::ImageIO
{

/// A device for Qt's image readers on a file. It reads the ranges that they ask for, never the whole file. The file
/// must outlive the device.
class FileDevice : public QIODevice
{
public:
    /// Opens the device for reading. \p file and \p reading stay the caller's.
    FileDevice(BlockReader& file, ReadProgress& reading);

    bool isSequential() const override { return false; }
    qint64 size() const override;
    bool seek(qint64 position) override;

protected:
    qint64 readData(char* bytes, qint64 size) override;
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    BlockReader& m_file;
    ReadProgress& m_reading;
    qint64 m_position = 0;
};

} // namespace Ardo::Kiln::ImageIO
