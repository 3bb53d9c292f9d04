#include "eval.h"

#include <nlohmann/json.hpp>
#include <stdexcept>

#include "db_file.h"
#include "db_json.h"
#include "picture_call.h"

namespace orvdb {
namespace {

using json = nlohmann::ordered_json;

struct RequestError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

void CheckKeys(const json& j, std::initializer_list<std::string_view> allowed, std::string_view what) {
  for (const auto& [key, value] : j.items()) {
    bool known = false;
    for (auto a : allowed) known = known || key == a;
    if (!known) throw RequestError("unknown member \"" + key + "\" in " + std::string(what));
  }
}

long long Int(const json& j, const char* key, long long fallback, long long low, long long high) {
  const auto it = j.find(key);
  if (it == j.end()) return fallback;
  if (!it->is_number_integer()) throw RequestError(std::string("\"") + key + "\" must be an integer");
  const long long v = it->is_number_unsigned() && it->get<unsigned long long>() > static_cast<unsigned long long>(high)
                          ? high + 1
                          : it->get<long long>();
  if (v < low || v > high)
    throw RequestError(std::string("\"") + key + "\" must be from " + std::to_string(low) + " to " + std::to_string(high));
  return v;
}

std::string Str(const json& j, const char* key, std::string fallback) {
  const auto it = j.find(key);
  if (it == j.end()) return fallback;
  if (!it->is_string()) throw RequestError(std::string("\"") + key + "\" must be a string");
  return it->get<std::string>();
}

std::vector<std::string> Names(const json& j, const char* key) {
  std::vector<std::string> out;
  const auto it = j.find(key);
  if (it == j.end()) return out;
  if (!it->is_array()) throw RequestError(std::string("\"") + key + "\" must be an array of strings");
  for (const auto& n : *it) {
    if (!n.is_string()) throw RequestError(std::string("\"") + key + "\" must be an array of strings");
    out.push_back(n.get<std::string>());
  }
  return out;
}

constexpr long long kIntMin = -2147483648LL, kIntMax = 2147483647LL;

std::vector<TraySpec> Trays(const json& j, const char* key, bool out) {
  std::vector<TraySpec> trays;
  const auto it = j.find(key);
  if (it == j.end()) return trays;
  if (!it->is_array()) throw RequestError(std::string("\"") + key + "\" must be an array");
  for (const auto& t : *it) {
    TraySpec tray;
    if (t.is_string()) {
      tray.name = t.get<std::string>();
    } else if (t.is_object()) {
      if (out)
        CheckKeys(t, {"name", "id", "addUnit", "derivery"}, key);
      else
        CheckKeys(t, {"name", "id", "addUnit"}, key);
      tray.name = Str(t, "name", "");
      tray.id = static_cast<int>(Int(t, "id", -1, kIntMin, kIntMax));
      tray.addUnit = static_cast<int>(Int(t, "addUnit", 0, kIntMin, kIntMax));
      if (out) tray.derivery = static_cast<int>(Int(t, "derivery", 2, kIntMin, kIntMax));
    } else {
      throw RequestError(std::string("each of \"") + key + "\" must be a name or an object");
    }
    trays.push_back(std::move(tray));
  }
  return trays;
}

void AppendTrays(std::string& out, const std::vector<TrayResult>& trays) {
  out += '[';
  for (std::size_t i = 0; i < trays.size(); ++i) {
    if (i) out += ',';
    out += "{\"name\":";
    AppendJsonString(out, trays[i].name);
    out += ",\"id\":" + std::to_string(trays[i].id) + "}";
  }
  out += ']';
}

std::string Picture(const json& j) {
  CheckKeys(j, {"op", "entry", "form", "vendor", "group", "model", "inTrays", "outTrays", "duplexUnit", "outputUnit",
                "options", "docOptions", "strings"},
            "a picture request");
  PictureRequest r;
  const std::string entry = Str(j, "entry", "GetPictureIDEx");
  if (entry != "GetPictureID" && entry != "GetPictureIDEx")
    throw RequestError("\"entry\" must be \"GetPictureID\" or \"GetPictureIDEx\"");
  r.extended = entry == "GetPictureIDEx";
  const std::string form = Str(j, "form", "trays");
  if (form != "trays" && form != "names") throw RequestError("\"form\" must be \"trays\" or \"names\"");
  r.byNames = form == "names";
  CPrnStaticInfo record;
  record.SetVenderID(static_cast<WORD>(Int(j, "vendor", 0, 0, 65535)));
  record.SetModelGroupID(static_cast<WORD>(Int(j, "group", 0, 0, 65535)));
  if (j.contains("model")) record.SetModelName(Str(j, "model", ""));
  r.in = Trays(j, "inTrays", false);
  r.out = Trays(j, "outTrays", true);
  r.duplexUnit = static_cast<int>(Int(j, "duplexUnit", 0, kIntMin, kIntMax));
  r.outputUnit = static_cast<int>(Int(j, "outputUnit", 0, kIntMin, kIntMax));
  r.options = Names(j, "options");
  r.docOptions = Names(j, "docOptions");
  if (const auto it = j.find("strings"); it != j.end()) {
    if (!it->is_object()) throw RequestError("\"strings\" must be an object of resource identifiers");
    for (const auto& [id, text] : it->items()) {
      std::size_t used = 0;
      unsigned long value = 0;
      try {
        value = std::stoul(id, &used, 10);
      } catch (const std::exception&) {
        used = 0;
      }
      if (used == 0 || used != id.size() || value > 0xFFFFFFFFul || !text.is_string())
        throw RequestError("\"strings\" maps resource numbers to texts; \"" + id + "\" does not fit");
      r.strings[static_cast<UINT>(value)] = text.get<std::string>();
    }
  }
  const PictureResult result = CallPicture(record, r);
  std::string out = "{\"pictureId\":" + std::to_string(result.pictureId);
  if (!r.byNames) {
    out += ",\"inTrays\":";
    AppendTrays(out, result.in);
    out += ",\"outTrays\":";
    AppendTrays(out, result.out);
  }
  return out + "}";
}

std::string SizeList(const json& j) {
  CheckKeys(j, {"op", "block", "tray", "trayName", "whole"}, "a sizelist request");
  std::vector<BYTE> block;
  const auto it = j.find("block");
  if (it == j.end() || !it->is_array()) throw RequestError("\"block\" must be an array of byte values");
  for (const auto& b : *it) {
    if (!b.is_number_integer() || b.get<long long>() < 0 || b.get<long long>() > 255)
      throw RequestError("\"block\" must be an array of byte values");
    block.push_back(static_cast<BYTE>(b.get<long long>()));
  }
  const int asked = j.contains("tray") + j.contains("trayName") + j.contains("whole");
  if (asked != 1) throw RequestError("give exactly one of \"tray\", \"trayName\" and \"whole\"");
  CPrnStaticInfo record;
  record.SetInTraySPSZSizeList(static_cast<int>(block.size()), block.empty() ? nullptr : block.data());
  BYTE out[256];
  int result;
  if (j.contains("tray")) {
    result = record.GetInTraySPSZSizeList(static_cast<int>(Int(j, "tray", 0, kIntMin, kIntMax)), out);
  } else if (j.contains("trayName")) {
    result = record.GetInTraySPSZSizeList(Str(j, "trayName", "").c_str(), out);
  } else {
    if (!j["whole"].is_boolean() || !j["whole"].get<bool>()) throw RequestError("\"whole\" must be true");
    result = record.GetInTraySPSZSizeList(out);
  }
  std::string text = "{\"result\":" + std::to_string(result) + ",\"bytes\":[";
  for (int i = 0; i < result; ++i) {
    if (i) text += ',';
    text += std::to_string(out[i]);
  }
  return text + "]}";
}

std::string Info(const json& j) {
  CheckKeys(j, {"op", "calls"}, "an info request");
  const auto it = j.find("calls");
  if (it == j.end() || !it->is_array()) throw RequestError("\"calls\" must be an array");
  CPrnStaticInfo record;
  std::string out = "{\"results\":[";
  std::size_t n = 0;
  for (const auto& c : *it) {
    const auto key = [&](std::size_t at) {
      if (!c[at].is_number_integer() || c[at].get<long long>() < 0 || c[at].get<long long>() > 0xFFFFFFFFLL)
        throw RequestError("call " + std::to_string(n) + ": keys and values are integers from 0 to 4294967295");
      return static_cast<DWORD>(c[at].get<long long>());
    };
    if (!c.is_array() || c.empty() || !c[0].is_string())
      throw RequestError("call " + std::to_string(n) + " must be [\"get\", KEY] or [\"set\", KEY, VALUE]");
    const std::string verb = c[0].get<std::string>();
    int result;
    if (verb == "get" && c.size() == 2) {
      result = record.GetInfo(key(1));
    } else if (verb == "set" && c.size() == 3) {
      result = record.SetInfoQuery(key(1), key(2));
    } else {
      throw RequestError("call " + std::to_string(n) + " must be [\"get\", KEY] or [\"set\", KEY, VALUE]");
    }
    if (n++) out += ',';
    out += std::to_string(result);
  }
  return out + "]}";
}

}  // namespace

void AppendJsonString(std::string& out, std::string_view s) {
  const bool utf8 = IsValidUtf8(s);
  out += '"';
  for (const char ch : s) {
    const auto c = static_cast<unsigned char>(ch);
    if (c == '"' || c == '\\') {
      out += '\\';
      out += ch;
    } else if (c < 0x20) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\u%04x", c);
      out += buf;
    } else if (c >= 0x80 && !utf8) {
      out += "\\ufffd";
    } else {
      out += ch;
    }
  }
  out += '"';
}

const orvx::ModelDatabase& Evaluator::Load(const std::string& path) {
  const auto it = databases_.find(path);
  if (it != databases_.end()) return it->second;
  orvx::ModelDatabase db;
  std::string error;
  if (!LoadDatabase(path, db, error)) throw RequestError(error);
  return databases_.emplace(path, std::move(db)).first->second;
}

std::string Evaluator::Answer(std::string_view line) {
  try {
    json j;
    try {
      j = json::parse(line);
    } catch (const json::parse_error& e) {
      throw RequestError(std::string("not JSON: ") + e.what());
    }
    if (!j.is_object()) throw RequestError("a request must be a JSON object");
    const std::string op = Str(j, "op", "");
    if (op == "picture") return Picture(j);
    if (op == "sizelist") return SizeList(j);
    if (op == "info") return Info(j);
    if (op == "lookup") {
      CheckKeys(j, {"op", "db", "name"}, "a lookup request");
      if (!j.contains("db")) throw RequestError("\"db\" is required");
      const orvx::ModelDatabase& db = Load(Str(j, "db", ""));
      const orvx::LookupResult found = db.Lookup(Str(j, "name", ""));
      if (found.index < 0) return "{\"index\":null}";
      std::string out = "{\"index\":" + std::to_string(found.index) + ",\"modelName\":";
      AppendJsonString(out, db[static_cast<std::size_t>(found.index)].GetModelName().view());
      out += ",\"match\":\"";
      out += orvx::MatchName(found.how);
      out += '"';
      return out + "}";
    }
    throw RequestError(op.empty() ? "missing \"op\"" : "unknown op \"" + op + "\"");
  } catch (const RequestError& e) {
    std::string out = "{\"error\":";
    AppendJsonString(out, e.what());
    return out + "}";
  } catch (const std::exception& e) {
    std::string out = "{\"error\":";
    AppendJsonString(out, std::string("request failed: ") + e.what());
    return out + "}";
  }
}

void Evaluator::Run(std::istream& in, std::ostream& out) {
  std::string line;
  std::string answers;
  while (std::getline(in, line)) {
    if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
    answers += Answer(line);
    answers += '\n';
    // Batch the answers, but never keep one back while the next request is
    // not there yet: a script may be waiting for it.
    if (answers.size() > (1 << 16) || in.rdbuf()->in_avail() <= 0) {
      out << answers;
      answers.clear();
    }
  }
  out << answers;
  out.flush();
}

}  // namespace orvdb
