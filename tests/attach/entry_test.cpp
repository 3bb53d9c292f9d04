#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <sys/stat.h>
#endif

#include <fstream>
#include <functional>
#include <optional>

#include "orvx/afx_host.h"
#include "orvx/database.h"
#include "orvx/model_db.h"
#include "test_util.h"

using orvx_test::Bytes;

namespace {

struct Shown {
  std::string text;
  UINT type, help;
};

// Runs attach in a fresh current directory holding `file` as ORVDB.dat (none
// when null) and records every message box shown.
class EntryTest : public testing::Test {
 protected:
  void SetUp() override {
    CPrnStaticInfoArray_RemoveAll();
    orvx::host::SetMessageBoxHandler([this](std::string_view text, UINT type, UINT help) {
      shown_.push_back({std::string(text), type, help});
      return IDOK;
    });
    modulesBefore_ = orvx::host::LinkedModuleCount();
  }
  void TearDown() override {
    ORVX_LibraryEntry(&handle_, ORVX_PROCESS_DETACH, nullptr);
    orvx::host::SetMessageBoxHandler(nullptr);
    EXPECT_EQ(orvx::host::LinkedModuleCount(), modulesBefore_);
  }

  BOOL Attach(const Bytes* file) {
    if (file) {
      std::ofstream out(dir_.path() / "ORVDB.dat", std::ios::binary);
      out.write(reinterpret_cast<const char*>(file->data()), static_cast<std::streamsize>(file->size()));
    }
    return ORVX_LibraryEntry(&handle_, ORVX_PROCESS_ATTACH, nullptr);
  }

  static Bytes Database(int records) {
    for (int i = 0; i < records; ++i) {
      auto* r = new CPrnStaticInfo;
      r->SetModelName("Model " + std::to_string(i));
      CPrnStaticInfoArray.Add(r);
    }
    Bytes b = orvx_test::StoreArray();
    CPrnStaticInfoArray_RemoveAll();
    return b;
  }

  int handle_ = 0;
  int modulesBefore_ = 0;
  orvx_test::TempDir dir_{true};
  std::vector<Shown> shown_;
};

}  // namespace

TEST_F(EntryTest, AttachLoadsTheDatabaseAndDetachEmptiesIt) {
  // Three records; an empty and a negative count attach with an empty array.
  for (const Bytes& file : {Database(3), Bytes{0, 0, 0, 0}, Bytes{0, 0, 0, 0x80, 1, 2, 3}}) {
    ASSERT_EQ(Attach(&file), TRUE);
    const int records = file.size() > 7 ? 3 : 0;
    ASSERT_EQ(CPrnStaticInfoArray.GetSize(), records);
    if (records) { EXPECT_EQ(GetPointerToCPrnStaticInfo("Model 2")->GetModelName(), "Model 2"); }
    EXPECT_EQ(orvx::host::LinkedModuleCount(), modulesBefore_ + 1);
    EXPECT_EQ(ORVX_LibraryEntry(&handle_, ORVX_PROCESS_DETACH, nullptr), TRUE);
    EXPECT_EQ(CPrnStaticInfoArray.GetSize() + orvx::host::LinkedModuleCount() - modulesBefore_, 0);
  }
  // No module handle: a silent failure; thread and unknown reasons do nothing.
  EXPECT_EQ(ORVX_LibraryEntry(nullptr, ORVX_PROCESS_ATTACH, nullptr), FALSE);
  for (const DWORD reason : {DWORD{ORVX_THREAD_ATTACH}, DWORD{ORVX_THREAD_DETACH}, DWORD{99}})
    EXPECT_EQ(ORVX_LibraryEntry(nullptr, reason, nullptr), TRUE);
  EXPECT_EQ(CPrnStaticInfoArray.GetSize() + orvx::host::LinkedModuleCount() - modulesBefore_, 0);
  EXPECT_TRUE(shown_.empty());
}

TEST_F(EntryTest, AFailedAttachShowsOneStopMessageAndFreesEverything) {
  const Bytes db = Database(2);
  struct Case {
    const char* what;
    std::optional<Bytes> file;  // none: no ORVDB.dat
    std::string text;           // the message, or the end of it
  };
  const std::string notFound = "Initialize Error: ORVDB.dat not found";
  const Case cases[] = {
      {"no file", std::nullopt, notFound},
      {"cut inside the second record", Bytes(db.begin(), db.end() - 5), "byte " + std::to_string(db.size() - 5) + ")"},
      {"cut inside the count", Bytes(db.begin(), db.begin() + 2),
       "Initialize Error: ORVDB.dat: a truncated or malformed model database (data ends early at byte 2)"},
      {"huge count, no records", Bytes{0xFF, 0xFF, 0xFF, 0x7F}, "byte 4)"},
      {"string length past the end", Bytes{1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, "byte 11)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    shown_.clear();
    std::filesystem::remove_all(dir_.path() / "ORVDB.dat");
    EXPECT_EQ(Attach(c.file ? &*c.file : nullptr), FALSE);
    EXPECT_EQ(CPrnStaticInfoArray.GetSize(), 0);
    ASSERT_EQ(shown_.size(), 1u);
    EXPECT_TRUE(shown_[0].text.ends_with(c.text)) << shown_[0].text;
    EXPECT_NE(shown_[0].text.find("ORVDB.dat"), std::string::npos) << shown_[0].text;
    EXPECT_EQ(shown_[0].type, 0x10u);
    EXPECT_EQ(shown_[0].help, 0u);
    EXPECT_EQ(orvx::host::LinkedModuleCount(), modulesBefore_);
  }
}

#if !defined(_WIN32)
TEST_F(EntryTest, SpecialFilesFailAtOnceAndNothingIsReadPastTheFormatsLimit) {
  namespace fs = std::filesystem;
  const std::string notRegular = "ORVDB.dat: is not a regular file (a directory, a device, a FIFO or a socket)";
  const std::pair<std::function<void()>, std::string> cases[] = {  // how ORVDB.dat is made, the loader's error
      {[] { ::mkfifo("ORVDB.dat", 0600); }, notRegular},
      {[] { fs::create_symlink("/dev/zero", "ORVDB.dat"); }, notRegular},
      {[] { fs::create_directory("ORVDB.dat"); }, notRegular},
      {[] { std::ofstream("ORVDB.dat") << std::string(4, '\0'), fs::resize_file("ORVDB.dat", (2ull << 30) + 1); },
       "ORVDB.dat: larger than 2 GB, more than a file of its kind can hold"},
  };
  for (const auto& [make, loadError] : cases) {
    SCOPED_TRACE(loadError);
    shown_.clear();
    fs::remove_all("ORVDB.dat");
    make();
    EXPECT_EQ(Attach(nullptr), FALSE);
    EXPECT_EQ(shown_.size(), 1u);  // the file's own text for what cannot be opened; its size otherwise
    EXPECT_EQ(shown_.empty() ? "" : shown_[0].text,
              "Initialize Error: " + (loadError == notRegular ? "ORVDB.dat not found" : loadError));
    EXPECT_EQ(orvx::ModelDatabase().LoadFile("ORVDB.dat").message, loadError);
  }
  fs::resize_file("ORVDB.dat", 2ull << 30);  // at the limit: read as far as its count says
  EXPECT_FALSE(orvx::ModelDatabase().LoadFile("ORVDB.dat").Failed());
}
#endif
