// Eval's hand-written request reader against nlohmann's parser, the plain
// way the rest of the tool reads JSON: the same bytes are accepted or refused
// by both, and what both accept holds the same values, walked through the
// reader's own accessors (members in order, a repeated name keeping its first
// place and its last value; strings unescaped byte for byte; numbers as
// ToInteger gives them, or as their text reads for the others).
//
// Where the two differ by design, the difference is stated below and checked
// as narrowly as it goes, never skipped:
//  - nesting: the reader refuses values nested more than 512 deep (its
//    recursion is bounded); nlohmann has no limit.
//  - numbers past a double's range: JSON allows them and the reader keeps
//    their text; nlohmann refuses them. Each is replaced by a 0 for nlohmann,
//    and the reader's text must read as infinite.
//  - integers of the 64-bit unsigned range above the signed one: nlohmann
//    keeps them exactly, ToInteger clamps them to the largest signed integer.
//  - a zero byte after the value: nlohmann takes it for the end of the text,
//    the reader refuses it there; the text before it must then agree.
//  - a byte-order mark: nlohmann skips it; the reader skips it too or refuses
//    it at byte 0, and then the text after it must agree.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "orvx/json_reader.h"

namespace {

using Json = nlohmann::ordered_json;  // keeps members in order, as the reader does
using orvx::json::Kind;
using orvx::json::Reader;
using orvx::json::Value;

constexpr int kReaderMaxDepth = 512;

void Require(bool ok) {
  if (!ok) abort();
}

// nlohmann's tree builder, told where a number too large for a double stands.
struct DomParser : nlohmann::detail::json_sax_dom_parser<Json> {
  using json_sax_dom_parser::json_sax_dom_parser;
  bool overflow = false;
  std::size_t position = 0;
  std::string token;
  template <class Exception>
  bool parse_error(std::size_t at, const std::string& last, const Exception& e) {
    overflow = e.id == 406;
    position = at;
    token = last;
    return false;
  }
};

// nlohmann's verdict on `text`, each number past a double's range replaced by
// a 0 padded with blanks (their offsets in `huge`). One parse per such number:
// fine for a fuzzer's few kilobytes.
bool PlainParse(std::string text, Json& out, std::set<std::size_t>& huge) {
  for (;;) {
    out = Json();
    DomParser parser(out, false);
    if (Json::sax_parse(text, &parser)) return true;
    if (!parser.overflow) return false;
    const std::size_t n = parser.token.size();
    Require(parser.position >= n && text.compare(parser.position - n, n, parser.token) == 0);
    const std::size_t at = parser.position - n;
    text.replace(at, n, "0" + std::string(n - 1, ' '));
    huge.insert(at);
  }
}

// The depth of the deepest value (object names count as values inside their
// object, as the reader checks them) of a text nlohmann accepted.
int Depth(std::string_view text) {
  int depth = 0, deepest = 0;
  bool inString = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (inString) {
      if (c == '\\') ++i;
      else if (c == '"') inString = false;
    } else if (c == ']' || c == '}') {
      --depth;
    } else if (c != ' ' && c != '\t' && c != '\n' && c != '\r' && c != ',' && c != ':') {
      deepest = std::max(deepest, depth);
      if (c == '"') inString = true;
      if (c == '[' || c == '{') ++depth;
    }
  }
  return deepest;
}

struct Walk {
  const Reader& reader;
  const char* base;  // offsets in `huge` count from here
  const std::set<std::size_t>& huge;

  void Number(const Value& v, const Json& j) const {
    const std::string text(v.text);
    if (huge.count(static_cast<std::size_t>(v.text.data() - base))) {
      Require(j.is_number_integer() && j == 0 && std::isinf(std::strtod(text.c_str(), nullptr)));
      return;
    }
    Require(j.is_number());
    long long n = 0;
    const bool integer = orvx::json::ToInteger(v, n);
    if (j.is_number_unsigned()) {
      const auto u = j.get<std::uint64_t>();
      constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<long long>::max());
      Require(integer && n == (u > kMax ? std::numeric_limits<long long>::max() : static_cast<long long>(u)));
    } else if (j.is_number_integer()) {
      Require(integer && n == j.get<std::int64_t>());
    } else {
      // Floating point, or an integer past the 64-bit range, which nlohmann reads as one.
      const double d = std::strtod(text.c_str(), nullptr), e = j.get<double>();
      Require(!integer && std::memcmp(&d, &e, sizeof d) == 0);
    }
  }

  void Same(const Value& v, const Json& j) const {
    switch (v.kind) {
      case Kind::Null: return Require(j.is_null());
      case Kind::True: return Require(j.is_boolean() && j.get<bool>());
      case Kind::False: return Require(j.is_boolean() && !j.get<bool>());
      case Kind::Number: return Number(v, j);
      case Kind::String: return Require(j.is_string() && orvx::json::String(v) == j.get_ref<const std::string&>());
      case Kind::Array: {
        Require(j.is_array());
        std::size_t i = 0;
        reader.ForEach(v, [&](const Value& e) {
          Require(i < j.size());
          Same(e, j[i++]);
        });
        return Require(i == j.size());
      }
      case Kind::Object: {
        // ForEachMember gives every member as written; the caller keeps the
        // last value of a repeated name, in its first place.
        Require(j.is_object());
        std::vector<std::pair<std::string, Value>> members;
        std::map<std::string, std::size_t, std::less<>> place;
        std::string key;
        orvx::json::ForEachMember(v, key, [&](std::string_view k, const Value& value) {
          const auto [it, added] = place.emplace(std::string(k), members.size());
          if (added) members.emplace_back(std::string(k), value);
          else members[it->second].second = value;
        });
        Require(members.size() == j.size());
        std::size_t i = 0;
        for (const auto& [name, value] : j.items()) {
          Require(members[i].first == name);
          Same(members[i++].second, value);
        }
        return;
      }
    }
    abort();
  }

  // The top-level members as eval reads them: by place and by name.
  void Root(const Json& j) const {
    const Value& root = reader.Root();
    Same(root, j);
    if (root.kind != Kind::Object) return;
    Require(reader.MemberCount() == j.size());
    std::size_t i = 0;
    for (const auto& [name, value] : j.items()) {
      Require(reader.Key(i) == name && reader.Find(name) == &reader.MemberValue(i));
      Same(reader.MemberValue(i++), value);
      Require(j.contains(name + "\x01") || reader.Find(name + "\x01") == nullptr);
    }
    Require(reader.Find("\x01") == nullptr || j.contains("\x01"));
  }
};

// The byte a refusal names ("... at byte N").
std::size_t ErrorByte(const Reader& reader) {
  const std::string& e = reader.Error();
  const std::size_t at = e.rfind(" at byte ");
  Require(at != std::string::npos);
  return std::strtoull(e.c_str() + at + 9, nullptr, 10);
}

void Check(Reader& reader, std::string_view text) {
  Json expected;
  std::set<std::size_t> huge;
  const bool plain = PlainParse(std::string(text), expected, huge);
  const bool ours = reader.Parse(text);
  if (!ours) Require(ErrorByte(reader) <= text.size());
  if (!plain) return Require(!ours);
  // What nlohmann read: after a byte-order mark, before a zero byte.
  std::string_view value = text.substr(0, text.find('\0'));
  if (value.substr(0, 3) == "\xEF\xBB\xBF") value.remove_prefix(3);
  if (!ours) {
    const std::size_t at = ErrorByte(reader);
    if (reader.Error().find("nested too deeply") != std::string::npos) return Require(Depth(value) > kReaderMaxDepth);
    const bool mark = at == 0 && value.data() != text.data();
    const bool zero = at < text.size() && text[at] == '\0' && reader.Error().find("more text after the value") == 0;
    Require((mark || zero) && reader.Parse(value));
  }
  Require(Depth(value) <= kReaderMaxDepth);
  Walk{reader, text.data(), huge}.Root(expected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  Reader reader;
  Check(reader, text);
  // Eval reuses its reader: the same text read again, with whatever the
  // first left in its member table, gives the same answers.
  Check(reader, text);
  return 0;
}
