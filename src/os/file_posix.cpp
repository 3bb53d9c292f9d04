// File system calls on POSIX descriptors.
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "os/os_file.h"

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

namespace {
// The error of the call that just failed and left errno.
Status Failure() {
  const int e = errno;
  return {e == ENOENT ? Status::NotFound : e == ENOSPC ? Status::DiskFull : Status::Io, std::strerror(e), e};
}
}  // namespace

Status OpenFile(const char* name, OpenMode mode, FileHandle& file) {
  file = kNoFile;
  // Non-blocking, so that the open of a FIFO returns at once and is refused below.
  int flags = O_CLOEXEC | O_NONBLOCK;
  switch (mode.access) {
    case OpenMode::Read: flags |= O_RDONLY; break;
    case OpenMode::Write: flags |= O_WRONLY; break;
    case OpenMode::ReadWrite: flags |= O_RDWR; break;
  }
  if (mode.create != OpenMode::Existing) flags |= O_CREAT | (mode.create == OpenMode::Create ? O_TRUNC : 0);
  const int fd = Retry([&] { return ::open(name, flags, 0666); });
  // A FIFO without a reader (opened for writing), a directory opened for writing.
  if (fd < 0) return errno == ENXIO || errno == EISDIR ? NotRegularFile(errno) : Failure();
  struct stat st {};
  const int fileFlags = ::fcntl(fd, F_GETFL);
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || fileFlags < 0 ||
      ::fcntl(fd, F_SETFL, fileFlags & ~O_NONBLOCK) != 0) {
    ::close(fd);
    return NotRegularFile();
  }
  file = fd;
  return {};
}

Status ReadSome(FileHandle file, void* buffer, std::uint32_t count, std::uint64_t& got) {
  const ssize_t n = Retry([&] { return ::read(static_cast<int>(file), buffer, count); });
  got = n < 0 ? 0 : static_cast<std::uint64_t>(n);
  return n < 0 ? Failure() : Status{};
}

Status WriteSome(FileHandle file, const void* buffer, std::uint32_t count, std::uint64_t& put) {
  const ssize_t n = Retry([&] { return ::write(static_cast<int>(file), buffer, count); });
  put = n < 0 ? 0 : static_cast<std::uint64_t>(n);
  return n < 0 ? Failure() : Status{};
}

std::uint64_t FileLength(FileHandle file) {
  struct stat st {};
  if (::fstat(static_cast<int>(file), &st) != 0 || !S_ISREG(st.st_mode)) return UINT64_MAX;
  return static_cast<std::uint64_t>(st.st_size);
}

Status FlushFile(FileHandle file) { return ::fsync(static_cast<int>(file)) != 0 && errno != EINVAL ? Failure() : Status{}; }

void CloseFile(FileHandle file) { ::close(static_cast<int>(file)); }

Status CreateNewFile(const char* name, FileHandle& file) {
  const int fd = Retry([&] { return ::open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666); });
  file = fd < 0 ? kNoFile : fd;
  return fd < 0 ? Failure() : Status{};
}

Status RenameOver(const char* from, const char* to) { return ::rename(from, to) == 0 ? Status{} : Failure(); }

Status SyncDirectory(const char* dir) {
  const int fd = Retry([&] { return ::open(dir, O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
  if (fd < 0) return Failure();
  const Status error = ::fsync(fd) == 0 ? Status{} : Failure();
  ::close(fd);
  return error;
}

std::string ErrorText(int osError) { return std::strerror(osError); }

namespace {
FileStamp StampOf(const struct stat& st) {
  return {S_ISREG(st.st_mode), static_cast<std::uint64_t>(st.st_dev), static_cast<std::uint64_t>(st.st_ino),
          static_cast<std::uint64_t>(st.st_size),
          static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec,
          static_cast<std::int64_t>(st.st_ctim.tv_sec) * 1000000000 + st.st_ctim.tv_nsec};
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

Status StatPath(const char* name, FileStamp& stamp) {
  struct stat st {};
  if (::stat(name, &st) != 0) return Failure();
  if (!S_ISREG(st.st_mode)) return NotRegularFile();
  stamp = StampOf(st);
  return {};
}

Status LockExclusive(FileHandle file) {
  return Retry([&] { return ::flock(static_cast<int>(file), LOCK_EX); }) == 0 ? Status{} : Failure();
}

std::uint64_t CurrentProcessId() { return static_cast<std::uint64_t>(::getpid()); }

bool ProcessExists(std::uint64_t pid) {
  if (pid == 0 || pid > static_cast<std::uint64_t>(INT32_MAX)) return false;
  return ::kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH;
}

Status BadHandle() { return {Status::Io, std::strerror(EBADF), EBADF}; }

}  // namespace orvx::os
