// UTF-8, once for the whole code base: the registry store's UTF-16 files and
// the tool's JSON both go through these.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "orvx/export.h"

namespace orvx::text {

// Decodes the well-formed UTF-8 sequence at `s[at]` into `codePoint` and moves
// `at` past it. False (and `at` unchanged) for a stray or truncated byte, an
// overlong form, a surrogate or a value past U+10FFFF.
ORVX_API bool DecodeUtf8(std::string_view s, std::size_t& at, std::uint32_t& codePoint);
ORVX_API bool IsValidUtf8(std::string_view s);
// Appends `codePoint` (at most U+10FFFF) in UTF-8.
ORVX_API void AppendUtf8(std::string& out, std::uint32_t codePoint);

}  // namespace orvx::text
