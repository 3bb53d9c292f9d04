#include "rules.h"

#include <cstdio>
#include <map>
#include <ostream>
#include <set>
#include <string>

#include "db_json.h"
#include "orvx/picture.h"

namespace orvdb {
namespace {

std::string Hex(DWORD v) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%lx", static_cast<unsigned long>(v));
  return text;
}

Json RowsJson(const std::vector<orvx::PictureRuleRow>& rows) {
  Json all = Json::array();
  for (const auto& r : rows)
    all.push_back({{"table", orvx::PictureStepName(r.table)},
                   {"index", r.index},
                   {"test", r.test},
                   {"literals", r.literals},
                   {"bits", r.bits},
                   {"id", r.id < 0 ? Json(nullptr) : Json(r.id)},
                   {"effect", r.effect}});
  return all;
}

void PrintRows(std::ostream& out, const std::string& rule) {
  const auto* rows = orvx::PictureRuleRows(rule);
  out << rule << "\n";
  if (!rows) return;
  for (const auto& r : *rows) {
    out << "  " << orvx::PictureStepName(r.table) << " row " << r.index << ": " << r.test;
    out << " -> bits " << (r.bits ? Hex(r.bits) : "none");
    if (r.id >= 0) out << ", ID " << r.id;
    if (!r.effect.empty()) out << "; " << r.effect;
    out << "\n";
  }
}

// The answer of one entry point: the rule's name, else its fixed result.
std::string Answer(const orvx::PictureRoute& route) {
  if (route.rule) return route.rule;
  return route.fixedResult ? "none, fixed result " + Hex(route.fixedResult) : "none, picture ID 0";
}

Json AnswerJson(const orvx::PictureRoute& route, bool withRows) {
  Json j = {{"rule", route.rule ? Json(route.rule) : Json(nullptr)}, {"fixedResult", route.fixedResult}};
  if (withRows) j["rows"] = route.rule ? RowsJson(*orvx::PictureRuleRows(route.rule)) : Json::array();
  return j;
}

}  // namespace

void PrintAllRules(std::ostream& out, bool json) {
  // Every group a dispatch row names, per vendor; the others share one answer.
  std::map<int, std::set<int>> groups;
  std::set<std::string> rules;
  for (const auto& r : orvx::PictureRoutes()) {
    for (int g : r.groups)
      if (g >= 0) groups[r.vendor].insert(g);
    if (!r.rule.empty()) rules.insert(r.rule);
  }
  const int kOther = 65535;  // a group no row names
  Json pairs = Json::array();
  for (const auto& [vendor, list] : groups) {
    if (!json) out << "vendor " << vendor << (vendor == 1 ? " (printer line)" : " (copier line)") << "\n";
    for (int g : list) {
      const auto classic = orvx::ChoosePictureRule(vendor, g, false), extended = orvx::ChoosePictureRule(vendor, g, true);
      if (json)
        pairs.push_back({{"vendor", vendor}, {"group", g}, {"GetPictureID", AnswerJson(classic, false)},
                         {"GetPictureIDEx", AnswerJson(extended, false)}});
      else
        out << "  group " << g << ": GetPictureID " << Answer(classic) << "; GetPictureIDEx " << Answer(extended) << "\n";
    }
    const auto classic = orvx::ChoosePictureRule(vendor, kOther, false), extended = orvx::ChoosePictureRule(vendor, kOther, true);
    if (json)
      pairs.push_back({{"vendor", vendor}, {"group", nullptr}, {"GetPictureID", AnswerJson(classic, false)},
                       {"GetPictureIDEx", AnswerJson(extended, false)}});
    else
      out << "  any other group: GetPictureID " << Answer(classic) << "; GetPictureIDEx " << Answer(extended) << "\n";
  }
  if (!json) out << "any other vendor: picture ID 0\n";
  Json all = Json::object();
  for (const std::string& rule : rules) {
    if (json) {
      all[rule] = RowsJson(*orvx::PictureRuleRows(rule));
    } else {
      out << "\n";
      PrintRows(out, rule);
    }
  }
  if (json) out << Json{{"pairs", pairs}, {"rules", all}}.dump(-1, ' ', false, Json::error_handler_t::replace) << "\n";
}

Json RulesJson(int vendor, int group) {
  return {{"vendor", vendor},
          {"group", group},
          {"GetPictureID", AnswerJson(orvx::ChoosePictureRule(vendor, group, false), true)},
          {"GetPictureIDEx", AnswerJson(orvx::ChoosePictureRule(vendor, group, true), true)}};
}

void PrintRulesFor(std::ostream& out, const CPrnStaticInfo& record, const std::string& model, bool json) {
  const int vendor = record.GetVenderID(), group = record.GetModelGroupID();
  const auto classic = orvx::ChoosePictureRule(vendor, group, false), extended = orvx::ChoosePictureRule(vendor, group, true);
  if (json) {
    Json j = RulesJson(vendor, group);
    if (!model.empty()) j["model"] = model;
    out << j.dump(-1, ' ', false, Json::error_handler_t::replace) << "\n";
    return;
  }
  if (!model.empty()) out << "model        " << model << "\n";
  out << "vendor " << vendor << ", group " << group << ": GetPictureID " << Answer(classic) << "; GetPictureIDEx "
      << Answer(extended) << "\n";
  for (const auto& route : {classic, extended})
    if (route.rule) {
      out << "\n";
      PrintRows(out, route.rule);
    }
}

}  // namespace orvdb
