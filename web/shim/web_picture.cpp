// The module's picture side: one picture call with its explain trace, and the
// rules' vocabulary, answered as JSON from the C interface.
#include <algorithm>
#include <cstdint>
#include <deque>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "orvx/orvx.h"
#include "web_api.h"

using orvdb::Json;
using orvx_web::Answer;
using orvx_web::ErrorAnswer;

namespace {

const char* const kKinds[] = {"option", "docOption", "inTray", "outTray", "rule"};

const char* KindName(int kind) { return kind >= 0 && kind <= ORVX_STEP_RULE ? kKinds[kind] : "?"; }

struct BadRequest : std::runtime_error {
  using std::runtime_error::runtime_error;
};

int Integer(const Json& request, const char* key, int fallback) {
  if (!request.contains(key)) return fallback;
  const Json& v = request[key];
  if (!v.is_number_integer() || v.get<std::int64_t>() < INT32_MIN || v.get<std::int64_t>() > INT32_MAX)
    throw BadRequest(std::string("\"") + key + "\" must be a 32-bit integer");
  return static_cast<int>(v.get<std::int64_t>());
}

// The strings a request names; `keep` owns them while the call runs.
std::vector<const char*> Names(const Json& request, const char* key, std::deque<std::string>& keep) {
  std::vector<const char*> out;
  if (!request.contains(key)) return out;
  if (!request[key].is_array()) throw BadRequest(std::string("\"") + key + "\" must be an array of names");
  for (const Json& n : request[key]) {
    if (!n.is_string()) throw BadRequest(std::string("\"") + key + "\" must be an array of names");
    out.push_back(keep.emplace_back(n.get<std::string>()).c_str());
  }
  return out;
}

// Trays as names or as {"name", "id", "addUnit", "derivery"}; absent members keep the tray record's defaults.
std::vector<orvx_tray> Trays(const Json& request, const char* key, std::deque<std::string>& keep) {
  std::vector<orvx_tray> out;
  if (!request.contains(key)) return out;
  if (!request[key].is_array()) throw BadRequest(std::string("\"") + key + "\" must be an array of trays");
  for (const Json& t : request[key]) {
    orvx_tray tray{};
    tray.id = -1;
    tray.delivery = 2;
    if (t.is_string()) {
      tray.name = keep.emplace_back(t.get<std::string>()).c_str();
    } else if (t.is_object() && t.contains("name") && t["name"].is_string()) {
      tray.name = keep.emplace_back(t["name"].get<std::string>()).c_str();
      tray.id = Integer(t, "id", -1);
      tray.add_unit = Integer(t, "addUnit", 0);
      tray.delivery = Integer(t, "derivery", 2);
    } else {
      throw BadRequest(std::string("a tray of \"") + key + "\" must be a name or an object with a \"name\"");
    }
    out.push_back(tray);
  }
  return out;
}

Json TraysJson(const std::vector<orvx_tray>& trays, const std::vector<std::string>& inputs) {
  Json out = Json::array();
  for (std::size_t i = 0; i < trays.size(); ++i) {
    const orvx_tray& t = trays[i];
    out.push_back({{"input", inputs[i]},
                   {"name", std::string(t.final_name, std::min<std::size_t>(t.final_name_length, ORVX_TRAY_NAME_SIZE - 1))},
                   {"nameCut", t.final_name_length >= ORVX_TRAY_NAME_SIZE},
                   {"id", t.id}});
  }
  return out;
}

Json RuleJson(int vendor, int group, int extended) {
  uint32_t fixed = 0;
  const char* rule = orvx_rule_for(vendor, group, extended, &fixed);
  if (!rule) return {{"rule", nullptr}, {"fixed", fixed}, {"rows", Json::array()}};
  Json rows = Json::array();
  for (std::size_t i = 0, n = orvx_rule_row_count(rule); i < n; ++i) {
    orvx_rule_row row{};
    if (orvx_rule_row_at(rule, i, &row) != ORVX_OK) continue;
    Json literals = Json::array();
    for (std::size_t k = 0; k < row.literal_count; ++k) literals.push_back(row.literals[k]);
    rows.push_back({{"table", KindName(row.table)}, {"index", row.index}, {"test", row.test ? row.test : ""},
                    {"literals", std::move(literals)}, {"bits", row.bits}, {"id", row.id},
                    {"effect", row.effect ? row.effect : ""}});
  }
  return {{"rule", rule}, {"rows", std::move(rows)}};
}

}  // namespace

extern "C" {

struct orvx_web_db;
orvx_db* orvx_web_c_handle(orvx_web_db* w);

// One picture call on record `index` of the open database. `request` is a
// JSON object with the members of an `orvdb eval` picture request ("entry",
// "inTrays", "outTrays", "duplexUnit", "outputUnit", "options", "docOptions",
// "strings"); the answer holds the ID, the rule, every tray's final name and
// ID, and the trace of what the rule did.
char* orvx_web_picture(orvx_web_db* w, std::size_t index, const char* request) {
  orvx_record* r = orvx_db_record(orvx_web_c_handle(w), index);
  if (!r) return ErrorAnswer("no record " + std::to_string(index));
  try {
    const Json q = Json::parse(request ? request : "");
    if (!q.is_object()) throw BadRequest("the request must be a JSON object");
    const std::string entry = q.value("entry", std::string("GetPictureIDEx"));
    if (entry != "GetPictureID" && entry != "GetPictureIDEx")
      throw BadRequest("\"entry\" must be \"GetPictureID\" or \"GetPictureIDEx\"");
    std::deque<std::string> keep;
    std::vector<orvx_tray> in = Trays(q, "inTrays", keep), out = Trays(q, "outTrays", keep);
    std::vector<std::string> inNames, outNames;
    for (const auto& t : in) inNames.push_back(t.name);
    for (const auto& t : out) outNames.push_back(t.name);
    const std::vector<const char*> options = Names(q, "options", keep), docOptions = Names(q, "docOptions", keep);
    orvx_picture_call call{};
    call.extended = entry == "GetPictureIDEx";
    call.in = in.data(), call.in_count = in.size();
    call.out = out.data(), call.out_count = out.size();
    call.duplex_unit = Integer(q, "duplexUnit", 0);
    call.output_unit = Integer(q, "outputUnit", 0);
    call.options = options.data(), call.option_count = options.size();
    call.doc_options = docOptions.data(), call.doc_option_count = docOptions.size();
    if (q.contains("strings")) {
      const Json& s = q["strings"];
      if (!s.is_object()) throw BadRequest("\"strings\" must be an object of texts by string ID");
      for (const auto& [id, text] : s.items()) {
        if (!text.is_string() || (id != "9481" && id != "9482"))
          throw BadRequest("\"strings\" holds texts for \"9481\" and \"9482\" only");
        const char* kept = keep.emplace_back(text.get<std::string>()).c_str();
        (id == "9481" ? call.manual_tray_name : call.default_tray_name) = kept;
      }
    }
    uint32_t id = 0;
    orvx_trace* trace = nullptr;
    orvx_error err{};
    if (orvx_picture(r, &call, &id, &trace, &err) != ORVX_OK) return ErrorAnswer(err.message);
    const std::unique_ptr<orvx_trace, void (*)(orvx_trace*)> owned(trace, orvx_trace_free);
    Json steps = Json::array();
    for (std::size_t i = 0, n = orvx_trace_count(trace); i < n; ++i) {
      orvx_trace_step s{};
      if (orvx_trace_step_at(trace, i, &s) != ORVX_OK) continue;
      steps.push_back({{"kind", KindName(s.kind)}, {"name", s.name ? s.name : ""},
                       {"input", s.input_name ? s.input_name : ""}, {"final", s.final_name ? s.final_name : ""},
                       {"row", s.row}, {"test", s.test ? s.test : ""}, {"added", s.added}, {"id", s.id}});
    }
    const char* rule = orvx_trace_rule(trace);
    Json answer = {{"pictureId", id}, {"entry", entry}, {"rule", rule ? Json(rule) : Json(nullptr)},
                   {"inTrays", TraysJson(in, inNames)}, {"outTrays", TraysJson(out, outNames)},
                   {"trace", std::move(steps)}};
    return Answer(answer);
  } catch (const Json::exception& e) {
    return ErrorAnswer(std::string("bad request: ") + e.what());
  } catch (const BadRequest& e) {
    return ErrorAnswer(e.what());
  } catch (const std::bad_alloc&) {
    return ErrorAnswer("not enough memory");
  }
}

// The rules of a vendor/group pair in both entry points, with every row of
// their tables: what each tests, the names it knows, the bits and tray ID it gives.
char* orvx_web_vocabulary(int vendor, int group) {
  try {
    return Answer({{"GetPictureID", RuleJson(vendor, group, 0)}, {"GetPictureIDEx", RuleJson(vendor, group, 1)}});
  } catch (const std::bad_alloc&) {
    return ErrorAnswer("not enough memory");
  }
}

}  // extern "C"
