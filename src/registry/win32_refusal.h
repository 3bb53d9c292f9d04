// The reason for a refusal of the platform's own registry: its result code is
// all it says, so the reason is that code in words. Portable, so that every
// platform's tests hold the words the Windows build gives.
#pragma once

#include <string>

#include "orvx/afx_registry.h"
#include "orvx/status.h"

namespace orvx::registry::win32 {

// The codes the platform's headers name; checked against them where they exist.
inline constexpr LONG kNotEnoughMemory = 8, kOutOfMemory = 14;

inline Status::Code CodeOf(LONG result) {
  switch (result) {
    case ERROR_SUCCESS: return Status::None;
    case ERROR_FILE_NOT_FOUND: return Status::NotFound;
    case ERROR_MORE_DATA: return Status::ValueTooLarge;
    case ERROR_INVALID_PARAMETER:
    case ERROR_INVALID_NAME:
    case ERROR_INVALID_HANDLE: return Status::Argument;
    case kNotEnoughMemory:
    case kOutOfMemory: return Status::Memory;
    case ERROR_REGISTRY_CORRUPT: return Status::BadStore;
    default: return Status::Registry;
  }
}

// What a call on `subKey`, or on the value `name` of the open key, that
// returned `result` means: nothing, or the reason.
inline Status Outcome(LONG result, const char* subKey, const char* name = nullptr) {
  const Status::Code code = CodeOf(result);
  if (code == Status::None) return {};
  std::string what = subKey ? std::string(subKey) + ": " : std::string();
  if (name) what += *name ? "the value \"" + std::string(name) + "\": " : std::string("the default value: ");
  return {code, what + StatusName(code) + " (error " + std::to_string(result) + ")", static_cast<int>(result)};
}

}  // namespace orvx::registry::win32
