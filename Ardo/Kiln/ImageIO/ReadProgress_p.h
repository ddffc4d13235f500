#pragma once

#include "Ardo/Kiln/ImageIO/BlockReader_p.h"

#include <cstdint>
#include <exception>
#include <functional>

namespace Ardo::Kiln::ImageIO
{

/// Reads a file in steps and calls the function of ImageFile::SetProgress between them. Decoders are C code that no
/// exception may leave, so a failure is kept here until the decoder has returned.
class ReadProgress
{
public:
    /// See ImageFile::Progress.
    using Function = std::function<bool(std::uint64_t read, std::uint64_t size)>;

    /// Sets the function of the reading that begins now; empty for none.
    void Start(Function function);

    /// Reads like BlockReader::ReadAt. After the function has ended the reading, reads nothing and returns -1.
    std::int64_t ReadAt(BlockReader& file, std::uint64_t offset, void* bytes, std::int64_t size) noexcept;

    /// Ends the reading.
    /// \throws ReadImageException of cause Cancelled, or the exception of the function, if it has ended the reading.
    void Finish();

private:
    bool Report(std::uint64_t size) noexcept;

    Function m_function;
    std::exception_ptr m_failure;
    std::uint64_t m_read = 0;     ///< Bytes since Start().
    std::uint64_t m_reported = 0; ///< What the function was told last.
};

} // namespace Ardo::Kiln::ImageIO
