#include <algorithm>

#include "orvx/afx_file.h"

namespace {
constexpr std::size_t kStringChunk = 64 * 1024;  // grows strings by what is really there
}

CArchive::CArchive(CFile* file, UINT mode, int bufferSize, void* buffer)
    : file_(file), loading_((mode & load) != 0) {
  if (bufferSize <= 0) bufferSize = 4096;
  if (buffer) {
    buf_ = static_cast<std::uint8_t*>(buffer);
  } else {
    own_.resize(static_cast<std::size_t>(bufferSize));
    buf_ = own_.data();
  }
  end_ = buf_ + bufferSize;
  cur_ = buf_;
  lim_ = loading_ ? buf_ : end_;
  base_ = file_ ? file_->GetPosition() : 0;
}

CArchive::~CArchive() {
  if (!closed_) {
    try {
      Flush();
    } catch (...) {  // a destructor must not throw; Close reports write errors
    }
  }
}

std::string CArchive::FileName() const { return file_ ? file_->GetFilePath() : std::string(); }

void CArchive::ThrowEndOfFile() const {
  throw CArchiveException(CArchiveException::endOfFile, FileName(), GetPosition());
}

void CArchive::Flush() {
  if (loading_ || !file_) return;  // a loading archive has nothing to write
  const auto n = static_cast<UINT>(cur_ - buf_);
  if (n) file_->Write(buf_, n);
  base_ += n;
  cur_ = buf_;
}

void CArchive::Close() {
  if (closed_) return;
  closed_ = true;
  Flush();
}

std::size_t CArchive::Fill() {
  const std::size_t keep = static_cast<std::size_t>(lim_ - cur_);
  base_ += static_cast<std::uint64_t>(cur_ - buf_);
  if (keep) std::memmove(buf_, cur_, keep);
  cur_ = buf_;
  lim_ = buf_ + keep;
  if (file_) lim_ += file_->Read(lim_, static_cast<UINT>(end_ - lim_));
  return static_cast<std::size_t>(lim_ - cur_);
}

UINT CArchive::Read(void* out, UINT count) {
  if (!loading_) throw CArchiveException(CArchiveException::writeOnly, FileName(), GetPosition());
  auto* dst = static_cast<std::uint8_t*>(out);
  std::size_t done = 0;
  while (done < count) {
    std::size_t have = static_cast<std::size_t>(lim_ - cur_);
    if (have == 0) {
      const std::size_t want = count - done;
      if (want >= static_cast<std::size_t>(end_ - buf_) && file_) {
        // Large reads bypass the buffer.
        base_ += static_cast<std::uint64_t>(cur_ - buf_);
        cur_ = lim_ = buf_;
        const UINT got = file_->Read(dst + done, static_cast<UINT>(want));
        base_ += got;
        done += got;
        break;
      }
      have = Fill();
      if (have == 0) break;
    }
    const std::size_t n = std::min(have, count - done);
    std::memcpy(dst + done, cur_, n);
    cur_ += n;
    done += n;
  }
  return static_cast<UINT>(done);
}

void CArchive::ReadExact(void* out, UINT count) {
  if (Read(out, count) != count) ThrowEndOfFile();
}

void CArchive::Write(const void* in, UINT count) {
  if (loading_) throw CArchiveException(CArchiveException::readOnly, FileName(), GetPosition());
  const auto* src = static_cast<const std::uint8_t*>(in);
  if (static_cast<std::size_t>(end_ - cur_) >= count) {
    std::memcpy(cur_, src, count);
    cur_ += count;
    return;
  }
  Flush();
  if (count >= static_cast<std::size_t>(end_ - buf_)) {
    if (file_) file_->Write(src, count);
    base_ += count;
    return;
  }
  std::memcpy(cur_, src, count);
  cur_ += count;
}

CArchive& CArchive::operator<<(const CString& s) {
  const auto n = static_cast<std::size_t>(s.GetLength());
  if (n < 0xFF) {
    *this << static_cast<BYTE>(n);
  } else if (n < 0xFFFE) {
    *this << static_cast<BYTE>(0xFF) << static_cast<WORD>(n);
  } else {
    *this << static_cast<BYTE>(0xFF) << static_cast<WORD>(0xFFFF) << static_cast<DWORD>(n);
  }
  Write(s.c_str(), static_cast<UINT>(n));
  return *this;
}

CArchive& CArchive::operator>>(CString& s) {
  std::uint64_t n = ReadScalar<BYTE>();
  if (n == 0xFF) {
    const WORD w = ReadScalar<WORD>();
    // 0xFFFE introduces a wide-character string, which no database holds.
    if (w == 0xFFFE) throw CArchiveException(CArchiveException::badSchema, FileName(), GetPosition() - 2);
    n = (w == 0xFFFF) ? ReadScalar<DWORD>() : w;
  }
  std::string text;
  // Read in bounded chunks: a corrupt length must not allocate more than the
  // stream really holds before the end of data is met.
  while (text.size() < n) {
    const std::size_t chunk = static_cast<std::size_t>(std::min<std::uint64_t>(n - text.size(), kStringChunk));
    const std::size_t at = text.size();
    text.resize(at + chunk);
    ReadExact(text.data() + at, static_cast<UINT>(chunk));
  }
  s = CString(std::move(text));
  return *this;
}
