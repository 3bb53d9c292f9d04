// Eval's request reader against nlohmann's parser: the same texts are JSON,
// and an object's members are the same, a repeated name keeping its last
// value. The input is two requests (split at its first line end) read by one
// reader in turn, as eval reads them: what the first leaves in the reader's
// member table must not change what it finds in the second.
#include <cstdint>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "json_reader.h"

namespace {

void Check(orvdb::json::Reader& reader, std::string_view text) {
  if (text.find('\0') != std::string_view::npos) return;  // nlohmann reads a zero byte as the end of the text
  nlohmann::json expected;
  bool valid = true;
  try {
    expected = nlohmann::json::parse(text);
  } catch (const nlohmann::json::out_of_range&) {
    return;  // a number past a double's range, which nlohmann refuses and JSON allows
  } catch (const nlohmann::json::parse_error&) {
    valid = false;
  }
  if (!reader.Parse(text)) {
    // Only nesting past the reader's limit, or the byte-order mark nlohmann skips, is JSON it refuses.
    if (valid && reader.Error().find("nested too deeply") == std::string::npos && text.substr(0, 3) != "\xEF\xBB\xBF")
      abort();
    return;
  }
  if (!valid) abort();
  if (!expected.is_object()) return;
  if (reader.MemberCount() != expected.size()) abort();
  for (std::size_t i = 0; i < reader.MemberCount(); ++i)
    if (!expected.contains(std::string(reader.Key(i)))) abort();
  for (const auto& [key, value] : expected.items()) {
    const orvdb::json::Value* found = reader.Find(key);
    if (!found || nlohmann::json::parse(found->text) != value) abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::size_t split = std::min(text.find('\n'), text.size());
  orvdb::json::Reader reader;
  Check(reader, std::string_view(text).substr(0, split));
  if (split < text.size()) Check(reader, std::string_view(text).substr(split + 1));
  return 0;
}
