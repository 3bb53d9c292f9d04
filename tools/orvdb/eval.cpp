#include "eval.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <charconv>
#include <chrono>
#include <stdexcept>

#include "db_file.h"
#include "db_json.h"
#include "orvx/text.h"

namespace orvdb {
namespace {

using json::Kind;
using json::Value;

struct RequestError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

constexpr long long kIntMin = -2147483648LL, kIntMax = 2147483647LL;

std::string Quoted(std::string_view name) { return "\"" + std::string(name) + "\""; }

void AppendNumber(std::string& out, long long v) {
  char buf[24];
  const auto r = std::to_chars(buf, buf + sizeof buf, v);
  out.append(buf, r.ptr);
}

bool Same(std::string_view a, std::string_view b) {
  return a.size() == b.size() && (a.empty() || (a[0] == b[0] && std::memcmp(a.data(), b.data(), a.size()) == 0));
}

// The request's members by the names it may use, in one pass over them: slot
// i is the value of names[i], or null. Any other name is an error.
template <std::size_t N>
std::array<const Value*, N> Members(const json::Reader& r, const std::array<std::string_view, N>& names,
                                    std::string_view what) {
  std::array<const Value*, N> slots{};
  for (std::size_t m = 0; m < r.MemberCount(); ++m) {
    const std::string_view key = r.Key(m);
    std::size_t i = 0;
    while (i < N && !Same(key, names[i])) ++i;
    if (i == N) throw RequestError("unknown member " + Quoted(key) + " in " + std::string(what));
    slots[i] = &r.MemberValue(m);
  }
  return slots;
}

long long Int(const Value* v, std::string_view name, long long fallback, long long low, long long high) {
  if (!v) return fallback;
  long long n;
  if (!json::ToInteger(*v, n)) throw RequestError(Quoted(name) + " must be an integer");
  if (n < low || n > high)
    throw RequestError(Quoted(name) + " must be from " + std::to_string(low) + " to " + std::to_string(high));
  return n;
}

// A host string's number: decimal digits without sign, space or leading
// zero, 0 to 65535 (the resource numbers the host can have).
bool ResourceNumber(std::string_view id, UINT& out) {
  if (id.empty() || id.size() > 5 || (id.size() > 1 && id[0] == '0')) return false;
  UINT n = 0;
  for (const char c : id) {
    if (c < '0' || c > '9') return false;
    n = n * 10 + static_cast<UINT>(c - '0');
  }
  if (n > 65535) return false;
  out = n;
  return true;
}

void Str(const Value* v, std::string_view name, std::string& out) {
  if (!v) return;
  if (v->kind != Kind::String) throw RequestError(Quoted(name) + " must be a string");
  out.clear();
  json::AppendString(*v, out);
}

}  // namespace

void AppendJsonString(std::string& out, std::string_view s) {
  if (json::detail::PlainRunEnd(s.data(), s.data() + s.size()) == s.data() + s.size()) {  // nothing to escape
    out += '"';
    out += s;
    out += '"';
    return;
  }
  const bool utf8 = orvx::text::IsValidUtf8(s);
  out += '"';
  std::size_t run = 0;  // start of the bytes that need no escape
  for (std::size_t i = 0; i < s.size(); ++i) {
    const auto c = static_cast<unsigned char>(s[i]);
    if (c >= 0x20 && c != '"' && c != '\\' && (c < 0x80 || utf8)) continue;
    out.append(s.data() + run, i - run);
    run = i + 1;
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20) {
      static constexpr char kHex[] = "0123456789abcdef";
      out += "\\u00";
      out += kHex[c >> 4];
      out += kHex[c & 15];
    } else {
      out += "\\ufffd";
    }
  }
  out.append(s.data() + run, s.size() - run);
  out += '"';
}

orvx::ModelDatabase& Evaluator::Load(const std::string& path) {
  orvx::FileState state;
  if (const orvx::Status e = orvx::StatFile(path, state); e.Failed()) throw RequestError(e.message);
  ++uses_;
  Cached* slot = nullptr;
  for (Cached& c : databases_) {
    if (c.state.identity != state.identity) continue;
    if (c.still && c.state == state) {
      c.lastUse = uses_;
      return c.db;
    }
    slot = &c;  // the same file, changed since: its slot is reused
    break;
  }
  // The clock is read before the file: a change after this read stamps
  // times later than `state`'s when the file had been still for a while.
  const std::int64_t now =
      std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
  orvx::ModelDatabase db;
  if (const orvx::Status e = orvx::detail::LoadFile(path, db); e.Failed()) throw RequestError(e.message);
  if (!slot)
    slot = databases_.size() < kCachedDatabases
               ? &databases_.emplace_back()
               : &*std::min_element(databases_.begin(), databases_.end(),
                                    [](const Cached& a, const Cached& b) { return a.lastUse < b.lastUse; });
  *slot = {state, now - std::max(state.modified, state.changed) >= kStillNanoseconds, uses_, std::move(db)};
  return slot->db;
}

void Evaluator::Picture(std::string& out) {
  enum { kOp, kEntry, kForm, kDb, kVendor, kGroup, kModel, kIn, kOut, kDuplex, kOutput, kOptions, kDocOptions, kStrings };
  static constexpr std::array<std::string_view, 14> kNames = {
      "op", "entry", "form", "db", "vendor", "group", "model", "inTrays", "outTrays", "duplexUnit", "outputUnit",
      "options", "docOptions", "strings"};
  const auto m = Members(reader_, kNames, "a picture request");
  PictureRequest& q = request_;
  q.Clear();
  if (const Value* entry = m[kEntry]) {
    Str(entry, "entry", text_);
    if (text_ != "GetPictureID" && text_ != "GetPictureIDEx")
      throw RequestError("\"entry\" must be \"GetPictureID\" or \"GetPictureIDEx\"");
    q.extended = text_ == "GetPictureIDEx";
  }
  if (const Value* form = m[kForm]) {
    Str(form, "form", text_);
    if (text_ != "trays" && text_ != "names") throw RequestError("\"form\" must be \"trays\" or \"names\"");
    q.byNames = text_ == "names";
  }
  const int vendor = static_cast<int>(Int(m[kVendor], "vendor", 0, 0, 65535));
  const int group = static_cast<int>(Int(m[kGroup], "group", 0, 0, 65535));
  for (const bool outTrays : {false, true}) {
    const char* name = outTrays ? "outTrays" : "inTrays";
    const Value* list = m[outTrays ? kOut : kIn];
    if (!list) continue;
    if (list->kind != Kind::Array) throw RequestError(Quoted(name) + " must be an array");
    reader_.ForEach(*list, [&](const Value& t) {
      TrayInput& tray = outTrays ? q.AddOut() : q.AddIn();
      if (t.kind == Kind::String) {
        json::AppendString(t, tray.name);
        return;
      }
      if (t.kind != Kind::Object) throw RequestError("each of " + Quoted(name) + " must be a name or an object");
      json::ForEachMember(t, key_, [&](std::string_view key, const Value& v) {
        if (key == "name") Str(&v, "name", tray.name);
        else if (key == "id") tray.id = static_cast<int>(Int(&v, "id", -1, kIntMin, kIntMax));
        else if (key == "addUnit") tray.addUnit = static_cast<int>(Int(&v, "addUnit", 0, kIntMin, kIntMax));
        else if (key == "derivery" && outTrays) tray.derivery = static_cast<int>(Int(&v, "derivery", 2, kIntMin, kIntMax));
        else throw RequestError("unknown member " + Quoted(key) + " in " + name);
      });
    });
  }
  q.duplexUnit = static_cast<int>(Int(m[kDuplex], "duplexUnit", 0, kIntMin, kIntMax));
  q.outputUnit = static_cast<int>(Int(m[kOutput], "outputUnit", 0, kIntMin, kIntMax));
  for (const bool doc : {false, true}) {
    const char* name = doc ? "docOptions" : "options";
    const Value* list = m[doc ? kDocOptions : kOptions];
    if (!list) continue;
    if (list->kind != Kind::Array) throw RequestError(Quoted(name) + " must be an array of strings");
    reader_.ForEach(*list, [&](const Value& n) {
      if (n.kind != Kind::String) throw RequestError(Quoted(name) + " must be an array of strings");
      json::AppendString(n, doc ? q.AddDocOption() : q.AddOption());
    });
  }
  if (const Value* strings = m[kStrings]) {
    if (strings->kind != Kind::Object) throw RequestError("\"strings\" must be an object of resource identifiers");
    json::ForEachMember(*strings, key_, [&](std::string_view id, const Value& text) {
      UINT number = 0;
      if (!ResourceNumber(id, number) || text.kind != Kind::String)
        throw RequestError("\"strings\" maps resource numbers (0 to 65535) to texts; " + Quoted(id) + " does not fit");
      q.strings[number] = json::String(text);
    });
  }

  // The record: a database's model found with the library's lookup, or a
  // fresh record of which only what the request sets differs from the defaults.
  CPrnStaticInfo* record = &record_;
  orvx::LookupResult found;
  if (m[kDb]) {
    if (!m[kModel]) throw RequestError("\"db\" goes with \"model\", the name to look up");
    if (m[kVendor] || m[kGroup]) throw RequestError("give \"db\" and \"model\", or \"vendor\" and \"group\", not both");
    Str(m[kDb], "db", path_);
    Str(m[kModel], "model", text_);
    orvx::ModelDatabase& records = Load(path_);
    found = records.Lookup(text_);
    if (found.index < 0) throw RequestError(path_ + ": the database has no records");
    record = &records[static_cast<std::size_t>(found.index)];
  } else {
    // Without a database "model" only names the fresh record: a request
    // that means a database's model must not get a rule-less answer of 0.
    text_ = "Other Printer";
    Str(m[kModel], "model", text_);
    if (!m[kVendor] || !m[kGroup])
      throw RequestError(m[kModel] ? "\"model\" is looked up only in a \"db\"; give \"db\", or \"vendor\" and \"group\" for a fresh record"
                                   : "a picture request needs \"db\" and \"model\", or \"vendor\" and \"group\"");
    record_.Fields() = PrnStaticFields{};
    record_.SetInTraySPSZSizeList(0, nullptr);
    record_.SetVenderID(static_cast<WORD>(vendor));
    record_.SetModelGroupID(static_cast<WORD>(group));
    record_.SetModelName(text_);
  }

  const DWORD id = caller_.Call(*record, q);
  out += "{\"pictureId\":";
  AppendNumber(out, id);
  if (record != &record_) {
    out += ",\"index\":";
    AppendNumber(out, found.index);
    out += ",\"match\":\"";
    out += orvx::MatchName(found.how);
    out += '"';
  }
  if (!q.byNames) {
    for (const bool outTrays : {false, true}) {
      out += outTrays ? "],\"outTrays\":[" : ",\"inTrays\":[";
      const std::size_t n = outTrays ? q.outCount : q.inCount;
      for (std::size_t i = 0; i < n; ++i) {
        if (i) out += ',';
        out += "{\"name\":";
        AppendJsonString(out, outTrays ? caller_.Out(i).GetName().view() : caller_.In(i).GetName().view());
        out += ",\"id\":";
        AppendNumber(out, outTrays ? caller_.Out(i).GetID() : caller_.In(i).GetID());
        out += '}';
      }
    }
    out += ']';
  }
  out += '}';
}

void Evaluator::SizeList(std::string& out) {
  static constexpr std::array<std::string_view, 5> kNames = {"op", "block", "tray", "trayName", "whole"};
  const auto m = Members(reader_, kNames, "a sizelist request");
  const Value* blockValue = m[1];
  if (!blockValue || blockValue->kind != Kind::Array) throw RequestError("\"block\" must be an array of byte values");
  // A block holds at most 255 bytes (its first byte is its length): bytes
  // past that are checked but never read.
  BYTE block[256];
  std::size_t length = 0;
  reader_.ForEach(*blockValue, [&](const Value& b) {
    long long v;
    if (!json::ToInteger(b, v) || v < 0 || v > 255) throw RequestError("\"block\" must be an array of byte values");
    if (length < sizeof block) block[length] = static_cast<BYTE>(v);
    ++length;
  });
  length = std::min(length, sizeof block);
  const Value* tray = m[2];
  const Value* trayName = m[3];
  const Value* whole = m[4];
  if ((tray != nullptr) + (trayName != nullptr) + (whole != nullptr) != 1)
    throw RequestError("give exactly one of \"tray\", \"trayName\" and \"whole\"");
  record_.SetInTraySPSZSizeList(static_cast<int>(length), block);
  BYTE list[256];
  int result;
  if (tray) {
    result = record_.GetInTraySPSZSizeList(static_cast<int>(Int(tray, "tray", 0, kIntMin, kIntMax)), list);
  } else if (trayName) {
    Str(trayName, "trayName", text_);
    result = record_.GetInTraySPSZSizeList(text_.c_str(), list);
  } else {
    if (whole->kind != Kind::True) throw RequestError("\"whole\" must be true");
    result = record_.GetInTraySPSZSizeList(list);
  }
  out += "{\"result\":";
  AppendNumber(out, result);
  out += ",\"bytes\":[";
  for (int i = 0; i < result; ++i) {
    if (i) out += ',';
    AppendNumber(out, list[i]);
  }
  out += "]}";
}

void Evaluator::Info(std::string& out) {
  static constexpr std::array<std::string_view, 2> kNames = {"op", "calls"};
  const Value* calls = Members(reader_, kNames, "an info request")[1];
  if (!calls || calls->kind != Kind::Array) throw RequestError("\"calls\" must be an array");
  record_.Fields() = PrnStaticFields{};  // a fresh record's values
  out += "{\"results\":[";
  std::size_t n = 0;
  reader_.ForEach(*calls, [&](const Value& c) {
    const std::string shape = "call " + std::to_string(n) + " must be [\"get\", KEY] or [\"set\", KEY, VALUE]";
    if (c.kind != Kind::Array) throw RequestError(shape);
    Value items[3];
    std::size_t count = 0;
    json::ForEachElement(c, [&](const Value& item) {
      if (count < 3) items[count] = item;
      ++count;
    });
    if (count == 0 || items[0].kind != Kind::String) throw RequestError(shape);
    const auto key = [&](const Value& v) {
      long long k;
      if (!json::ToInteger(v, k) || k < 0 || k > 0xFFFFFFFFLL)
        throw RequestError("call " + std::to_string(n) + ": keys and values are integers from 0 to 4294967295");
      return static_cast<DWORD>(k);
    };
    Str(&items[0], "call", text_);
    int result;
    if (text_ == "get" && count == 2) result = record_.GetInfo(key(items[1]));
    else if (text_ == "set" && count == 3) result = record_.SetInfoQuery(key(items[1]), key(items[2]));
    else throw RequestError(shape);
    if (n++) out += ',';
    AppendNumber(out, result);
  });
  out += "]}";
}

void Evaluator::Lookup(std::string& out) {
  static constexpr std::array<std::string_view, 3> kNames = {"op", "db", "name"};
  const auto m = Members(reader_, kNames, "a lookup request");
  const Value* db = m[1];
  if (!db) throw RequestError("\"db\" is required");
  Str(db, "db", path_);
  text_.clear();
  Str(m[2], "name", text_);
  const orvx::ModelDatabase& records = Load(path_);
  const orvx::LookupResult found = records.Lookup(text_);
  if (found.index < 0) {
    out += "{\"index\":null}";
    return;
  }
  out += "{\"index\":";
  AppendNumber(out, found.index);
  out += ",\"modelName\":";
  AppendJsonString(out, records[static_cast<std::size_t>(found.index)].GetModelName().view());
  out += ",\"match\":\"";
  out += orvx::MatchName(found.how);
  out += "\"}";
}

void Evaluator::Answer(std::string_view line, std::string& out) {
  const std::size_t start = out.size();
  try {
    if (!reader_.Parse(line)) throw RequestError("not JSON: " + reader_.Error());
    if (reader_.Root().kind != Kind::Object) throw RequestError("a request must be a JSON object");
    const Value* op = reader_.Find("op");
    if (!op) throw RequestError("missing \"op\"");
    if (op->kind != Kind::String) throw RequestError("\"op\" must be a string");
    op_.clear();
    json::AppendString(*op, op_);
    const std::string_view name = op_;
    if (name == "picture") Picture(out);
    else if (name == "sizelist") SizeList(out);
    else if (name == "info") Info(out);
    else if (name == "lookup") Lookup(out);
    else throw RequestError(name.empty() ? "missing \"op\"" : "unknown op " + Quoted(name));
  } catch (const RequestError& e) {
    out.resize(start);
    out += "{\"error\":";
    AppendJsonString(out, e.what());
    out += '}';
  } catch (const std::exception& e) {
    out.resize(start);
    out += "{\"error\":";
    AppendJsonString(out, std::string("request failed: ") + e.what());
    out += '}';
  }
}

void Evaluator::Run(std::istream& in, std::ostream& out) {
  std::string line;
  std::string answers;
  while (std::getline(in, line)) {
    if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
    Answer(line, answers);
    answers += '\n';
    // Batch the answers, but never keep one back while the next request is
    // not there yet: a script may be waiting for it.
    if (answers.size() > (1 << 16) || in.rdbuf()->in_avail() <= 0) {
      out.write(answers.data(), static_cast<std::streamsize>(answers.size()));
      answers.clear();
    }
  }
  out.write(answers.data(), static_cast<std::streamsize>(answers.size()));
  out.flush();
}

}  // namespace orvdb
