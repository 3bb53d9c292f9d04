// orvdb end to end: answers and exit codes, the JSON round trip, the linter's
// findings, and the registry store commands.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

#include "orvx/version.h"
#include "run_orvdb.h"

namespace {

using orvx_test::ReadAll;
using orvx_test::RunOrvdb;
namespace fs = std::filesystem;

const std::string kDb = std::string("--db '") + ORVX_SAMPLE_DB + "'";
std::string Q(const fs::path& p) { return "'" + p.string() + "'"; }

// The codes `orvdb lint --json` reports, as "index:code".
std::set<std::string> LintCodes(const fs::path& input, int& code) {
  const auto r = RunOrvdb("lint --json " + Q(input));
  code = r.code;
  std::set<std::string> out;
  const auto j = nlohmann::json::parse(r.out, nullptr, false);
  if (j.is_discarded()) return out;
  for (const auto& f : j["findings"])
    out.insert((f["index"].is_null() ? std::string("file") : std::to_string(f["index"].get<int>())) + ":" +
               f["code"].get<std::string>());
  return out;
}

}  // namespace

TEST(Orvdb, AnswersAndExitCodes) {
  struct Case {
    std::string args;
    int code;
    std::string out;    // a part of standard output
    std::string error;  // a part of the one line on standard error
  };
  const Case cases[] = {
      {"show " + kDb + " 'Vantor LP-1200'", 0, "tray \"Cassette 1\": 01 02 03", ""},
      {"show " + kDb + " 'no such model'", 0, "Other Printer", ""},
      {"show --strict " + kDb + " 'no such model'", 1, "", ""},
      {"show --strict " + kDb + " 'prefix Vantor LP-1300C suffix'", 0, "Vantor LP-1300C", ""},
      {"find " + kDb + " 'lp-12'", 0, "    2  Vantor LP-1200\n", ""},
      {"find " + kDb + " 'no such text'", 1, "", ""},
      {"show " + kDb, 2, "", "NAME"},
      {"show --colour " + kDb + " X", 2, "", "unknown option \"--colour\""},
      {"show --db /nonexistent/x.dat A", 2, "", "/nonexistent/x.dat: no such file"},
      {"build /nonexistent.json -o /tmp/x", 2, "", "/nonexistent.json: no such file"},
      {"frobnicate", 2, "", "frobnicate"},
      {"", 2, "", "subcommand"},
      {"--version", 0, std::string("orvdb ") + ORVX_VERSION_STRING + "\n", ""},
      {"--help", 0, "ORVX_HKLM_FILE", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args);
    std::string err;
    const auto r = RunOrvdb(c.args, &err);
    EXPECT_EQ(r.code, c.code);
    EXPECT_NE(r.out.find(c.out), std::string::npos) << r.out;
    if (!c.error.empty()) {
      EXPECT_NE(err.find(c.error), std::string::npos) << err;
      EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << "one line: " << err;
    }
  }
  const auto j = nlohmann::json::parse(RunOrvdb("show --json " + kDb + " 'Vantor LP-1200 PCL6'").out);
  EXPECT_EQ(j["match"], "substring");
  EXPECT_EQ(j["record"]["FlagNames"], nlohmann::json({"IXDuplexer", "IsOldTypePrinter", "IsVantorPrinter"}));
}

TEST(Orvdb, ExportBuildAndTheDefaultDatabase) {
  orvx_test::TempDir tmp(true);
  const auto exported = RunOrvdb("export " + kDb);
  ASSERT_EQ(exported.code, 0);
  std::ofstream("db.json") << exported.out;
  ASSERT_EQ(RunOrvdb("build db.json -o ORVDB.dat").code, 0);
  EXPECT_EQ(ReadAll("ORVDB.dat"), ReadAll(ORVX_SAMPLE_DB));
  const auto list = RunOrvdb("list");  // ORVDB.dat of the current directory
  EXPECT_EQ(list.out.rfind("    0  vendor 1   group 0     Other Printer\n", 0), 0u) << list.out;

  // Flags by name alone build the same record as by number; both must agree.
  std::ofstream("n.json") << R"({"models":[{"ModelName":"A","FlagNames":["IsColorPrinter","IXDuplexer"]}]})";
  std::ofstream("b.json") << R"({"models":[{"ModelName":"A","Flags":9}]})";
  std::ofstream("x.json") << R"({"models":[{"ModelName":"A","Flags":1,"FlagNames":["IsColorPrinter"]}]})";
  ASSERT_EQ(RunOrvdb("build n.json -o n.dat").code, 0);
  ASSERT_EQ(RunOrvdb("build b.json -o b.dat").code, 0);
  EXPECT_EQ(ReadAll("n.dat"), ReadAll("b.dat"));
  EXPECT_EQ(RunOrvdb("build x.json -o x.dat").code, 2);
}

TEST(Orvdb, BuildRejectsBadModelsNamingModelAndKey) {
  const std::pair<const char*, const char*> cases[] = {
      {R"({"models":[{"ModelName":"A","Colour":1}]})", "model 0 (\"A\"), key \"Colour\": unknown key"},
      {R"({"models":[{"ModelName":"A"},{"ModelName":"B","VenderID":65536}]})", "model 1 (\"B\"), key \"VenderID\""},
      {R"({"models":[{"ModelName":"A","Info0108":128}]})", "key \"Info0108\""},
      {R"({"models":[{"ModelName":"A","Info0108":-129}]})", "key \"Info0108\""},
      {R"({"models":[{"ModelName":"A","Flags":-1}]})", "key \"Flags\""},
      {R"({"models":[{"ModelName":"A","InTraySPSZSizeList":[4,1,0]}]})", "key \"InTraySPSZSizeList\""},
      {R"({"models":[{"ModelName":7}]})", "key \"ModelName\""},
      {R"({"models":{}})", "\"models\""},
      {R"({"models":[)", "not valid JSON"},
  };
  orvx_test::TempDir tmp;
  for (const auto& [json, error] : cases) {
    SCOPED_TRACE(json);
    std::ofstream(tmp.path() / "bad.json") << json;
    std::string err;
    EXPECT_EQ(RunOrvdb("build " + Q(tmp.path() / "bad.json") + " -o " + Q(tmp.path() / "out.dat"), &err).code, 2);
    EXPECT_NE(err.find(error), std::string::npos) << err;
    EXPECT_FALSE(fs::exists(tmp.path() / "out.dat"));
  }
}

TEST(OrvdbLint, EachFindingFromASmallDatabase) {
  const std::pair<const char*, std::set<std::string>> cases[] = {  // JSON models after a clean default record
      {R"({"ModelName":"A","VenderID":1},{"ModelName":"A","VenderID":1})", {"2:duplicate-name"}},
      {R"({"ModelName":"","VenderID":1})", {"1:empty-name"}},
      {R"({"ModelName":"LP-1","VenderID":1},{"ModelName":"LP-10","VenderID":1})", {"2:shadowed-name"}},
      {R"({"ModelName":"Jet","VenderID":1},{"ModelName":"JET","VenderID":1})", {"2:case-variant"}},
      {R"({"ModelName":"Jet ","VenderID":1},{"ModelName":" Jet","VenderID":1})", {"2:space-variant"}},
      {R"({"ModelName":"A","VenderID":9,"ModelGroupID":9})", {"1:no-picture-rule"}},
      {R"({"ModelName":"A","VenderID":1,"Flags":8192})", {"1:unknown-flags"}},
      {R"({"ModelName":"A","VenderID":1,"InTraySPSZSizeList":[6,1,1,3,2,9]})", {"1:size-list-malformed"}},
      {R"({"ModelName":"A","VenderID":1,"InTraySPSZSizeList":[5,10,2,66,67]})", {"1:size-list-malformed"}},
      {R"({"ModelName":"A","VenderID":1,"InTraySPSZSizeList":[7,1,1,3,1,1,4]})", {"1:size-list-duplicate"}},
      {R"({"ModelName":"A","VenderID":1,"InTraySPSZSizeList":[11,10,3,97,0,1,10,3,65,0,2]})", {"1:size-list-duplicate"}},
      {R"({"ModelName":"A","VenderID":1,"InTraySPSZSizeList":[8,1,1,3,10,2,65,0]})", {"1:size-list-unreachable"}},
      {R"({"ModelName":"A","VenderID":2,"ModelGroupID":14,"InTraySPSZSizeList":[8,10,2,65,0,1,1,3]})", {}},
  };
  orvx_test::TempDir tmp;
  const auto json = tmp.path() / "models.json", dat = tmp.path() / "db.dat";
  for (const auto& [models, codes] : cases) {
    SCOPED_TRACE(models);
    std::ofstream(json) << R"({"models":[{"ModelName":"Default","VenderID":1},)" << models << "]}";
    int code = -1;
    EXPECT_EQ(LintCodes(json, code), codes);
    EXPECT_EQ(code, codes.empty() ? 0 : 1);
    // The database built from it has the same findings; --strict refuses to build it.
    fs::remove(dat);
    EXPECT_EQ(RunOrvdb("build --strict " + Q(json) + " -o " + Q(dat)).code, codes.empty() ? 0 : 1);
    EXPECT_EQ(fs::exists(dat), codes.empty());
    ASSERT_EQ(RunOrvdb("build " + Q(json) + " -o " + Q(dat)).code, 0);
    EXPECT_EQ(LintCodes(dat, code), codes);
  }
}

TEST(OrvdbLint, TheFileAroundTheRecords) {
  orvx_test::TempDir tmp;
  const std::string sample = ReadAll(ORVX_SAMPLE_DB);
  const std::tuple<std::string, int, std::set<std::string>> cases[] = {
      {sample, 0, {}},
      {sample + "xyz", 1, {"file:trailing-bytes"}},
      {std::string("\xff\xff\xff\xff", 4), 1, {"file:negative-count"}},
      {std::string("\x02\0\0\0", 4) + std::string(100, '\0'), 1, {"file:impossible-count"}},
      {sample.substr(0, sample.size() - 1), 2, {}},
  };
  for (const auto& [bytes, expectedCode, codes] : cases) {
    std::ofstream(tmp.path() / "db.dat", std::ios::binary) << bytes;
    int code = -1;
    EXPECT_EQ(LintCodes(tmp.path() / "db.dat", code), codes) << bytes.size();
    EXPECT_EQ(code, expectedCode) << bytes.size();
  }
}

#if !defined(_WIN32)
// The store files of the POSIX registry, named through the environment.
TEST(OrvdbStore, SupportedRegistryAndComConfig) {
  orvx_test::TempDir tmp;
  const auto path = [&](const char* name) { return (tmp.path() / name).string(); };
  const std::string env = "ORVX_HKCU_FILE='" + path("hkcu.reg") + "' ORVX_HKLM_FILE='" + path("hklm.reg") + "' ";
  std::ofstream(path("hklm.reg"))
      << "REGEDIT4\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vantor Selby\\Mon\\Supported Models]\n\"LP-1\"=dword:01000100\n"
         "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Vantor Selby\\Mon\\Unsupported Models]\n\"LP-9\"=dword:0\n";
  std::ofstream(path("bad.reg")) << "REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\A]\nnonsense\n";
  std::ofstream(path("big.hex")) << "04010000" + std::string(2 * 256, 'a');
  const std::string config = "34000000" + std::string(96, 'a');
  std::ofstream(path("config.hex")) << config << "\n";
  const std::string badStore = "ORVX_HKLM_FILE='" + path("bad.reg") + "' ";
  const std::string noStore = "ORVX_HKLM_FILE='" + path("none.reg") + "' ";
  struct Case {
    std::string args;
    int code;
    std::string out;  // all of standard output, when given
    std::string error;
    std::string store = "";  // the environment, when not `env`
  };
  const Case cases[] = {
      {"supported LP-1 --interface 1 --app Mon", 0, "LP-1: supported (0x00000000)\n", ""},
      {"supported LP-1 --interface 3 --app Mon --direct", 1, "LP-1: not supported (0x80000001)\n", ""},
      {"supported LP-9 --interface 1 --app Mon", 1, "LP-9: listed as unsupported (0x80000002)\n", ""},
      {"supported LP-1 --interface 1 --path 'SOFTWARE\\Vantor Selby\\Mon'", 0, "LP-1: supported (0x00000000)\n", ""},
      {"supported X --interface 2 --json", 1, "{\"model\":\"X\",\"interface\":2,\"answer\":\"not supported\",\"code\":\"0x80000001\"}\n", ""},
      {"supported X --interface 6", 2, "", ""},
      {"supported X --interface x", 2, "", ""},
      {"supported X --interface 1", 3, "", "none.reg", noStore},
      {"supported X --interface 1", 4, "", "bad.reg:4:", badStore},
      {"registry check '" + path("hklm.reg") + "'", 0, "", ""},
      {"registry check '" + path("bad.reg") + "'", 1, "", "bad.reg:4: a value name must be quoted or @"},
      {"registry check /nonexistent.reg", 2, "", ""},
      {"comcfg load --port 0x20 --app Mon --key K", 1, "", ""},
      {"comcfg frob --port 1", 2, "", ""},
      {"comcfg load --port 12x", 2, "", ""},
      // Over 256 bytes could never be loaded back.
      {"comcfg save --hex --port 0x30 < '" + path("big.hex") + "'", 2, "", "260 bytes"},
      {"comcfg save --port 0x35 --hex --app Mon --key K < '" + path("config.hex") + "'", 0, "", "COM3"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args);
    std::string err;
    const auto r = RunOrvdb(c.args, &err, c.store.empty() ? env : c.store);
    EXPECT_EQ(r.code, c.code);
    if (!c.out.empty()) {
      EXPECT_EQ(r.out, c.out);
    }
    EXPECT_NE(err.find(c.error), std::string::npos) << err;
  }
  // The saved configuration comes back byte for byte.
  const auto loaded = RunOrvdb("comcfg load --port 0x30 --hex --app Mon --key K", nullptr, env);
  ASSERT_EQ(loaded.code, 0);
  std::string digits;
  for (char ch : loaded.out)
    if (std::isxdigit(static_cast<unsigned char>(ch))) digits += ch;
  EXPECT_EQ(digits, config);
}
#endif
