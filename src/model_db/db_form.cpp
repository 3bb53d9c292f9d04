#include "orvx/db_form.h"

#include <algorithm>

#include "model_db/db_loader.h"
#include "orvx/record_fields.h"
#include "orvx/whole_file.h"

namespace orvx {
namespace {

// The fewest bytes a record takes in the file: an empty name (its length
// byte), the fields before the size-list block, an absent block (one zero
// byte) and the fields after it. A database of n records holds at least
// 4 + n * kSmallestRecord bytes.
constexpr std::uint64_t kSmallestRecord = 1 + kBytesBeforeBlock + 1 + kBytesAfterBlock;
static_assert(kSmallestRecord == 83);

// Every JSON text build accepts begins with an optional byte-order mark,
// blanks, "{", blanks and the quoted name "models" (its only member, maybe
// escaped): four bytes of 0x09 to 0x7F, or the mark and one of those. Read
// as a record count that is at least 0x09090909 and positive, which needs
// 12.5 GB of records, far beyond what a database may hold.
static_assert(0x09090909ull * kSmallestRecord > kDatabaseFileMax);

bool Blank(std::uint8_t c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

}  // namespace

FileForm GuessForm(std::span<const std::uint8_t> head, std::uint64_t length) {
  head = head.first(static_cast<std::size_t>(std::min<std::uint64_t>({head.size(), length, 4})));
  if (head.size() == 4) {
    const std::uint32_t count = head[0] | head[1] << 8 | head[2] << 16 | static_cast<std::uint32_t>(head[3]) << 24;
    // A negative count is the loader's to refuse (the library entry reads no
    // record); no JSON text has one, its fourth byte being below 0x80.
    if (count >= 0x80000000u || count * kSmallestRecord <= length - 4) return FileForm::Database;
  }
  std::size_t at = head.size() >= 3 && head[0] == 0xEF && head[1] == 0xBB && head[2] == 0xBF ? 3 : 0;
  while (at < head.size() && Blank(head[at])) ++at;
  // Four bytes of blanks: no database can have that count, and JSON may
  // begin with any number of them.
  if (at == head.size()) return length > head.size() ? FileForm::Json : FileForm::Database;
  return head[at] == '{' ? FileForm::Json : FileForm::Database;
}

Result<FileForm> FormOfFile(const std::string& path) {
  CFile file;
  if (Status e = detail::OpenDatabase(path, file); e.Failed()) return e;
  std::uint8_t head[4];
  std::size_t got = 0;
  try {
    for (UINT n = 1; got < sizeof head && n != 0; got += n) n = file.Read(head + got, static_cast<UINT>(sizeof head - got));
  } catch (...) {
    return detail::LoadFailure(path);
  }
  return GuessForm({head, got}, file.GetLength());
}

}  // namespace orvx
