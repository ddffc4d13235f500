#pragma once

#include "Ardo/Imaging/const_raw_image.h"

#include <QSize>
#include <QtGlobal>

#include <memory>
#include <string>

class QIODevice;

namespace Ardo::Kiln::ImageIO
{

/// Qt's image readers: the interface of the plug-in CommonImages. Any thread may call its functions.
class QtImageReaders
{
public:
    /// What a file states about its image.
    struct Header
    {
        std::string format; ///< Qt's name of it, "png"; empty if none of the readers knows the file.
        QSize size;         ///< In pixels; invalid if it is not stated.
    };

    /// Reads \p file up to the pixels, from its current position.
    virtual Header ReadHeader(QIODevice& file) const = 0;

    /// The image in \p file, from its current position. Qt makes room for whatever size the file states.
    /// \param format  as in the header.
    /// \param refusal receives the kind of pixels that would not be kept without loss; the result is null then.
    /// \throws std::runtime_error with the reason if the file is damaged.
    virtual std::unique_ptr<Imaging::const_raw_image> Decode(QIODevice& file, const std::string& format,
                                                             std::string& refusal) const = 0;

protected:
    ~QtImageReaders() = default;
};

} // namespace Ardo::Kiln::ImageIO

/// The only function of the plug-in: its readers, which live as long as the process; null if Qt has none.
extern "C" Q_DECL_EXPORT const Ardo::Kiln::ImageIO::QtImageReaders* KilnQtImageReaders();
