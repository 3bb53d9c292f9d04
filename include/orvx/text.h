// Small text helpers, once for the whole code base: UTF-8 and UTF-16 for the
// registry store's files and the tool's JSON, hexadecimal digits, and the
// letter-case folding that registry names, tray names and the tool's
// searches use.
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

// UTF-16LE (no byte-order mark) to UTF-8, appended to `out`; false on an odd
// byte count or a broken surrogate pair.
ORVX_API bool Utf16ToUtf8(std::string_view in, std::string& out);
// UTF-8 to UTF-16LE, appended to `out`; false on bytes that are not UTF-8.
ORVX_API bool Utf8ToUtf16(std::string_view in, std::string& out);
// The code point of a UTF-16 surrogate pair (`high` 0xD800..0xDBFF, `low`
// 0xDC00..0xDFFF).
constexpr std::uint32_t JoinSurrogates(std::uint32_t high, std::uint32_t low) {
  return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

// ASCII letters folded to lower case; other bytes (code-page text) as they are.
constexpr char FoldCase(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c; }
ORVX_API std::string FoldCase(std::string_view s);
ORVX_API bool EqualNoCase(std::string_view a, std::string_view b);

// Lower-case hexadecimal: `value` in `digits` digits (no prefix), and bytes
// as two digits each with `separator` between them (none when 0).
ORVX_API std::string Hex(std::uint32_t value, int digits);
// The value of a hexadecimal digit (either case), or -1.
constexpr int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}
ORVX_API std::string HexBytes(const unsigned char* bytes, std::size_t count, char separator);

}  // namespace orvx::text
