// Small text helpers, once for the whole code base: UTF-8 for the registry
// store's UTF-16 files and the tool's JSON, and the letter-case folding that
// registry names, tray names and the tool's searches use.
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

// ASCII letters folded to lower case; other bytes (code-page text) as they are.
constexpr char FoldCase(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c; }
ORVX_API std::string FoldCase(std::string_view s);
ORVX_API bool EqualNoCase(std::string_view a, std::string_view b);

// Lower-case hexadecimal: `value` in `digits` digits (no prefix), and bytes
// as two digits each with `separator` between them (none when 0).
ORVX_API std::string Hex(std::uint32_t value, int digits);
ORVX_API std::string HexBytes(const unsigned char* bytes, std::size_t count, char separator);

}  // namespace orvx::text
