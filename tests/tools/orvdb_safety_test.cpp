// orvdb end to end: output files it was not asked to harm stay whole, a
// failed write to standard output is a failure, and paths that are no file
// are one-line errors.
#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "run_orvdb.h"

#if !defined(_WIN32)
#include <sys/stat.h>
#include <unistd.h>

namespace {

using orvx_test::ReadAll;
using orvx_test::RunOrvdb;
namespace fs = std::filesystem;

std::string Q(const fs::path& p) { return "'" + p.string() + "'"; }

}  // namespace

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

#endif
