// Runs the picture cases of cases.txt (its head says how a case is written)
// through both forms of the entry point each case names.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "orvx/afx_host.h"
#include "orvx/picture.h"
#include "orvx/prn_static_info.h"

namespace {

struct Tray {
  std::string name, after;  // as given, and as the call must leave it
  int unit = 0, delivery = 2, id = -1;
};

std::string Trim(std::string s) {
  s.erase(0, s.find_first_not_of(' '));
  s.erase(s.find_last_not_of(' ') + 1);
  return s;
}

// A name, "quoted" when its spaces count; `rest` gets what follows it.
std::string Name(const std::string& text, std::string& rest) {
  std::size_t end = text.find(" @");
  if (!text.empty() && text[0] == '"') {
    end = text.find('"', 1);
    rest = Trim(text.substr(end + 1));
    return text.substr(1, end - 1);
  }
  end = std::min(end, text.find(" > "));
  rest = end == std::string::npos ? "" : Trim(text.substr(end));
  return Trim(text.substr(0, end));
}

std::vector<std::string> List(const std::string& text, char separator = ';') {
  std::vector<std::string> items;
  std::istringstream in(text);
  for (std::string item; std::getline(in, item, separator);) items.push_back(Trim(item));
  return items;
}

std::vector<Tray> Trays(const std::string& text) {
  std::vector<Tray> trays;
  for (const std::string& item : List(text)) {
    Tray t;
    std::string rest;
    t.name = t.after = Name(item, rest);
    if (rest.rfind("> ", 0) == 0) t.after = Name(rest.substr(2), rest);
    for (const std::string& attribute : List(rest, ' ')) {
      EXPECT_TRUE(attribute.size() > 2 && attribute[0] == '@' && std::strchr("udi", attribute[1])) << attribute;
      const int value = std::stoi(attribute.substr(2));
      (attribute[1] == 'u' ? t.unit : attribute[1] == 'd' ? t.delivery : t.id) = value;
    }
    trays.push_back(t);
  }
  return trays;
}

// The text after each section marker ("in:", "out:", ...); "" holds the head.
std::map<std::string, std::string> Sections(const std::string& text) {
  static const std::regex marker(R"((?:^| )(in|out|opt|doc): )");
  std::map<std::string, std::string> sections;
  std::string key;
  std::size_t from = 0;
  for (std::sregex_iterator m(text.begin(), text.end(), marker), end; m != end; ++m) {
    sections[key] = text.substr(from, static_cast<std::size_t>(m->position()) - from);
    key = (*m)[1];
    from = static_cast<std::size_t>(m->position() + m->length());
  }
  sections[key] = text.substr(from);
  return sections;
}

CStringList Names(const std::vector<std::string>& names) {
  CStringList list;
  for (const auto& n : names) list.AddTail(n);
  return list;
}

std::vector<orvx::PictureTray> Call(const std::vector<Tray>& trays) {
  std::vector<orvx::PictureTray> call;
  for (const Tray& t : trays) call.push_back({t.name, t.id, t.unit, t.delivery});
  return call;
}

std::map<UINT, std::string> strings;  // the host strings of the cases that follow
int tracedCases = 0;

// The trace accounts for the whole picture ID: the bits its steps credit
// make it up, each tray's step carries the ID and name the tray ends with,
// and every option and document unit has its step.
void CheckTrace(const orvx::PictureTrace& trace, const orvx::PictureCall& call, const orvx::PictureCaller& caller,
                DWORD id) {
  DWORD added = 0;
  std::size_t names = 0;
  const auto* vocabulary = orvx::PictureRuleRows(trace.rule);
  EXPECT_EQ(vocabulary != nullptr, !trace.rule.empty());
  int byCount = 0;
  for (const auto& step : trace.steps) {
    added |= step.added;
    EXPECT_TRUE(step.row < 0 || !step.test.empty());
    byCount += step.test.find("drawer count") != std::string::npos;
    // The row a step names is a row the rule's vocabulary lists (-1: none),
    // and a step of the rule's own sets no bit its row does not list.
    EXPECT_TRUE(step.row == -1 || std::any_of(vocabulary->begin(), vocabulary->end(), [&](const orvx::PictureRuleRow& r) {
                  return r.table == step.kind && r.index == step.row && r.id >= -1 &&
                         (step.kind != orvx::PictureTraceStep::Rule || (step.added & ~r.bits) == 0);
                })) << step.test;
    const auto tray = static_cast<std::size_t>(step.tray);
    if (step.kind == orvx::PictureTraceStep::InTray)
      EXPECT_EQ(std::make_tuple(step.id, step.inputName, step.finalName),
                std::make_tuple(caller.In(tray).GetID(), std::string(call.in[tray].name), caller.In(tray).GetName().str()));
    else if (step.kind == orvx::PictureTraceStep::OutTray)
      EXPECT_EQ(std::make_tuple(step.id, step.inputName, step.finalName),
                std::make_tuple(caller.Out(tray).GetID(), std::string(call.out[tray].name), caller.Out(tray).GetName().str()));
    else if (step.kind != orvx::PictureTraceStep::Rule)
      ++names;
  }
  EXPECT_EQ(added, id) << std::hex << "credited 0x" << added;
  EXPECT_LE(byCount, 1) << "the drawer count selects one set of bits";
  EXPECT_GE(names, call.extended ? call.options.size() + call.docOptions.size() : 0);
  tracedCases += added != 0;
}

template <class T>
void CheckTrays(const orvx::PictureCaller& caller, T get, const std::vector<Tray>& given, const std::string& ids) {
  const std::vector<std::string> wantIds = List(ids, ' ');
  ASSERT_EQ(wantIds.size(), given.size()) << "one ID for each tray";
  std::vector<std::string> got, want;
  for (std::size_t i = 0; i < given.size(); ++i) {
    got.push_back(std::to_string((caller.*get)(i).GetID()) + " " + (caller.*get)(i).GetName().str());
    want.push_back(wantIds[i] + " " + given[i].after);
  }
  EXPECT_EQ(got, want);
}

// One case: "C|X vendor/group[,group...]... [key=value...] sections => id sections".
void RunCase(const std::string& line) {
  ASSERT_NE(line.find(" => "), std::string::npos) << "a case says what the call answers after \" => \"";
  auto given = Sections(line.substr(0, line.find(" => ")));
  auto expected = Sections(line.substr(line.find(" => ") + 4));
  const std::vector<Tray> in = Trays(given["in"]), out = Trays(given["out"]);
  int duplex = 0, output = 0;
  std::string model, rest = given[""].substr(2), word;
  std::vector<std::pair<int, int>> targets;
  while (!rest.empty()) {
    if (rest.rfind("model=", 0) == 0) {
      model = Name(rest.substr(6), rest);
      continue;
    }
    word = rest.substr(0, rest.find(' '));
    rest = rest.substr(std::min(rest.size(), word.size() + 1));
    if (word.rfind("duplex=", 0) == 0 || word.rfind("output=", 0) == 0)
      (word[0] == 'd' ? duplex : output) = std::stoi(word.substr(7));
    else
      for (const std::string& group : List(word.substr(word.find('/') + 1), ','))
        targets.emplace_back(std::stoi(word), std::stoi(group));
  }
  ASSERT_FALSE(targets.empty());
  const std::vector<std::string> options = List(given["opt"]), docs = List(given["doc"]);
  const std::vector<std::string_view> optionViews(options.begin(), options.end()), docViews(docs.begin(), docs.end());
  const std::vector<orvx::PictureTray> inCall = Call(in), outCall = Call(out);
  const bool extended = given[""][0] == 'X';
  orvx::PictureCall call{extended, inCall, outCall, duplex, output, optionViews, docViews, {}, {}};
  if (strings.count(orvx::kManualTrayString)) call.manualTrayName = strings[orvx::kManualTrayString];
  if (strings.count(orvx::kDefaultTrayString)) call.defaultTrayName = strings[orvx::kDefaultTrayString];
  for (const auto& [vendor, group] : targets) {
    SCOPED_TRACE(testing::Message() << "vendor " << vendor << ", group " << group);
    CPrnStaticInfo record;
    record.SetVenderID(static_cast<WORD>(vendor));
    record.SetModelGroupID(static_cast<WORD>(group));
    record.SetModelName(model);
    orvx::PictureCaller caller;
    orvx::PictureTrace trace;
    const DWORD id = caller.Call(record, call, &trace);
    CheckTrace(trace, call, caller, id);
    EXPECT_EQ(id, std::stoul(expected[""], nullptr, 0)) << std::hex << "got 0x" << id;
    CheckTrays(caller, &orvx::PictureCaller::In, in, expected["in"]);
    CheckTrays(caller, &orvx::PictureCaller::Out, out, expected["out"]);
    EXPECT_EQ(caller.Call(record, call), id) << "without a trace";
    // The framework's name-list form, with the process-wide strings, answers
    // the same for trays that carry nothing but a name.
    bool plain = true;
    std::vector<std::string> inNames, outNames;
    for (const Tray& t : in) plain &= t.unit == 0 && t.id == -1, inNames.push_back(t.name);
    for (const Tray& t : out) plain &= t.unit == 0 && t.id == -1 && t.delivery == 2, outNames.push_back(t.name);
    CStringList inList = Names(inNames), outList = Names(outNames), optionList = Names(options), docList = Names(docs);
    if (plain) {
      EXPECT_EQ(extended ? record.GetPictureIDEx(inList, outList, optionList, docList)
                         : record.GetPictureID(inList, outList, duplex, output),
                id)
          << "the name-list form disagrees";
    }
  }
}

}  // namespace

TEST(Picture, EveryCaseOfTheCaseFile) {
  std::ifstream file(ORVX_PICTURE_CASES);
  ASSERT_TRUE(file) << ORVX_PICTURE_CASES;
  int number = 0, cases = 0;
  for (std::string line; std::getline(file, line);) {
    ++number;
    line = Trim(line.substr(0, line.find(" #")));
    if (line.empty() || line[0] == '#') continue;
    SCOPED_TRACE(testing::Message() << "cases.txt:" << number << ": " << line);
    if (line.rfind("strings", 0) == 0) {  // the host's string resources from here on
      orvx::host::ClearStringResources();
      strings.clear();
      for (const std::string& s : List(line.substr(7)))
        if (!s.empty()) {
          strings[static_cast<UINT>(std::stoul(s))] = s.substr(s.find('=') + 1);
          orvx::host::SetStringResource(static_cast<UINT>(std::stoul(s)), s.substr(s.find('=') + 1));
        }
      continue;
    }
    try {
      RunCase(line);
    } catch (const std::exception& e) {  // a number that is none
      ADD_FAILURE() << "cannot read the case: " << e.what();
    }
    ++cases;
  }
  orvx::host::ClearStringResources();
  EXPECT_GT(cases, 200);
  EXPECT_GT(tracedCases, 150);  // the trace is not silent
}
