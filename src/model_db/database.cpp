#include "orvx/database.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "files/read_file.h"
#include "framework/file_status.h"
#include "orvx/db_form.h"
#include "model_db/db_loader.h"
#include "model_db/name_index.h"
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
// The slot goes with the records, whose rename watch points at it.
ModelDatabase::ModelDatabase(ModelDatabase&& other) noexcept
    : slot_(std::move(other.slot_)), records_(std::move(other.records_)), loaded_(std::move(other.loaded_)) {
  other.records_.clear();
}
ModelDatabase& ModelDatabase::operator=(ModelDatabase&& other) noexcept {
  if (this == &other) return *this;
  records_ = std::move(other.records_);
  other.records_.clear();
  loaded_ = std::move(other.loaded_);
  slot_.swap(other.slot_);
  if (slot_) detail::DropIndex(*slot_);
  if (other.slot_) detail::DropIndex(*other.slot_);
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

}  // namespace

namespace detail {

void ReadDatabase(CArchive& ar, const RecordSink& sink, Framing& framing) {
  framing.length = ar.GetFile()->GetLength();
  const auto count = static_cast<std::int32_t>(ar.ReadScalar<DWORD>());
  framing.count = count;
  framing.bytesRead = ar.GetPosition();
  for (std::int32_t i = 0; i < count; ++i) {
    auto record = std::make_unique<CPrnStaticInfo>();
    record->Serialize(ar);
    sink(std::move(record));
  }
  framing.bytesRead = ar.GetPosition();
}

Status LoadFailure(std::string_view source) {
  const std::string name(source);
  try {
    throw;
  } catch (const CArchiveException& e) {
    return {Status::Format,
            name + ": a truncated or malformed model database (" +
                (e.m_cause == CArchiveException::endOfFile ? "data ends early" : "malformed data") + " at byte " +
                std::to_string(e.m_offset) + ")",
            0, static_cast<long long>(e.m_offset)};
  } catch (const CFileException& e) {
    return About(name, "cannot read", FromException(e));
  } catch (const std::bad_alloc&) {
    return {Status::Memory, name + ": not enough memory to load the database"};
  }
}

Status OpenDatabase(const std::string& path, CFile& file) {
  // The system would read the path only up to the zero byte: another file.
  if (path.find('\0') != std::string::npos) return {Status::Argument, "a path that holds a zero byte"};
  CFileException cause(CFileException::none, 0, path);
  if (!file.Open(path.c_str(), CFile::modeRead | CFile::typeBinary, &cause))
    return About(path, "cannot open", FromException(cause));
  if (file.GetLength() > kDatabaseFileMax) return TooLarge(path, kDatabaseFileMax);
  return {};
}

namespace {

// Reads the whole database in `file` into `db`, which keeps what it held on a failure.
Status Load(CFile& file, std::string_view source, ModelDatabase& db, Framing* framing) {
  Framing local;
  Framing& f = framing ? *framing : local;
  f = {};
  ModelDatabase loaded;
  try {
    CArchive ar(&file, CArchive::load, 64 * 1024);  // a file's reads as large as its read-ahead
    ReadDatabase(ar, [&](std::unique_ptr<CPrnStaticInfo> r) { loaded.Add(std::move(r)); }, f);
  } catch (...) {
    Status e = LoadFailure(source);
    if (e.code == Status::Format) f.bytesRead = static_cast<std::uint64_t>(e.where);
    // The JSON form fails here (no JSON text has a count its bytes can hold):
    // say what it is. The count is the file's first four bytes.
    if (e.code == Status::Format && f.count) {
      const auto c = static_cast<std::uint32_t>(*f.count);
      const std::uint8_t head[4] = {std::uint8_t(c), std::uint8_t(c >> 8), std::uint8_t(c >> 16), std::uint8_t(c >> 24)};
      if (GuessForm(head, f.length) == FileForm::Json)
        e.message = std::string(source) + ": a JSON document, not a model database (orvdb build makes a database of its JSON form)";
    }
    return e;
  }
  if (*f.count < 0)
    return {Status::Format, std::string(source) + ": not a model database (record count " +
                               std::to_string(static_cast<DWORD>(*f.count)) + " is negative as a signed number)"};
  db = std::move(loaded);
  return {};
}

}  // namespace

}  // namespace detail

Status LoadFile(const std::string& path, ModelDatabase& db, Framing* framing) {
  CFile file;
  if (Status e = detail::OpenDatabase(path, file); e.Failed()) return e;
  return detail::Load(file, path, db, framing);
}

Status LoadBytes(std::span<const std::uint8_t> bytes, ModelDatabase& db, Framing* framing) {
  SpanFile file(bytes);
  return detail::Load(file, "buffer", db, framing);
}

namespace detail {

Status LoadKept(std::vector<std::uint8_t> bytes, std::string_view source, ModelDatabase& db, Framing& framing) {
  SpanFile file(bytes);
  ModelDatabase loaded;
  if (Status e = Load(file, source, loaded, &framing); e.Failed()) return e;
  std::vector<std::uint8_t> canonical = StoredBytes(loaded);
  if (canonical == bytes) canonical.clear();
  loaded.loaded_ = std::make_shared<const Loaded>(Loaded{std::move(bytes), std::move(canonical)});
  db = std::move(loaded);
  return {};
}

}  // namespace detail

Status ModelDatabase::LoadFile(const std::string& path) {
  CFile file;
  if (Status e = detail::OpenDatabase(path, file); e.Failed()) return e;
  std::vector<std::uint8_t> bytes;
  try {
    // Read to the end, not to the length the open saw: the file may change meanwhile.
    for (std::size_t n = 0;; bytes.resize(n)) {
      if (n > kDatabaseFileMax) return detail::TooLarge(path, kDatabaseFileMax);
      bytes.resize(n + 64 * 1024);
      const UINT got = file.Read(bytes.data() + n, 64 * 1024);
      n += got;
      if (!got) {
        bytes.resize(n);
        break;
      }
    }
  } catch (...) {
    return detail::LoadFailure(path);
  }
  Framing framing;
  return detail::LoadKept(std::move(bytes), path, *this, framing);
}

Status ModelDatabase::LoadBytes(std::span<const std::uint8_t> bytes, std::uint64_t* consumed) {
  Framing framing;
  Status e = detail::LoadKept({bytes.begin(), bytes.end()}, "buffer", *this, framing);
  if (!e.Failed() && consumed) *consumed = framing.bytesRead;
  return e;
}

std::shared_ptr<const detail::NameIndex> ModelDatabase::Index() const {
  // Only Add changes which records the database holds, and it drops the index.
  return detail::CurrentIndex(*slot_, records_.size(), 0,
                              [this](std::size_t i) -> const CPrnStaticInfo& { return *records_[i]; });
}

LookupResult ModelDatabase::Lookup(std::string_view name) const {
  if (records_.empty()) return {};
  return detail::Lookup(*Index(), records_.size(), name,
                        [this](std::size_t i) { return records_[i]->GetModelName().view(); });
}

std::ptrdiff_t ModelDatabase::FirstNameIn(std::string_view text) const {
  if (records_.empty()) return -1;
  const std::uint32_t first =
      Index()->FirstIn(text, [this](std::size_t i) { return records_[i]->GetModelName().view(); });
  return first == detail::kNoRecord ? -1 : static_cast<std::ptrdiff_t>(first);
}

void ModelDatabase::Add(std::unique_ptr<CPrnStaticInfo> record) {
  if (!record) return;
  if (!slot_) slot_ = std::make_unique<detail::IndexSlot>();
  records_.push_back(std::move(record));
  detail::DropIndex(*slot_);
}

void ModelDatabase::Store(CArchive& ar) const {
  ar << static_cast<DWORD>(records_.size());
  for (const auto& r : records_) r->Serialize(ar);
}

}  // namespace orvx
