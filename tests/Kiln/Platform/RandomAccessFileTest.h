#pragma once

#include "Ardo/Kiln/Platform/RandomAccessFile.h"

#include "tests/Support/Process.h"
#include "tests/Support/ScopedTempDir.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace Ardo::Kiln::Platform
{

namespace fs = std::filesystem;
using std::string_literals::operator""s;
using Access = RandomAccessFile::Access;

/// What ReadAt() gives for a buffer of \p size bytes; its error number in parentheses after a failure.
inline std::string Read(RandomAccessFile& file, std::uint64_t offset, std::size_t size)
{
    std::string bytes(size, '?');
    const std::int64_t count = file.ReadAt(offset, bytes.data(), static_cast<std::int64_t>(size));
    return count < 0 ? "(" + std::to_string(file.LastError().value()) + ")"
                     : bytes.substr(0, static_cast<std::size_t>(count));
}

inline std::int64_t Write(RandomAccessFile& file, std::uint64_t offset, std::string_view bytes)
{
    return file.WriteAt(offset, bytes.data(), static_cast<std::int64_t>(bytes.size()));
}

} // namespace Ardo::Kiln::Platform
