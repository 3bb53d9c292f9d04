// File system calls on Win32 handles.
#include <windows.h>

#include <climits>

#include "os/os_file.h"
#include "os/win32_codes.h"

namespace orvx::os {

static_assert(win32::kFileNotFound == ERROR_FILE_NOT_FOUND && win32::kPathNotFound == ERROR_PATH_NOT_FOUND);
static_assert(win32::kAccessDenied == ERROR_ACCESS_DENIED && win32::kInvalidHandle == ERROR_INVALID_HANDLE);
static_assert(win32::kSharingViolation == ERROR_SHARING_VIOLATION && win32::kDiskFull == ERROR_DISK_FULL);
static_assert(win32::kHandleDiskFull == ERROR_HANDLE_DISK_FULL);
static_assert(win32::kDirectoryAttribute == FILE_ATTRIBUTE_DIRECTORY && win32::kNoAttributes == INVALID_FILE_ATTRIBUTES);

namespace {
HANDLE H(FileHandle file) { return reinterpret_cast<HANDLE>(file); }
}  // namespace

namespace {
// The error of the call that just failed, as GetLastError tells it.
Status Failure() {
  const DWORD e = ::GetLastError();
  return {win32::CodeOf(e), ErrorText(static_cast<int>(e)), static_cast<int>(e)};
}
}  // namespace

Status OpenFile(const char* name, OpenMode mode, FileHandle& file) {
  file = kNoFile;
  DWORD access = GENERIC_READ;
  if (mode.access == OpenMode::Write) access = GENERIC_WRITE;
  if (mode.access == OpenMode::ReadWrite) access = GENERIC_READ | GENERIC_WRITE;
  // DenyAll shares nothing: a file opened by another program that way cannot
  // be opened, and the open fails.
  DWORD share = 0;
  switch (mode.share) {
    case OpenMode::DenyWrite: share = FILE_SHARE_READ; break;
    case OpenMode::DenyRead: share = FILE_SHARE_WRITE; break;
    case OpenMode::DenyNone: share = FILE_SHARE_READ | FILE_SHARE_WRITE; break;
    case OpenMode::DenyAll: break;
  }
  DWORD disposition = OPEN_EXISTING;
  if (mode.create != OpenMode::Existing) disposition = mode.create == OpenMode::Create ? CREATE_ALWAYS : OPEN_ALWAYS;
  const HANDLE h = ::CreateFileA(name, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h != INVALID_HANDLE_VALUE && ::GetFileType(h) != FILE_TYPE_DISK) {
    // A device, a pipe or a console: never what a file name here should name.
    ::CloseHandle(h);
    return NotRegularFile();
  }
  if (h == INVALID_HANDLE_VALUE) {
    Status error = Failure();
    if (win32::DeniedForADirectory(static_cast<DWORD>(error.osError), ::GetFileAttributesA(name)))
      return NotRegularFile(error.osError);
    return error;
  }
  file = reinterpret_cast<FileHandle>(h);
  return {};
}

Status ReadSome(FileHandle file, void* buffer, std::uint32_t count, std::uint64_t& got) {
  DWORD n = 0;
  const bool read = ::ReadFile(H(file), buffer, count, &n, nullptr);
  got = read ? n : 0;
  return read ? Status{} : Failure();
}

Status WriteSome(FileHandle file, const void* buffer, std::uint32_t count, std::uint64_t& put) {
  DWORD n = 0;
  const bool written = ::WriteFile(H(file), buffer, count, &n, nullptr);
  put = written ? n : 0;
  return written ? Status{} : Failure();
}

std::uint64_t FileLength(FileHandle file) {
  LARGE_INTEGER size;
  if (::GetFileType(H(file)) != FILE_TYPE_DISK || !::GetFileSizeEx(H(file), &size)) return UINT64_MAX;
  return static_cast<std::uint64_t>(size.QuadPart);
}

Status FlushFile(FileHandle file) {
  if (::FlushFileBuffers(H(file))) return {};
  const DWORD error = ::GetLastError();
  if (win32::NothingToFlush(error)) return {};
  ::SetLastError(error);
  return Failure();
}

void CloseFile(FileHandle file) { ::CloseHandle(H(file)); }

Status CreateNewFile(const char* name, FileHandle& file) {
  const HANDLE h = ::CreateFileA(name, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  file = h == INVALID_HANDLE_VALUE ? kNoFile : reinterpret_cast<FileHandle>(h);
  return h == INVALID_HANDLE_VALUE ? Failure() : Status{};
}

Status RenameOver(const char* from, const char* to) {
  return ::MoveFileExA(from, to, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) ? Status{} : Failure();
}

Status SyncDirectory(const char*) { return {}; }  // MOVEFILE_WRITE_THROUGH already waits for the rename

FileStamp Stamp(FileHandle file) {
  BY_HANDLE_FILE_INFORMATION info;
  if (!::GetFileInformationByHandle(H(file), &info)) return {};
  FILE_BASIC_INFO basic{};
  const bool times = ::GetFileInformationByHandleEx(H(file), FileBasicInfo, &basic, sizeof basic);
  return {!(info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY), info.dwVolumeSerialNumber,
          win32::Join(info.nFileIndexHigh, info.nFileIndexLow), win32::Join(info.nFileSizeHigh, info.nFileSizeLow),
          win32::Nanoseconds(static_cast<std::int64_t>(
              win32::Join(info.ftLastWriteTime.dwHighDateTime, info.ftLastWriteTime.dwLowDateTime))),
          times ? win32::Nanoseconds(basic.ChangeTime.QuadPart) : 0};
}

FileStamp StampPath(const char*) { return {}; }  // the file index needs an open handle

Status StatPath(const char* name, FileStamp& stamp) {
  // The file index needs a handle: one opened for the attributes only, which
  // reads nothing and shares everything.
  const HANDLE h = ::CreateFileA(name, FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                 nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (h == INVALID_HANDLE_VALUE) return Failure();
  const bool disk = ::GetFileType(h) == FILE_TYPE_DISK;
  stamp = Stamp(reinterpret_cast<FileHandle>(h));
  ::CloseHandle(h);
  return disk && stamp.regular ? Status{} : NotRegularFile();
}

Status LockExclusive(FileHandle file) {
  OVERLAPPED at{};
  return ::LockFileEx(H(file), LOCKFILE_EXCLUSIVE_LOCK, 0, MAXDWORD, MAXDWORD, &at) ? Status{} : Failure();
}

std::uint64_t CurrentProcessId() { return ::GetCurrentProcessId(); }

bool ProcessExists(std::uint64_t pid) {
  if (pid == 0 || pid > 0xFFFFFFFFu) return false;
  const HANDLE h = ::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, static_cast<DWORD>(pid));
  if (!h) return ::GetLastError() != ERROR_INVALID_PARAMETER;
  DWORD code = 0;
  const bool running = ::GetExitCodeProcess(h, &code) && code == STILL_ACTIVE;
  ::CloseHandle(h);
  return running;
}

std::string ErrorText(int osError) {
  char text[256] = {};
  const DWORD n = ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                   static_cast<DWORD>(osError), 0, text, sizeof text, nullptr);
  const std::string s = win32::TrimMessage(std::string(text, n));
  return s.empty() ? "system error " + std::to_string(osError) : s;
}

Status BadHandle() { return {Status::Io, ErrorText(ERROR_INVALID_HANDLE), ERROR_INVALID_HANDLE}; }

}  // namespace orvx::os
