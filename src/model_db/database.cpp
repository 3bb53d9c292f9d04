#include "orvx/database.h"

#include <new>
#include <utility>

#include "../platform/read_file.h"
#include "lookup.h"
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
ModelDatabase::ModelDatabase(ModelDatabase&&) noexcept = default;
ModelDatabase& ModelDatabase::operator=(ModelDatabase&&) noexcept = default;
ModelDatabase::~ModelDatabase() = default;

namespace {

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
  return true;
}

bool ModelDatabase::LoadBytes(std::span<const std::uint8_t> bytes, LoadError& error, std::uint64_t* consumed) {
  std::vector<std::unique_ptr<CPrnStaticInfo>> loaded;
  CMemFile file(bytes.data(), bytes.size());
  if (!ReadDatabase(file, "buffer", loaded, error, consumed)) return false;
  records_ = std::move(loaded);
  return true;
}

LookupResult ModelDatabase::Lookup(std::string_view name) const {
  return detail::Lookup(records_.size(), name, [this](std::size_t i) { return records_[i]->GetModelName().view(); });
}

void ModelDatabase::Add(std::unique_ptr<CPrnStaticInfo> record) {
  if (record) records_.push_back(std::move(record));
}

void ModelDatabase::Store(CArchive& ar) const {
  ar << static_cast<DWORD>(records_.size());
  for (const auto& r : records_) r->Serialize(ar);
}

}  // namespace orvx
