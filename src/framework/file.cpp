// CFile (over the system calls of os_file.h) and CMemFile.
#include "orvx/afx_file.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "framework/file_status.h"
#include "os/os_file.h"

namespace os = orvx::os;
using orvx::Status;

namespace orvx::detail {

CFileException ToException(const Status& error, std::string fileName, int otherCause) {
  switch (error.code) {
    case Status::NotFound: return {CFileException::fileNotFound, error.osError, std::move(fileName)};
    case Status::Sharing: return {CFileException::sharingViolation, error.osError, std::move(fileName)};
    case Status::DiskFull: return {CFileException::diskFull, error.osError, std::move(fileName)};
    case Status::NotRegular: return {CFileException::accessDenied, kNotRegularOsError, std::move(fileName)};
    default: return {otherCause, error.osError, std::move(fileName)};
  }
}

Status FromException(const CFileException& e) {
  const int osError = static_cast<int>(e.m_lOsError);
  if (osError == kNotRegularOsError) return os::NotRegularFile();
  const Status::Code code = e.m_cause == CFileException::fileNotFound       ? Status::NotFound
                           : e.m_cause == CFileException::sharingViolation ? Status::Sharing
                           : e.m_cause == CFileException::diskFull         ? Status::DiskFull
                                                                          : Status::Io;
  return {code, osError ? os::ErrorText(osError) : "file error " + std::to_string(e.m_cause), osError};
}

}  // namespace orvx::detail

namespace {

// CFile's open flags in the OS seam's terms. The two low bits 3 name no
// access mode: they open for reading, as they always did on Windows.
os::OpenMode ModeOf(UINT flags) {
  os::OpenMode mode;
  switch (flags & 3) {
    case CFile::modeWrite: mode.access = os::OpenMode::Write; break;
    case CFile::modeReadWrite: mode.access = os::OpenMode::ReadWrite; break;
    default: mode.access = os::OpenMode::Read; break;
  }
  // Compatibility mode (0) and the exclusive one share nothing.
  switch (flags & 0x70) {
    case CFile::shareDenyWrite: mode.share = os::OpenMode::DenyWrite; break;
    case 0x30: mode.share = os::OpenMode::DenyRead; break;
    case CFile::shareDenyNone: mode.share = os::OpenMode::DenyNone; break;
    default: mode.share = os::OpenMode::DenyAll; break;
  }
  if (flags & CFile::modeCreate)
    mode.create = (flags & CFile::modeNoTruncate) ? os::OpenMode::CreateOrKeep : os::OpenMode::Create;
  return mode;
}

}  // namespace

CFileException::CFileException(int cause, int osError, std::string fileName)
    : CException("file error " + std::to_string(cause) +
                 (osError == orvx::detail::kNotRegularOsError ? ": " + os::NotRegularFile().message
                  : osError                                   ? ": " + os::ErrorText(osError)
                                                              : "") +
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
  if (fd_ != os::kNoFile) os::CloseFile(fd_);
}

BOOL CFile::Open(const char* fileName, UINT openFlags, CFileException* error) {
  Close();
  os::FileHandle file = os::kNoFile;
  const Status e = fileName ? os::OpenFile(fileName, ModeOf(openFlags), file) : Status(Status::NotFound, "no file name");
  if (e.Failed()) {
    if (error) *error = orvx::detail::ToException(e, fileName ? fileName : "", CFileException::accessDenied);
    return FALSE;
  }
  fd_ = file;
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
  if (fd_ == os::kNoFile) throw orvx::detail::ToException(os::BadHandle(), path_);
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
    std::uint64_t n = 0;
    if (const Status e = os::ReadSome(fd_, out + done, count - done, n); e.Failed())
      throw orvx::detail::ToException(e, path_);
    if (n == 0) break;
    done += static_cast<UINT>(n);
  }
  pos_ += done;
  return done;
}

void CFile::Write(const void* buffer, UINT count) {
  if (fd_ == os::kNoFile) throw orvx::detail::ToException(os::BadHandle(), path_);
  const auto* in = static_cast<const char*>(buffer);
  UINT done = 0;
  while (done < count) {
    std::uint64_t n = 0;
    if (const Status e = os::WriteSome(fd_, in + done, count - done, n); e.Failed())
      throw orvx::detail::ToException(e, path_);
    done += static_cast<UINT>(n);
  }
  pos_ += done;
}

std::uint64_t CFile::GetPosition() const { return pos_; }

std::uint64_t CFile::GetLength() const { return fd_ == os::kNoFile ? UINT64_MAX : os::FileLength(fd_); }

void CFile::Flush() {
  if (fd_ == os::kNoFile) return;
  if (const Status e = os::FlushFile(fd_); e.Failed()) throw orvx::detail::ToException(e, path_);
}

void CFile::Close() {
  if (fd_ != os::kNoFile) os::CloseFile(fd_);
  fd_ = os::kNoFile;
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
