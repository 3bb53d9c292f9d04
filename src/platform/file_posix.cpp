// File system calls on POSIX descriptors.
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "orvx/afx_file.h"
#include "os_file.h"

namespace orvx::os {
namespace {
// Calls `call` again while a signal interrupts it; a negative result comes
// back with errno as the call left it.
template <typename Call>
auto Retry(Call call) {
  for (;;) {
    const auto result = call();
    if (result >= 0 || errno != EINTR) return result;
  }
}
}  // namespace

FileHandle OpenFile(const char* name, UINT openFlags, int& cause, int& osError) {
  // Non-blocking, so that the open of a FIFO returns at once and is refused below.
  int flags = O_CLOEXEC | O_NONBLOCK;
  switch (openFlags & 3) {
    case CFile::modeRead: flags |= O_RDONLY; break;
    case CFile::modeWrite: flags |= O_WRONLY; break;
    default: flags |= O_RDWR; break;
  }
  if (openFlags & CFile::modeCreate) flags |= O_CREAT | ((openFlags & CFile::modeNoTruncate) ? 0 : O_TRUNC);
  const int fd = Retry([&] { return ::open(name, flags, 0666); });
  if (fd < 0) {
    // A FIFO without a reader (opened for writing), a directory opened for writing.
    osError = errno == ENXIO || errno == EISDIR ? kNotRegularFile : errno;
    cause = errno == ENOENT ? CFileException::fileNotFound : CFileException::accessDenied;
    return kNoFile;
  }
  struct stat st {};
  const int fileFlags = ::fcntl(fd, F_GETFL);
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || fileFlags < 0 ||
      ::fcntl(fd, F_SETFL, fileFlags & ~O_NONBLOCK) != 0) {
    ::close(fd);
    osError = kNotRegularFile;
    cause = CFileException::accessDenied;
    return kNoFile;
  }
  return fd;
}

std::int64_t ReadSome(FileHandle file, void* buffer, UINT count, int& osError) {
  const ssize_t n = Retry([&] { return ::read(static_cast<int>(file), buffer, count); });
  if (n < 0) osError = errno;
  return n;
}

std::int64_t WriteSome(FileHandle file, const void* buffer, UINT count, int& osError) {
  const ssize_t n = Retry([&] { return ::write(static_cast<int>(file), buffer, count); });
  if (n < 0) osError = errno;
  return n;
}

std::uint64_t FileLength(FileHandle file) {
  struct stat st {};
  if (::fstat(static_cast<int>(file), &st) != 0 || !S_ISREG(st.st_mode)) return UINT64_MAX;
  return static_cast<std::uint64_t>(st.st_size);
}

int FlushFile(FileHandle file) { return ::fsync(static_cast<int>(file)) != 0 && errno != EINVAL ? errno : 0; }

void CloseFile(FileHandle file) { ::close(static_cast<int>(file)); }

FileHandle CreateNewFile(const char* name, int& osError) {
  const int fd = Retry([&] { return ::open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666); });
  if (fd < 0) {
    osError = errno;
    return kNoFile;
  }
  return fd;
}

int RenameOver(const char* from, const char* to) { return ::rename(from, to) == 0 ? 0 : errno; }

int SyncDirectory(const char* dir) {
  const int fd = Retry([&] { return ::open(dir, O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
  if (fd < 0) return errno;
  const int error = ::fsync(fd) == 0 ? 0 : errno;
  ::close(fd);
  return error;
}

std::string ErrorText(int osError) {
  return osError == kNotRegularFile ? "not a regular file (a directory, a device, a FIFO or a socket)"
                                    : std::strerror(osError);
}

namespace {
FileStamp StampOf(const struct stat& st) {
  return {S_ISREG(st.st_mode), static_cast<std::uint64_t>(st.st_dev), static_cast<std::uint64_t>(st.st_ino),
          static_cast<std::uint64_t>(st.st_size),
          static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec};
}
}  // namespace

FileStamp Stamp(FileHandle file) {
  struct stat st {};
  return ::fstat(static_cast<int>(file), &st) == 0 ? StampOf(st) : FileStamp{};
}

FileStamp StampPath(const char* name) {
  struct stat st {};
  return ::stat(name, &st) == 0 ? StampOf(st) : FileStamp{};
}

int LockExclusive(FileHandle file) {
  return Retry([&] { return ::flock(static_cast<int>(file), LOCK_EX); }) == 0 ? 0 : errno;
}

std::uint64_t CurrentProcessId() { return static_cast<std::uint64_t>(::getpid()); }

bool ProcessExists(std::uint64_t pid) {
  if (pid == 0 || pid > static_cast<std::uint64_t>(INT32_MAX)) return false;
  return ::kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH;
}

bool IsDiskFull(int osError) { return osError == ENOSPC; }

int BadHandleError() { return EBADF; }

}  // namespace orvx::os
