// The database loader over arbitrary bytes, in memory and through the
// library entry's attach on a file. A load that succeeds must store back to
// exactly the bytes it consumed.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "orvx/afx_host.h"
#include "orvx/model_db.h"

namespace {

// Attach reads ORVDB.dat from the current directory: a private one, entered
// only around the attach so that the fuzzer's own relative paths keep working.
const std::filesystem::path& Dir() {
  static const std::filesystem::path dir = [] {
    auto d = std::filesystem::temp_directory_path() / ("orvx-fuzz-db-" + std::to_string(getpid()));
    std::filesystem::create_directories(d);
    orvx::host::SetMessageBoxHandler([](std::string_view, UINT, UINT) { return IDOK; });
    return d;
  }();
  return dir;
}

std::vector<std::uint8_t> StoreArray() {
  CMemFile out;
  CArchive ar(&out, CArchive::store, 1024);
  CPrnStaticInfoArray_Serialize(ar);
  ar.Close();
  return out.Bytes();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CPrnStaticInfoArray_RemoveAll();
  CMemFile in(data, size);
  std::uint64_t consumed = 0;
  bool loaded = false;
  try {
    CArchive ar(&in, CArchive::load, 1024);
    CPrnStaticInfoArray_Serialize(ar);
    consumed = ar.GetPosition();
    loaded = true;
  } catch (const CArchiveException&) {
  }
  if (loaded) {
    std::int32_t count = 0;
    std::memcpy(&count, data, sizeof count);
    const auto stored = StoreArray();
    // The same bytes back, except where the input spelt a string length in a
    // longer form than needed (the reader accepts those; the writer never
    // makes them), which can only make the input longer.
    const bool same = stored.size() == consumed && std::memcmp(stored.data(), data, consumed) == 0;
    if (count > 0 && !same && stored.size() >= consumed) abort();
    // What was stored loads and stores again unchanged.
    CPrnStaticInfoArray_RemoveAll();
    CMemFile again(stored);
    CArchive ar(&again, CArchive::load, 1024);
    CPrnStaticInfoArray_Serialize(ar);
    if (StoreArray() != stored) abort();
  }
  CPrnStaticInfoArray_RemoveAll();

  {
    std::ofstream file(Dir() / "ORVDB.dat", std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  const auto previous = std::filesystem::current_path();
  std::filesystem::current_path(Dir());
  int module = 0;
  const BOOL attached = ORVX_LibraryEntry(&module, ORVX_PROCESS_ATTACH, nullptr);
  std::filesystem::current_path(previous);
  if (attached != (loaded ? TRUE : FALSE)) abort();
  ORVX_LibraryEntry(&module, ORVX_PROCESS_DETACH, nullptr);
  if (CPrnStaticInfoArray.GetSize() != 0) abort();
  return 0;
}
