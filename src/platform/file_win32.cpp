// File system calls on Win32 handles.
#include <windows.h>

#include <climits>

#include "orvx/afx_file.h"
#include "os_file.h"

namespace orvx::os {

namespace {
HANDLE H(FileHandle file) { return reinterpret_cast<HANDLE>(file); }
}  // namespace

FileHandle OpenFile(const char* name, UINT openFlags, int& cause, int& osError) {
  DWORD access = GENERIC_READ;
  if ((openFlags & 3) == CFile::modeWrite) access = GENERIC_WRITE;
  if ((openFlags & 3) == CFile::modeReadWrite) access = GENERIC_READ | GENERIC_WRITE;
  // Compatibility and exclusive modes share nothing: a file opened by another
  // program with them cannot be opened, and the open fails.
  DWORD share = 0;
  switch (openFlags & 0x70) {
    case CFile::shareDenyWrite: share = FILE_SHARE_READ; break;
    case 0x30: share = FILE_SHARE_WRITE; break;  // deny read
    case CFile::shareDenyNone: share = FILE_SHARE_READ | FILE_SHARE_WRITE; break;
    default: break;
  }
  DWORD disposition = OPEN_EXISTING;
  if (openFlags & CFile::modeCreate) disposition = (openFlags & CFile::modeNoTruncate) ? OPEN_ALWAYS : CREATE_ALWAYS;
  const HANDLE h = ::CreateFileA(name, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h != INVALID_HANDLE_VALUE && ::GetFileType(h) != FILE_TYPE_DISK) {
    // A device, a pipe or a console: never what a file name here should name.
    ::CloseHandle(h);
    osError = kNotRegularFile;
    cause = CFileException::accessDenied;
    return kNoFile;
  }
  if (h == INVALID_HANDLE_VALUE) {
    osError = static_cast<int>(::GetLastError());
    const DWORD attributes = ::GetFileAttributesA(name);
    if (osError == ERROR_ACCESS_DENIED && attributes != INVALID_FILE_ATTRIBUTES &&
        (attributes & FILE_ATTRIBUTE_DIRECTORY)) {
      osError = kNotRegularFile;
      cause = CFileException::accessDenied;
      return kNoFile;
    }
    switch (osError) {
      case ERROR_FILE_NOT_FOUND:
      case ERROR_PATH_NOT_FOUND: cause = CFileException::fileNotFound; break;
      case ERROR_SHARING_VIOLATION: cause = CFileException::sharingViolation; break;
      default: cause = CFileException::accessDenied; break;
    }
    return kNoFile;
  }
  return reinterpret_cast<FileHandle>(h);
}

std::int64_t ReadSome(FileHandle file, void* buffer, UINT count, int& osError) {
  DWORD n = 0;
  if (!::ReadFile(H(file), buffer, count, &n, nullptr)) {
    osError = static_cast<int>(::GetLastError());
    return -1;
  }
  return n;
}

std::int64_t WriteSome(FileHandle file, const void* buffer, UINT count, int& osError) {
  DWORD n = 0;
  if (!::WriteFile(H(file), buffer, count, &n, nullptr)) {
    osError = static_cast<int>(::GetLastError());
    return -1;
  }
  return n;
}

std::uint64_t FileLength(FileHandle file) {
  LARGE_INTEGER size;
  if (::GetFileType(H(file)) != FILE_TYPE_DISK || !::GetFileSizeEx(H(file), &size)) return UINT64_MAX;
  return static_cast<std::uint64_t>(size.QuadPart);
}

int FlushFile(FileHandle file) {
  if (::FlushFileBuffers(H(file))) return 0;
  const DWORD error = ::GetLastError();
  return error == ERROR_INVALID_HANDLE || error == ERROR_ACCESS_DENIED ? 0 : static_cast<int>(error);
}

void CloseFile(FileHandle file) { ::CloseHandle(H(file)); }

FileHandle CreateNewFile(const char* name, int& osError) {
  const HANDLE h = ::CreateFileA(name, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) {
    osError = static_cast<int>(::GetLastError());
    return kNoFile;
  }
  return reinterpret_cast<FileHandle>(h);
}

int RenameOver(const char* from, const char* to) {
  return ::MoveFileExA(from, to, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) ? 0
                                                                                     : static_cast<int>(::GetLastError());
}

int SyncDirectory(const char*) { return 0; }  // MOVEFILE_WRITE_THROUGH already waits for the rename

FileStamp Stamp(FileHandle file) {
  BY_HANDLE_FILE_INFORMATION info;
  if (!::GetFileInformationByHandle(H(file), &info)) return {};
  const auto join = [](DWORD high, DWORD low) { return (std::uint64_t{high} << 32) | low; };
  return {!(info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY), info.dwVolumeSerialNumber,
          join(info.nFileIndexHigh, info.nFileIndexLow), join(info.nFileSizeHigh, info.nFileSizeLow),
          static_cast<std::int64_t>(join(info.ftLastWriteTime.dwHighDateTime, info.ftLastWriteTime.dwLowDateTime)) * 100};
}

FileStamp StampPath(const char*) { return {}; }  // the file index needs an open handle

int LockExclusive(FileHandle file) {
  OVERLAPPED at{};
  return ::LockFileEx(H(file), LOCKFILE_EXCLUSIVE_LOCK, 0, MAXDWORD, MAXDWORD, &at) ? 0 : static_cast<int>(::GetLastError());
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
  if (osError == kNotRegularFile) return "not a regular file (a directory, a device, a FIFO or a socket)";
  char text[256] = {};
  const DWORD n = ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                   static_cast<DWORD>(osError), 0, text, sizeof text, nullptr);
  std::string s(text, n);
  while (!s.empty() && (s.back() == '\n' || s.back() == '\r' || s.back() == ' ' || s.back() == '.')) s.pop_back();
  return s.empty() ? "system error " + std::to_string(osError) : s;
}

bool IsDiskFull(int osError) { return osError == ERROR_DISK_FULL || osError == ERROR_HANDLE_DISK_FULL; }

int BadHandleError() { return ERROR_INVALID_HANDLE; }

}  // namespace orvx::os
