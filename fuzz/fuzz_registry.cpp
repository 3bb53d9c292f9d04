// The registry store's parser on arbitrary text: it never reads past the
// text, and a refusal says which of its lines is wrong.
#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "orvx/registry_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const orvx::Status error = orvx::registry::CheckStoreText(text);
  if (!error.Failed()) return 0;
  // Every line break holds a \n or a \r byte, in UTF-8 and in UTF-16 alike;
  // a missing header is missing on the line after the last.
  const auto lines = std::count(text.begin(), text.end(), '\n') + std::count(text.begin(), text.end(), '\r') + 1;
  if (error.code != orvx::Status::BadStore || error.where < 1 || error.where > lines + 1) abort();
  return 0;
}
