// orvdb end to end: the linter's findings, safe output files, failed writes
// to standard output, bad input paths and the store commands' answers.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

#include "orvx/version.h"
#include "run_orvdb.h"

#if !defined(_WIN32)
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

using orvx_test::ReadAll;
using orvx_test::RunOrvdb;
namespace fs = std::filesystem;

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

TEST(OrvdbLint, EachFindingFromASmallDatabase) {
  struct Case {
    const char* models;  // JSON models after a clean default record
    std::set<std::string> codes;
  };
  const Case cases[] = {
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
  for (const auto& c : cases) {
    SCOPED_TRACE(c.models);
    const auto json = tmp.path() / "models.json";
    std::ofstream(json) << R"({"models":[{"ModelName":"Default","VenderID":1},)" << c.models << "]}";
    int code = -1;
    EXPECT_EQ(LintCodes(json, code), c.codes);
    EXPECT_EQ(code, c.codes.empty() ? 0 : 1);

    // The database built from it has the same findings; --strict refuses to build it.
    const auto dat = tmp.path() / "db.dat";
    fs::remove(dat);
    EXPECT_EQ(RunOrvdb("build --strict " + Q(json) + " -o " + Q(dat)).code, c.codes.empty() ? 0 : 1);
    EXPECT_EQ(fs::exists(dat), c.codes.empty());
    ASSERT_EQ(RunOrvdb("build " + Q(json) + " -o " + Q(dat)).code, 0);
    EXPECT_EQ(LintCodes(dat, code), c.codes);
  }
}

TEST(OrvdbLint, TheFileAroundTheRecords) {
  orvx_test::TempDir tmp;
  const std::string sample = ReadAll(ORVX_SAMPLE_DB);
  struct Case {
    std::string bytes;
    int code;
    std::set<std::string> codes;
  };
  const Case cases[] = {
      {sample, 0, {}},
      {sample + "xyz", 1, {"file:trailing-bytes"}},
      {std::string("\xff\xff\xff\xff", 4), 1, {"file:negative-count"}},
      {std::string("\x02\0\0\0", 4) + std::string(100, '\0'), 1, {"file:impossible-count"}},
      {sample.substr(0, 3), 2, {}},
      {sample.substr(0, sample.size() - 1), 2, {}},
  };
  for (const auto& c : cases) {
    const auto db = tmp.path() / "db.dat";
    std::ofstream(db, std::ios::binary) << c.bytes;
    int code = -1;
    EXPECT_EQ(LintCodes(db, code), c.codes) << c.bytes.size();
    EXPECT_EQ(code, c.code) << c.bytes.size();
  }
}

TEST(OrvdbCommands, FindShowJsonVersionAndUnknownOptions) {
  const std::string db = "--db '" + std::string(ORVX_SAMPLE_DB) + "'";
  auto r = RunOrvdb("find " + db + " 'lp-12'");
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.out, "    2  Vantor LP-1200\n");
  EXPECT_EQ(RunOrvdb("find " + db + " 'no such text'").code, 1);

  r = RunOrvdb("show --json " + db + " 'Vantor LP-1200 PCL6'");
  const auto j = nlohmann::json::parse(r.out);
  EXPECT_EQ(j["index"], 2);
  EXPECT_EQ(j["match"], "substring");
  EXPECT_EQ(j["record"]["FlagNames"], nlohmann::json({"IXDuplexer", "IsOldTypePrinter", "IsVantorPrinter"}));

  EXPECT_EQ(RunOrvdb("--version").out, std::string("orvdb ") + ORVX_VERSION_STRING + "\n");
  std::string err;
  EXPECT_EQ(RunOrvdb("show --colour " + db + " X", &err).code, 2);
  EXPECT_NE(err.find("unknown option \"--colour\""), std::string::npos) << err;
  r = RunOrvdb("--help");
  EXPECT_NE(r.out.find("Exit codes:"), std::string::npos);
  EXPECT_NE(r.out.find("ORVX_HKLM_FILE"), std::string::npos);

  // Flags by name alone build the same record as by number.
  orvx_test::TempDir tmp;
  std::ofstream(tmp.path() / "n.json") << R"({"models":[{"ModelName":"A","FlagNames":["IsColorPrinter","IXDuplexer"]}]})";
  std::ofstream(tmp.path() / "b.json") << R"({"models":[{"ModelName":"A","Flags":9}]})";
  std::ofstream(tmp.path() / "x.json") << R"({"models":[{"ModelName":"A","Flags":1,"FlagNames":["IsColorPrinter"]}]})";
  ASSERT_EQ(RunOrvdb("build " + Q(tmp.path() / "n.json") + " -o " + Q(tmp.path() / "n.dat")).code, 0);
  ASSERT_EQ(RunOrvdb("build " + Q(tmp.path() / "b.json") + " -o " + Q(tmp.path() / "b.dat")).code, 0);
  EXPECT_EQ(ReadAll(tmp.path() / "n.dat"), ReadAll(tmp.path() / "b.dat"));
  EXPECT_EQ(RunOrvdb("build " + Q(tmp.path() / "x.json") + " -o " + Q(tmp.path() / "x.dat"), &err).code, 2);
  EXPECT_NE(err.find("FlagNames"), std::string::npos);
}

#if !defined(_WIN32)
TEST(OrvdbOutput, WritesOnlyWhatItWasAskedTo) {
  orvx_test::TempDir tmp;
  const auto json = tmp.path() / "models.json";
  std::ofstream(json) << R"({"models":[{"ModelName":"A","VenderID":1}]})";
  const auto build = [&](const fs::path& out, std::string* err = nullptr) {
    return RunOrvdb("build " + Q(json) + " -o " + Q(out), err).code;
  };
  const std::string old = "old bytes";

  // A symbolic link: the file it points to is written, the link stays.
  std::ofstream(tmp.path() / "real.dat") << old;
  ::chmod((tmp.path() / "real.dat").c_str(), 0640);
  fs::create_symlink("real.dat", tmp.path() / "link.dat");
  ASSERT_EQ(build(tmp.path() / "link.dat"), 0);
  EXPECT_TRUE(fs::is_symlink(tmp.path() / "link.dat"));
  EXPECT_NE(ReadAll(tmp.path() / "real.dat"), old);
  struct stat st {};
  ::stat((tmp.path() / "real.dat").c_str(), &st);
  EXPECT_EQ(st.st_mode & 07777, 0640u);  // a replaced file keeps its mode

  // Special files and directories are refused and left alone.
  ASSERT_EQ(::mkfifo((tmp.path() / "fifo").c_str(), 0600), 0);
  std::string err;
  EXPECT_EQ(build(tmp.path() / "fifo", &err), 2);
  EXPECT_NE(err.find("not a regular file"), std::string::npos) << err;
  EXPECT_TRUE(fs::is_fifo(tmp.path() / "fifo"));
  EXPECT_EQ(build(tmp.path(), &err), 2);
  EXPECT_NE(err.find("is a directory"), std::string::npos) << err;
  EXPECT_EQ(build("/dev/null"), 2);
  EXPECT_TRUE(fs::is_character_file("/dev/null"));

  // A directory that cannot take the temporary file: the old file stays whole
  // (unless root, whom permissions do not stop).
  fs::create_directory(tmp.path() / "ro");
  std::ofstream(tmp.path() / "ro" / "db.dat") << old;
  ::chmod((tmp.path() / "ro").c_str(), 0500);
  if (::geteuid() != 0) {
    EXPECT_EQ(build(tmp.path() / "ro" / "db.dat"), 2);
    EXPECT_EQ(ReadAll(tmp.path() / "ro" / "db.dat"), old);
  }
  ::chmod((tmp.path() / "ro").c_str(), 0700);

  // A write that fails halfway (the file size limit, which binds root too):
  // the old file stays byte for byte.
  std::ofstream(tmp.path() / "limit.dat") << old;
  const auto big = RunOrvdb("build '" + std::string(ORVX_SAMPLE_JSON) + "' -o " + Q(tmp.path() / "limit.dat"), &err,
                            "ulimit -f 1; trap '' XFSZ; ");
  EXPECT_EQ(big.code, 2);
  EXPECT_NE(err.find("cannot write"), std::string::npos) << err;
  EXPECT_EQ(ReadAll(tmp.path() / "limit.dat"), old);

  // "-" is standard output; nothing named "-" appears.
  orvx_test::TempDir cwd(true);
  const auto r = RunOrvdb("build " + Q(json) + " -o -");
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.out, ReadAll(tmp.path() / "real.dat"));
  EXPECT_FALSE(fs::exists("-"));

  // Nothing but the targets: no temporary files left beside them.
  std::set<std::string> names;
  for (const auto& e : fs::directory_iterator(tmp.path())) names.insert(e.path().filename().string());
  EXPECT_EQ(names, (std::set<std::string>{"models.json", "real.dat", "link.dat", "fifo", "ro", "limit.dat"}));
}

TEST(OrvdbOutput, AFullStandardOutputIsAFailure) {
  const std::string db = "--db '" + std::string(ORVX_SAMPLE_DB) + "'";
  orvx_test::TempDir tmp;
  std::ofstream(tmp.path() / "req.jsonl") << R"({"op":"info","calls":[["get",1]]})" << "\n";
  const std::string env = "ORVX_HKCU_FILE='" + (tmp.path() / "hkcu.reg").string() + "' ";
  std::ofstream(tmp.path() / "c.hex") << "08000000aabbccdd";
  ASSERT_EQ(RunOrvdb("comcfg save --hex --port 0x10 < " + Q(tmp.path() / "c.hex"), nullptr, env).code, 0);
  for (const std::string& args :
       {"export " + db, "list " + db, "show " + db + " X", "find " + db + " Vantor", "lint --json '" + std::string(ORVX_SAMPLE_DB) + "'",
        "picture --json " + db + " X", "eval < " + Q(tmp.path() / "req.jsonl"), std::string("comcfg load --port 0x10"),
        "build '" + std::string(ORVX_SAMPLE_JSON) + "' -o -"}) {
    SCOPED_TRACE(args);
    std::string err;
    EXPECT_EQ(RunOrvdb(args + " >/dev/full", &err, env).code, 2);
    EXPECT_NE(err.find("write error"), std::string::npos) << err;
  }
}

TEST(OrvdbInput, PathsThatAreNoFileAreOneLineErrors) {
  orvx_test::TempDir tmp;
  ASSERT_EQ(::mkfifo((tmp.path() / "fifo").c_str(), 0600), 0);
  for (const fs::path& bad : {tmp.path(), tmp.path() / "fifo", tmp.path() / "missing"}) {
    for (const std::string& args : {"show --db " + Q(bad) + " X", "build " + Q(bad) + " -o " + Q(tmp.path() / "o.dat"),
                                    "registry check " + Q(bad), "lint " + Q(bad)}) {
      SCOPED_TRACE(args);
      std::string err;
      EXPECT_EQ(RunOrvdb(args, &err).code, 2);
      EXPECT_EQ(err.rfind("orvdb: " + bad.string() + ": ", 0), 0u) << err;
      EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
    }
  }
}

TEST(OrvdbStore, MissingMalformedAndUnsupportedAreThreeAnswers) {
  orvx_test::TempDir tmp;
  std::ofstream(tmp.path() / "ok.reg") << "REGEDIT4\n";
  std::ofstream(tmp.path() / "bad.reg") << "REGEDIT4\n[HKEY_LOCAL_MACHINE\\A]\nnonsense\n";
  const auto run = [&](const std::string& file, const std::string& args, std::string* err = nullptr) {
    return RunOrvdb(args, err, "ORVX_HKLM_FILE='" + (tmp.path() / file).string() + "' ").code;
  };
  std::string err;
  EXPECT_EQ(run("ok.reg", "supported X --interface 1"), 1);
  EXPECT_EQ(run("none.reg", "supported X --interface 1", &err), 3);
  EXPECT_NE(err.find("none.reg"), std::string::npos);
  EXPECT_EQ(run("bad.reg", "supported X --interface 1", &err), 4);
  EXPECT_NE(err.find("bad.reg:3:"), std::string::npos) << err;
  for (const char* n : {"0", "6"}) EXPECT_EQ(run("ok.reg", std::string("supported X --interface ") + n), 2) << n;
  EXPECT_EQ(nlohmann::json::parse(RunOrvdb("supported X --interface 2 --json", nullptr,
                                           "ORVX_HKLM_FILE='" + (tmp.path() / "ok.reg").string() + "' ")
                                      .out)["code"],
            "0x80000001");

  // A configuration over 256 bytes could never be loaded back.
  const std::string env = "ORVX_HKCU_FILE='" + (tmp.path() / "hkcu.reg").string() + "' ";
  std::ofstream(tmp.path() / "big.hex") << "04010000" + std::string(2 * 256, 'a');
  EXPECT_EQ(RunOrvdb("comcfg save --hex --port 0x30 < " + Q(tmp.path() / "big.hex"), &err, env).code, 2);
  EXPECT_NE(err.find("260 bytes"), std::string::npos) << err;
  EXPECT_FALSE(fs::exists(tmp.path() / "hkcu.reg"));
  std::ofstream(tmp.path() / "ok.hex") << "08000000aabbccdd";
  EXPECT_EQ(RunOrvdb("comcfg save --hex --port 0x30 < " + Q(tmp.path() / "ok.hex"), &err, env).code, 0);
  EXPECT_NE(err.find("COM3"), std::string::npos) << err;
}
#endif
