#pragma once

#include <cstdint>

namespace Ardo::Kiln::Crash
{

struct CrashRequest;

// How a process outside comes to a CrashRequest and answers it.

/// Copies the request at \p address of \p process.
/// \returns 0 or the error number; EPROTO if it is none, or of another
/// build.
int FetchCrashRequest(std::int32_t process, std::uint64_t address, CrashRequest& request) noexcept;

/// Puts the answers of \p request back.
/// \returns 0 or the error number.
int AnswerCrashRequest(std::int32_t process, std::uint64_t address, const CrashRequest& request) noexcept;

} // namespace Ardo::Kiln::Crash
