// What the Win32 file calls' answers mean to the library. The system's codes
// and flags are written as plain numbers (file_win32.cpp checks them against
// the system's names), so that these decisions compile, and are tested, on
// every platform.
#pragma once

#include <cstdint>
#include <string>

#include "orvx/status.h"

namespace orvx::os::win32 {

enum Error : std::uint32_t {
  kFileNotFound = 2,
  kPathNotFound = 3,
  kAccessDenied = 5,
  kInvalidHandle = 6,
  kSharingViolation = 32,
  kHandleDiskFull = 39,
  kDiskFull = 112,
};
constexpr std::uint32_t kDirectoryAttribute = 0x10;
constexpr std::uint32_t kNoAttributes = 0xFFFFFFFF;  // what a failed query of a path's attributes answers

// The library's code for the error of a failed call.
constexpr Status::Code CodeOf(std::uint32_t error) {
  switch (error) {
    case kFileNotFound: case kPathNotFound: return Status::NotFound;
    case kSharingViolation: return Status::Sharing;
    case kDiskFull: case kHandleDiskFull: return Status::DiskFull;
    default: return Status::Io;
  }
}

// A flush refused because there is nothing to flush (a console, a handle
// opened for reading only) did not fail.
constexpr bool NothingToFlush(std::uint32_t error) { return error == kInvalidHandle || error == kAccessDenied; }

// An open refused with access denied names a directory when the path's
// attributes say so: a path that is no regular file, not a permission problem.
constexpr bool DeniedForADirectory(std::uint32_t error, std::uint32_t attributes) {
  return error == kAccessDenied && attributes != kNoAttributes && (attributes & kDirectoryAttribute);
}

// A 64-bit number the system gives as two 32-bit halves.
constexpr std::uint64_t Join(std::uint32_t high, std::uint32_t low) { return (std::uint64_t{high} << 32) | low; }

// A FILETIME (100 ns since 1601) as nanoseconds since 1970.
constexpr std::int64_t Nanoseconds(std::int64_t fileTime) { return (fileTime - 116444736000000000) * 100; }

// The system's text for an error without the line break and full stop it ends with.
inline std::string TrimMessage(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' ' || text.back() == '.'))
    text.pop_back();
  return text;
}

}  // namespace orvx::os::win32
