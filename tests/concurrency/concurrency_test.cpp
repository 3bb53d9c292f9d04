// One open database shared by eight reader threads while two threads write
// COM configurations into both registry hives. Every reader must get the
// answers one thread alone gets; the tsan preset runs this to find races.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "orvx/afx_registry.h"
#include "orvx/orvx.h"
#include "registry_fixture.h"

namespace {

constexpr int kReaders = 8;
constexpr int kRounds = 6;
constexpr int kWrites = 12;

// Everything reader `reader` asks about record `i`, in one comparable value.
std::string Ask(orvx_db* db, size_t i, int reader) {
  orvx_record* r = orvx_db_record(db, i);
  int how = -1;
  size_t index = 0;
  orvx_db_lookup(db, (std::string(orvx_record_name(r, nullptr)) + " PCL6").c_str(), &how, &index);
  std::string a = std::to_string(how) + " " + std::to_string(index) + " " + std::to_string(orvx_record_flags(r));
  for (const uint32_t key : {0x0D08u, 0x0105u, 0x1200000u}) {
    int32_t v = 0;
    a += " " + std::to_string(orvx_record_info(r, key, &v)) + "/" + std::to_string(v);
  }
  unsigned char sizes[256];
  a += " " + std::to_string(orvx_record_size_list(r, 1, sizes, sizeof sizes)) + " " +
       std::to_string(orvx_record_size_list_named(r, "cassette 1", sizes, sizeof sizes)) + " " +
       std::to_string(orvx_record_size_list_block(r, sizes, sizeof sizes));
  // Each reader gives its picture calls host strings of its own: a call that
  // read another's, or a process-wide table, would name the trays wrongly.
  const std::string manual = "Manual " + std::to_string(reader), fallback = "Default " + std::to_string(reader);
  const char* options[] = {"Duplex Unit", "Finisher"};
  for (const int extended : {0, 1}) {
    orvx_tray in[] = {{"Multi Purpose Tray", -1, 0, 0, {}, 0}, {"Manual Feed", -1, 0, 0, {}, 0},
                      {"Default Tray", -1, 0, 0, {}, 0}, {"Optional Cassette 1", -1, 0, 0, {}, 0}};
    orvx_tray out[] = {{"Face Down Tray", -1, 0, 3, {}, 0}};
    const orvx_picture_call call{extended, in, 4, out, 1, 1, 1, options, 2, nullptr, 0, manual.c_str(), fallback.c_str()};
    uint32_t id = 0;
    a += " " + std::to_string(orvx_picture(r, &call, &id, nullptr, nullptr)) + ":" + std::to_string(id);
    for (const orvx_tray& t : in) a += "," + std::to_string(t.id) + t.final_name;
    a += "," + std::to_string(out[0].id) + out[0].final_name;
  }
  return a;
}

std::vector<BYTE> Config(int round, int port) {
  std::vector<BYTE> c(52, static_cast<BYTE>(round * 16 + port));
  const DWORD size = 52;
  std::memcpy(c.data(), &size, sizeof size);
  return c;
}

class Concurrency : public orvx_test::HostAppFixture {};

TEST_F(Concurrency, ReadersShareOneDatabaseWhileBothHivesAreWritten) {
  orvx_db* db = nullptr;
  ASSERT_EQ(orvx_db_open_file(ORVX_SAMPLE_DB, &db, nullptr), ORVX_OK);
  const size_t count = orvx_db_count(db);
  ASSERT_GT(count, 1u);
  std::vector<std::vector<std::string>> expected(kReaders);
  for (int t = 0; t < kReaders; ++t)
    for (size_t i = 0; i < count; ++i) expected[static_cast<size_t>(t)].push_back(Ask(db, i, t));
  ASSERT_NE(expected[0], expected[1]);  // the readers' own host strings show in their answers

  const std::string machineKey = Own(HKEY_LOCAL_MACHINE, "SOFTWARE\\Vantor Selby\\" + app_ + "\\Com");
  std::array<int, kReaders> wrong{};
  std::array<LONG, 2> writeFailures{};
  std::vector<std::thread> threads;
  for (int t = 0; t < kReaders; ++t)
    threads.emplace_back([&, t] {
      for (size_t n = 0; n < kRounds * count; ++n) {
        const size_t i = (n + static_cast<size_t>(t) * 7) % count;
        if (Ask(db, i, t) != expected[static_cast<size_t>(t)][i]) ++wrong[static_cast<size_t>(t)];
      }
    });
  threads.emplace_back([&] {
    for (int round = 0; round < kWrites; ++round)
      for (int port = 0; port < 2; ++port)
        if (orvx_comm_config_save(static_cast<uint32_t>(port << 4), Config(round, port).data(), 52, nullptr) != ORVX_OK)
          ++writeFailures[0];
  });
  threads.emplace_back([&] {
    for (int round = 0; round < kWrites; ++round)
      for (int port = 0; port < 2; ++port) {
        const std::vector<BYTE> c = Config(round, port + 2);
        HKEY key;
        LONG r = RegCreateKeyExA(HKEY_LOCAL_MACHINE, machineKey.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key,
                                 nullptr);
        if (r == ERROR_SUCCESS) {
          r = RegSetValueExA(key, ("COM" + std::to_string(port)).c_str(), 0, REG_BINARY, c.data(), 52);
          RegCloseKey(key);
        }
        if (r != ERROR_SUCCESS) ++writeFailures[1];
      }
  });
  for (std::thread& t : threads) t.join();

  EXPECT_EQ(wrong, (std::array<int, kReaders>{}));
  EXPECT_EQ(writeFailures, (std::array<LONG, 2>{}));
  for (int port = 0; port < 2; ++port) {
    BYTE got[ORVX_COMM_CONFIG_MAX] = {};
    size_t size = 0;
    ASSERT_EQ(orvx_comm_config_load(static_cast<uint32_t>(port << 4), got, sizeof got, &size, nullptr), ORVX_OK);
    EXPECT_EQ(std::vector<BYTE>(got, got + size), Config(kWrites - 1, port));
    EXPECT_EQ(Values(HKEY_LOCAL_MACHINE, machineKey).at(static_cast<size_t>(port)).data, Config(kWrites - 1, port + 2));
  }
  orvx_db_close(db);
}

}  // namespace
