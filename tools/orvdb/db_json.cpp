#include "db_json.h"

#include <string_view>

#include "orvx/db_form.h"
#include "orvx/record_fields.h"
#include "orvx/size_list.h"
#include "orvx/text.h"
#include "orvx/whole_file.h"

namespace orvdb {

bool DecodeSizeList(std::span<const BYTE> block, std::vector<TraySizes>& out) {
  out.clear();
  orvx::SizeListReader reader(block);
  for (orvx::SizeListEntry e; reader.Next(e);) {
    if (e.key == orvx::kNamedSizeList && !e.Named()) return false;
    const auto sizes = e.Sizes();
    out.push_back({e.Named(), e.key, std::string(e.Name()), std::vector<BYTE>(sizes.begin(), sizes.end())});
  }
  return !reader.Problem().Failed();
}

std::string TrayLabel(const TraySizes& t) {
  return t.named ? "tray \"" + t.name + "\"" : "tray " + std::to_string(t.number);
}


Json RecordToJson(const CPrnStaticInfo& record) {
  Json j = Json::object();
  const std::string& name = record.GetModelName().str();
  if (orvx::text::IsValidUtf8(name)) {
    j["ModelName"] = name;
  } else {
    Json bytes = Json::array();
    for (unsigned char c : name) bytes.push_back(c);
    j["ModelNameBytes"] = std::move(bytes);
  }
  for (const auto& d : orvx::RecordFields()) {
    j[std::string(d.name)] = orvx::ReadField(record.Fields(), d);
    if (d.name != "Flags") continue;
    Json names = Json::array();
    for (const auto& flag : orvx::RecordFlags())
      if ((record.*flag.get)()) names.push_back(flag.name);
    j["FlagNames"] = std::move(names);
  }
  const int length = record.GetInTraySPSZSizeList(nullptr);
  if (length == 0) {
    j["InTraySPSZSizeList"] = nullptr;
    return j;
  }
  std::vector<BYTE> block(static_cast<std::size_t>(length));
  record.GetInTraySPSZSizeList(block.data());
  // Trays and their sizes where build would make the same bytes of them;
  // the bytes themselves otherwise.
  std::vector<TraySizes> trays;
  bool readable = DecodeSizeList(block, trays);
  for (const auto& t : trays) readable = readable && (!t.named || orvx::text::IsValidUtf8(t.name));
  if (!readable) {
    j["InTraySPSZSizeList"] = block;
    return j;
  }
  Json entries = Json::array();
  for (const auto& t : trays)
    entries.push_back({{"tray", t.named ? Json(t.name) : Json(t.number)}, {"sizes", t.sizes}});
  j["InTraySPSZSizeList"] = std::move(entries);
  return j;
}

namespace {

orvx::Status Fail(std::size_t index, const Json& model, std::string_view key, const std::string& problem) {
  std::string who = "model " + std::to_string(index);
  if (model.is_object() && model.contains("ModelName") && model["ModelName"].is_string())
    who += " (\"" + model["ModelName"].get<std::string>() + "\")";
  return {orvx::Status::Format, who + (key.empty() ? "" : ", key \"" + std::string(key) + "\"") + ": " + problem};
}

orvx::Result<std::vector<BYTE>> Bytes(const Json& value, std::size_t index, const Json& model, std::string_view key) {
  if (!value.is_array()) return Fail(index, model, key, "expected an array of byte values");
  std::vector<BYTE> out;
  for (const auto& b : value) {
    if (!b.is_number_integer() || b.get<std::int64_t>() < 0 || b.get<std::int64_t>() > 255)
      return Fail(index, model, key, "every element must be an integer from 0 to 255");
    out.push_back(static_cast<BYTE>(b.get<std::int64_t>()));
  }
  return out;
}

// A block from its entries, [{"tray": 1 or "name", "sizes": [...]}, ...]:
// every length byte and zero byte computed here.
orvx::Result<std::vector<BYTE>> SizeListFromTrays(const Json& entries, std::size_t index, const Json& model) {
  std::vector<BYTE> block(1);
  std::size_t n = 0;
  for (const auto& e : entries) {
    const auto fail = [&](const std::string& problem) {
      return Fail(index, model, "InTraySPSZSizeList", "entry " + std::to_string(n) + ": " + problem);
    };
    if (!e.is_object() || !e.contains("tray") || !e.contains("sizes") || e.size() != 2)
      return fail("expected {\"tray\": NUMBER or NAME, \"sizes\": [...]}");
    const Json& tray = e["tray"];
    const std::size_t start = block.size();
    if (tray.is_string()) {
      const std::string name = tray.get<std::string>();
      if (name.find('\0') != std::string::npos) return fail("a tray name cannot hold a zero byte");
      block.push_back(orvx::kNamedSizeList);
      block.push_back(0);
      block.insert(block.end(), name.begin(), name.end());
      block.push_back(0);
    } else if (tray.is_number_integer() && tray.get<std::int64_t>() >= 0 && tray.get<std::int64_t>() <= 255 &&
               tray.get<std::int64_t>() != orvx::kNamedSizeList) {
      block.push_back(static_cast<BYTE>(tray.get<std::int64_t>()));
      block.push_back(0);
    } else {
      return fail("\"tray\" must be a name or a number from 0 to 255 other than 10 (the key of named entries)");
    }
    const Json& sizes = e["sizes"];
    if (!sizes.is_array()) return fail("\"sizes\" must be an array of byte values");
    for (const auto& b : sizes) {
      if (!b.is_number_integer() || b.get<std::int64_t>() < 0 || b.get<std::int64_t>() > 255)
        return fail("\"sizes\" must be an array of byte values");
      block.push_back(static_cast<BYTE>(b.get<std::int64_t>()));
    }
    if (block.size() > 255)
      return fail("the block grows to " + std::to_string(block.size()) + " bytes here; it holds at most 255");
    block[start + 1] = static_cast<BYTE>(block.size() - start - 2);
    ++n;
  }
  block[0] = static_cast<BYTE>(block.size());
  return block;
}

const orvx::FlagDesc* FindFlag(std::string_view name) {
  for (const auto& f : orvx::RecordFlags())
    if (f.name == name) return &f;
  return nullptr;
}

}  // namespace

orvx::Result<std::unique_ptr<CPrnStaticInfo>> RecordFromJson(const Json& model, std::size_t index) {
  if (!model.is_object()) return Fail(index, model, "", "expected an object");
  auto record = std::make_unique<CPrnStaticInfo>();
  if (model.contains("ModelName") && model.contains("ModelNameBytes"))
    return Fail(index, model, "ModelNameBytes", "give either ModelName or ModelNameBytes, not both");
  for (const auto& [key, value] : model.items()) {
    if (key == "FlagNames") {
      if (!value.is_array()) return Fail(index, model, key, "expected an array of flag names");
      DWORD bits = 0;
      for (const auto& n : value) {
        const auto* flag = n.is_string() ? FindFlag(n.get<std::string>()) : nullptr;
        if (!flag) return Fail(index, model, key, "unknown flag " + n.dump() + " (the names are the getters', e.g. \"IsColorPrinter\")");
        bits |= flag->bit;
      }
      if (model.contains("Flags") && model["Flags"].is_number_integer() &&
          (model["Flags"].get<std::int64_t>() & orvx::kDefinedFlagBits) != bits)
        return Fail(index, model, key, "names other flags than \"Flags\" holds");
      if (!model.contains("Flags")) record->Fields().Flags = bits;
    } else if (key == "ModelName") {
      if (!value.is_string()) return Fail(index, model, key, "expected a string");
      record->SetModelName(value.get<std::string>());
    } else if (key == "ModelNameBytes") {
      const auto bytes = Bytes(value, index, model, key);
      if (!bytes) return bytes.status();
      record->SetModelName(std::string(bytes->begin(), bytes->end()));
    } else if (key == "InTraySPSZSizeList") {
      if (value.is_null()) continue;
      if (value.is_array() && (value.empty() || value[0].is_object())) {
        const auto block = SizeListFromTrays(value, index, model);
        if (!block) return block.status();
        record->SetInTraySPSZSizeList(static_cast<int>(block->size()), block->data());
        continue;
      }
      const auto bytes = Bytes(value, index, model, key);
      if (!bytes) return bytes.status();
      const std::vector<BYTE>& block = bytes.value();
      if (block.empty() || block.size() > 255 || block[0] != block.size())
        return Fail(index, model, key,
             "the first byte must equal the block's length (1 to 255), got " +
                 (block.empty() ? std::string("an empty block")
                                : std::to_string(block[0]) + " for " + std::to_string(block.size()) + " bytes"));
      record->SetInTraySPSZSizeList(static_cast<int>(block.size()), block.data());
    } else if (const orvx::FieldDesc* d = orvx::FindField(key)) {
      if (!value.is_number_integer()) return Fail(index, model, key, "expected an integer");
      const auto v = value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX
                         ? INT64_MAX
                         : value.get<std::int64_t>();
      if (!orvx::FieldValueFits(*d, v))
        return Fail(index, model, key, value.dump() + " is out of range for a " +  // as written, not as clamped
                                    std::to_string(orvx::FieldWidth(d->type) * 8) + "-bit " +
                                    (orvx::FieldSigned(d->type) ? "signed" : "unsigned") + " field");
      orvx::WriteField(record->Fields(), *d, v);
    } else {
      return Fail(index, model, key, "unknown key");
    }
  }
  return record;
}

namespace {

// Only "models", an array, at the top: what is left of a document once its models are taken out.
orvx::Status CheckFrame(const Json& document) {
  if (!document.is_object() || !document.contains("models") || !document["models"].is_array())
    return {orvx::Status::Format, "expected an object with a \"models\" array"};
  for (const auto& [key, value] : document.items())
    if (key != "models") return {orvx::Status::Format, "unknown top-level key \"" + key + "\""};
  return {};
}

}  // namespace

orvx::Result<orvx::ModelDatabase> ModelsFromJson(const Json& document) {
  if (orvx::Status e = CheckFrame(document); e.Failed()) return e;
  orvx::ModelDatabase out;
  std::size_t index = 0;
  for (const auto& m : document["models"]) {
    auto record = RecordFromJson(m, index++);
    if (!record) return std::move(record).status();
    out.Add(std::move(record).value());
  }
  return out;
}

// Each model becomes a record as soon as its object ends, and its JSON is
// dropped: memory follows the records, not the document tree (many times larger).
orvx::Result<orvx::ModelDatabase> ModelsFromJsonText(std::string_view text) {
  orvx::ModelDatabase out;
  std::size_t index = 0;
  std::string topKey;
  bool inModels = false, sawModels = false;
  // The parser stops only for an exception from its callback: `Stop` ends
  // the read at the first failure, which `failure` holds, and goes no further
  // than the catch below.
  struct Stop {};
  orvx::Status failure;
  const auto fail = [&](orvx::Status e) -> bool {
    failure = std::move(e);
    throw Stop{};
  };
  using Event = Json::parse_event_t;
  Json document;
  try {
    document = Json::parse(text, [&](int depth, Event event, Json& value) {
      if (depth == 1 && event == Event::key) {
        topKey = value.get<std::string>();
      } else if (depth == 1 && (event == Event::array_start || event == Event::array_end)) {
        inModels = event == Event::array_start && topKey == "models";
        if (inModels && sawModels) return fail({orvx::Status::Format, "\"models\" given twice"});
        sawModels = sawModels || inModels;
      } else if (inModels && depth == 2 && (event == Event::object_end || event == Event::value)) {
        auto record = RecordFromJson(value, index++);
        if (!record) return fail(std::move(record).status());
        out.Add(std::move(record).value());
        return false;
      } else if (inModels && depth == 2 && event == Event::array_start) {
        return fail(RecordFromJson(Json::array(), index).status());  // not a model: the message names it
      }
      return true;
    });
  } catch (const Stop&) {
    return failure;
  } catch (const Json::parse_error& e) {
    const std::string what = e.what();
    return orvx::Status{orvx::Status::Format, "not valid JSON (" + what.substr(what.find(']') + 2) + ")"};
  }
  if (orvx::Status e = CheckFrame(document); e.Failed()) return e;
  return out;
}

orvx::Status ModelsFromText(const std::string& source, std::string_view text, orvx::ModelDatabase& db) {
  orvx::Result<orvx::ModelDatabase> models = ModelsFromJsonText(text);
  if (!models) {
    orvx::Status e = std::move(models).status();
    e.message = source + ": " + e.message;
    return e;
  }
  db = std::move(models).value();
  return {};
}

orvx::Status ReadModels(const std::string& source, orvx::ModelDatabase& db) {
  std::string text;
  if (orvx::Status e = orvx::ReadWholeFile(source, text); e.Failed()) return e;
  return ModelsFromText(source, text, db);
}

orvx::Status LoadEitherForm(const std::string& path, orvx::ModelDatabase& db, orvx::Framing* framing) {
  const orvx::Result<orvx::FileForm> form = orvx::FormOfFile(path);
  if (!form) return form.status();
  if (form.value() == orvx::FileForm::Json) return ReadModels(path, db);
  return orvx::LoadFile(path, db, framing);
}

}  // namespace orvdb
