// Model databases a caller owns: loaded from a file or from memory, looked up
// by name with the same rules as the library-wide model array, and independent
// of it. Several may be open at once; a loaded database is only read, so any
// number of threads may look records up and read them at the same time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "orvx/export.h"
#include "orvx/prn_static_info.h"
#include "orvx/status.h"

namespace orvx {

namespace detail {
class NameIndex;
struct IndexSlot;
struct Loaded;
}
class ModelDatabase;
struct Framing;
namespace detail {
Status LoadKept(std::vector<std::uint8_t> bytes, std::string_view source, ModelDatabase& db, Framing& framing);
}

// How a name found its record.
enum class Match : std::uint8_t {
  Exact,      // a record's name equals the query
  HpFix,      // the query with a leading "hp" read as "HP" contains a record's name
  Substring,  // the query contains a record's name
  Default,    // nothing matched: the default record (element 0) answers
};
// "exact", "hp", "substring" or "default".
ORVX_API const char* MatchName(Match how);

struct LookupResult {
  std::ptrdiff_t index = -1;  // -1 only for an empty database
  Match how = Match::Default;
};

class ORVX_API ModelDatabase {
 public:
  ModelDatabase();
  ModelDatabase(ModelDatabase&&) noexcept;
  ModelDatabase& operator=(ModelDatabase&&) noexcept;
  ModelDatabase(const ModelDatabase&) = delete;
  ModelDatabase& operator=(const ModelDatabase&) = delete;
  ~ModelDatabase();

  // Replace the content with the records of a database file or buffer. A
  // failure leaves the database as it was; its message names the file (or
  // "buffer") and the problem, and a damaged database's `where` is the byte
  // where the data ended or went wrong (code Format). Unlike the library
  // entry, they refuse a record count with its top bit set (a negative count,
  // which would otherwise read as an empty database).
  // `consumed`, when given, receives the bytes the records took: a file may
  // hold more after its last record, which nothing reads.
  Status LoadFile(const std::string& path);
  Status LoadBytes(std::span<const std::uint8_t> bytes, std::uint64_t* consumed = nullptr);

  std::size_t size() const { return records_.size(); }
  bool empty() const { return records_.empty(); }
  CPrnStaticInfo& operator[](std::size_t i) { return *records_[i]; }
  const CPrnStaticInfo& operator[](std::size_t i) const { return *records_[i]; }

  // The lookup of GetPointerToCPrnStaticInfo, with the index and how it
  // matched. Its time grows with the name's length, not with the number of
  // records: the first lookup after a load (or after the name of one of
  // this database's records changed) makes an index of the names, which
  // later ones share.
  LookupResult Lookup(std::string_view name) const;
  // The first record whose name is not empty and occurs in `text`, or -1:
  // where the lookup's substring pass would stop, before its rules.
  std::ptrdiff_t FirstNameIn(std::string_view text) const;

  // Appends a record (the database takes it) or writes the whole database in
  // the file layout.
  void Add(std::unique_ptr<CPrnStaticInfo> record);
  void Store(CArchive& ar) const;

  // ---- editing. An edit checks everything before it changes anything: a
  // refused one leaves the database as it was, and its message names the
  // record ("model 3 (\"Name\"), key \"Info0301\": ..."). An index past the
  // end is NotFound. While one thread edits, no other may use the database.
  // Records keep their addresses through inserts and moves; a removed one is freed.

  // `value` is the JSON text of one value for `key`, as SetRecordValue takes it.
  Status Set(std::size_t i, std::string_view key, std::string_view value);
  Status SetFlag(std::size_t i, std::string_view flag, bool on);
  // A blank record at `at` (0 to size()), or a copy of `from` (which may be
  // one of this database's records).
  Status Insert(std::size_t at, const CPrnStaticInfo* from = nullptr);
  Status Remove(std::size_t i);
  // The record at `from` moves so that it ends up at position `to`.
  Status Move(std::size_t from, std::size_t to);

  // The database in the file layout. While it holds what its LoadFile or
  // LoadBytes last loaded (unchanged, or changed back), these are the loaded
  // bytes as they were, bytes after the last record and all; otherwise the
  // records as the file layout writes them. (The free LoadFile and LoadBytes
  // below keep no such copy.)
  std::vector<std::uint8_t> Bytes() const;
  // Bytes() as the file `path`, replaced whole or not at all (never torn).
  Status Save(const std::string& path) const;

 private:
  friend Status detail::LoadKept(std::vector<std::uint8_t>, std::string_view, ModelDatabase&, Framing&);
  std::shared_ptr<const detail::NameIndex> Index() const;
  // The record at `i`, or why there is none.
  Status Check(std::size_t i, std::size_t end) const;
  void Changed();

  // The index, made by the first lookup that needs it and shared by readers,
  // and the rename counter the records point at: apart from the database,
  // so that both stay where they are when it moves. Null only while empty.
  std::unique_ptr<detail::IndexSlot> slot_;
  std::vector<std::unique_ptr<CPrnStaticInfo>> records_;
  // What was loaded: its bytes, and the records as the file layout writes
  // them, which tells whether the database still holds it.
  std::shared_ptr<const detail::Loaded> loaded_;
};

// How far a read of a database got, failed or not: what a check of a file's
// framing reports.
struct Framing {
  std::optional<std::int32_t> count;  // the stored record count, once its 4 bytes were read
  std::uint64_t bytesRead = 0;        // what the count and the records took (a failed read: where it broke)
  std::uint64_t length = 0;           // the whole input
  std::uint64_t Trailing() const { return length > bytesRead ? length - bytesRead : 0; }
};
// The whole database in its JSON form ({"models": [...]}, each record as
// orvx/record_json.h writes it), ending in a line break: handed to `sink` a
// record at a time (never held whole), or as one text.
ORVX_API void WriteDatabaseJson(const ModelDatabase& db, const std::function<void(std::string_view)>& sink);
ORVX_API std::string DatabaseJson(const ModelDatabase& db);

// ModelDatabase::LoadFile and LoadBytes into `db`, and, when `framing` is
// given, how far the read got.
ORVX_API Status LoadFile(const std::string& path, ModelDatabase& db, Framing* framing = nullptr);
ORVX_API Status LoadBytes(std::span<const std::uint8_t> bytes, ModelDatabase& db, Framing* framing = nullptr);

}  // namespace orvx
