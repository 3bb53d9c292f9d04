#include <gtest/gtest.h>

#include <fstream>

#include "orvx/database.h"
#include "orvx/db_form.h"
#include "orvx/model_db.h"
#include "orvx/record_fields.h"
#include "stream_layout.h"
#include "test_util.h"

using orvx_test::Bytes;

namespace {

// A record whose every field holds a value distinct from its neighbours'.
std::unique_ptr<CPrnStaticInfo> Distinct(std::string name, Bytes block) {
  auto r = std::make_unique<CPrnStaticInfo>();
  r->SetModelName(name);
  int i = 1;
  for (const auto& d : orvx::RecordFields()) orvx::WriteField(r->Fields(), d, 0x01010101 * i++);
  if (!block.empty()) r->SetInTraySPSZSizeList(static_cast<int>(block.size()), block.data());
  return r;
}

}  // namespace

TEST(Serialize, RecordLayoutMatchesTheFieldTable) {
  auto r = Distinct("", {});
  const Bytes b = orvx_test::StoreRecord(*r);
  ASSERT_EQ(b.size(), 83u);  // name byte, 71 fixed bytes, block byte, 10 bytes
  EXPECT_EQ(b[0], 0);
  EXPECT_EQ(b[72], 0);  // no block
  for (const auto& f : orvx_test::kStreamLayout) {
    SCOPED_TRACE(f.name);
    const auto* d = orvx::FindField(f.name);
    ASSERT_NE(d, nullptr);
    const auto value = static_cast<std::uint32_t>(orvx::ReadField(r->Fields(), *d));
    for (int k = 0; k < f.width; ++k)
      EXPECT_EQ(b[static_cast<std::size_t>(orvx_test::AbsoluteOffset(f) + k)], static_cast<BYTE>(value >> (8 * k)));
  }
}

TEST(Serialize, NameAndBlockFormsRoundTrip) {
  const auto cat = [](Bytes a, const Bytes& b) { return a.insert(a.end(), b.begin(), b.end()), a; };
  struct Case {
    Bytes name;  // as stored: length prefix and bytes
    std::size_t length;
    Bytes block;
    bool shortest;  // stored back as it was
  };
  const Case cases[] = {
      {{3, 'a', 'b', 'c'}, 3, {1}, true},
      {{0}, 0, {4, 1, 1, 9}, true},
      {cat({0xFF, 0xFF, 0x00}, Bytes(255, 'n')), 255, {}, true},
      // A length spelt in a longer form than needed reads the same; it is stored in the shortest.
      {{0xFF, 0x00, 0x00}, 0, {}, false},
      {{0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x00, 0x00}, 0, {}, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name.size());
    const Bytes record = orvx_test::StoreRecord(*Distinct("", c.block));
    const Bytes fields(record.begin() + 1, record.end());
    const Bytes stored = cat(c.name, fields);
    CMemFile f(stored);
    CArchive ar(&f, CArchive::load, 1024);
    CPrnStaticInfo back;
    const BYTE old[] = {2, 9};
    back.SetInTraySPSZSizeList(2, old);  // replaced by the load
    back.Serialize(ar);
    EXPECT_EQ(ar.GetPosition(), stored.size());
    EXPECT_EQ(back.GetModelName().str().size(), c.length);
    EXPECT_EQ(back.GetInTraySPSZSizeList(nullptr), static_cast<int>(c.block.size()));
    EXPECT_EQ(orvx_test::StoreRecord(back), c.shortest ? stored : record);
  }
}

TEST(SerializeArray, CountAndRecordsInOrderAndAppendOnLoad) {
  orvx_test::ModelArrayGuard guard;
  EXPECT_EQ(orvx_test::StoreArray(), (Bytes{0, 0, 0, 0}));
  orvx_test::LoadArray({0, 0, 0, 0});
  EXPECT_EQ(CPrnStaticInfoArray.GetSize(), 0);

  CPrnStaticInfoArray.Add(Distinct("A", {}).release());
  CPrnStaticInfoArray.Add(Distinct("B", {3, 1, 0}).release());
  const Bytes two = orvx_test::StoreArray();
  EXPECT_EQ(Bytes(two.begin(), two.begin() + 4), (Bytes{2, 0, 0, 0}));

  orvx_test::LoadArray(two);  // appended after A and B
  ASSERT_EQ(CPrnStaticInfoArray.GetSize(), 4);
  const char* names[] = {"A", "B", "A", "B"};
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(static_cast<CPrnStaticInfo*>(CPrnStaticInfoArray[i])->GetModelName(), names[i]);
}

TEST(SerializeArray, NegativeCountsLoadNothingAndAHugeOneFailsFast) {
  orvx_test::ModelArrayGuard guard;
  for (const Bytes& count : {Bytes{0, 0, 0, 0x80}, Bytes{0xFF, 0xFF, 0xFF, 0xFF}}) {
    orvx_test::LoadArray(count);
    EXPECT_EQ(CPrnStaticInfoArray.GetSize(), 0);
  }
  EXPECT_THROW(orvx_test::LoadArray({0xFF, 0xFF, 0xFF, 0x7F}), CArchiveException);
  EXPECT_EQ(CPrnStaticInfoArray.GetSize(), 0);
}

TEST(SerializeArray, TruncationAtEveryByteKeepsCompletedRecords) {
  orvx_test::ModelArrayGuard guard;
  CPrnStaticInfoArray.Add(Distinct("First", {5, 1, 2, 7, 8}).release());
  CPrnStaticInfoArray.Add(Distinct(std::string(300, 's'), {}).release());
  const Bytes full = orvx_test::StoreArray();
  CPrnStaticInfoArray_RemoveAll();
  const std::size_t firstEnd = 4 + 1 + 5 + 71 + 5 + 10;

  for (std::size_t cut = 0; cut < full.size(); ++cut) {
    SCOPED_TRACE(cut);
    const Bytes part(full.begin(), full.begin() + static_cast<std::ptrdiff_t>(cut));
    try {
      orvx_test::LoadArray(part, 16);
      FAIL() << "loaded a truncated file";
    } catch (const CArchiveException& e) {
      EXPECT_EQ(e.m_cause, CArchiveException::endOfFile);
      EXPECT_EQ(e.m_offset, cut);
    }
    EXPECT_EQ(CPrnStaticInfoArray.GetSize(), cut >= firstEnd && cut >= 4 ? 1 : 0);
    CPrnStaticInfoArray_RemoveAll();
  }
  orvx_test::LoadArray(full, 16);
  EXPECT_EQ(orvx_test::StoreArray(), full);
}

TEST(TrayArchive, TrayRecordsRoundTripTheirArchivedFields) {
  COptInTray in, in2;
  in.SetName("Cassette 1"), in.SetDescription("lower"), in.SetID(21), in.SetAddUnit(-3), in.SetPaperLevel(50);
  COptOutTray out, out2;
  out.SetName("Face Down Tray"), out.SetID(51), out.SetAddUnit(2), out.SetDerivery(4);
  const Bytes b = orvx_test::Store([&](CArchive& ar) { in.Serialize(ar), out.Serialize(ar); });
  EXPECT_EQ(b.size(), (1 + 10) + (1 + 5) + 4 + 4 + (1 + 14) + 4 + 4);
  CMemFile f(b);
  CArchive ar(&f, CArchive::load);
  in2.SetPaperLevel(7);
  in2.Serialize(ar), out2.Serialize(ar);
  // The paper level and the delivery are not archived.
  EXPECT_EQ(std::tuple(in2.GetName().str(), in2.GetDescription().str(), in2.GetID(), in2.GetAddUnit(), in2.GetPaperLevel()),
            std::tuple("Cassette 1", "lower", 21, -3, 7));
  EXPECT_EQ(std::tuple(out2.GetName().str(), out2.GetID(), out2.GetAddUnit(), out2.GetDerivery()),
            std::tuple("Face Down Tray", 51, 2, 2));
}

// The form of a file from its first bytes and length: databases whose count's
// bytes look like JSON's, JSON after a byte-order mark or many blanks, and
// the JSON form given where only a database is read.
TEST(FileForm, CountDecidesBeforeFirstBytes) {
  using orvx::FileForm;
  const std::string bom = "\xEF\xBB\xBF";
  const struct {
    std::string head;
    std::uint64_t length;
    FileForm form;
  } rows[] = {
      {std::string("{\0\0\0", 4), 4 + 123 * 83, FileForm::Database},     // 123 records
      {" {|}", 4 + 2105309984ull * 83, FileForm::Database},                 // 2,105,309,984 records
      {std::string("\t{\0\1", 4), 4 + 16808713ull * 83, FileForm::Database},  // 16,808,713 records
      {std::string(" \0\0\0", 4), 10, FileForm::Database},                // 32 records, cut short
      {"\xFF\xFF\xFF\xFF", 4, FileForm::Database},                        // a negative count
      {bom + "{\"models\":[]}", 16, FileForm::Json},
      {bom + "\n", 100, FileForm::Json},
      {"\r\n\t ", 2000, FileForm::Json},
      {"\r\n\t ", 4, FileForm::Database},  // blanks and nothing after them: no JSON either
      {"{\"models\":[]}", 13, FileForm::Json},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.head);
    EXPECT_EQ(orvx::GuessForm({reinterpret_cast<const std::uint8_t*>(r.head.data()), r.head.size()}, r.length), r.form);
  }
  const std::string json = bom + " {\"models\": [{\"ModelName\": \"A\"}]}";
  orvx::ModelDatabase db;
  EXPECT_EQ(db.LoadBytes({reinterpret_cast<const std::uint8_t*>(json.data()), json.size()}).message, "buffer: a JSON document, not a model database (orvdb build makes a database of its JSON form)");
}

// Bytes() is the loaded input while the records are as loaded, even when the
// input is not the writer's own spelling (a long name length, bytes after the
// last record); an edit writes the records, and undoing it gives the input back.
TEST(Editing, WritesTheLoadedBytesUntilARecordDiffers) {
  const Bytes record = orvx_test::StoreRecord(*Distinct("", {4, 1, 1, 9}));
  Bytes input = {2, 0, 0, 0, 0xFF, 0x00, 0x00};  // two records, the first name's length spelt long
  input.insert(input.end(), record.begin() + 1, record.end());
  input.insert(input.end(), record.begin(), record.end());
  input.push_back(0x77);  // after the last record
  orvx::ModelDatabase db;
  ASSERT_FALSE(db.LoadBytes(input).Failed());
  EXPECT_EQ(db.Bytes(), input);
  ASSERT_FALSE(db.Set(1, "Info0301", "5").Failed());
  const Bytes edited = db.Bytes();
  EXPECT_EQ(edited.size(), input.size() - 3);
  ASSERT_FALSE(db.Set(1, "Info0301", std::to_string(orvx::ReadField(Distinct("", {})->Fields(), *orvx::FindField("Info0301")))).Failed());
  EXPECT_EQ(db.Bytes(), input);
  // Moves both ways, and indices past the end, which change nothing.
  ASSERT_FALSE(db.Insert(2, &db[0]).Failed());
  ASSERT_FALSE(db.SetFlag(2, "IsColorPrinter", true).Failed());
  const CPrnStaticInfo* third = &db[2];
  ASSERT_FALSE(db.Move(2, 0).Failed());
  EXPECT_EQ(&db[0], third);
  ASSERT_FALSE(db.Move(0, 2).Failed());
  EXPECT_EQ(&db[2], third);
  for (const orvx::Status& e : {db.Move(0, 3), db.Move(3, 0), db.Remove(3), db.Insert(4), db.Set(3, "VenderID", "1"),
                                db.SetFlag(3, "IsColorPrinter", true)})
    EXPECT_EQ(e.code, orvx::Status::NotFound) << e.message;
  ASSERT_FALSE(db.Remove(2).Failed());
  EXPECT_EQ(db.Bytes(), input);
}
