#include "orvx/record_json.h"

#include <cstdio>
#include <vector>

#include "orvx/json_reader.h"
#include "orvx/record_fields.h"
#include "orvx/size_list.h"
#include "orvx/text.h"

namespace orvx {

namespace {

// A string as JSON writes it: quotes, backslashes and control bytes escaped,
// everything else as it stands (the text is UTF-8).
void AppendQuoted(std::string& out, std::string_view s) {
  out += '"';
  for (const char c : s) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\b': out += "\\b"; break;
      case '\f': out += "\\f"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          char hex[8];
          std::snprintf(hex, sizeof hex, "\\u%04x", static_cast<unsigned>(c));
          out += hex;
        } else {
          out += c;
        }
    }
  }
  out += '"';
}

template <typename Bytes>
void AppendBytes(std::string& out, const Bytes& bytes) {
  out += '[';
  bool first = true;
  for (const auto b : bytes) {
    if (!first) out += ',';
    first = false;
    out += std::to_string(static_cast<unsigned>(static_cast<unsigned char>(b)));
  }
  out += ']';
}

// The block's trays when build would make the same bytes of them.
bool ReadableTrays(std::span<const BYTE> block, std::vector<TraySizes>& trays) {
  if (!DecodeSizeLists(block, trays)) return false;
  for (const auto& t : trays)
    if (t.named && !text::IsValidUtf8(t.name)) return false;
  return true;
}

Status Problem(std::string text) { return {Status::Argument, std::move(text)}; }

Status ByteArray(const json::Value& v, std::vector<BYTE>& out, const char* notArray) {
  if (v.kind != json::Kind::Array) return Problem(notArray);
  bool ok = true;
  json::ForEachElement(v, [&](const json::Value& b) {
    long long n = 0;
    ok = ok && json::ToInteger(b, n) && n >= 0 && n <= 255;
    if (ok) out.push_back(static_cast<BYTE>(n));
  });
  return ok ? Status{} : Problem("every element must be an integer from 0 to 255");
}

// [{"tray": 1 or "name", "sizes": [...]}, ...] as entries; "entry N: " says which one is wrong.
Status TraysOf(const json::Value& list, std::vector<TraySizes>& trays) {
  Status failure;
  std::string key;
  json::ForEachElement(list, [&](const json::Value& e) {
    if (failure.Failed()) return;
    const auto fail = [&](const std::string& problem) {
      failure = Problem("entry " + std::to_string(trays.size()) + ": " + problem);
    };
    const json::Value* tray = nullptr;
    const json::Value* sizes = nullptr;
    json::Value trayValue, sizesValue;
    bool other = e.kind != json::Kind::Object;
    if (!other) {
      json::ForEachMember(e, key, [&](std::string_view k, const json::Value& v) {
        if (k == "tray") trayValue = v, tray = &trayValue;
        else if (k == "sizes") sizesValue = v, sizes = &sizesValue;
        else other = true;
      });
    }
    if (other || !tray || !sizes) return fail("expected {\"tray\": NUMBER or NAME, \"sizes\": [...]}");
    TraySizes t;
    long long number = -1;
    if (tray->kind == json::Kind::String) {
      t.named = true;
      t.number = kNamedSizeList;
      t.name = json::String(*tray);
    } else {
      if (!json::ToInteger(*tray, number)) number = -1;
      t.number = number >= 0 && number <= 255 ? static_cast<int>(number) : -1;
    }
    if (const char* problem = TrayProblem(t)) return fail(problem);
    if (ByteArray(*sizes, t.sizes, "").Failed()) return fail("\"sizes\" must be an array of byte values");
    trays.push_back(std::move(t));
  });
  return failure;
}

Status SetSizeLists(CPrnStaticInfo& record, const json::Value& v) {
  if (v.kind == json::Kind::Null) {
    record.SetInTraySPSZSizeList(0, nullptr);
    return {};
  }
  if (v.kind != json::Kind::Array) return Problem("expected an array of byte values");
  bool trays = true;  // an empty array, or one that starts with an object
  json::ForEachElement(v, [&, first = true](const json::Value& e) mutable {
    if (first) trays = e.kind == json::Kind::Object;
    first = false;
  });
  Result<std::vector<BYTE>> block = std::vector<BYTE>{};
  if (trays) {
    std::vector<TraySizes> entries;
    if (Status e = TraysOf(v, entries); e.Failed()) return e;
    block = EncodeSizeLists(entries);
    if (!block) return std::move(block).status();
  } else {
    if (Status e = ByteArray(v, block.value(), ""); e.Failed()) return e;
    if (block->empty() || block->size() > 255 || block.value()[0] != block->size())
      return Problem("the first byte must equal the block's length (1 to 255), got " +
                     (block->empty() ? std::string("an empty block")
                                     : std::to_string(block.value()[0]) + " for " + std::to_string(block->size()) + " bytes"));
  }
  record.SetInTraySPSZSizeList(static_cast<int>(block->size()), block->data());
  return {};
}

Status SetFlagNames(CPrnStaticInfo& record, const json::Value& v) {
  if (v.kind != json::Kind::Array) return Problem("expected an array of flag names");
  DWORD bits = 0;
  Status failure;
  json::ForEachElement(v, [&](const json::Value& n) {
    if (failure.Failed()) return;
    const FlagDesc* flag = n.kind == json::Kind::String ? FindFlag(json::String(n)) : nullptr;
    if (!flag)
      failure = Problem("unknown flag " + std::string(n.text) + " (the names are the getters', e.g. \"IsColorPrinter\")");
    else
      bits |= flag->bit;
  });
  if (failure.Failed()) return failure;
  DWORD& flags = record.Fields().Flags;
  flags = (flags & ~kDefinedFlagBits) | bits;
  return {};
}

Status SetNumber(CPrnStaticInfo& record, const FieldDesc& d, const json::Value& v) {
  long long n = 0;
  if (!v.IsInteger() || !json::ToInteger(v, n)) return Problem("expected an integer");
  if (!FieldValueFits(d, n))  // as written, not as clamped
    return Problem(std::string(v.text) + " is out of range for a " + std::to_string(FieldWidth(d.type) * 8) + "-bit " +
                   (FieldSigned(d.type) ? "signed" : "unsigned") + " field");
  WriteField(record.Fields(), d, n);
  return {};
}

}  // namespace

void AppendRecordJson(const CPrnStaticInfo& record, std::string& out, std::string_view indent) {
  const std::string line = "\n" + std::string(indent) + "  ";
  const std::string& name = record.GetModelName().str();
  out += '{';
  out += line;
  if (text::IsValidUtf8(name)) {
    out += "\"ModelName\": ";
    AppendQuoted(out, name);
  } else {
    out += "\"ModelNameBytes\": ";
    AppendBytes(out, name);
  }
  for (const auto& d : RecordFields()) {
    out += ',' + line + '"' + std::string(d.name) + "\": " + std::to_string(ReadField(record.Fields(), d));
    if (d.name != "Flags") continue;
    out += ',' + line + "\"FlagNames\": [";
    bool first = true;
    for (const auto& flag : RecordFlags()) {
      if (!(record.*flag.get)()) continue;
      if (!first) out += ',';
      first = false;
      AppendQuoted(out, flag.name);
    }
    out += ']';
  }
  out += ',' + line + "\"InTraySPSZSizeList\": ";
  std::vector<BYTE> block(static_cast<std::size_t>(record.GetInTraySPSZSizeList(nullptr)));
  std::vector<TraySizes> trays;
  if (block.empty()) {
    out += "null";
  } else if (record.GetInTraySPSZSizeList(block.data()); !ReadableTrays(block, trays)) {
    AppendBytes(out, block);
  } else if (trays.empty()) {
    out += "[]";
  } else {
    for (std::size_t t = 0; t < trays.size(); ++t) {
      out += (t ? "," : "[") + line + "  {\"tray\":";
      if (trays[t].named) AppendQuoted(out, trays[t].name);
      else out += std::to_string(trays[t].number);
      out += ",\"sizes\":";
      AppendBytes(out, trays[t].sizes);
      out += '}';
    }
    out += line + ']';
  }
  out += '\n' + std::string(indent) + '}';
}

std::string RecordJson(const CPrnStaticInfo& record) {
  std::string out;
  AppendRecordJson(record, out);
  return out;
}

Status SetRecordValue(CPrnStaticInfo& record, std::string_view key, std::string_view value) {
  const FieldDesc* field = FindField(key);
  const bool known = field || key == "ModelName" || key == "ModelNameBytes" || key == "FlagNames" ||
                     key == "InTraySPSZSizeList";
  if (!known) return {Status::NotFound, "unknown key"};
  json::Reader reader;
  if (!reader.Parse(value)) return Problem("not valid JSON (" + reader.Error() + ")");
  const json::Value& v = reader.Root();
  if (field) return SetNumber(record, *field, v);
  if (key == "FlagNames") return SetFlagNames(record, v);
  if (key == "InTraySPSZSizeList") return SetSizeLists(record, v);
  if (key == "ModelName") {
    if (v.kind != json::Kind::String) return Problem("expected a string");
    record.SetModelName(json::String(v));
    return {};
  }
  std::vector<BYTE> name;
  if (Status e = ByteArray(v, name, "expected an array of byte values"); e.Failed()) return e;
  record.SetModelName(std::string(name.begin(), name.end()));
  return {};
}

Status SetRecordFlag(CPrnStaticInfo& record, std::string_view flag, bool on) {
  const FlagDesc* f = FindFlag(flag);
  if (!f) {
    std::string quoted;
    AppendQuoted(quoted, flag);
    return {Status::NotFound, "unknown flag " + quoted + " (the names are the getters', e.g. \"IsColorPrinter\")"};
  }
  (record.*f->set)(on ? 1 : 0);
  return {};
}

std::string AtRecordKey(std::size_t index, const std::string* name, std::string_view key, std::string_view problem) {
  std::string out = "model " + std::to_string(index);
  if (name && !name->empty()) out += " (\"" + *name + "\")";
  if (!key.empty()) out += ", key \"" + std::string(key) + "\"";
  return out + ": " + std::string(problem);
}

}  // namespace orvx
