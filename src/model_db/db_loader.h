// Reading a model database: the one reader behind the library entry's
// CPrnStaticInfoArray_Serialize, ModelDatabase, the tool and lint. A file is
// read through the archive's buffer and never held whole; a buffer is read
// where it lies.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "orvx/database.h"
#include "orvx/status.h"

namespace orvx::detail {

// How far a read got: the facts lint reports about a file's framing.
struct Framing {
  std::optional<std::int32_t> count;  // the stored record count, once its 4 bytes were read
  std::uint64_t bytesRead = 0;        // what the count and the records took (a failed read: where it broke)
  std::uint64_t length = 0;           // the whole input
  std::uint64_t Trailing() const { return length > bytesRead ? length - bytesRead : 0; }
};

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

// Replace the content of `db` with the database in `path` or `bytes`. A
// negative record count is refused (the library entry reads it as no
// record). On failure `db` is as it was. `framing`, when given, says how far
// the read got, failed or not.
Status LoadFile(const std::string& path, ModelDatabase& db, Framing* framing = nullptr);
Status LoadBytes(std::span<const std::uint8_t> bytes, ModelDatabase& db, Framing* framing = nullptr);

}  // namespace orvx::detail
