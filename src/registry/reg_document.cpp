#include "registry/reg_document.h"

#include "orvx/text.h"
#include "orvx/registry_check.h"

#include <optional>
#include <algorithm>
#include <cstdio>

namespace orvx::registry {
namespace {

constexpr std::string_view kHeader5 = "Windows Registry Editor Version 5.00";
constexpr std::string_view kHeader4 = "REGEDIT4";


std::string_view Trim(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
  return s;
}


// Reads a quoted string at the start of `s` ("..." with \\ and \" escapes);
// returns the rest after the closing quote, or nullopt.
std::optional<std::string_view> Quoted(std::string_view s, std::string& out) {
  if (s.empty() || s.front() != '"') return std::nullopt;
  for (std::size_t i = 1; i < s.size(); ++i) {
    if (s[i] == '\\' && i + 1 < s.size() && (s[i + 1] == '\\' || s[i + 1] == '"')) {
      out += s[++i];
    } else if (s[i] == '"') {
      return s.substr(i + 1);
    } else {
      out += s[i];
    }
  }
  return std::nullopt;
}

bool ParseHexBytes(std::string_view s, std::vector<BYTE>& out) {
  s = Trim(s);
  if (s.empty()) return true;
  std::size_t start = 0;
  while (true) {
    const std::size_t comma = s.find(',', start);
    const std::string_view tok = Trim(s.substr(start, comma == std::string_view::npos ? std::string_view::npos : comma - start));
    if (tok.empty()) return false;  // two commas in a row, or a leading one (a trailing one ends below)
    if (tok.size() > 2) return false;
    int v = 0;
    for (char c : tok) {
      const int d = orvx::text::HexDigit(c);
      if (d < 0) return false;
      v = v * 16 + d;
    }
    out.push_back(static_cast<BYTE>(v));
    if (comma == std::string_view::npos) return true;
    start = comma + 1;
    if (start == s.size()) return true;  // trailing comma
  }
}

Status ParseValue(std::string_view line, Value& v) {
  // Only continuation lines joined to nothing (a lone \ before a blank line) leave it empty.
  if (line.empty()) return {Status::Format, "a line continued with \\ holds no value"};
  std::string_view rest;
  if (line.front() == '@') {
    rest = line.substr(1);
  } else {
    const auto after = Quoted(line, v.name);
    if (!after) return {Status::Format, "a value name must be quoted or @"};
    rest = *after;
  }
  rest = Trim(rest);
  if (rest.empty() || rest.front() != '=') return {Status::Format, "expected = after the value name"};
  rest = Trim(rest.substr(1));
  if (rest == "-") return {Status::Format, "value deletion entries are not supported"};
  if (!rest.empty() && rest.front() == '"') {
    std::string text;
    const auto after = Quoted(rest, text);
    if (!after) return {Status::Format, "unterminated string"};
    if (!Trim(*after).empty()) return {Status::Format, "unexpected text after the string"};
    v.type = REG_SZ;
    v.data.assign(text.begin(), text.end());
    v.data.push_back(0);
    return {};
  }
  if (rest.starts_with("dword:")) {
    const std::string_view digits = Trim(rest.substr(6));
    if (digits.empty() || digits.size() > 8) return {Status::Format, "a dword needs 1 to 8 hex digits"};
    DWORD d = 0;
    for (char c : digits) {
      const int x = orvx::text::HexDigit(c);
      if (x < 0) return {Status::Format, "a dword needs 1 to 8 hex digits"};
      d = d * 16 + static_cast<DWORD>(x);
    }
    v.type = REG_DWORD;
    v.data = {static_cast<BYTE>(d), static_cast<BYTE>(d >> 8), static_cast<BYTE>(d >> 16), static_cast<BYTE>(d >> 24)};
    return {};
  }
  if (rest.starts_with("hex")) {
    rest.remove_prefix(3);
    v.type = REG_BINARY;
    if (!rest.empty() && rest.front() == '(') {
      const std::size_t close = rest.find(')');
      if (close == std::string_view::npos || close == 1 || close > 9) return {Status::Format, "malformed hex(type)"};
      DWORD t = 0;
      for (char c : rest.substr(1, close - 1)) {
        const int x = orvx::text::HexDigit(c);
        if (x < 0) return {Status::Format, "malformed hex(type)"};
        t = t * 16 + static_cast<DWORD>(x);
      }
      v.type = t;
      rest.remove_prefix(close + 1);
    }
    if (rest.empty() || rest.front() != ':') return {Status::Format, "expected : after hex"};
    if (!ParseHexBytes(rest.substr(1), v.data)) return {Status::Format, "malformed hex bytes"};
    return {};
  }
  return {Status::Format, "unknown value form"};
}

std::string QuotedText(std::string_view s) {
  std::string out = "\"";
  for (char c : s) {
    if (c == '\\' || c == '"') out += '\\';
    out += c;
  }
  return out + '"';
}

std::string FormatValue(const Value& v, std::string_view eol) {
  std::string line = v.name.empty() ? "@=" : QuotedText(v.name) + "=";
  const auto& d = v.data;
  if (v.type == REG_SZ && !d.empty() && d.back() == 0 &&
      std::none_of(d.begin(), d.end() - 1, [](BYTE b) { return b == 0 || b == '\n' || b == '\r'; })) {
    return line + QuotedText(std::string_view(reinterpret_cast<const char*>(d.data()), d.size() - 1));
  }
  if (v.type == REG_DWORD && d.size() == 4) {
    return line + "dword:" + orvx::text::Hex(d[0] | (d[1] << 8) | (d[2] << 16) | (static_cast<std::uint32_t>(d[3]) << 24), 8);
  }
  char prefix[24];
  if (v.type == REG_BINARY)
    std::snprintf(prefix, sizeof prefix, "hex:");
  else
    std::snprintf(prefix, sizeof prefix, "hex(%x):", static_cast<unsigned>(v.type));
  line += prefix;
  // Wrapped as the registry editor does: continuation lines of two spaces.
  std::size_t width = line.size();
  for (std::size_t i = 0; i < d.size(); ++i) {
    line += orvx::text::HexBytes(&d[i], 1, 0);
    width += 2;
    if (i + 1 < d.size()) {
      line += ',';
      ++width;
      if (width > 76) {
        line += "\\";
        line += eol;
        line += "  ";
        width = 2;
      }
    }
  }
  return line;
}

// Puts a value item at `at`, where only lines that are no values follow.
void AppendValue(Key& key, std::size_t at, Item item) {
  key.byName.emplace(orvx::text::FoldCase(item.value.name), at);
  key.values.push_back(at);
  key.items.insert(key.items.begin() + static_cast<std::ptrdiff_t>(at), std::move(item));
}

Key& AddSection(Document& doc, std::string path) {
  doc.byPath.emplace(orvx::text::FoldCase(path), doc.keys.size());
  return doc.keys.emplace_back(Key{std::move(path), {}, {}, {}});
}

}  // namespace

bool EqualNoCase(std::string_view a, std::string_view b) { return orvx::text::EqualNoCase(a, b); }

static Status Malformed(long long line, std::string message) {
  return {Status::Format, std::move(message), 0, line};
}

Status Parse(std::string_view bytes, Document& parsed) {
  Document doc;
  doc.preamble.clear();
  std::string text;
  if (bytes.starts_with("\xFF\xFE")) {
    doc.encoding = Document::Encoding::Utf16;
    if (!orvx::text::Utf16ToUtf8(bytes.substr(2), text)) {
      return Malformed(1, "the UTF-16 text is malformed");
    }
  } else if (bytes.starts_with("\xEF\xBB\xBF")) {
    doc.encoding = Document::Encoding::Utf8Bom;
    text = bytes.substr(3);
  } else {
    text = bytes;
  }
  if (text.find('\0') != std::string::npos) {
    return Malformed(1, "the file holds zero bytes (not a text file)");
  }
  doc.crlf = text.find("\r\n") != std::string::npos;

  std::vector<std::string_view> lines;
  for (std::size_t at = 0; at <= text.size();) {
    std::size_t end = text.find('\n', at);
    if (end == std::string::npos) end = text.size();
    std::string_view l(text.data() + at, end - at);
    // Every carriage return ending a line goes: one kept on the last line (no
    // newline after it) would come back as a line break when written.
    while (!l.empty() && l.back() == '\r') l.remove_suffix(1);
    lines.push_back(l);
    at = end + 1;
  }
  // A final newline does not start another line.
  if (!lines.empty() && lines.back().empty() && !text.empty() && text.back() == '\n') lines.pop_back();

  std::size_t i = 0;
  while (i < lines.size() && Trim(lines[i]).empty()) ++i;
  if (i == lines.size() || (Trim(lines[i]) != kHeader5 && Trim(lines[i]) != kHeader4)) {
    return Malformed(static_cast<long long>(i + 1), "expected the header \"Windows Registry Editor Version 5.00\" or \"REGEDIT4\"");
  }
  doc.header = std::string(Trim(lines[i]));
  Key* key = nullptr;
  for (++i; i < lines.size(); ++i) {
    const int lineNo = static_cast<int>(i + 1);
    const std::string_view t = Trim(lines[i]);
    if (t.empty() || t.front() == ';') {
      if (key)
        key->items.push_back({false, std::string(lines[i]), {}});
      else
        doc.preamble.emplace_back(lines[i]);
      continue;
    }
    if (t.front() == '[') {
      if (t.back() != ']' || t.size() < 3) {
        return Malformed(lineNo, "a key line must be [path]");
      }
      const std::string_view path = t.substr(1, t.size() - 2);
      if (path.front() == '-') {
        return Malformed(lineNo, "key deletion entries are not supported");
      }
      if (!path.starts_with("HKEY_")) {
        return Malformed(lineNo, "a key path must start with a hive name such as HKEY_CURRENT_USER");
      }
      key = FindKey(doc, path);  // a repeated section adds to the key
      if (!key) key = &AddSection(doc, std::string(path));
      continue;
    }
    if (!key) {
      return Malformed(lineNo, "a value before the first key");
    }
    // Join continuation lines; the lines as written are kept for writing back.
    std::string logical(t);
    std::string raw(lines[i]);
    while (!logical.empty() && logical.back() == '\\' && i + 1 < lines.size()) {
      logical.pop_back();
      logical += Trim(lines[++i]);
      raw += '\n';
      raw += lines[i];
    }
    Value v;
    if (Status problem = ParseValue(logical, v); problem.Failed()) return Malformed(lineNo, std::move(problem.message));
    // A name given twice (in any letter case) keeps its first spelling and
    // takes the later data, written anew; a first one keeps its text.
    if (FindValue(*key, v.name))
      SetValue(*key, std::move(v));
    else
      AppendValue(*key, key->items.size(), Item{true, std::move(raw), std::move(v)});  // in file order
  }
  parsed = std::move(doc);
  return {};
}

Status Serialize(const Document& doc, std::string& bytes) {
  const std::string_view eol = doc.crlf ? "\r\n" : "\n";
  std::string text = doc.header + std::string(eol);
  for (const auto& l : doc.preamble) text += l + std::string(eol);
  for (const auto& k : doc.keys) {
    text += "[" + k.path + "]" + std::string(eol);
    for (const auto& item : k.items) {
      if (item.isValue && item.raw.empty()) {
        text += FormatValue(item.value, eol);
      } else {
        // As written: continuation lines were kept joined by '\n'.
        for (char c : item.raw) text += c == '\n' ? std::string(eol) : std::string(1, c);
      }
      text += eol;
    }
  }
  switch (doc.encoding) {
    case Document::Encoding::Utf8: bytes = std::move(text); break;
    case Document::Encoding::Utf8Bom: bytes = "\xEF\xBB\xBF" + text; break;
    case Document::Encoding::Utf16:
      bytes = "\xFF\xFE";
      if (!orvx::text::Utf8ToUtf16(text, bytes)) return {Status::Format, "a name or value is not UTF-8, so it cannot be written as UTF-16"};
      break;
  }
  return {};
}

namespace {
// One search for both constnesses.
template <class Doc>
auto* FindKeyIn(Doc& doc, std::string_view path) {
  const auto it = doc.byPath.find(orvx::text::FoldCase(path));
  return it == doc.byPath.end() ? nullptr : &doc.keys[it->second];
}

template <class K>
auto* FindValueIn(K& key, std::string_view name) {
  const auto it = key.byName.find(orvx::text::FoldCase(name));
  return it == key.byName.end() ? nullptr : &key.items[it->second].value;
}
}  // namespace

Key* FindKey(Document& doc, std::string_view path) { return FindKeyIn(doc, path); }
const Key* FindKey(const Document& doc, std::string_view path) { return FindKeyIn(doc, path); }

bool KeyExists(const Document& doc, std::string_view path) {
  if (path.find('\\') == std::string_view::npos) return true;  // a hive itself
  if (FindKey(doc, path)) return true;
  // Only a key with no section of its own needs the scan for one below it.
  const std::string below = std::string(path) + '\\';
  for (const auto& k : doc.keys)
    if (EqualNoCase(std::string_view(k.path).substr(0, below.size()), below)) return true;
  return false;
}

Value* FindValue(Key& key, std::string_view name) { return FindValueIn(key, name); }
const Value* FindValue(const Key& key, std::string_view name) { return FindValueIn(key, name); }

const Value* ValueAt(const Key& key, std::size_t index) {
  return index < key.values.size() ? &key.items[key.values[index]].value : nullptr;
}

void SetValue(Key& key, Value value) {
  if (Value* old = FindValue(key, value.name)) {
    old->type = value.type;
    old->data = std::move(value.data);
    key.items[key.byName.find(orvx::text::FoldCase(value.name))->second].raw.clear();  // written anew
    return;
  }
  // After the last value, so that trailing blank lines and comments stay last.
  const std::size_t at = key.values.empty() ? 0 : key.values.back() + 1;
  AppendValue(key, at, Item{true, {}, std::move(value)});
}

Key& AddKey(Document& doc, std::string path) {
  // The section before gets its separating blank line if it has none.
  if (!doc.keys.empty()) {
    auto& items = doc.keys.back().items;
    if (items.empty() || items.back().isValue || !Trim(items.back().raw).empty()) items.push_back({false, "", {}});
  }
  return AddSection(doc, std::move(path));
}

std::string NameProblem(std::string_view name, std::string_view what) {
  for (const char c : name) {
    const auto u = static_cast<unsigned char>(c);
    if ((u >= 0x20 && u != 0x7F) || c == '\t') continue;
    const char* which = c == '\n' ? "a line break" : c == '\r' ? "a carriage return" : "a control character";
    return std::string(what) + " holds " + which + ", which a registry store file cannot hold";
  }
  return {};
}

}  // namespace orvx::registry
