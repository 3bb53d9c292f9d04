#include "orvx/database.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "../platform/read_file.h"
#include "lookup.h"
#include "name_index.h"
#include "orvx/whole_file.h"

namespace orvx {

const char* MatchName(Match how) {
  switch (how) {
    case Match::Exact: return "exact";
    case Match::HpFix: return "hp";
    case Match::Substring: return "substring";
    case Match::Default: break;
  }
  return "default";
}

ModelDatabase::ModelDatabase() = default;
// Indexes stay behind: each database makes its own when it is next looked in.
ModelDatabase::ModelDatabase(ModelDatabase&& other) noexcept : records_(std::move(other.records_)) {
  other.records_.clear();
  detail::DropIndex(other.index_, other.indexLock_);
}
ModelDatabase& ModelDatabase::operator=(ModelDatabase&& other) noexcept {
  if (this == &other) return *this;
  records_ = std::move(other.records_);
  other.records_.clear();
  detail::DropIndex(index_, indexLock_);
  detail::DropIndex(other.index_, other.indexLock_);
  return *this;
}
ModelDatabase::~ModelDatabase() = default;

namespace {

// The bytes of a database as a file to load from, read where they lie: a
// copy would double the memory a large buffer takes.
class SpanFile : public CFile {
 public:
  explicit SpanFile(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}
  UINT Read(void* buffer, UINT count) override {
    const std::size_t n = std::min<std::size_t>(count, bytes_.size() - pos_);
    if (n) std::memcpy(buffer, bytes_.data() + pos_, n);
    pos_ += n;
    return static_cast<UINT>(n);
  }
  std::uint64_t GetPosition() const override { return pos_; }
  std::uint64_t GetLength() const override { return bytes_.size(); }

 private:
  std::span<const std::uint8_t> bytes_;
  std::size_t pos_ = 0;
};

// Reads a whole database from `file` into `out`; `source` names it in errors.
// Files and memory go through this one reader; a file is read through the
// archive's buffer and never held whole.
bool ReadDatabase(CFile& file, const std::string& source, std::vector<std::unique_ptr<CPrnStaticInfo>>& out,
                  LoadError& error, std::uint64_t* consumed) {
  try {
    CArchive ar(&file, CArchive::load, 64 * 1024);  // a file's reads as large as its read-ahead
    const DWORD count = ar.ReadScalar<DWORD>();
    if (count > 0x7FFFFFFFu) {
      error = {LoadError::Format, source + ": not a model database (record count " + std::to_string(count) +
                                      " is negative as a signed number)", 0};
      return false;
    }
    detail::ReadRecords(ar, static_cast<std::int32_t>(count),
                        [&](std::unique_ptr<CPrnStaticInfo> r) { out.push_back(std::move(r)); });
    if (consumed) *consumed = ar.GetPosition();
  } catch (const CArchiveException& e) {
    error = {LoadError::Format,
             source + ": not a complete model database (" +
                 (e.m_cause == CArchiveException::endOfFile ? "data ends early" : "malformed data") + " at byte " +
                 std::to_string(e.m_offset) + ")",
             e.m_offset};
    return false;
  } catch (const CFileException& e) {
    error = {LoadError::Io, source + ": cannot read (" + os::ErrorText(e.m_lOsError) + ")", 0};
    return false;
  } catch (const std::bad_alloc&) {
    error = {LoadError::Memory, source + ": not enough memory to load the database", 0};
    return false;
  }
  return true;
}

}  // namespace

// The platform's open refuses what is no regular file (a FIFO would block), and
// errors name the file as every whole-file reader names it.
bool ModelDatabase::LoadFile(const std::string& path, LoadError& error) {
  // The system would read the path only up to the zero byte: another file.
  if (path.find('\0') != std::string::npos) {
    error = {LoadError::Io, "a path that holds a zero byte", 0};
    return false;
  }
  CFile file;
  CFileException cause(CFileException::none, 0, path);
  if (!file.Open(path.c_str(), CFile::modeRead | CFile::typeBinary, &cause)) {
    error = {LoadError::Io, detail::OpenError(path, cause.m_cause, cause.m_lOsError).message, 0};
    return false;
  }
  if (file.GetLength() > kDatabaseFileMax) {
    error = {LoadError::Io, path + ": larger than 2 GB, more than a file of its kind can hold", 0};
    return false;
  }
  std::vector<std::unique_ptr<CPrnStaticInfo>> loaded;
  if (!ReadDatabase(file, path, loaded, error, nullptr)) return false;
  records_ = std::move(loaded);
  detail::DropIndex(index_, indexLock_);
  return true;
}

bool ModelDatabase::LoadBytes(std::span<const std::uint8_t> bytes, LoadError& error, std::uint64_t* consumed) {
  std::vector<std::unique_ptr<CPrnStaticInfo>> loaded;
  SpanFile file(bytes);
  if (!ReadDatabase(file, "buffer", loaded, error, consumed)) return false;
  records_ = std::move(loaded);
  detail::DropIndex(index_, indexLock_);
  return true;
}

std::shared_ptr<const detail::NameIndex> ModelDatabase::Index() const {
  return detail::CurrentIndex(index_, indexLock_, records_.size(), records_.data(),
                              [this](std::size_t i) -> const CPrnStaticInfo& { return *records_[i]; });
}

LookupResult ModelDatabase::Lookup(std::string_view name) const {
  if (records_.empty()) return {};
  return detail::Lookup(*Index(), records_.size(), name,
                        [this](std::size_t i) { return records_[i]->GetModelName().view(); });
}

std::ptrdiff_t ModelDatabase::FirstNameIn(std::string_view text) const {
  if (records_.empty()) return -1;
  const std::uint32_t first = Index()->FirstIn(text);
  return first == detail::kNoRecord ? -1 : static_cast<std::ptrdiff_t>(first);
}

void ModelDatabase::Add(std::unique_ptr<CPrnStaticInfo> record) {
  if (!record) return;
  records_.push_back(std::move(record));
  detail::DropIndex(index_, indexLock_);
}

void ModelDatabase::Store(CArchive& ar) const {
  ar << static_cast<DWORD>(records_.size());
  for (const auto& r : records_) r->Serialize(ar);
}

}  // namespace orvx
