// Reading a model database: the one reader behind the library entry's
// CPrnStaticInfoArray_Serialize and the loads of orvx/database.h. A file is
// read through the archive's buffer and never held whole; a buffer is read
// where it lies.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "orvx/database.h"
#include "orvx/status.h"

namespace orvx::detail {

using RecordSink = std::function<void(std::unique_ptr<CPrnStaticInfo>)>;

// Reads the record count and then the records, handing each to `sink` as soon
// as it is complete, so that a huge count in a short file fails at the first
// missing byte without allocating for it. The count is signed in the file: a
// negative one reads no record. Throws what the archive throws.
void ReadDatabase(CArchive& ar, const RecordSink& sink, Framing& framing);

// Call only inside a catch block: the archive, file or allocation failure in
// flight, worded once for every reader (`where` is the byte for damaged
// data). Rethrows anything else.
Status LoadFailure(std::string_view source);

// Open `path` as a database file: a path with a zero byte, anything that is
// not a regular file, and a file larger than a database can be are refused.
Status OpenDatabase(const std::string& path, CFile& file);

// What a database's own load read: the bytes, and the records as the file
// layout writes them when that differs (else empty).
struct Loaded {
  std::vector<std::uint8_t> bytes;
  std::vector<std::uint8_t> canonical;
};
// Loads `bytes` (from `source`, for messages) into `db`, which keeps them.
Status LoadKept(std::vector<std::uint8_t> bytes, std::string_view source, ModelDatabase& db, Framing& framing);
// The records of `db` as the file layout writes them.
std::vector<std::uint8_t> StoredBytes(const ModelDatabase& db);

}  // namespace orvx::detail
