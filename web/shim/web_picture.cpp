// The module's picture side: one picture call read and answered by the same
// codec as `orvdb eval` (the same members, checks, error texts and answer),
// and the rules' vocabulary as `orvdb rules --json` gives it.
#include <cstdlib>
#include <cstring>
#include <string>

#include "picture_codec.h"
#include "rules.h"
#include "web_api.h"

namespace {

char* Copy(const std::string& text) {
  char* out = static_cast<char*>(std::malloc(text.size() + 1));
  if (out) std::memcpy(out, text.c_str(), text.size() + 1);
  return out;
}

}  // namespace

extern "C" {

// One picture call on record `index` of the open database. `request` is an
// `orvdb eval` picture request without the members that choose a record
// ("db", "model", "vendor", "group"); the answer is eval's.
char* orvx_web_picture(orvx_web_db* w, std::size_t index, const char* request) {
  // The module runs on one thread: one reader and codec serve every call.
  static orvx::json::Reader reader;
  static orvdb::PictureCodec codec;
  static orvdb::PictureRequest q;
  std::string out;
  try {
    const CPrnStaticInfo* record = orvx_web::Record(w, index);
    if (!record) throw orvdb::RequestError("no record " + std::to_string(index));
    orvdb::ParseRequest(reader, request ? request : "");
    codec.Decode(reader, q, orvdb::RecordFrom::Caller);
    codec.Answer(q, {record, false, {}}, out);
  } catch (const orvdb::RequestError& e) {
    out.clear();
    orvdb::AppendError(out, e.what());
  } catch (const std::exception& e) {
    out.clear();
    orvdb::AppendError(out, std::string("request failed: ") + e.what());
  }
  return Copy(out);
}

// The rules of a vendor/group pair in both entry points, with every row of
// their tables: what each tests, the names it knows, the bits and tray ID it gives.
char* orvx_web_vocabulary(int vendor, int group) {
  try {
    return orvx_web::Answer(orvdb::RulesJson(vendor, group));
  } catch (const std::bad_alloc&) {
    return orvx_web::ErrorAnswer("not enough memory");
  }
}

}  // extern "C"
