#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>

#include "orvx/afx_registry.h"
#include "orvx/registry_check.h"
#include "orvx/comm_store.h"
#include "registry/reg_store.h"
#include "registry/win32_refusal.h"
#include "registry_fixture.h"

using orvx_test::BinaryValue;
using orvx_test::DwordValue;
using orvx_test::RegistryFixture;
using orvx_test::RegValue;
using orvx_test::StringValue;

namespace {

const HKEY kUser = HKEY_CURRENT_USER;

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
    "\"Wide\"=hex(1234abcd):07\r\n"
    "\r\n"
    "[HKEY_CURRENT_USER\\Software\\Acme\\Other]\r\n"
    "\"X\"=dword:1\r\n"
    "\r\n";

}  // namespace

class Store : public RegistryFixture {};

TEST_F(Store, ReadsEveryValueFormInFileOrder) {
  Write(user_, kExport);
  EXPECT_EQ(Values(kUser, "software\\ACME\\app"),
            (std::vector<RegValue>{StringValue("", "default"), StringValue("Path", "C:\\Program Files\\\"Acme\""),
                                   DwordValue("Count", 10), BinaryValue("Blob", {1, 2, 0xFF, 0x10, 0x20}),
                                   {"Expand", REG_EXPAND_SZ, {0x25, 0}}, BinaryValue("Empty", {}), {"Wide", 0x1234abcd, {7}}}));
}

TEST_F(Store, WritingKeepsEverythingElseAndItsOrder) {
  Write(user_, kExport);
  ASSERT_EQ(Set(kUser, "Software\\Acme\\App", DwordValue("COUNT", 12)), ERROR_SUCCESS);
  ASSERT_EQ(Set(kUser, "Software\\Acme\\App", StringValue("New \"one\"", "v\\1")), ERROR_SUCCESS);
  std::string expected = kExport;
  expected.replace(expected.find("dword:0000000a"), 14, "dword:0000000c");
  expected.insert(expected.find("\r\n\r\n[HKEY_CURRENT_USER\\Software\\Acme\\Other]") + 2, "\"New \\\"one\\\"\"=\"v\\\\1\"\r\n");
  EXPECT_EQ(Read(user_), expected);
}

TEST_F(Store, WrittenFilesParseAndRewriteUnchanged) {
  std::vector<BYTE> big(300);
  for (std::size_t i = 0; i < big.size(); ++i) big[i] = static_cast<BYTE>(i);
  // The empty path component is dropped.
  Put(kUser, "Software\\\\App\\Com",
      {BinaryValue("COM3", big), StringValue("", "line\nbreak"), {"Raw", 11, {big.begin(), big.begin() + 8}}});
  EXPECT_EQ(Values(kUser, "Software\\App\\Com").size(), 3u);
  const orvx::Status e = orvx::registry::CheckFile(user_);
  EXPECT_FALSE(e.Failed()) << e.message << " at line " << e.where;
  const std::string before = Read(user_);
  ASSERT_EQ(Set(kUser, "Software\\App\\Com", BinaryValue("COM3", big)), ERROR_SUCCESS);
  EXPECT_EQ(Read(user_), before);
}

TEST_F(Store, EachValueIsWrittenInTheFormThatKeepsItsTypeAndBytes) {
  const std::pair<RegValue, const char*> cases[] = {
      {{"v", REG_DWORD, {0x0D, 0x0C, 0x0B, 0xFA}}, "\"v\"=dword:fa0b0c0d"},
      {{"v", REG_DWORD, {1, 2}}, "\"v\"=hex(4):01,02"},        // no dword without four bytes
      {{"v", REG_BINARY, {1, 2, 3, 4}}, "\"v\"=hex:01,02,03,04"},  // four bytes but no dword
      {{"v", REG_SZ, {'a', '"', '\\', 0}}, "\"v\"=\"a\\\"\\\\\""},
      {{"v", REG_SZ, {'a', '\n', 0}}, "\"v\"=hex(1):61,0a,00"},  // a line break cannot stand in a string
      {{"v", REG_SZ, {'a'}}, "\"v\"=hex(1):61"},                 // nor can text without its zero
      {{"v", REG_EXPAND_SZ, {'%', 0}}, "\"v\"=hex(2):25,00"},
      {{"v", REG_BINARY, {}}, "\"v\"=hex:"},
      {{"v", REG_NONE, {7}}, "\"v\"=hex(0):07"},
  };
  for (const auto& [value, line] : cases) {
    SCOPED_TRACE(line);
    Write(user_, "REGEDIT4\n[HKEY_CURRENT_USER\\K]\n");
    ASSERT_EQ(Set(kUser, "K", value), ERROR_SUCCESS);
    EXPECT_EQ(Read(user_), "REGEDIT4\n[HKEY_CURRENT_USER\\K]\n" + std::string(line) + "\n");
    EXPECT_EQ(Values(kUser, "K"), std::vector<RegValue>{value});  // and it reads back as it was written
  }
}

TEST_F(Store, LongBinaryValuesWrapAsTheRegistryEditorWrapsThem) {
  // A line ends after the comma that takes it past 76 characters; continuation
  // lines start with two spaces.
  std::vector<BYTE> bytes(50);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<BYTE>(i);
  Write(user_, "REGEDIT4\n[HKEY_CURRENT_USER\\K]\n");
  ASSERT_EQ(Set(kUser, "K", BinaryValue("v", bytes)), ERROR_SUCCESS);
  EXPECT_EQ(Read(user_),
            "REGEDIT4\n[HKEY_CURRENT_USER\\K]\n"
            "\"v\"=hex:00,01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,16,\\\n"
            "  17,18,19,1a,1b,1c,1d,1e,1f,20,21,22,23,24,25,26,27,28,29,2a,2b,2c,2d,2e,2f,\\\n"
            "  30,31\n");
}

TEST_F(Store, AStoreFileInAFolderNotYetThereIsCreatedWithIt) {
  const std::string nested = (std::filesystem::path(user_).parent_path() / "a" / "b" / "hkcu.reg").string();
  orvx::host::SetRegistryFile(kUser, nested);
  Put(kUser, "K", {DwordValue("v", 1)});
  EXPECT_EQ(Values(kUser, "K"), std::vector<RegValue>{DwordValue("v", 1)});
  EXPECT_NE(Read(nested).find("\"v\"=dword:00000001"), std::string::npos);
}

TEST_F(Store, Utf16AndRegedit4Files) {
  const std::string utf16 =
      Utf16File(u"Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Caf\u00E9]\r\n"
                u"\"Nom\"=\"\u00E9t\u00E9\"\r\n\r\n");
  Write(machine_, utf16);
  const std::string key = "SOFTWARE\\Caf\xC3\xA9";
  EXPECT_EQ(Values(HKEY_LOCAL_MACHINE, key), std::vector<RegValue>{StringValue("Nom", "\xC3\xA9t\xC3\xA9")});
  ASSERT_EQ(Set(HKEY_LOCAL_MACHINE, key, DwordValue("Two", 2)), ERROR_SUCCESS);
  const std::string after = Read(machine_);
  EXPECT_EQ(after.substr(0, utf16.size() - 4), utf16.substr(0, utf16.size() - 4));  // still UTF-16, the rest kept
  // A name that is not UTF-8 cannot go into a UTF-16 file: the write fails and the file stays.
  EXPECT_NE(Set(HKEY_LOCAL_MACHINE, key, DwordValue("\xE9", 2)), ERROR_SUCCESS);
  EXPECT_EQ(Read(machine_), after);

  // Spaces and tabs around lines do not count.
  Write(machine_, "REGEDIT4 \n\n [HKEY_LOCAL_MACHINE\\A] \t\n\t\"B\" = dword:0000002a \n");
  EXPECT_EQ(Values(HKEY_LOCAL_MACHINE, "A"), std::vector<RegValue>{DwordValue("B", 0x2A)});
}

TEST_F(Store, MalformedFilesAreReadAsMissingAndNeverOverwritten) {
  const std::string k = "REGEDIT4\n[HKEY_CURRENT_USER\\A]\n";
  const std::pair<std::string, int> cases[] = {  // the file, the line at fault
      {"[HKEY_CURRENT_USER\\A]\n", 1},                          // no header
      {"REGEDIT4\n\"A\"=dword:1\n", 2},                         // a value before a key
      {k + "\"A\"=dword:123456789\n", 3},
      {k + "\"A\"=hex:1g\n", 3},
      {"REGEDIT4\n\n[HKEY_CURRENT_USER\\A]\n\"A\"=\"x\n", 4},   // an unterminated string
      {"REGEDIT4\n[-HKEY_CURRENT_USER\\A]\n", 2},               // deletions are not ours
      {k + "\"A\"=-\n", 3},
      {"REGEDIT4\n[SOFTWARE\\A]\n", 2},                         // not a hive
      {"REGEDIT4\n[HKEY_CURRENT_USER\\A\n", 2},
      {"REGEDIT4\n[]\n", 2},
      {k + "\"A\"=hex\n", 3},
      {k + "\"A\"=hex;01\n", 3},
      {k + "\"A\"=hex:01,123\n", 3},
      {k + "A\"=dword:1\n", 3},
      {k + "\"A\"\n", 3},
      {k + "\"A\"=hex:01,,02\n", 3},
      {k + "\"A\"=hex(123456789):00\n", 3},
      {k + "\"A\"=hex():00\n", 3},
      {k + "\\\n\n", 3},                                     // a lone continuation joined to nothing
      {k + " \\\r\n\\\r\n \t\r\n[HKEY_CURRENT_USER\\B]\r\n", 3},
      {k + "\"A\"=dword:1\n\\\n\r\n", 4},                    // then a line of a carriage return alone
      {std::string("REGEDIT4\n\0\1\2", 12), 1},
      {"\xFF\xFEW\0x", 1},                                      // odd UTF-16
  };
  for (const auto& [bytes, line] : cases) {
    SCOPED_TRACE(testing::PrintToString(bytes));
    Write(user_, bytes);
    const orvx::Status e = orvx::registry::CheckFile(user_);
    EXPECT_EQ(e.code, orvx::Status::BadStore);
    EXPECT_EQ(e.where, line) << e.message;
    EXPECT_EQ(e.message.rfind(user_ + ":" + std::to_string(line) + ": ", 0), 0u) << e.message;
    EXPECT_EQ(Open(kUser, "A"), ERROR_FILE_NOT_FOUND);
    HKEY key;
    EXPECT_NE(RegCreateKeyExA(kUser, "A", 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr), ERROR_SUCCESS);
    EXPECT_EQ(Read(user_), bytes);
  }
  Write(user_, k + "\"A\" x\n");
  EXPECT_EQ(orvx::registry::CheckFile(user_).message, user_ + ":3: expected = after the value name");
  Write(user_, k + "\\\n\n");
  EXPECT_EQ(orvx::registry::CheckFile(user_).message, user_ + ":3: a line continued with \\ holds no value");
}

TEST_F(Store, RewritesKeepCommentsAndLineEndsWhereTheyAre) {
  // A value given twice keeps its first spelling and line; comments between
  // values stay; a newline-only file whose last line ends in carriage returns
  // and no newline stays a newline-only file, and a rewrite is stable.
  Write(user_, "REGEDIT4\n[HKEY_CURRENT_USER\\K]\n\"a\"=dword:1\n; between\n\"B\"=dword:2\n\"A\"=dword:3\n; last\r\r");
  for (int pass = 0; pass < 2; ++pass) {
    ASSERT_EQ(Set(kUser, "K", DwordValue("B", 3)), ERROR_SUCCESS);
    EXPECT_EQ(Read(user_), "REGEDIT4\n[HKEY_CURRENT_USER\\K]\n\"a\"=dword:00000003\n; between\n\"B\"=dword:00000003\n; last\n")
        << "pass " << pass;
  }
}

TEST_F(Store, HostileNamesAndFilesNeitherBreakTheStoreNorHang) {
  const std::string base = "REGEDIT4\n[HKEY_CURRENT_USER\\Software\\orvx\\Com]\n\"COM1\"=hex:04,00,00,00\n";
  const std::filesystem::path dir = std::filesystem::path(user_).parent_path();
  const std::vector<BYTE> config{4, 0, 0, 0};
  // Each row acts on the store and describes what came of it.
  const auto kept = [&](LONG r) { return std::to_string(r) + (Read(user_) == base ? " kept" : " changed"); };
  const auto named = [&](const char* app) {
    orvx::host::SetAppName(app);
    const LONG r = orvx::registry::ToLong(orvx::SaveCommConfig(0x10, config));
    orvx::host::SetAppName("orvx");
    return kept(r);
  };
  const auto at = [&](const std::filesystem::path& store) {  // a load from it, and its check
    orvx::host::SetRegistryFile(kUser, store.string());
    BYTE out[256];
    DWORD size = 0;
    const std::string message = orvx::registry::CheckFile(store.string()).message;
    return std::to_string(orvx::registry::ToLong(orvx::LoadCommConfig(0x10, out, size))) + " " + store.filename().string() +
           message.substr(std::min(message.size(), store.string().size()));
  };
  const std::pair<const char*, std::function<std::string()>> rows[] = {
      {"123 kept", [&] { return named("evil\nx"); }},
      {"123 kept", [&] { return named("evil\rx"); }},
      {"123 kept", [&] { return kept(Set(kUser, "Software\\orvx\\Com", DwordValue("a\nb", 1))); }},
      {"123 kept", [&] { return kept(Set(kUser, "Software\\orvx\\Com", DwordValue("a\x7F", 1))); }},  // DEL
      {"0 lock beside the file", [&] {
         std::filesystem::create_symlink(user_, dir / "link.reg");
         orvx::host::SetRegistryFile(kUser, (dir / "link.reg").string());
         const LONG r = orvx::registry::ToLong(orvx::SaveCommConfig(0x20, config));
         return std::to_string(r) + (std::filesystem::exists(user_ + ".lock") && !std::filesystem::exists(dir / "link.reg.lock") ? " lock beside the file" : "");
       }},
      {"2 fifo: is not a regular file", [&] { return ::mkfifo((dir / "fifo").c_str(), 0600), at(dir / "fifo"); }},
      {"2 big.reg: larger than 256 MB", [&] {
         std::ofstream(dir / "big.reg") << base;
         return std::filesystem::resize_file(dir / "big.reg", (256 << 20) + 1), at(dir / "big.reg");  // sparse
       }},
  };
  for (const auto& [expected, act] : rows) {
    SCOPED_TRACE(expected);
    Write(user_, base);
    orvx::host::SetRegistryFile(kUser, user_);
    const std::string outcome = act();
    EXPECT_NE(outcome.find(expected), std::string::npos) << outcome;
  }
}

TEST_F(Store, AnEnumerationWithoutEitherHalfOfItsNameBufferIsRefused) {
  Put(kUser, "K", {DwordValue("v", 1)});
  HKEY key;
  ASSERT_EQ(RegOpenKeyExA(kUser, "K", 0, KEY_READ, &key), ERROR_SUCCESS);
  char name[8];
  DWORD length = sizeof name;
  EXPECT_EQ(RegEnumValueA(key, 0, nullptr, &length, nullptr, nullptr, nullptr, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(RegEnumValueA(key, 0, name, nullptr, nullptr, nullptr, nullptr, nullptr), ERROR_INVALID_PARAMETER);
  RegCloseKey(key);
}

#if !defined(_WIN32)
// Where each hive's store is when no file was set: the environment's, else the usual places.
TEST(StorePath, DefaultsFollowTheEnvironment) {
  struct Case {
    const char *hklm, *hkcu, *xdg, *home;
    std::string machine, user;
  };
  const Case cases[] = {
      {"/m.reg", "/u.reg", "/x", "/h", "/m.reg", "/u.reg"},
      {"", "", "/x", "/h", "/etc/orvx/hklm.reg", "/x/orvx/hkcu.reg"},
      {nullptr, nullptr, "", "/h", "/etc/orvx/hklm.reg", "/h/.config/orvx/hkcu.reg"},
      {nullptr, nullptr, nullptr, "", "/etc/orvx/hklm.reg", "./.config/orvx/hkcu.reg"},
      {nullptr, nullptr, nullptr, nullptr, "/etc/orvx/hklm.reg", "./.config/orvx/hkcu.reg"},
  };
  const char* names[] = {"ORVX_HKLM_FILE", "ORVX_HKCU_FILE", "XDG_CONFIG_HOME", "HOME"};
  std::optional<std::string> saved[4];
  for (int n = 0; n < 4; ++n)
    if (const char* v = std::getenv(names[n])) saved[n] = v;
  for (const Case& c : cases) {
    const char* values[] = {c.hklm, c.hkcu, c.xdg, c.home};
    for (int n = 0; n < 4; ++n) values[n] ? setenv(names[n], values[n], 1) : unsetenv(names[n]);
    EXPECT_EQ(orvx::host::RegistryFile(HKEY_LOCAL_MACHINE), c.machine);
    EXPECT_EQ(orvx::host::RegistryFile(HKEY_CURRENT_USER), c.user);
  }
  for (int n = 0; n < 4; ++n) saved[n] ? setenv(names[n], saved[n]->c_str(), 1) : unsetenv(names[n]);
}
#endif

// The words the Windows build gives for the platform registry's answers.
TEST(StorePath, PlatformRefusalsInWords) {
  namespace w = orvx::registry::win32;
  struct Case {
    LONG result;
    const char *subKey, *name;
    orvx::Status::Code code;
    const char* message;
  };
  const Case cases[] = {
      {ERROR_SUCCESS, "K", nullptr, orvx::Status::None, ""},
      {ERROR_FILE_NOT_FOUND, "Software\\K", nullptr, orvx::Status::NotFound, "Software\\K: not found (error 2)"},
      {ERROR_MORE_DATA, nullptr, "v", orvx::Status::ValueTooLarge, "the value \"v\": "},
      {ERROR_INVALID_NAME, nullptr, "", orvx::Status::Argument, "the default value: "},
      {ERROR_INVALID_PARAMETER, "K", nullptr, orvx::Status::Argument, "K: "},
      {ERROR_INVALID_HANDLE, "K", nullptr, orvx::Status::Argument, "K: "},
      {w::kNotEnoughMemory, "K", nullptr, orvx::Status::Memory, "(error 8)"},
      {w::kOutOfMemory, "K", nullptr, orvx::Status::Memory, "(error 14)"},
      {ERROR_REGISTRY_CORRUPT, "K", nullptr, orvx::Status::BadStore, "(error 1015)"},
      {ERROR_ACCESS_DENIED, "K", nullptr, orvx::Status::Registry, "(error 5)"},
  };
  for (const Case& c : cases) {
    const orvx::Status s = w::Outcome(c.result, c.subKey, c.name);
    EXPECT_EQ(s.code, c.code) << c.result;
    EXPECT_EQ(s.osError, c.code == orvx::Status::None ? 0 : c.result);
    EXPECT_NE(s.message.find(c.message), std::string::npos) << s.message;
  }
}
