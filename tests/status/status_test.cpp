// Every kind of failure against statuses.txt: its C code, its text (from C++
// and from C) and the tool's exit code. The Python test checks its classes
// against the same table.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "c_api/c_status.h"
#include "exit_status.h"

namespace {

struct Row {
  std::string name, cName, pythonClass, text;
  int cValue = -1, exit = -1;
};

std::vector<Row> ReadTable() {
  std::ifstream in(ORVX_STATUS_TABLE);
  std::vector<Row> rows;
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    Row r;
    fields >> r.name >> r.cName >> r.cValue >> r.pythonClass >> r.exit >> std::ws;
    std::getline(fields, r.text);
    rows.push_back(r);
  }
  return rows;
}

}  // namespace

TEST(Status, EveryKindHasItsCCodeTextAndExitCode) {
  const std::vector<Row> rows = ReadTable();
  ASSERT_EQ(rows.size(), static_cast<std::size_t>(orvx::Status::kCodes));  // in the order of the codes
  std::vector<int> seen;
  for (int i = 0; i < orvx::Status::kCodes; ++i) {
    const Row& r = rows[static_cast<std::size_t>(i)];
    SCOPED_TRACE(r.name);
    const auto code = static_cast<orvx::Status::Code>(i);
    EXPECT_EQ(orvx::StatusName(code), r.text);
    EXPECT_EQ(orvx::c_api::ToC(code), r.cValue);
    ASSERT_NE(orvx_status_text(static_cast<orvx_status>(r.cValue)), nullptr);
    EXPECT_EQ(orvx_status_text(static_cast<orvx_status>(r.cValue)), r.text);
    EXPECT_EQ(orvdb::ExitCode({code, "what failed"}), r.exit);
    seen.push_back(r.cValue);
  }
  std::sort(seen.begin(), seen.end());
  EXPECT_EQ(std::adjacent_find(seen.begin(), seen.end()), seen.end());  // no two kinds share a C code
  EXPECT_EQ(orvx_status_text(static_cast<orvx_status>(orvx::Status::kCodes)), nullptr);
  EXPECT_EQ(orvx_status_text(static_cast<orvx_status>(-1)), nullptr);

  // The tool's one line: the message, or the code's text; a line break in a name stays on the line.
  std::ostringstream err;
  EXPECT_EQ(orvdb::Report({orvx::Status::BadStore, "a.reg:4: bad\nname"}, err), 4);
  EXPECT_EQ(orvdb::Report({orvx::Status::Memory, ""}, err), 2);
  EXPECT_EQ(err.str(), "orvdb: a.reg:4: bad\\nname\norvdb: out of memory\n");
}
