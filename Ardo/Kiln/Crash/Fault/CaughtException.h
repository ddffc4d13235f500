#pragma once

#include "Ardo/Kiln/Platform/StructuredException.h"
#include "Ardo/KilnExport.h"

#include <cstddef>

namespace Ardo::Kiln::Crash
{

/// The exception that a `catch` block is dealing with, seen as a fault: code FaultCode::CxxException, the address of
/// the throw where it was remembered (RememberThrow), and the registers of the function that made this object.
///
/// While the exception is dealt with, UncaughtExceptionOfThread() describes it.
class KILN_EXPORT_FOR_TESTS CaughtException
{
public:
    /// Inside a `catch` block only. Allocates nothing: that may be what has failed.
    CaughtException() noexcept;
    ~CaughtException() = default; // the block in m_memory is trivially destructible
    CaughtException(const CaughtException&) = delete;
    CaughtException& operator=(const CaughtException&) = delete;

    /// Never null; valid as long as this object.
    EXCEPTION_POINTERS* Pointers() noexcept;

private:
    struct Block;
    alignas(16) std::byte m_memory[1424]; // a block, declared in the sources: on Windows it needs <windows.h>
    Block* m_block;
};

} // namespace Ardo::Kiln::Crash
