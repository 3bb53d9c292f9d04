#include "picture_codec.h"

#include <charconv>

#include "orvx/text.h"

namespace orvdb {
namespace {

using json::Kind;
using json::Value;

constexpr long long kIntMin = -2147483648LL, kIntMax = 2147483647LL;

template <typename T>
T& Next(std::vector<T>& items, std::size_t& count) {
  if (count == items.size()) items.emplace_back();
  return items[count++];
}

// A reused tray keeps its name's storage; the rest starts over.
TrayInput& Fresh(TrayInput& t) {
  t.name.clear();
  t.id = ORVX_TRAY_NEW_ID;
  t.addUnit = ORVX_TRAY_NEW_ADD_UNIT;
  t.delivery = ORVX_TRAY_NEW_DELIVERY;
  return t;
}

void AppendNumber(std::string& out, long long v) {
  char buf[24];
  const auto r = std::to_chars(buf, buf + sizeof buf, v);
  out.append(buf, r.ptr);
}

// A name that holds a zero byte would reach the rules as a shorter name, as
// it does through the C interface: it is refused. Only an escape makes one.
void NoZeroByte(const Value& v, const std::string& text, const char* what) {
  if (v.escaped && text.find('\0') != std::string::npos) throw RequestError(std::string(what) + " holds a zero byte");
}

}  // namespace

// ---- the request -------------------------------------------------------------------

void PictureRequest::Clear() {
  extended = true;
  byNames = explain = false;
  inCount = outCount = optionCount = docOptionCount = 0;
  duplexUnit = outputUnit = 0;
  hasManualTray = hasDefaultTray = false;
  hasDb = hasModel = hasVendor = hasGroup = false;
  vendor = group = 0;
}

TrayInput& PictureRequest::AddIn() { return Fresh(Next(in, inCount)); }
TrayInput& PictureRequest::AddOut() { return Fresh(Next(out, outCount)); }
std::string& PictureRequest::AddOption() { return Next(options, optionCount).erase(); }
std::string& PictureRequest::AddDocOption() { return Next(docOptions, docOptionCount).erase(); }

std::string& PictureRequest::HostString(std::string_view id) {
  static const std::string kManual = std::to_string(orvx::kManualTrayString),
                           kDefault = std::to_string(orvx::kDefaultTrayString);
  if (id == kManual) {
    hasManualTray = true;
    return manualTray.erase();
  }
  if (id == kDefault) {
    hasDefaultTray = true;
    return defaultTray.erase();
  }
  throw RequestError("no rule reads host string \"" + std::string(id) + "\"; the rules read " + kManual +
                     " (a manual tray's name) and " + kDefault + " (a default tray's name)");
}

// ---- the record --------------------------------------------------------------------

bool NamesDatabaseModel(const PictureRequest& r) {
  if (r.hasDb) {
    if (!r.hasModel) throw RequestError("\"db\" goes with \"model\", the name to look up");
    if (r.hasVendor || r.hasGroup) throw RequestError("give \"db\" and \"model\", or \"vendor\" and \"group\", not both");
    return true;
  }
  // Without a database "model" only names the fresh record: a request that
  // means a database's model must not get a rule-less answer of 0.
  if (r.hasVendor && r.hasGroup) return false;
  throw RequestError(r.hasModel ? "\"model\" is looked up only in a \"db\"; give \"db\", or \"vendor\" and \"group\" for a fresh record"
                                : "a picture request needs \"db\" and \"model\", or \"vendor\" and \"group\"");
}

void MakeFreshRecord(const PictureRequest& r, CPrnStaticInfo& fresh) {
  static const CPrnStaticInfo kNew;
  fresh.Fields() = kNew.Fields();
  fresh.SetInTraySPSZSizeList(0, nullptr);
  fresh.SetVenderID(static_cast<WORD>(r.vendor));
  fresh.SetModelGroupID(static_cast<WORD>(r.group));
  // A stream of requests mostly names the record as the last one did: its name is kept then.
  const std::string_view name = r.hasModel ? std::string_view(r.model) : kNew.GetModelName().view();
  if (fresh.GetModelName().view() != name) fresh.SetModelName(CString(name));
}

ChosenRecord FindModel(const PictureRequest& r, const orvx::ModelDatabase& db) {
  const orvx::LookupResult found = db.Lookup(r.model);
  if (found.index < 0) throw RequestError(r.db + ": the database holds no models");
  return {&db[static_cast<std::size_t>(found.index)], true, found};
}

// ---- JSON in and out ----------------------------------------------------------------

void ParseRequest(json::Reader& reader, std::string_view line) {
  if (!reader.Parse(line)) throw RequestError("not JSON: " + reader.Error());
  if (reader.Root().kind != Kind::Object) throw RequestError("a request must be a JSON object");
}

long long Integer(const Value* v, std::string_view name, long long fallback, long long low, long long high) {
  if (!v) return fallback;
  long long n;
  if (!json::ToInteger(*v, n)) throw RequestError(Quoted(name) + " must be an integer");
  if (n < low || n > high)
    throw RequestError(Quoted(name) + " must be from " + std::to_string(low) + " to " + std::to_string(high) + ", not " +
                       std::to_string(n));
  return n;
}

void Text(const Value* v, std::string_view name, std::string& out) {
  if (!v) return;
  if (v->kind != Kind::String) throw RequestError(Quoted(name) + " must be a string");
  out.clear();
  json::AppendString(*v, out);
}

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

void AppendError(std::string& out, std::string_view message) {
  out += "{\"error\":";
  AppendJsonString(out, message);
  out += '}';
}

// ---- the codec --------------------------------------------------------------------

void PictureCodec::Decode(const json::Reader& reader, PictureRequest& q, RecordFrom from) {
  enum { kOp, kEntry, kForm, kExplain, kDb, kModel, kVendor, kGroup, kIn, kOut, kDuplex, kOutput, kOptions,
         kDocOptions, kStrings };
  static constexpr MemberNames<15> kNames{std::array<std::string_view, 15>{
      "op", "entry", "form", "explain", "db", "model", "vendor", "group", "inTrays", "outTrays", "duplexUnit",
      "outputUnit", "options", "docOptions", "strings"}};
  const auto m = Members(reader, kNames, "a picture request");
  q.Clear();
  if (const Value* op = m[kOp]; op && op->text != "\"picture\"") {
    Text(op, "op", text_);
    if (text_ != "picture") throw RequestError("\"op\" of a picture request is \"picture\"");
  }
  if (const Value* entry = m[kEntry]) {
    Text(entry, "entry", text_);
    if (text_ != "GetPictureID" && text_ != "GetPictureIDEx")
      throw RequestError("\"entry\" must be \"GetPictureID\" or \"GetPictureIDEx\"");
    q.extended = text_ == "GetPictureIDEx";
  }
  if (const Value* form = m[kForm]) {
    Text(form, "form", text_);
    if (text_ != "trays" && text_ != "names") throw RequestError("\"form\" must be \"trays\" or \"names\"");
    q.byNames = text_ == "names";
  }
  if (const Value* explain = m[kExplain]) {
    if (explain->kind != Kind::True && explain->kind != Kind::False)
      throw RequestError("\"explain\" must be true or false");
    q.explain = explain->kind == Kind::True;
  }

  for (const int k : {kDb, kModel, kVendor, kGroup})
    if (m[k] && from == RecordFrom::Caller)
      throw RequestError("the record is given by the call: leave out " + Quoted(kNames[k]));
  q.hasDb = m[kDb] != nullptr;
  q.hasModel = m[kModel] != nullptr;
  q.hasVendor = m[kVendor] != nullptr;
  q.hasGroup = m[kGroup] != nullptr;
  Text(m[kDb], "db", q.db);
  Text(m[kModel], "model", q.model);
  q.vendor = static_cast<int>(Integer(m[kVendor], "vendor", 0, 0, 65535));
  q.group = static_cast<int>(Integer(m[kGroup], "group", 0, 0, 65535));

  for (const bool outTrays : {false, true}) {
    const char* list = outTrays ? "\"outTrays\"" : "\"inTrays\"";
    const Value* trays = m[outTrays ? kOut : kIn];
    if (!trays) continue;
    if (trays->kind != Kind::Array) throw RequestError(std::string(list) + " must be an array");
    reader.ForEach(*trays, [&](const Value& t) {
      TrayInput& tray = outTrays ? q.AddOut() : q.AddIn();
      if (t.kind == Kind::String) {
        json::AppendString(t, tray.name);
        NoZeroByte(t, tray.name, "a tray name");
        return;
      }
      if (t.kind != Kind::Object) throw RequestError(std::string("each of ") + list + " must be a name or an object");
      bool named = false, delivered = false;
      json::ForEachMember(t, key_, [&](std::string_view key, const Value& v) {
        if (key == "name") {
          Text(&v, "name", tray.name);
          NoZeroByte(v, tray.name, "a tray name");
          named = true;
          return;
        }
        if (q.byNames) throw RequestError("with \"form\":\"names\" a tray is a name only, not " + Quoted(key));
        if (key == "id") {
          tray.id = static_cast<int>(Integer(&v, "id", 0, kIntMin, kIntMax));
        } else if (key == "addUnit") {
          tray.addUnit = static_cast<int>(Integer(&v, "addUnit", 0, kIntMin, kIntMax));
        } else if (outTrays && (key == "delivery" || key == "derivery")) {  // "derivery": the old spelling
          if (delivered) throw RequestError("give \"delivery\" once (\"derivery\" is its old spelling)");
          delivered = true;
          tray.delivery = static_cast<int>(Integer(&v, "delivery", 0, kIntMin, kIntMax));
        } else {
          throw RequestError("unknown member " + Quoted(key) + " in " + list);
        }
      });
      if (!named) throw RequestError(std::string("a tray of ") + list + " needs a \"name\"");
    });
  }
  q.duplexUnit = static_cast<int>(Integer(m[kDuplex], "duplexUnit", 0, kIntMin, kIntMax));
  q.outputUnit = static_cast<int>(Integer(m[kOutput], "outputUnit", 0, kIntMin, kIntMax));
  for (const bool doc : {false, true}) {
    const char* list = doc ? "\"docOptions\" must be an array of strings" : "\"options\" must be an array of strings";
    const Value* names = m[doc ? kDocOptions : kOptions];
    if (!names) continue;
    if (names->kind != Kind::Array) throw RequestError(list);
    reader.ForEach(*names, [&](const Value& n) {
      if (n.kind != Kind::String) throw RequestError(list);
      std::string& name = doc ? q.AddDocOption() : q.AddOption();
      json::AppendString(n, name);
      NoZeroByte(n, name, "an option name");
    });
  }
  if (const Value* strings = m[kStrings]) {
    if (strings->kind != Kind::Object) throw RequestError("\"strings\" must be an object of texts by string number");
    json::ForEachMember(*strings, key_, [&](std::string_view id, const Value& text) {
      std::string& slot = q.HostString(id);
      if (text.kind != Kind::String) throw RequestError("\"strings\" must be an object of texts by string number");
      json::AppendString(text, slot);
      NoZeroByte(text, slot, "a host string");
    });
  }
}

DWORD PictureCodec::Run(const CPrnStaticInfo& record, const PictureRequest& r) {
  const auto trays = [](std::vector<orvx::PictureTray>& into, const std::vector<TrayInput>& from, std::size_t n) {
    into.clear();
    for (std::size_t i = 0; i < n; ++i) into.push_back({from[i].name, from[i].id, from[i].addUnit, from[i].delivery});
  };
  trays(in_, r.in, r.inCount);
  trays(out_, r.out, r.outCount);
  options_.assign(r.options.begin(), r.options.begin() + static_cast<std::ptrdiff_t>(r.optionCount));
  docOptions_.assign(r.docOptions.begin(), r.docOptions.begin() + static_cast<std::ptrdiff_t>(r.docOptionCount));
  orvx::PictureCall call{r.extended, in_, out_, r.duplexUnit, r.outputUnit, options_, docOptions_, {}, {}};
  if (r.hasManualTray) call.manualTrayName = r.manualTray;
  if (r.hasDefaultTray) call.defaultTrayName = r.defaultTray;
  return caller_.Call(record, call, r.explain ? &trace_ : nullptr);
}

void PictureCodec::Encode(const PictureRequest& r, const ChosenRecord& c, DWORD pictureId, std::string& out) const {
  out += "{\"pictureId\":";
  AppendNumber(out, pictureId);
  out += ",\"rule\":";
  const orvx::PictureRoute route =
      orvx::ChoosePictureRule(c.record->GetVenderID(), c.record->GetModelGroupID(), r.extended);
  if (route.rule) {
    out += '"';
    out += route.rule;
    out += '"';
  } else {
    out += "null";
  }
  if (c.fromDatabase) {
    out += ",\"model\":";
    AppendJsonString(out, c.record->GetModelName().view());
    out += ",\"index\":";
    AppendNumber(out, c.found.index);
    out += ",\"match\":\"";
    out += orvx::MatchName(c.found.how);
    out += '"';
  }
  if (!r.byNames) {
    for (const bool outTrays : {false, true}) {
      out += outTrays ? "],\"outTrays\":[" : ",\"inTrays\":[";
      const std::size_t n = outTrays ? r.outCount : r.inCount;
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
  if (r.explain) {
    out += ",\"trace\":[";
    for (std::size_t k = 0; k < trace_.steps.size(); ++k) {
      const orvx::PictureTraceStep& s = trace_.steps[k];
      const bool tray = s.kind == orvx::PictureTraceStep::InTray || s.kind == orvx::PictureTraceStep::OutTray;
      out += k ? ",{\"kind\":\"" : "{\"kind\":\"";
      out += orvx::PictureStepName(s.kind);
      out += '"';
      if (tray) {
        out += ",\"tray\":";
        AppendNumber(out, s.tray);
        out += ",\"input\":";
        AppendJsonString(out, s.inputName);
      }
      if (s.kind != orvx::PictureTraceStep::Rule) {
        out += ",\"name\":";
        AppendJsonString(out, s.name);
      }
      if (tray) {
        out += ",\"final\":";
        AppendJsonString(out, s.finalName);
      }
      out += ",\"row\":";
      if (s.row < 0) out += "null";
      else AppendNumber(out, s.row);
      out += ",\"test\":";
      AppendJsonString(out, s.test);
      out += ",\"added\":";
      AppendNumber(out, s.added);
      if (tray) {
        out += ",\"id\":";
        AppendNumber(out, s.id);
      }
      out += '}';
    }
    out += ']';
  }
  out += '}';
}

}  // namespace orvdb
