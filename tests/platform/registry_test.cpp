#include <gtest/gtest.h>

#include "orvx/afx_registry.h"
#include "registry_fixture.h"

using orvx_test::RegistryFixture;

namespace {

const auto Enumerate = orvx_test::EnumerateValues;

std::vector<BYTE> Sz(std::string_view s) {
  std::vector<BYTE> v(s.begin(), s.end());
  v.push_back(0);
  return v;
}

// A UTF-16LE store file with its byte-order mark, as the registry editor writes it.
std::string Utf16File(std::u16string_view text) {
  std::string out = "\xFF\xFE";
  for (char16_t c : text) {
    out += static_cast<char>(c & 0xFF);
    out += static_cast<char>(c >> 8);
  }
  return out;
}

const char* kExport =
    "Windows Registry Editor Version 5.00\r\n"
    "\r\n"
    "; exported by hand\r\n"
    "[HKEY_CURRENT_USER\\Software\\Acme\\App]\r\n"
    "@=\"default\"\r\n"
    "\"Path\"=\"C:\\\\Program Files\\\\\\\"Acme\\\"\"\r\n"
    "\"Count\"=dword:0000000a\r\n"
    "\"Blob\"=hex:01,02,ff,\\\r\n"
    "  10,20\r\n"
    "\"Expand\"=hex(2):25,00\r\n"
    "\"Empty\"=hex:\r\n"
    "\r\n"
    "[HKEY_CURRENT_USER\\Software\\Acme\\Other]\r\n"
    "\"X\"=dword:1\r\n"
    "\r\n";

}  // namespace

class Store : public RegistryFixture {};

TEST_F(Store, ReadsEveryValueFormInFileOrder) {
  Write(user_, kExport);
  HKEY key;
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "software\\ACME\\app", 0, KEY_READ, &key), ERROR_SUCCESS);
  const auto values = Enumerate(key);
  ASSERT_EQ(values.size(), 6u);
  const std::vector<std::pair<std::string, DWORD>> expected = {
      {"", REG_SZ}, {"Path", REG_SZ}, {"Count", REG_DWORD}, {"Blob", REG_BINARY}, {"Expand", REG_EXPAND_SZ},
      {"Empty", REG_BINARY}};
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_EQ(values[i].name, expected[i].first);
    EXPECT_EQ(values[i].type, expected[i].second);
  }
  EXPECT_EQ(values[0].data, Sz("default"));
  EXPECT_EQ(values[1].data, Sz("C:\\Program Files\\\"Acme\""));
  EXPECT_EQ(values[2].data, (std::vector<BYTE>{10, 0, 0, 0}));
  EXPECT_EQ(values[3].data, (std::vector<BYTE>{1, 2, 0xFF, 0x10, 0x20}));
  EXPECT_EQ(values[4].data, (std::vector<BYTE>{0x25, 0}));
  EXPECT_TRUE(values[5].data.empty());

  RegCloseKey(key);
}

TEST_F(Store, WritingKeepsEverythingElseAndItsOrder) {
  Write(user_, kExport);
  HKEY key;
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Acme\\App", 0, KEY_WRITE, &key), ERROR_SUCCESS);
  const DWORD twelve = 12;
  ASSERT_EQ(RegSetValueExA(key, "COUNT", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&twelve), 4), ERROR_SUCCESS);
  ASSERT_EQ(RegSetValueExA(key, "New \"one\"", 0, REG_SZ, reinterpret_cast<const BYTE*>("v\\1"), 4), ERROR_SUCCESS);
  RegCloseKey(key);
  std::string expected = kExport;
  expected.replace(expected.find("dword:0000000a"), 14, "dword:0000000c");
  expected.insert(expected.find("\r\n\r\n[HKEY_CURRENT_USER\\Software\\Acme\\Other]") + 2, "\"New \\\"one\\\"\"=\"v\\\\1\"\r\n");
  EXPECT_EQ(Read(user_), expected);
}

TEST_F(Store, WrittenFilesParseAndRewriteUnchanged) {
  HKEY key;
  ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "Software\\\\App\\Com", 0, nullptr, 0, KEY_WRITE, nullptr, &key,
                            nullptr),
            ERROR_SUCCESS);
  std::vector<BYTE> big(300);
  for (std::size_t i = 0; i < big.size(); ++i) big[i] = static_cast<BYTE>(i);
  ASSERT_EQ(RegSetValueExA(key, "COM3", 0, REG_BINARY, big.data(), static_cast<DWORD>(big.size())), ERROR_SUCCESS);
  const std::string text = "line\nbreak";
  ASSERT_EQ(RegSetValueExA(key, "", 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), 11), ERROR_SUCCESS);
  ASSERT_EQ(RegSetValueExA(key, "Raw", 0, 11, big.data(), 8), ERROR_SUCCESS);
  RegCloseKey(key);
  // The empty path component is dropped.
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\App\\Com", 0, KEY_READ, &key), ERROR_SUCCESS);
  RegCloseKey(key);

  const orvx::Error e = orvx::registry::CheckFile(user_);
  EXPECT_FALSE(e.Failed()) << e.message << " at line " << e.where;
  const std::string before = Read(user_);
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\App\\Com", 0, KEY_WRITE, &key), ERROR_SUCCESS);
  ASSERT_EQ(RegSetValueExA(key, "COM3", 0, REG_BINARY, big.data(), static_cast<DWORD>(big.size())), ERROR_SUCCESS);
  RegCloseKey(key);
  EXPECT_EQ(Read(user_), before);
}

TEST_F(Store, EachValueIsWrittenInTheFormThatKeepsItsTypeAndBytes) {
  struct Case {
    DWORD type;
    std::vector<BYTE> data;
    const char* line;
  };
  const Case cases[] = {
      {REG_DWORD, {0x0D, 0x0C, 0x0B, 0xFA}, "\"v\"=dword:fa0b0c0d"},
      {REG_DWORD, {1, 2}, "\"v\"=hex(4):01,02"},       // no dword without four bytes
      {REG_BINARY, {1, 2, 3, 4}, "\"v\"=hex:01,02,03,04"},  // four bytes but no dword
      {REG_SZ, {'a', '"', '\\', 0}, "\"v\"=\"a\\\"\\\\\""},
      {REG_SZ, {'a', '\n', 0}, "\"v\"=hex(1):61,0a,00"},  // a line break cannot stand in a string
      {REG_SZ, {'a'}, "\"v\"=hex(1):61"},                 // nor can text without its zero
      {REG_EXPAND_SZ, {'%', 0}, "\"v\"=hex(2):25,00"},
      {REG_BINARY, {}, "\"v\"=hex:"},
      {REG_NONE, {7}, "\"v\"=hex(0):07"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    Write(user_, "REGEDIT4\n[HKEY_CURRENT_USER\\K]\n");
    HKEY key;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "K", 0, KEY_WRITE | KEY_READ, &key), ERROR_SUCCESS);
    ASSERT_EQ(RegSetValueExA(key, "v", 0, c.type, c.data.data(), static_cast<DWORD>(c.data.size())), ERROR_SUCCESS);
    EXPECT_EQ(Read(user_), "REGEDIT4\n[HKEY_CURRENT_USER\\K]\n" + std::string(c.line) + "\n");
    const auto values = Enumerate(key);  // and it reads back as it was written
    RegCloseKey(key);
    ASSERT_EQ(values.size(), 1u);
    EXPECT_EQ(values[0].type, c.type);
    EXPECT_EQ(values[0].data, c.data);
  }
}

TEST_F(Store, Utf16AndRegedit4Files) {
  const std::string utf16 =
      Utf16File(u"Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Caf\u00E9]\r\n"
                u"\"Nom\"=\"\u00E9t\u00E9\"\r\n\r\n");
  Write(machine_, utf16);
  HKEY key;
  ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Caf\xC3\xA9", 0, KEY_READ | KEY_WRITE, &key), ERROR_SUCCESS);
  BYTE buf[16];
  DWORD size = sizeof buf;
  ASSERT_EQ(RegQueryValueExA(key, "nom", nullptr, nullptr, buf, &size), ERROR_SUCCESS);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(buf), size), std::string("\xC3\xA9t\xC3\xA9", 5) + '\0');
  ASSERT_EQ(RegSetValueExA(key, "Two", 0, REG_DWORD, buf, 4), ERROR_SUCCESS);
  const std::string after = Read(machine_);
  EXPECT_EQ(after.substr(0, 2), "\xFF\xFE");  // still UTF-16
  EXPECT_EQ(after.substr(0, utf16.size() - 4), utf16.substr(0, utf16.size() - 4));
  // A name that is not UTF-8 cannot go into a UTF-16 file: the write fails and the file stays.
  EXPECT_NE(RegSetValueExA(key, "\xE9", 0, REG_DWORD, buf, 4), ERROR_SUCCESS);
  EXPECT_EQ(Read(machine_), after);
  RegCloseKey(key);

  // Spaces and tabs around lines do not count.
  Write(machine_, "REGEDIT4 \n\n [HKEY_LOCAL_MACHINE\\A] \t\n\t\"B\" = dword:0000002a \n");
  ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "A", 0, KEY_READ, &key), ERROR_SUCCESS);
  size = sizeof buf;
  EXPECT_EQ(RegQueryValueExA(key, "B", nullptr, nullptr, buf, &size), ERROR_SUCCESS);
  EXPECT_EQ(buf[0], 0x2A);
  RegCloseKey(key);
}

TEST_F(Store, MalformedFilesAreReadAsMissingAndNeverOverwritten) {
  struct Case {
    const char* what;
    std::string bytes;
    int line;
  };
  const Case cases[] = {
      {"no header", "[HKEY_CURRENT_USER\\A]\n", 1},
      {"value before a key", "REGEDIT4\n\"A\"=dword:1\n", 2},
      {"bad dword", "REGEDIT4\n[HKEY_CURRENT_USER\\A]\n\"A\"=dword:123456789\n", 3},
      {"bad hex", "REGEDIT4\n[HKEY_CURRENT_USER\\A]\n\"A\"=hex:1g\n", 3},
      {"unterminated string", "REGEDIT4\n\n[HKEY_CURRENT_USER\\A]\n\"A\"=\"x\n", 4},
      {"key deletion", "REGEDIT4\n[-HKEY_CURRENT_USER\\A]\n", 2},
      {"value deletion", "REGEDIT4\n[HKEY_CURRENT_USER\\A]\n\"A\"=-\n", 3},
      {"not a hive", "REGEDIT4\n[SOFTWARE\\A]\n", 2},
      {"no closing bracket", "REGEDIT4\n[HKEY_CURRENT_USER\\A\n", 2},
      {"empty key", "REGEDIT4\n[]\n", 2},
      {"hex and nothing after it", "REGEDIT4\n[HKEY_CURRENT_USER\\A]\n\"A\"=hex\n", 3},
      {"hex without its colon", "REGEDIT4\n[HKEY_CURRENT_USER\\A]\n\"A\"=hex;01\n", 3},
      {"three hex digits", "REGEDIT4\n[HKEY_CURRENT_USER\\A]\n\"A\"=hex:01,123\n", 3},
      {"a name without its opening quote", "REGEDIT4\n[HKEY_CURRENT_USER\\A]\nA\"=dword:1\n", 3},
      {"a name and nothing else", "REGEDIT4\n[HKEY_CURRENT_USER\\A]\n\"A\"\n", 3},
      {"an empty byte between commas", "REGEDIT4\n[HKEY_CURRENT_USER\\A]\n\"A\"=hex:01,,02\n", 3},
      {"hex type too long", "REGEDIT4\n[HKEY_CURRENT_USER\\A]\n\"A\"=hex(123456789):00\n", 3},
      {"empty hex type", "REGEDIT4\n[HKEY_CURRENT_USER\\A]\n\"A\"=hex():00\n", 3},
      {"binary junk", std::string("REGEDIT4\n\0\1\2", 12), 1},
      {"odd UTF-16", "\xFF\xFEW\0x", 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Write(user_, c.bytes);
    const orvx::Error e = orvx::registry::CheckFile(user_);
    EXPECT_TRUE(e.Failed());
    EXPECT_EQ(e.where, c.line) << e.message;
    HKEY key;
    EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "A", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
    EXPECT_NE(RegCreateKeyExA(HKEY_CURRENT_USER, "A", 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr), ERROR_SUCCESS);
    EXPECT_EQ(Read(user_), c.bytes);
  }
  Write(user_, "REGEDIT4\n[HKEY_CURRENT_USER\\A]\n\"A\" x\n");
  EXPECT_EQ(orvx::registry::CheckFile(user_).message, "expected = after the value name");
}

TEST_F(Store, RewritesKeepCommentsAndLineEndsWhereTheyAre) {
  // A value given twice keeps its first spelling and line; comments between
  // values stay; a newline-only file whose last line ends in carriage returns
  // and no newline stays a newline-only file, and a rewrite is stable.
  Write(user_, "REGEDIT4\n[HKEY_CURRENT_USER\\K]\n\"a\"=dword:1\n; between\n\"B\"=dword:2\n\"A\"=dword:3\n; last\r\r");
  HKEY key;
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "K", 0, KEY_WRITE, &key), ERROR_SUCCESS);
  const DWORD three = 3;
  for (int pass = 0; pass < 2; ++pass) {
    ASSERT_EQ(RegSetValueExA(key, "B", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&three), 4), ERROR_SUCCESS);
    EXPECT_EQ(Read(user_), "REGEDIT4\n[HKEY_CURRENT_USER\\K]\n\"a\"=dword:00000003\n; between\n\"B\"=dword:00000003\n; last\n")
        << "pass " << pass;
  }
  RegCloseKey(key);
}
