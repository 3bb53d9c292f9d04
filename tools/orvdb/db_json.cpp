#include "db_json.h"

#include "orvx/record_fields.h"
#include "orvx/text.h"

namespace orvdb {


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
  } else {
    std::vector<BYTE> block(static_cast<std::size_t>(length));
    record.GetInTraySPSZSizeList(block.data());
    j["InTraySPSZSizeList"] = block;
  }
  return j;
}

namespace {

[[noreturn]] void Fail(std::size_t index, const Json& model, std::string_view key, const std::string& problem) {
  std::string who = "model " + std::to_string(index);
  if (model.is_object() && model.contains("ModelName") && model["ModelName"].is_string())
    who += " (\"" + model["ModelName"].get<std::string>() + "\")";
  throw ImportError(who + (key.empty() ? "" : ", key \"" + std::string(key) + "\"") + ": " + problem);
}

std::vector<BYTE> Bytes(const Json& value, std::size_t index, const Json& model, std::string_view key) {
  if (!value.is_array()) Fail(index, model, key, "expected an array of byte values");
  std::vector<BYTE> out;
  for (const auto& b : value) {
    if (!b.is_number_integer() || b.get<std::int64_t>() < 0 || b.get<std::int64_t>() > 255)
      Fail(index, model, key, "every element must be an integer from 0 to 255");
    out.push_back(static_cast<BYTE>(b.get<std::int64_t>()));
  }
  return out;
}

const orvx::FlagDesc* FindFlag(std::string_view name) {
  for (const auto& f : orvx::RecordFlags())
    if (f.name == name) return &f;
  return nullptr;
}

}  // namespace

std::unique_ptr<CPrnStaticInfo> RecordFromJson(const Json& model, std::size_t index) {
  if (!model.is_object()) Fail(index, model, "", "expected an object");
  auto record = std::make_unique<CPrnStaticInfo>();
  if (model.contains("ModelName") && model.contains("ModelNameBytes"))
    Fail(index, model, "ModelNameBytes", "give either ModelName or ModelNameBytes, not both");
  for (const auto& [key, value] : model.items()) {
    if (key == "FlagNames") {
      if (!value.is_array()) Fail(index, model, key, "expected an array of flag names");
      DWORD bits = 0;
      for (const auto& n : value) {
        const auto* flag = n.is_string() ? FindFlag(n.get<std::string>()) : nullptr;
        if (!flag) Fail(index, model, key, "unknown flag " + n.dump() + " (the names are the getters', e.g. \"IsColorPrinter\")");
        bits |= flag->bit;
      }
      if (model.contains("Flags") && model["Flags"].is_number_integer() &&
          (model["Flags"].get<std::int64_t>() & orvx::kDefinedFlagBits) != bits)
        Fail(index, model, key, "names other flags than \"Flags\" holds");
      if (!model.contains("Flags")) record->Fields().Flags = bits;
    } else if (key == "ModelName") {
      if (!value.is_string()) Fail(index, model, key, "expected a string");
      record->SetModelName(value.get<std::string>());
    } else if (key == "ModelNameBytes") {
      const auto bytes = Bytes(value, index, model, key);
      record->SetModelName(std::string(bytes.begin(), bytes.end()));
    } else if (key == "InTraySPSZSizeList") {
      if (value.is_null()) continue;
      const auto block = Bytes(value, index, model, key);
      if (block.empty() || block.size() > 255 || block[0] != block.size())
        Fail(index, model, key,
             "the first byte must equal the block's length (1 to 255), got " +
                 (block.empty() ? std::string("an empty block")
                                : std::to_string(block[0]) + " for " + std::to_string(block.size()) + " bytes"));
      record->SetInTraySPSZSizeList(static_cast<int>(block.size()), block.data());
    } else if (const orvx::FieldDesc* d = orvx::FindField(key)) {
      if (!value.is_number_integer()) Fail(index, model, key, "expected an integer");
      const auto v = value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX
                         ? INT64_MAX
                         : value.get<std::int64_t>();
      if (!orvx::FieldValueFits(*d, v))
        Fail(index, model, key, std::to_string(v) + " is out of range for a " +
                                    std::to_string(orvx::FieldWidth(d->type) * 8) + "-bit " +
                                    (orvx::FieldSigned(d->type) ? "signed" : "unsigned") + " field");
      orvx::WriteField(record->Fields(), *d, v);
    } else {
      Fail(index, model, key, "unknown key");
    }
  }
  return record;
}

orvx::ModelDatabase ModelsFromJson(const Json& document) {
  if (!document.is_object() || !document.contains("models") || !document["models"].is_array())
    throw ImportError("expected an object with a \"models\" array");
  for (const auto& [key, value] : document.items())
    if (key != "models") throw ImportError("unknown top-level key \"" + key + "\"");
  orvx::ModelDatabase out;
  std::size_t index = 0;
  for (const auto& m : document["models"]) out.Add(RecordFromJson(m, index++));
  return out;
}

}  // namespace orvdb
