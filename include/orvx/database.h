// Model databases a caller owns: loaded from a file or from memory, looked up
// by name with the same rules as the library-wide model array, and independent
// of it. Several may be open at once; a loaded database is only read, so any
// number of threads may look records up and read them at the same time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "orvx/export.h"
#include "orvx/prn_static_info.h"

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

// Why a load failed.
struct LoadError {
  enum Kind : std::uint8_t { None, Io, Format, Memory } kind = None;
  std::string message;       // names the file (or "buffer") and the problem
  std::uint64_t offset = 0;  // Format: the byte where the data ended or went wrong
};

class ORVX_API ModelDatabase {
 public:
  ModelDatabase();
  ModelDatabase(ModelDatabase&&) noexcept;
  ModelDatabase& operator=(ModelDatabase&&) noexcept;
  ModelDatabase(const ModelDatabase&) = delete;
  ModelDatabase& operator=(const ModelDatabase&) = delete;
  ~ModelDatabase();

  // Replace the content with the records of a database file or buffer. On
  // failure they return false, fill `error` and leave the database as it was.
  // Unlike the library entry, they refuse a record count with its top bit set
  // (a negative count, which would otherwise read as an empty database).
  // `consumed`, when given, receives the bytes the records took: a file may
  // hold more after its last record, which nothing reads.
  bool LoadFile(const std::string& path, LoadError& error);
  bool LoadBytes(std::span<const std::uint8_t> bytes, LoadError& error, std::uint64_t* consumed = nullptr);

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

}  // namespace orvx
