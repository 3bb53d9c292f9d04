#include "db_json.h"

#include <string_view>

#include "orvx/db_form.h"
#include "orvx/record_json.h"
#include "orvx/record_fields.h"
#include "orvx/size_list.h"
#include "orvx/text.h"
#include "orvx/whole_file.h"

namespace orvdb {

std::string TrayLabel(const TraySizes& t) {
  return t.named ? "tray \"" + t.name + "\"" : "tray " + std::to_string(t.number);
}

Json RecordToJson(const CPrnStaticInfo& record) { return Json::parse(orvx::RecordJson(record)); }

namespace {

orvx::Status Fail(std::size_t index, const Json& model, std::string_view key, const std::string& problem) {
  // The name the record has or gets: a model without one is named as a blank record is.
  std::string name;
  if (model.is_object() && model.contains("ModelName") && model["ModelName"].is_string())
    name = model["ModelName"].get<std::string>();
  else if (model.is_object() && !model.contains("ModelNameBytes"))
    name = CPrnStaticInfo().GetModelName().str();
  return {orvx::Status::Format, orvx::AtRecordKey(index, &name, key, problem)};
}

}  // namespace

orvx::Result<std::unique_ptr<CPrnStaticInfo>> RecordFromJson(const Json& model, std::size_t index) {
  if (!model.is_object()) return Fail(index, model, "", "expected an object");
  auto record = std::make_unique<CPrnStaticInfo>();
  if (model.contains("ModelName") && model.contains("ModelNameBytes"))
    return Fail(index, model, "ModelNameBytes", "give either ModelName or ModelNameBytes, not both");
  for (const auto& [key, value] : model.items()) {
    // Only the two flag keys together are the file's concern; each value is the library's.
    if (key == "FlagNames" && model.contains("Flags") && model["Flags"].is_number_integer()) {
      CPrnStaticInfo named;
      if (!orvx::SetRecordValue(named, key, value.dump()).Failed() &&
          (model["Flags"].get<std::int64_t>() & orvx::kDefinedFlagBits) != named.Fields().Flags)
        return Fail(index, model, key, "names other flags than \"Flags\" holds");
    }
    if (orvx::Status e = orvx::SetRecordValue(*record, key, value.dump()); e.Failed())
      return Fail(index, model, key, e.message);
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
