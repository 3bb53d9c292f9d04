#include "orvx/text.h"

#include <algorithm>

namespace orvx::text {

bool DecodeUtf8(std::string_view s, std::size_t& at, std::uint32_t& codePoint) {
  const std::string_view rest = s.substr(std::min(at, s.size()));
  if (rest.empty()) return false;
  const auto b = static_cast<unsigned char>(rest[0]);
  std::uint32_t c;
  std::size_t n;
  if (b < 0x80) { c = b; n = 0; }
  else if ((b & 0xE0) == 0xC0) { c = b & 0x1F; n = 1; }
  else if ((b & 0xF0) == 0xE0) { c = b & 0x0F; n = 2; }
  else if ((b & 0xF8) == 0xF0) { c = b & 0x07; n = 3; }
  else return false;
  if (n >= rest.size()) return false;
  for (std::size_t k = 1; k <= n; ++k) {
    const auto d = static_cast<unsigned char>(rest[k]);
    if ((d & 0xC0) != 0x80) return false;
    c = (c << 6) | (d & 0x3F);
  }
  if ((n == 1 && c < 0x80) || (n == 2 && c < 0x800) || (n == 3 && c < 0x10000) || c > 0x10FFFF ||
      (c >= 0xD800 && c <= 0xDFFF))
    return false;
  codePoint = c;
  at += n + 1;
  return true;
}

bool IsValidUtf8(std::string_view s) {
  std::uint32_t c;
  for (std::size_t at = 0; at < s.size();) {
    if (static_cast<unsigned char>(s[at]) < 0x80) {
      ++at;
    } else if (!DecodeUtf8(s, at, c)) {
      return false;
    }
  }
  return true;
}

void AppendUtf8(std::string& out, std::uint32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

bool Utf16ToUtf8(std::string_view in, std::string& out) {
  if (in.size() % 2) return false;
  for (std::size_t i = 0; i < in.size(); i += 2) {
    std::uint32_t c = static_cast<unsigned char>(in[i]) | (static_cast<unsigned char>(in[i + 1]) << 8);
    if (c >= 0xD800 && c <= 0xDBFF) {
      if (in.size() - i < 4) return false;  // no unit after it
      const std::uint32_t d = static_cast<unsigned char>(in[i + 2]) | (static_cast<unsigned char>(in[i + 3]) << 8);
      if (d < 0xDC00 || d > 0xDFFF) return false;
      c = JoinSurrogates(c, d);
      i += 2;
    } else if (c >= 0xDC00 && c <= 0xDFFF) {
      return false;
    }
    AppendUtf8(out, c);
  }
  return true;
}

bool Utf8ToUtf16(std::string_view in, std::string& out) {
  const auto put = [&](std::uint32_t u) {
    out += static_cast<char>(u & 0xFF);
    out += static_cast<char>(u >> 8);
  };
  std::uint32_t c;
  for (std::size_t i = 0; i < in.size();) {
    if (!DecodeUtf8(in, i, c)) return false;
    if (c >= 0x10000) {
      put(0xD800 + ((c - 0x10000) >> 10));
      put(0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
      put(c);
    }
  }
  return true;
}

std::string FoldCase(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = FoldCase(c);
  return out;
}

bool EqualNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (FoldCase(a[i]) != FoldCase(b[i])) return false;
  return true;
}

namespace {
constexpr char kDigits[] = "0123456789abcdef";
}

std::string Hex(std::uint32_t value, int digits) {
  std::string out(static_cast<std::size_t>(digits), '0');
  for (int i = digits - 1; i >= 0 && value; --i, value >>= 4) out[static_cast<std::size_t>(i)] = kDigits[value & 15];
  return out;
}

std::string HexBytes(const unsigned char* bytes, std::size_t count, char separator) {
  std::string out;
  for (std::size_t i = 0; i < count; ++i) {
    if (i && separator) out += separator;
    out += kDigits[bytes[i] >> 4];
    out += kDigits[bytes[i] & 15];
  }
  return out;
}

}  // namespace orvx::text
