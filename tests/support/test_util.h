// Helpers shared by the unit tests.
#pragma once

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "orvx/afx_file.h"
#include "orvx/model_db.h"

namespace orvx_test {

using Bytes = std::vector<std::uint8_t>;

// Runs `body` with a storing archive and returns the bytes it wrote.
template <typename F>
Bytes Store(F body, int bufferSize = 1024) {
  CMemFile file;
  {
    CArchive ar(&file, CArchive::store, bufferSize);
    body(ar);
    ar.Close();
  }
  return file.Bytes();
}

// Stores one record.
inline Bytes StoreRecord(CPrnStaticInfo& r) {
  return Store([&](CArchive& ar) { r.Serialize(ar); });
}

// Loads `bytes` into the model array through a loading archive.
inline void LoadArray(const Bytes& bytes, int bufferSize = 1024) {
  CMemFile file(bytes);
  CArchive ar(&file, CArchive::load, bufferSize);
  CPrnStaticInfoArray_Serialize(ar);
}

inline Bytes StoreArray() {
  return Store([](CArchive& ar) { CPrnStaticInfoArray_Serialize(ar); });
}

// The whole of a file, as bytes (empty when it cannot be read).
inline std::string ReadAll(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}
inline Bytes ReadBytes(const std::filesystem::path& path) {
  const std::string s = ReadAll(path);
  return Bytes(s.begin(), s.end());
}

// Eight random hex digits: names that tests running at the same time (in
// other processes too) do not share.
inline std::string UniqueTag() {
  static std::mt19937 random{std::random_device{}()};
  char tag[9];
  std::snprintf(tag, sizeof tag, "%08x", static_cast<unsigned>(random()));
  return tag;
}

// A fresh directory under the system's temporary directory, removed at the end
// of the scope; optionally made the current directory meanwhile.
class TempDir {
 public:
  explicit TempDir(bool enter = false) {
    const auto base = std::filesystem::temp_directory_path();
    do path_ = base / ("orvx-test-" + UniqueTag());
    while (!std::filesystem::create_directory(path_));
    if (enter) {
      previous_ = std::filesystem::current_path();
      std::filesystem::current_path(path_);
    }
  }
  ~TempDir() {
    if (!previous_.empty()) std::filesystem::current_path(previous_);
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
  std::filesystem::path previous_;
};

// Empties the model array at the start and end of a test.
struct ModelArrayGuard {
  ModelArrayGuard() { CPrnStaticInfoArray_RemoveAll(); }
  ~ModelArrayGuard() { CPrnStaticInfoArray_RemoveAll(); }
};

}  // namespace orvx_test
