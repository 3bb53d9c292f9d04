// Model databases a caller owns: loaded from a file or from memory, looked up
// by name with the same rules as the library-wide model array, and independent
// of it. Several may be open at once; a loaded database is only read, so any
// number of threads may look records up and read them at the same time.
#pragma once

#include <cstddef>
#include <cstdint>
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

 private:
  std::shared_ptr<const detail::NameIndex> Index() const;

  // The index, made by the first lookup that needs it and shared by readers,
  // and the rename counter the records point at: apart from the database,
  // so that both stay where they are when it moves. Null only while empty.
  std::unique_ptr<detail::IndexSlot> slot_;
  std::vector<std::unique_ptr<CPrnStaticInfo>> records_;
};

// How far a read of a database got, failed or not: what a check of a file's
// framing reports.
struct Framing {
  std::optional<std::int32_t> count;  // the stored record count, once its 4 bytes were read
  std::uint64_t bytesRead = 0;        // what the count and the records took (a failed read: where it broke)
  std::uint64_t length = 0;           // the whole input
  std::uint64_t Trailing() const { return length > bytesRead ? length - bytesRead : 0; }
};
// ModelDatabase::LoadFile and LoadBytes into `db`, and, when `framing` is
// given, how far the read got.
ORVX_API Status LoadFile(const std::string& path, ModelDatabase& db, Framing* framing = nullptr);
ORVX_API Status LoadBytes(std::span<const std::uint8_t> bytes, ModelDatabase& db, Framing* framing = nullptr);

}  // namespace orvx
