// Files and archives: CFile (a file opened by name), CMemFile (bytes in memory)
// and CArchive, the buffered little-endian stream that records serialize to.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "orvx/afx_string.h"
#include "orvx/afx_types.h"
#include "orvx/export.h"

class ORVX_API CException : public std::exception {
 public:
  const char* what() const noexcept override { return message_.c_str(); }

 protected:
  explicit CException(std::string message) : message_(std::move(message)) {}

 private:
  std::string message_;
};

class ORVX_API CFileException : public CException {
 public:
  enum Cause { none = 0, generic = 1, fileNotFound = 2, accessDenied = 5, sharingViolation = 11, diskFull = 14, endOfFile = 15 };
  CFileException(int cause, int osError, std::string fileName);
  int m_cause;
  int m_lOsError;
  std::string m_strFileName;
};

class ORVX_API CArchiveException : public CException {
 public:
  enum Cause { none = 0, generic = 1, readOnly = 2, endOfFile = 3, writeOnly = 4, badIndex = 5, badClass = 6, badSchema = 7 };
  // `offset` is the stream position at which the data ran out or went wrong.
  CArchiveException(int cause, std::string fileName, std::uint64_t offset);
  int m_cause;
  std::string m_strFileName;
  std::uint64_t m_offset;
};

class ORVX_API CFile {
 public:
  enum OpenFlags : UINT {
    modeRead = 0x0000,
    modeWrite = 0x0001,
    modeReadWrite = 0x0002,
    shareExclusive = 0x0010,
    shareDenyWrite = 0x0020,
    shareDenyNone = 0x0040,
    modeNoTruncate = 0x2000,
    modeCreate = 0x1000,
    typeText = 0x4000,
    typeBinary = 0x8000,
  };

  CFile() = default;
  CFile(const CFile&) = delete;
  CFile& operator=(const CFile&) = delete;
  virtual ~CFile();

  // Opens `fileName` as given: a bare name is relative to the current directory.
  virtual BOOL Open(const char* fileName, UINT openFlags, CFileException* error = nullptr);
  // Reads up to `count` bytes; returns how many were read (0 at the end).
  virtual UINT Read(void* buffer, UINT count);
  // Writes all `count` bytes or throws CFileException.
  virtual void Write(const void* buffer, UINT count);
  virtual std::uint64_t GetPosition() const;
  // Length in bytes, or UINT64_MAX when it cannot be known.
  virtual std::uint64_t GetLength() const;
  virtual void Flush();
  virtual void Close();
  bool IsOpen() const { return fd_ != -1; }
  const std::string& GetFilePath() const { return path_; }

 protected:
  std::string path_;

 private:
  UINT ReadRaw(void* buffer, UINT count);

  std::intptr_t fd_ = -1;  // the system's file descriptor or handle
  std::uint64_t pos_ = 0;
  // Read-ahead for files opened read-only: a small archive buffer then
  // costs one system call per 64 KiB, not per refill.
  std::unique_ptr<std::uint8_t[]> ahead_;
  std::size_t aheadSize_ = 0;
  std::size_t aheadAt_ = 0;
  std::size_t aheadEnd_ = 0;
};

// A file held in memory: reads come from its bytes, writes append to them.
class ORVX_API CMemFile : public CFile {
 public:
  CMemFile() = default;
  explicit CMemFile(std::vector<std::uint8_t> bytes) : bytes_(std::move(bytes)) {}
  CMemFile(const void* data, std::size_t size)
      : bytes_(static_cast<const std::uint8_t*>(data), static_cast<const std::uint8_t*>(data) + size) {}

  BOOL Open(const char*, UINT, CFileException* = nullptr) override { return FALSE; }
  UINT Read(void* buffer, UINT count) override;
  void Write(const void* buffer, UINT count) override;
  std::uint64_t GetPosition() const override { return pos_; }
  std::uint64_t GetLength() const override { return bytes_.size(); }
  void Flush() override {}
  void Close() override {}
  void SeekToBegin() { pos_ = 0; }
  const std::vector<std::uint8_t>& Bytes() const { return bytes_; }

 private:
  std::vector<std::uint8_t> bytes_;
  std::size_t pos_ = 0;
};

class ORVX_API CArchive {
 public:
  enum Mode : UINT { store = 0, load = 1 };

  // `buffer` of `bufferSize` bytes is the caller's when given; otherwise the
  // archive allocates its own.
  CArchive(CFile* file, UINT mode, int bufferSize = 4096, void* buffer = nullptr);
  CArchive(const CArchive&) = delete;
  CArchive& operator=(const CArchive&) = delete;
  // Flushes a storing archive that was not closed; never throws.
  ~CArchive();

  bool IsLoading() const { return loading_; }
  bool IsStoring() const { return !loading_; }
  CFile* GetFile() const { return file_; }
  // Bytes consumed (load) or produced (store) so far.
  std::uint64_t GetPosition() const { return base_ + static_cast<std::uint64_t>(cur_ - buf_); }

  void Flush();
  void Close();

  // Raw bytes. Read returns how many bytes it could read; ReadExact throws at
  // the end of the data instead.
  UINT Read(void* out, UINT count);
  void ReadExact(void* out, UINT count);
  void Write(const void* in, UINT count);

  template <typename T>
  T ReadScalar() {
    static_assert(std::is_trivially_copyable_v<T>);
    T v;
    if (lim_ - cur_ >= static_cast<std::ptrdiff_t>(sizeof(T))) {
      std::memcpy(&v, cur_, sizeof(T));
      cur_ += sizeof(T);
    } else {
      ReadExact(&v, sizeof(T));
    }
    return FromLittle(v);
  }
  template <typename T>
  void WriteScalar(T v) {
    static_assert(std::is_trivially_copyable_v<T>);
    v = FromLittle(v);
    if (end_ - cur_ >= static_cast<std::ptrdiff_t>(sizeof(T))) {
      std::memcpy(cur_, &v, sizeof(T));
      cur_ += sizeof(T);
    } else {
      Write(&v, sizeof(T));
    }
  }

  CArchive& operator<<(BYTE v) { WriteScalar(v); return *this; }
  CArchive& operator<<(std::int8_t v) { WriteScalar(v); return *this; }
  CArchive& operator<<(WORD v) { WriteScalar(v); return *this; }
  CArchive& operator<<(std::int16_t v) { WriteScalar(v); return *this; }
  CArchive& operator<<(DWORD v) { WriteScalar(v); return *this; }
  CArchive& operator<<(std::int32_t v) { WriteScalar(v); return *this; }
  CArchive& operator>>(BYTE& v) { v = ReadScalar<BYTE>(); return *this; }
  CArchive& operator>>(std::int8_t& v) { v = ReadScalar<std::int8_t>(); return *this; }
  CArchive& operator>>(WORD& v) { v = ReadScalar<WORD>(); return *this; }
  CArchive& operator>>(std::int16_t& v) { v = ReadScalar<std::int16_t>(); return *this; }
  CArchive& operator>>(DWORD& v) { v = ReadScalar<DWORD>(); return *this; }
  CArchive& operator>>(std::int32_t& v) { v = ReadScalar<std::int32_t>(); return *this; }

  // The framework's archived string: a length prefix (1, 3 or 7 bytes) and the bytes.
  CArchive& operator<<(const CString& s);
  CArchive& operator>>(CString& s);

  // Throws the archive's end-of-data exception at the current position.
  [[noreturn]] void ThrowEndOfFile() const;

 private:
  template <typename T>
  static T FromLittle(T v) {
    if constexpr (std::endian::native == std::endian::big && sizeof(T) > 1) {
      T r;
      auto* s = reinterpret_cast<unsigned char*>(&v);
      auto* d = reinterpret_cast<unsigned char*>(&r);
      for (std::size_t i = 0; i < sizeof(T); ++i) d[i] = s[sizeof(T) - 1 - i];
      return r;
    }
    return v;
  }
  // Refills the load buffer; returns the bytes now available.
  std::size_t Fill();
  std::string FileName() const;

  CFile* file_;
  bool loading_;
  bool closed_ = false;
  std::vector<std::uint8_t> own_;
  std::uint8_t* buf_;
  std::uint8_t* end_;  // end of the buffer storage
  std::uint8_t* cur_;
  std::uint8_t* lim_;  // end of the valid bytes (load)
  std::uint64_t base_ = 0;  // stream offset of buf_
};
