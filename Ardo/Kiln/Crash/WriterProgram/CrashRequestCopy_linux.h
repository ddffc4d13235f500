#pragma once

#include <cstdint>

namespace Ardo::Kiln::Crash
{

struct CrashRequest;

// Copies a CrashRequest from the faulted process, and the answers back into it.

/// Copies the request at \p address of \p process.
/// \returns 0 or the error number; EPROTO if there is no request, or one of another build.
int FetchCrashRequest(std::int32_t process, std::uint64_t address, CrashRequest& request) noexcept;

/// Puts the answers of \p request back.
/// \returns 0 or the error number.
int AnswerCrashRequest(std::int32_t process, std::uint64_t address, const CrashRequest& request) noexcept;

} // namespace Ardo::Kiln::Crash
