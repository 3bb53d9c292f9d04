// Editing a database and writing it back: every edit checks before it
// changes, and the writer gives back the loaded bytes while nothing differs.
#include <algorithm>
#include <functional>

#include "model_db/db_loader.h"
#include "model_db/name_index.h"
#include "orvx/afx_file.h"
#include "orvx/database.h"
#include "orvx/record_json.h"
#include "orvx/whole_file.h"

namespace orvx {

namespace detail {

std::vector<std::uint8_t> StoredBytes(const ModelDatabase& db) {
  CMemFile file;
  CArchive ar(&file, CArchive::store);
  db.Store(ar);
  ar.Close();
  return {file.Bytes().begin(), file.Bytes().end()};
}

}  // namespace detail

Status ModelDatabase::Check(std::size_t i, std::size_t end) const {
  if (i < end) return {};
  return {Status::NotFound, "model " + std::to_string(i) + ": no such record (the database holds " +
                                std::to_string(records_.size()) + ")"};
}

// Which records there are changed: the lookup's index is made again.
void ModelDatabase::Changed() {
  if (!slot_) slot_ = std::make_unique<detail::IndexSlot>();
  detail::DropIndex(*slot_);
}

Status ModelDatabase::Set(std::size_t i, std::string_view key, std::string_view value) {
  if (Status e = Check(i, size()); e.Failed()) return e;
  Status e = SetRecordValue(*records_[i], key, value);
  if (e.Failed()) e.message = AtRecordKey(i, &records_[i]->GetModelName().str(), key, e.message);
  return e;
}

Status ModelDatabase::SetFlag(std::size_t i, std::string_view flag, bool on) {
  if (Status e = Check(i, size()); e.Failed()) return e;
  Status e = SetRecordFlag(*records_[i], flag, on);
  if (e.Failed()) e.message = AtRecordKey(i, &records_[i]->GetModelName().str(), "FlagNames", e.message);
  return e;
}

Status ModelDatabase::Insert(std::size_t at, const CPrnStaticInfo* from) {
  if (Status e = Check(at, size() + 1); e.Failed()) return e;
  auto record = std::make_unique<CPrnStaticInfo>();
  if (from) record->CopyParam(from);
  records_.insert(records_.begin() + static_cast<std::ptrdiff_t>(at), std::move(record));
  Changed();
  return {};
}

Status ModelDatabase::Remove(std::size_t i) {
  if (Status e = Check(i, size()); e.Failed()) return e;
  records_.erase(records_.begin() + static_cast<std::ptrdiff_t>(i));
  Changed();
  return {};
}

Status ModelDatabase::Move(std::size_t from, std::size_t to) {
  if (Status e = Check(std::max(from, to), size()); e.Failed()) return e;
  const auto at = [&](std::size_t i) { return records_.begin() + static_cast<std::ptrdiff_t>(i); };
  if (from < to) std::rotate(at(from), at(from + 1), at(to + 1));
  else std::rotate(at(to), at(from), at(from + 1));
  Changed();
  return {};
}

std::vector<std::uint8_t> ModelDatabase::Bytes() const {
  std::vector<std::uint8_t> bytes = detail::StoredBytes(*this);
  if (loaded_ && bytes == (loaded_->canonical.empty() ? loaded_->bytes : loaded_->canonical)) return loaded_->bytes;
  return bytes;
}

Status ModelDatabase::Save(const std::string& path) const {
  const std::vector<std::uint8_t> bytes = Bytes();
  return ReplaceWholeFile(path, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

void WriteDatabaseJson(const ModelDatabase& db, const std::function<void(std::string_view)>& sink) {
  sink("{\"models\": [");
  std::string text;
  for (std::size_t i = 0; i < db.size(); ++i) {
    text = i ? ",\n  " : "\n  ";
    AppendRecordJson(db[i], text, "  ");
    sink(text);
  }
  sink(db.size() ? "\n]}\n" : "]}\n");
}

std::string DatabaseJson(const ModelDatabase& db) {
  std::string out;
  WriteDatabaseJson(db, [&](std::string_view part) { out += part; });
  return out;
}

}  // namespace orvx
