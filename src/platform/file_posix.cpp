// CFile on POSIX file descriptors, and CMemFile.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "orvx/afx_file.h"

CFileException::CFileException(int cause, int osError, std::string fileName)
    : CException("file error " + std::to_string(cause) + (osError ? std::string(": ") + std::strerror(osError) : "") +
                 (fileName.empty() ? "" : " (" + fileName + ")")),
      m_cause(cause),
      m_lOsError(osError),
      m_strFileName(std::move(fileName)) {}

CArchiveException::CArchiveException(int cause, std::string fileName, std::uint64_t offset)
    : CException(std::string(cause == endOfFile ? "data ended early" : "malformed data") + " at byte " +
                 std::to_string(offset) + (fileName.empty() ? "" : " of " + fileName)),
      m_cause(cause),
      m_strFileName(std::move(fileName)),
      m_offset(offset) {}

CFile::~CFile() {
  if (fd_ >= 0) ::close(fd_);
}

BOOL CFile::Open(const char* fileName, UINT openFlags, CFileException* error) {
  Close();
  const auto fail = [&](int cause, int err) {
    if (error) *error = CFileException(cause, err, fileName ? fileName : "");
    return FALSE;
  };
  if (!fileName) return fail(CFileException::fileNotFound, ENOENT);
  int flags = O_CLOEXEC;
  switch (openFlags & 3) {
    case modeRead: flags |= O_RDONLY; break;
    case modeWrite: flags |= O_WRONLY; break;
    default: flags |= O_RDWR; break;
  }
  if (openFlags & modeCreate) flags |= O_CREAT | ((openFlags & modeNoTruncate) ? 0 : O_TRUNC);
  int fd;
  do fd = ::open(fileName, flags, 0666);
  while (fd < 0 && errno == EINTR);
  if (fd < 0) return fail(errno == ENOENT ? CFileException::fileNotFound : CFileException::accessDenied, errno);
  struct stat st {};
  if (::fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
    ::close(fd);
    return fail(CFileException::accessDenied, EISDIR);
  }
  fd_ = fd;
  pos_ = 0;
  path_ = fileName;
  aheadAt_ = aheadEnd_ = 0;
  ahead_.reset();
  aheadSize_ = 0;
  if ((openFlags & 3) == modeRead) {
    // No larger than the file: a small database needs no 64 KiB buffer.
    aheadSize_ = static_cast<std::size_t>(std::min<std::uint64_t>(64 * 1024, std::max<std::uint64_t>(GetLength(), 1)));
    ahead_.reset(new std::uint8_t[aheadSize_]);
  }
  return TRUE;
}

UINT CFile::Read(void* buffer, UINT count) {
  if (fd_ < 0) throw CFileException(CFileException::generic, EBADF, path_);
  if (!ahead_) return ReadRaw(buffer, count);
  auto* out = static_cast<std::uint8_t*>(buffer);
  UINT done = 0;
  while (done < count) {
    if (aheadAt_ == aheadEnd_) {
      if (count - done >= aheadSize_) return done + ReadRaw(out + done, count - done);
      const std::uint64_t pos = pos_;
      aheadEnd_ = ReadRaw(ahead_.get(), static_cast<UINT>(aheadSize_));
      pos_ = pos;  // pos_ counts what the caller has taken
      aheadAt_ = 0;
      if (aheadEnd_ == 0) break;
    }
    const std::size_t n = std::min<std::size_t>(count - done, aheadEnd_ - aheadAt_);
    std::memcpy(out + done, ahead_.get() + aheadAt_, n);
    aheadAt_ += n;
    done += static_cast<UINT>(n);
    pos_ += n;
  }
  return done;
}

UINT CFile::ReadRaw(void* buffer, UINT count) {
  auto* out = static_cast<char*>(buffer);
  UINT done = 0;
  while (done < count) {
    const ssize_t n = ::read(fd_, out + done, count - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      throw CFileException(CFileException::generic, errno, path_);
    }
    if (n == 0) break;
    done += static_cast<UINT>(n);
  }
  pos_ += done;
  return done;
}

void CFile::Write(const void* buffer, UINT count) {
  if (fd_ < 0) throw CFileException(CFileException::generic, EBADF, path_);
  const auto* in = static_cast<const char*>(buffer);
  UINT done = 0;
  while (done < count) {
    const ssize_t n = ::write(fd_, in + done, count - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      throw CFileException(errno == ENOSPC ? CFileException::diskFull : CFileException::generic, errno, path_);
    }
    done += static_cast<UINT>(n);
  }
  pos_ += done;
}

std::uint64_t CFile::GetPosition() const { return pos_; }

std::uint64_t CFile::GetLength() const {
  struct stat st {};
  if (fd_ < 0 || ::fstat(fd_, &st) != 0 || !S_ISREG(st.st_mode)) return UINT64_MAX;
  return static_cast<std::uint64_t>(st.st_size);
}

void CFile::Flush() {
  if (fd_ >= 0 && ::fsync(fd_) != 0 && errno != EINVAL)
    throw CFileException(CFileException::generic, errno, path_);
}

void CFile::Close() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  ahead_.reset();
  aheadSize_ = 0;
  aheadAt_ = aheadEnd_ = 0;
}

UINT CMemFile::Read(void* buffer, UINT count) {
  const std::size_t n = std::min<std::size_t>(count, bytes_.size() - pos_);
  if (n) std::memcpy(buffer, bytes_.data() + pos_, n);
  pos_ += n;
  return static_cast<UINT>(n);
}

void CMemFile::Write(const void* buffer, UINT count) {
  const auto* in = static_cast<const std::uint8_t*>(buffer);
  if (pos_ + count > bytes_.size()) bytes_.resize(pos_ + count);
  std::copy(in, in + count, bytes_.begin() + static_cast<std::ptrdiff_t>(pos_));
  pos_ += count;
}
