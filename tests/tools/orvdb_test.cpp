// End-to-end tests of the orvdb binary.
#include <gtest/gtest.h>

#include <fstream>

#include "run_orvdb.h"

namespace {

using orvx_test::ReadAll;
using orvx_test::RunOrvdb;

const std::string kDb = std::string("--db '") + ORVX_SAMPLE_DB + "'";

}  // namespace

TEST(Orvdb, ShowFindsAModelAndPrintsEveryField) {
  const auto r = RunOrvdb("show " + kDb + " 'Vantor LP-1200'");
  ASSERT_EQ(r.code, 0);
  EXPECT_NE(r.out.find("ModelName            Vantor LP-1200\n"), std::string::npos);
  EXPECT_NE(r.out.find("IsVantorPrinter"), std::string::npos);
  EXPECT_NE(r.out.find("tray \"Cassette 1\": 01 02 03"), std::string::npos);
  EXPECT_NE(r.out.find("Info1620000"), std::string::npos);
}

TEST(Orvdb, ExitCodes) {
  struct Case {
    std::string args;
    int code;
    std::string errorText;
  };
  const Case cases[] = {
      {"show " + kDb + " 'no such model'", 0, ""},
      {"show --strict " + kDb + " 'no such model'", 1, ""},
      {"show --strict " + kDb + " 'prefix Vantor LP-1300C suffix'", 0, ""},
      {"show " + kDb, 2, "NAME"},
      {"show --db /nonexistent/x.dat A", 2, "/nonexistent/x.dat: no such file"},
      {"list --db", 2, "--db"},
      {"frobnicate", 2, "frobnicate"},
      {"", 2, "subcommand"},
      {"build /nonexistent.json -o /tmp/x", 2, "/nonexistent.json: no such file"},
      {"--help", 0, ""},
      {"show --help", 0, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args);
    std::string err;
    const auto r = RunOrvdb(c.args, &err);
    EXPECT_EQ(r.code, c.code);
    if (!c.errorText.empty()) {
      EXPECT_NE(err.find(c.errorText), std::string::npos) << err;
      EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << "one line: " << err;
    }
  }
}

TEST(Orvdb, DamagedDatabaseIsAOneLineError) {
  orvx_test::TempDir tmp;
  const auto db = tmp.path() / "cut.dat";
  const std::string full = ReadAll(ORVX_SAMPLE_DB);
  std::ofstream(db, std::ios::binary) << full.substr(0, full.size() / 2);
  std::string err;
  const auto r = RunOrvdb("list --db '" + db.string() + "'", &err);
  EXPECT_EQ(r.code, 2);
  EXPECT_NE(err.find(db.string()), std::string::npos);
  EXPECT_NE(err.find("at byte " + std::to_string(full.size() / 2)), std::string::npos) << err;
}

TEST(Orvdb, ExportThenBuildReproducesTheDatabase) {
  orvx_test::TempDir tmp;
  const auto json = tmp.path() / "db.json";
  const auto dat = tmp.path() / "db.dat";
  const auto exported = RunOrvdb("export " + kDb);
  ASSERT_EQ(exported.code, 0);
  std::ofstream(json) << exported.out;
  ASSERT_EQ(RunOrvdb("build '" + json.string() + "' -o '" + dat.string() + "'").code, 0);
  EXPECT_EQ(ReadAll(dat), ReadAll(ORVX_SAMPLE_DB));
}

TEST(Orvdb, ListAndDefaultDatabaseInTheCurrentDirectory) {
  orvx_test::TempDir tmp(true);
  std::filesystem::copy_file(ORVX_SAMPLE_DB, "ORVDB.dat");
  const auto r = RunOrvdb("list");
  ASSERT_EQ(r.code, 0);
  EXPECT_EQ(r.out.rfind("    0  vendor 1   group 0     Other Printer\n", 0), 0u) << r.out;
  EXPECT_NE(r.out.find("Vantor Selby DC-2320"), std::string::npos);
}

TEST(Orvdb, BuildRejectsBadModelsNamingModelAndKey) {
  struct Case {
    const char* json;
    const char* error;
  };
  const Case cases[] = {
      {R"({"models":[{"ModelName":"A","Colour":1}]})", "model 0 (\"A\"), key \"Colour\": unknown key"},
      {R"({"models":[{"ModelName":"A"},{"ModelName":"B","VenderID":65536}]})", "model 1 (\"B\"), key \"VenderID\""},
      {R"({"models":[{"ModelName":"A","Info0108":128}]})", "key \"Info0108\""},
      {R"({"models":[{"ModelName":"A","Info0108":-129}]})", "key \"Info0108\""},
      {R"({"models":[{"ModelName":"A","Flags":-1}]})", "key \"Flags\""},
      {R"({"models":[{"ModelName":"A","InTraySPSZSizeList":[4,1,0]}]})", "key \"InTraySPSZSizeList\""},
      {R"({"models":[{"ModelName":"A","InTraySPSZSizeList":[]}]})", "key \"InTraySPSZSizeList\""},
      {R"({"models":[{"ModelName":7}]})", "key \"ModelName\""},
      {R"({"models":[{"ModelName":"A","Info0105":"1"}]})", "key \"Info0105\""},
      {R"({"models":{}})", "\"models\""},
      {R"({"models":[], "extra":1})", "extra"},
      {R"({"models":[)", "not valid JSON"},
  };
  orvx_test::TempDir tmp;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.json);
    const auto json = tmp.path() / "bad.json";
    const auto dat = tmp.path() / "out.dat";
    std::ofstream(json) << c.json;
    std::string err;
    EXPECT_EQ(RunOrvdb("build '" + json.string() + "' -o '" + dat.string() + "'", &err).code, 2);
    EXPECT_NE(err.find(c.error), std::string::npos) << err;
    EXPECT_FALSE(std::filesystem::exists(dat));
  }
}

#if !defined(_WIN32)
// The store files of the POSIX registry, named through the environment.
TEST(Orvdb, RegistryCommands) {
  orvx_test::TempDir tmp;
  const std::string env = "ORVX_HKCU_FILE='" + (tmp.path() / "hkcu.reg").string() + "' ORVX_HKLM_FILE='" +
                          (tmp.path() / "hklm.reg").string() + "' ";
  std::ofstream(tmp.path() / "hklm.reg")
      << "REGEDIT4\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vantor Selby\\Mon\\Supported Models]\n\"LP-1\"=dword:01000100\n"
         "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vantor Selby\\Mon\\Unsupported Models]\n\"LP-9\"=dword:0\n";
  std::ofstream(tmp.path() / "bad.reg") << "REGEDIT4\n\n[HKEY_CURRENT_USER\\A]\nnonsense\n";
  struct Case {
    std::string args;
    int code;
    std::string out;
  };
  const Case cases[] = {
      {"supported LP-1 --interface 1 --app Mon", 0, "LP-1: supported (0x00000000)\n"},
      {"supported LP-1 --interface 3 --app Mon --direct", 1, "LP-1: not supported (0x80000001)\n"},
      {"supported LP-9 --interface 1 --app Mon", 1, "LP-9: listed as unsupported (0x80000002)\n"},
      {"supported LP-1 --interface 1 --path 'SOFTWARE\\Vantor Selby\\Mon'", 0, "LP-1: supported (0x00000000)\n"},
      {"supported LP-1 --interface x", 2, ""},
      {"registry check '" + (tmp.path() / "hklm.reg").string() + "'", 0, ""},
      {"registry check '" + (tmp.path() / "bad.reg").string() + "'", 1, ""},
      {"registry check /nonexistent.reg", 2, ""},
      {"comcfg load --port 0x20 --app Mon --key K", 1, ""},
      {"comcfg frob --port 1", 2, ""},
      {"comcfg load --port 12x", 2, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args);
    const auto r = RunOrvdb(c.args, nullptr, env);
    EXPECT_EQ(r.code, c.code);
    if (!c.out.empty()) {
      EXPECT_EQ(r.out, c.out);
    }
  }
  std::string err;
  RunOrvdb("registry check '" + (tmp.path() / "bad.reg").string() + "'", &err, env);
  EXPECT_NE(err.find("bad.reg:4: a value name must be quoted or @"), std::string::npos) << err;

  // A configuration saved from hex text comes back byte for byte.
  const std::string config = "34000000" + std::string(96, 'a');
  std::ofstream(tmp.path() / "config.hex") << config << "\n";
  ASSERT_EQ(RunOrvdb("comcfg save --port 0x35 --hex --app Mon --key K < '" + (tmp.path() / "config.hex").string() + "'",
                     nullptr, env)
                .code,
            0);
  const auto loaded = RunOrvdb("comcfg load --port 0x30 --hex --app Mon --key K", nullptr, env);
  ASSERT_EQ(loaded.code, 0);
  std::string digits;
  for (char ch : loaded.out)
    if (std::isxdigit(static_cast<unsigned char>(ch))) digits += ch;
  EXPECT_EQ(digits, config);
}
#endif
