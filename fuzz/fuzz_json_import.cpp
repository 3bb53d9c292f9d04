// The tool's JSON model import: whatever it accepts must store, load and
// export back to the same database, and the form decision must take it for
// JSON (and the database for a database).
#include <cstdlib>
#include <string>

#include "db_file.h"
#include "db_json.h"
#include "orvx/db_form.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto document = orvdb::Json::parse(data, data + size, nullptr, false);
  if (document.is_discarded()) return 0;
  orvx::Result<orvx::ModelDatabase> models = orvdb::ModelsFromJson(document);
  if (!models) return 0;
  const orvx::ModelDatabase& db = models.value();
  const std::string bytes = orvdb::DatabaseBytes(db);
  // The form decision takes what build accepts for JSON, and its database for one.
  if (orvx::GuessForm({data, size}, size) != orvx::FileForm::Json) abort();
  const auto* stored = reinterpret_cast<const std::uint8_t*>(bytes.data());
  if (orvx::GuessForm({stored, bytes.size()}, bytes.size()) != orvx::FileForm::Database) abort();

  // Read one model at a time, the same records (a repeated "models" it refuses).
  const auto read = orvdb::ModelsFromJsonText({reinterpret_cast<const char*>(data), size});
  if (read ? orvdb::DatabaseBytes(read.value()) != bytes : read.status().message.find("given twice") == std::string::npos)
    abort();

  // Loaded back, the database stores to the same bytes.
  orvx::ModelDatabase loaded;
  if (loaded.LoadBytes({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}).Failed()) abort();
  if (loaded.size() != db.size()) abort();

  // Export and import again: the same records.
  orvx::ModelDatabase again;
  for (std::size_t i = 0; i < loaded.size(); ++i) {
    auto record = orvdb::RecordFromJson(orvdb::Json::parse(orvdb::RecordToJson(loaded[i]).dump()), i);
    if (!record) abort();
    again.Add(std::move(record).value());
  }
  if (orvdb::DatabaseBytes(again) != bytes) abort();
  return 0;
}
