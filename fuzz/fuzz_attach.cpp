// The library entry's attach over arbitrary ORVDB.dat files: it succeeds
// exactly when the bytes load, and leaves nothing behind when it fails. Each
// input is a file write and an attach, so this target runs far slower than
// fuzz_database, which covers the loader itself.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "orvx/afx_host.h"
#include "orvx/database.h"
#include "orvx/model_db.h"

namespace {

// Attach reads ORVDB.dat from the current directory: a private one, entered
// only around the attach so that the fuzzer's own relative paths keep working.
const std::filesystem::path& Dir() {
  static const std::filesystem::path dir = [] {
    auto d = std::filesystem::temp_directory_path() / ("orvx-fuzz-attach-" + std::to_string(getpid()));
    std::filesystem::create_directories(d);
    orvx::host::SetMessageBoxHandler([](std::string_view, UINT, UINT) { return IDOK; });
    return d;
  }();
  return dir;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  orvx::ModelDatabase db;
  const bool loaded = !db.LoadBytes({data, size}).Failed();
  const bool negative = size >= 4 && (data[3] & 0x80);  // attach reads a negative count as no records
  {
    std::ofstream file(Dir() / "ORVDB.dat", std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  const auto previous = std::filesystem::current_path();
  std::filesystem::current_path(Dir());
  int module = 0;
  const BOOL attached = ORVX_LibraryEntry(&module, ORVX_PROCESS_ATTACH, nullptr);
  std::filesystem::current_path(previous);
  if (attached != ((loaded || negative) ? TRUE : FALSE)) abort();
  if (attached && !negative && static_cast<std::size_t>(CPrnStaticInfoArray.GetSize()) != db.size()) abort();
  if (!attached && CPrnStaticInfoArray.GetSize() != 0) abort();
  ORVX_LibraryEntry(&module, ORVX_PROCESS_DETACH, nullptr);
  if (CPrnStaticInfoArray.GetSize() != 0) abort();
  return 0;
}
