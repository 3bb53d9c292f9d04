// orvdb picture and orvdb eval.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "eval.h"
#if !defined(_WIN32)
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>
#endif
#include "run_orvdb.h"

using nlohmann::json;

namespace {

// Runs orvdb, its standard error dropped.
orvx_test::ToolResult Orvdb(const std::string& args) { return orvx_test::RunOrvdb(args); }

}  // namespace

TEST(Eval, StreamAnswersInOrderAndSurvivesBadLines) {
  orvx_test::TempDir tmp;
  const auto requests = tmp.path() / "requests.jsonl";
  std::vector<std::string> expected;  // "" for an error
  {
    std::ofstream out(requests);
    for (int i = 0; i < 3000; ++i) {
      const bool broken = i % 500 == 7;
      // Key 0x1220000 holds 32 bits; 0x40000000 is no key.
      out << (broken ? "{broken" : R"j({"op":"info","calls":[["set",19005440,)j" + std::to_string(i) +
                                        R"j(],["get",19005440],["get",1073741824]]})j")
          << "\n";
      expected.push_back(broken ? "" : "{\"results\":[1," + std::to_string(i) + ",-1]}");
    }
    out << "\n";  // blank lines are not requests
  }
  const orvx_test::ToolResult r = Orvdb("eval < '" + requests.string() + "'");
  ASSERT_EQ(r.code, 0);
  std::istringstream lines(r.out);
  std::size_t i = 0;
  for (std::string line; std::getline(lines, line); ++i) {
    ASSERT_LT(i, expected.size());
    if (expected[i].empty())
      EXPECT_EQ(line.rfind("{\"error\":", 0), 0u) << line;
    else
      EXPECT_EQ(line, expected[i]);
  }
  EXPECT_EQ(i, expected.size());
}

TEST(OrvdbPicture, TextJsonAndExitCodes) {
  const std::string db = std::string("--db '") + ORVX_SAMPLE_DB + "' ";
  const orvx_test::ToolResult text = Orvdb("picture " + db + "'Vantor LP-2100' --in 'Multi Purpose Tray' 'Optional Cassette 2' --out 'Face Down Tray' --option HH-418");
  ASSERT_EQ(text.code, 0);
  EXPECT_NE(text.out.find("rule         GetOptionFlagEx_Nightjar\n"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("picture ID   0x00010802\n"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("in-tray      \"Cassette 2\" -> ID 21\n"), std::string::npos) << text.out;

  const orvx_test::ToolResult j = Orvdb("picture --vendor 2 --group 14 --model-name 'WR-4697(J)' --in Bypass 'Cassette 1' --out Face-d --json");
  ASSERT_EQ(j.code, 0);
  const json a = json::parse(j.out);
  EXPECT_EQ(a["rule"], "GetOptionFlagEx_Auklet");
  EXPECT_EQ(a["pictureId"], 0x41001);
  EXPECT_EQ(a["pictureIdHex"], "0x00041001");
  EXPECT_EQ(a["bits"], json::array({0x1, 0x1000, 0x40000}));
  EXPECT_EQ(a["inTrays"][1], json::parse(R"j({"name":"Cassette 1","id":21})j"));
  EXPECT_EQ(a["outTrays"][0]["id"], 51);

  const orvx_test::ToolResult classic = Orvdb("picture --vendor 1 --group 1 --classic --in Manual --string 9481=Hand --duplex --json");
  ASSERT_EQ(classic.code, 0);
  EXPECT_EQ(json::parse(classic.out)["inTrays"][0]["name"], "Hand");
  EXPECT_EQ(json::parse(classic.out)["pictureId"], 0x10001);

  for (const char* bad : {"picture", "picture X --vendor 1 --group 1", "picture --vendor 1", "picture --vendor 70000 --group 1",
                          "picture --vendor 1 --group 1 --string 9481"}) {
    SCOPED_TRACE(bad);
    EXPECT_EQ(Orvdb(bad).code, 2);
  }
}

// Every request kind and every kind of bad request, against the answers the
// evaluator gave before its reader was replaced (those for valid requests were
// checked against the library through its C interface when they were stored).
TEST(Eval, AnswersAsStored) {
  const auto lines = [](const std::string& path) {
    std::ifstream in(path);
    std::vector<std::string> out;
    for (std::string line; std::getline(in, line);) out.push_back(line);
    return out;
  };
  const auto requests = lines(std::string(ORVX_EVAL_DATA) + "/eval_requests.jsonl");
  const auto stored = lines(std::string(ORVX_EVAL_DATA) + "/eval_answers.jsonl");
  ASSERT_EQ(requests.size(), stored.size());
  ASSERT_GT(requests.size(), 40u);
  orvdb::Evaluator e;
  for (std::size_t i = 0; i < requests.size(); ++i) {
    std::string request = requests[i];
    if (const auto at = request.find("@DB@"); at != std::string::npos)
      request.replace(at, 4, json(std::string(ORVX_SAMPLE_DB)).dump().substr(1, std::string(ORVX_SAMPLE_DB).size()));
    const std::string answer = e.Answer(request);
    SCOPED_TRACE(request);
    if (stored[i].rfind("{\"error\":", 0) != 0) {
      EXPECT_EQ(answer, stored[i]);
      continue;
    }
    // Bad requests: still an error, which may now be worded better, never in
    // the words of a parser's internals.
    ASSERT_EQ(answer.rfind("{\"error\":", 0), 0u) << answer;
    EXPECT_EQ(answer.find("json.exception"), std::string::npos) << answer;
    if (stored[i].find("json.exception") == std::string::npos) {
      EXPECT_EQ(answer, stored[i]);
    }
  }
  // Each database is read once: deleting the file changes nothing.
  orvx_test::TempDir tmp;
  const std::string db = (tmp.path() / "db.dat").generic_string();  // no backslashes inside the JSON
  std::ofstream(db, std::ios::binary).write("\0\0\0\0", 4);
  const std::string request = R"j({"op":"lookup","db":")j" + db + R"j(","name":"x"})j";
  EXPECT_EQ(e.Answer(request), R"j({"index":null})j");
  std::filesystem::remove(db);
  EXPECT_EQ(e.Answer(request), R"j({"index":null})j");
}

TEST(Eval, SyntaxErrorsSayWhatAndWhere) {
  orvdb::Evaluator e;
  struct Case {
    const char* request;
    const char* error;
  };
  const Case cases[] = {
      {R"({"op":"info","calls":[]} x)", "more text after the value at byte 25"},
      {R"({"op":"info","calls":[1,]})", "at byte 24"},
      {R"({"op":"info","calls":"a)", "a string that does not end at byte 21"},
      {"{\"op\":\"info\",\"calls\":\"\x01\"}", "a control character inside a string at byte 22"},
      {"{\"op\":\"info\",\"calls\":\"\xff\"}", "not UTF-8 at byte 22"},
      {R"({"op":"info","calls":"\ud800"})", "surrogate"},
      {R"({"op":"info","calls":01})", "at byte 22"},
      {R"({"op":"info","calls":1.})", "decimal point"},
      {R"({"op":"info" "calls":1})", "at byte 13"},
      {R"({"op":"picture","vendor":1e2})", "\"vendor\" must be an integer"},
      {R"({"op":"picture","vendor":18446744073709551616})", "\"vendor\" must be an integer"},
      {R"({"op":"picture","vendor":-9223372036854775809})", "\"vendor\" must be an integer"},
  };
  for (const auto& c : cases) {
    const json answer = json::parse(e.Answer(c.request));
    ASSERT_TRUE(answer.contains("error")) << c.request;
    EXPECT_NE(answer["error"].get<std::string>().find(c.error), std::string::npos) << c.request << " -> " << answer;
  }
  // Escapes, repeated members (the last wins) and members in any order; escaped
  // member names survive the member list growing (a fresh evaluator's does).
  EXPECT_EQ(e.Answer(R"( {"calls":[["get",1034]],"op":"info","op":"info"} )"), R"({"results":[-1]})");
  EXPECT_EQ(orvdb::Evaluator().Answer(R"({"o\u0070":"info","c\u0061lls":[["get",1034]],"op":"info"})"),
            R"({"results":[-1]})");
  EXPECT_EQ(e.Answer(R"({"op":"picture","vendor":1,"group":0,"inTrays":["Cassette\u00201","\ud83d\ude00\n\"\\"]})"),
            R"({"pictureId":1,"inTrays":[{"name":"Cassette 1","id":20},{"name":"😀\u000a\"\\","id":-1}],"outTrays":[]})");
}

// A request longer than any buffer is read whole: answered in full, or refused
// for what is wrong at its very end.
TEST(Eval, VeryLongRequests) {
  orvx_test::TempDir tmp;
  const auto path = tmp.path() / "long.jsonl";
  {
    std::ofstream out(path);
    out << R"({"op":"picture","vendor":1,"group":0,"inTrays":[)";
    for (int i = 0; i < 100000; ++i) out << (i ? "," : "") << "\"Cassette " << (i % 4 + 1) << "\"";
    out << "]}\n";
    out << R"({"op":"sizelist","tray":1,"block":[)";
    for (int i = 0; i < 300000; ++i) out << (i ? "," : "") << (i == 0 ? 7 : 1);
    out << "]}\n";
    out << R"({"op":"info","calls":[)" << std::string(2000000, ' ') << "]\n";  // the closing brace is missing
  }
  const orvx_test::ToolResult r = Orvdb("eval < '" + path.string() + "'");
  ASSERT_EQ(r.code, 0);
  std::istringstream lines(r.out);
  std::string line;
  ASSERT_TRUE(std::getline(lines, line));
  const json first = json::parse(line);
  ASSERT_EQ(first["inTrays"].size(), 100000u);
  EXPECT_EQ(first["inTrays"][0], json::parse(R"({"name":"Cassette 1","id":20})"));
  EXPECT_EQ(first["inTrays"][99999]["name"], "Cassette 4");
  ASSERT_TRUE(std::getline(lines, line));
  EXPECT_EQ(json::parse(line), json::parse(R"({"result":1,"bytes":[1]})"));  // the block is its first 7 bytes
  ASSERT_TRUE(std::getline(lines, line));
  EXPECT_NE(line.find("at byte 2000023"), std::string::npos) << line.substr(0, 200);
  EXPECT_FALSE(std::getline(lines, line));
}

#if !defined(_WIN32)
// Through a pipe, each answer comes as soon as its request line is complete,
// even when the request arrives in pieces.
TEST(Eval, AnswersEachLineThroughAPipe) {
  int toChild[2], fromChild[2];
  ASSERT_EQ(::pipe(toChild), 0);
  ASSERT_EQ(::pipe(fromChild), 0);
  const pid_t pid = ::fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    ::dup2(toChild[0], 0);
    ::dup2(fromChild[1], 1);
    for (int fd : {toChild[0], toChild[1], fromChild[0], fromChild[1]}) ::close(fd);
    ::execl(ORVDB_BINARY, ORVDB_BINARY, "eval", static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ::close(toChild[0]);
  ::close(fromChild[1]);
  const auto send = [&](const std::string& text) {
    ASSERT_EQ(::write(toChild[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  };
  const auto receive = [&] {
    std::string line;
    char c;
    pollfd p{fromChild[0], POLLIN, 0};
    while (::poll(&p, 1, 10000) == 1 && ::read(fromChild[0], &c, 1) == 1 && c != '\n') line += c;
    return line;
  };
  for (int i = 0; i < 3; ++i) {
    send(R"({"op":"info","calls":[["set",3336,)");
    send(std::to_string(i) + R"(],["get",3336]]})");
    send("\n");
    EXPECT_EQ(receive(), "{\"results\":[1," + std::to_string(i) + "]}");
  }
  ::close(toChild[1]);
  EXPECT_EQ(receive(), "");
  int status = 0;
  ::waitpid(pid, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  ::close(fromChild[0]);
}
#endif
