#include "orvx/json_reader.h"

#include "orvx/text.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <cstring>
#include <limits>

namespace orvx::json {

namespace {

constexpr int kMaxDepth = 512;

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

using orvx::text::HexDigit;

unsigned Hex4(const char* p) {
  unsigned v = 0;
  for (int i = 0; i < 4; ++i) v = v * 16 + static_cast<unsigned>(HexDigit(p[i]));
  return v;
}

}  // namespace

const char* detail::PlainRunEnd(const char* p, const char* end) {
  constexpr std::uint64_t kOnes = 0x0101010101010101ull, kHigh = 0x8080808080808080ull;
  while (end - p >= 8) {
    std::uint64_t x;
    std::memcpy(&x, p, 8);
    const std::uint64_t quote = x ^ (kOnes * '"'), slash = x ^ (kOnes * '\\');
    // High bit of a byte set: that byte is special. A borrow can only mark
    // bytes after a special one, so the lowest marked byte is the first.
    const std::uint64_t special =
        (((quote - kOnes) & ~quote) | ((slash - kOnes) & ~slash) | ((x - kOnes * 0x20) & ~x) | x) & kHigh;
    if (special) {
      if constexpr (std::endian::native == std::endian::big) return p + std::countl_zero(special) / 8;
      return p + std::countr_zero(special) / 8;
    }
    p += 8;
  }
  while (p < end && static_cast<unsigned char>(*p) >= 0x20 && static_cast<unsigned char>(*p) < 0x80 && *p != '"' &&
         *p != '\\')
    ++p;
  return p;
}

namespace {
using detail::PlainRunEnd;
}  // namespace

bool Value::IsInteger() const {
  return kind == Kind::Number && text.find_first_of(".eE") == std::string_view::npos;
}

bool ToInteger(const Value& v, long long& out) {
  if (!v.IsInteger()) return false;
  const bool negative = v.text[0] == '-';
  unsigned long long magnitude = 0;
  bool overflow = false;
  for (char c : v.text.substr(negative ? 1 : 0)) {
    const unsigned digit = static_cast<unsigned>(c - '0');
    if (magnitude > (std::numeric_limits<unsigned long long>::max() - digit) / 10) overflow = true;
    magnitude = magnitude * 10 + digit;
  }
  constexpr auto kMax = static_cast<unsigned long long>(std::numeric_limits<long long>::max());
  // Past the 64-bit integers (signed below zero, unsigned above) JSON readers
  // see a floating-point number.
  if (overflow || (negative && magnitude > kMax + 1)) return false;
  if (negative)
    out = static_cast<long long>(0 - magnitude);
  else
    out = magnitude > kMax ? std::numeric_limits<long long>::max() : static_cast<long long>(magnitude);
  return true;
}

void AppendString(const Value& v, std::string& out) {
  const char* p = v.text.data() + 1;
  const char* end = v.text.data() + v.text.size() - 1;
  if (!v.escaped) {
    out.append(p, static_cast<std::size_t>(end - p));
    return;
  }
  while (p < end) {
    const char* run = p;
    while (p < end && *(p = PlainRunEnd(p, end)) != '\\' && p < end) ++p;  // UTF-8 bytes pass as they are
    out.append(run, static_cast<std::size_t>(p - run));
    if (p >= end) break;
    const char e = p[1];
    p += 2;
    switch (e) {
      case 'b': out += '\b'; break;
      case 'f': out += '\f'; break;
      case 'n': out += '\n'; break;
      case 'r': out += '\r'; break;
      case 't': out += '\t'; break;
      case 'u': {
        std::uint32_t cp = Hex4(p);
        p += 4;
        if (cp >= 0xD800 && cp <= 0xDBFF) {  // checked: a low surrogate follows
          cp = orvx::text::JoinSurrogates(cp, Hex4(p + 2));
          p += 6;
        }
        orvx::text::AppendUtf8(out, cp);
        break;
      }
      default: out += e; break;  // " \ /
    }
  }
}

namespace detail {

const char* SkipSpace(const char* p, const char* end) {
  while (p < end && IsSpace(*p)) ++p;
  return p;
}

const char* ValueEnd(const char* p, const char* end, Kind& kind, bool* escaped) {
  switch (*p) {
    case '"': {
      kind = Kind::String;
      ++p;
      bool backslash = false;
      for (;;) {
        p = PlainRunEnd(p, end + 1);
        if (*p == '"') {
          if (escaped) *escaped = backslash;
          return p + 1;
        }
        backslash = backslash || *p == '\\';
        p += *p == '\\' ? 2 : 1;
      }
    }
    case '{':
    case '[': {
      kind = *p == '{' ? Kind::Object : Kind::Array;
      int depth = 0;
      do {
        if (*p == '"') {
          ++p;
          while (*p != '"') p += *p == '\\' ? 2 : 1;
        } else if (*p == '{' || *p == '[') {
          ++depth;
        } else if (*p == '}' || *p == ']') {
          --depth;
        }
        ++p;
      } while (depth > 0 && p < end + 1);
      return p;
    }
    case 't': kind = Kind::True; return p + 4;
    case 'f': kind = Kind::False; return p + 5;
    case 'n': kind = Kind::Null; return p + 4;
    default:
      kind = Kind::Number;
      while (p < end && (IsDigit(*p) || *p == '-' || *p == '+' || *p == '.' || *p == 'e' || *p == 'E')) ++p;
      return p;
  }
}

}  // namespace detail

bool Reader::Fail(const char* p, const char* what) {
  error_ = std::string(what) + " at byte " + std::to_string(p - begin_);
  return false;
}

const char* Reader::FailAt(const char* p, const char* what) {
  Fail(p, what);
  return nullptr;
}

bool Reader::Parse(std::string_view text) {
  begin_ = text.data();
  end_ = text.data() + text.size();
  count_ = 0;
  hashed_ = false;
  elements_.clear();
  error_.clear();
  const char* p = detail::SkipSpace(begin_, end_);
  if (p == end_) return Fail(p, "no value");
  if (!(p = ParseValue(p, root_, 0))) return false;
  p = detail::SkipSpace(p, end_);
  if (p != end_) return Fail(p, "more text after the value");
  return true;
}

const Value* Reader::Find(std::string_view key) const {
  if (hashed_) {
    const HashSlot& s = slots_[Slot(key)];
    return s.generation == generation_ ? &members_[s.member].value : nullptr;
  }
  for (std::size_t i = 0; i < count_; ++i)
    if (members_[i].Name() == key) return &members_[i].value;
  return nullptr;
}

namespace {
// Fewer are compared one by one, by length and first byte before the rest:
// cheaper than hashing them, for every request eval knows.
constexpr std::size_t kLinearMembers = 16;
}  // namespace

// The slot that holds `name`, or the free slot where it would go.
std::size_t Reader::Slot(std::string_view name) const {
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t i = std::hash<std::string_view>{}(name) & mask;; i = (i + 1) & mask) {
    const HashSlot& s = slots_[i];
    if (s.generation != generation_ || members_[s.member].Name() == name) return i;
  }
}

// A table of at least `size` slots holding the members so far. A new
// generation frees every slot; only when the counter wraps is it cleared.
void Reader::Rehash(std::size_t size) {
  if (++generation_ == 0) {
    std::fill(slots_.begin(), slots_.end(), HashSlot{});
    generation_ = 1;
  }
  if (slots_.size() < size) slots_.assign(size, {});
  for (std::size_t i = 0; i < count_; ++i) slots_[Slot(members_[i].Name())] = {generation_, static_cast<std::uint32_t>(i)};
}

// Top-level members are remembered; a repeated name keeps its last value. A
// name without escapes is used where it stands in the text.
void Reader::AddMember(const Value& key, const Value& value) {
  if (count_ == members_.size()) members_.emplace_back();
  Member& m = members_[count_];
  m.escaped = key.escaped;
  m.raw = key.text.substr(1, key.text.size() - 2);
  if (m.escaped) {
    m.decoded.clear();
    AppendString(key, m.decoded);
  }
  const std::string_view name = m.Name();
  if (count_ < kLinearMembers && !hashed_) {
    for (std::size_t i = 0; i < count_; ++i) {
      const std::string_view k = members_[i].Name();
      if (k.size() == name.size() && (k.empty() || k[0] == name[0]) && k == name) {
        members_[i].value = value;
        return;
      }
    }
  } else {
    if (!hashed_) Rehash(4 * kLinearMembers);
    hashed_ = true;
    if (2 * (count_ + 1) > slots_.size()) Rehash(2 * slots_.size());
    HashSlot& slot = slots_[Slot(name)];
    if (slot.generation == generation_) {
      members_[slot.member].value = value;
      return;
    }
    slot = {generation_, static_cast<std::uint32_t>(count_)};
  }
  m.value = value;
  ++count_;
}

// Checks the value at `p`; returns its end, or null (with the error set).
// Positions live in locals: through a reference, every byte read could alias
// the pointer itself and the loops would reload it.
const char* Reader::ParseValue(const char* p, Value& out, int depth) {
  const char* const end_ = this->end_;
  if (depth > kMaxDepth) return FailAt(p, "values nested too deeply");
  const char* start = p;
  switch (*p) {
    case '"': {
      ++p;
      out.escaped = false;
      for (;;) {
        p = PlainRunEnd(p, end_);  // most strings are nothing else
        if (p >= end_) return FailAt(start, "a string that does not end");
        const auto c = static_cast<unsigned char>(*p);
        if (c == '"') break;
        if (c < 0x20) return FailAt(p, "a control character inside a string");
        if (c == '\\') {
          out.escaped = true;
          if (p + 1 >= end_) return FailAt(p, "a string that does not end");
          const char e = p[1];
          if (e == 'u') {
            if (end_ - p < 6 || HexDigit(p[2]) < 0 || HexDigit(p[3]) < 0 || HexDigit(p[4]) < 0 || HexDigit(p[5]) < 0)
              return FailAt(p, "a \\u escape without four hex digits");
            const unsigned cp = Hex4(p + 2);
            if (cp >= 0xDC00 && cp <= 0xDFFF) return FailAt(p, "a lone low surrogate in a \\u escape");
            if (cp >= 0xD800 && cp <= 0xDBFF) {
              if (end_ - p < 12 || p[6] != '\\' || p[7] != 'u' || HexDigit(p[8]) < 0 || HexDigit(p[9]) < 0 ||
                  HexDigit(p[10]) < 0 || HexDigit(p[11]) < 0 || Hex4(p + 8) < 0xDC00 || Hex4(p + 8) > 0xDFFF)
                return FailAt(p, "a high surrogate in a \\u escape without its low surrogate");
              p += 12;
            } else {
              p += 6;
            }
            continue;
          }
          if (!std::strchr("\"\\/bfnrt", e) || e == '\0') return FailAt(p, "an unknown escape in a string");
          p += 2;
          continue;
        }
        if (c < 0x80) {
          ++p;
          continue;
        }
        std::size_t at = static_cast<std::size_t>(p - begin_);
        std::uint32_t cp;
        if (!orvx::text::DecodeUtf8({begin_, static_cast<std::size_t>(end_ - begin_)}, at, cp))
          return FailAt(p, "a string that is not UTF-8");
        p = begin_ + at;
      }
      ++p;
      out.kind = Kind::String;
      break;
    }
    case '{':
    case '[': {
      const bool object = *p == '{';
      const char close = object ? '}' : ']';
      const auto first = static_cast<std::uint32_t>(elements_.size());
      p = detail::SkipSpace(p + 1, end_);
      if (p < end_ && *p == close) {
        ++p;
      } else {
        for (;;) {
          if (object) {
            if (p >= end_ || *p != '"') return FailAt(p, "an object member without a quoted name");
            Value key;
            const char* keyStart = p;
            if (!(p = ParseValue(p, key, depth + 1))) return nullptr;
            key.text = std::string_view(keyStart, static_cast<std::size_t>(p - keyStart));
            p = detail::SkipSpace(p, end_);
            if (p >= end_ || *p != ':') return FailAt(p, "a member name without a colon after it");
            p = detail::SkipSpace(p + 1, end_);
            if (p >= end_) return FailAt(p, "an object that does not end");
            Value v;
            const char* valueStart = p;
            if (!(p = ParseValue(p, v, depth + 1))) return nullptr;
            v.text = std::string_view(valueStart, static_cast<std::size_t>(p - valueStart));
            if (depth == 0) AddMember(key, v);
          } else {
            Value v;
            if (p >= end_) return FailAt(p, "an array that does not end");
            if (!(p = ParseValue(p, v, depth + 1))) return nullptr;
            if (depth == 1) elements_.push_back(v);  // an array of a top-level member
          }
          p = detail::SkipSpace(p, end_);
          if (p < end_ && *p == ',') {
            p = detail::SkipSpace(p + 1, end_);
            continue;
          }
          if (p < end_ && *p == close) {
            ++p;
            break;
          }
          return FailAt(p, object ? "an object that does not end with }" : "an array that does not end with ]");
        }
      }
      out.kind = object ? Kind::Object : Kind::Array;
      out.indexed = !object && depth == 1;
      out.first = first;
      out.count = static_cast<std::uint32_t>(elements_.size()) - first;
      break;
    }
    case 't':
    case 'f':
    case 'n': {
      const std::string_view rest(p, static_cast<std::size_t>(end_ - p));
      const std::string_view word = *p == 't' ? "true" : *p == 'f' ? "false" : "null";
      if (rest.substr(0, word.size()) != word) return FailAt(p, "an unknown word");
      p += word.size();
      out.kind = *start == 't' ? Kind::True : *start == 'f' ? Kind::False : Kind::Null;
      break;
    }
    default: {
      if (*p == '-') ++p;
      if (p >= end_ || !IsDigit(*p)) return FailAt(start, "an unknown word");
      if (*p == '0') {
        ++p;
      } else {
        while (p < end_ && IsDigit(*p)) ++p;
      }
      if (p < end_ && *p == '.') {
        ++p;
        if (p >= end_ || !IsDigit(*p)) return FailAt(p, "a number without digits after its decimal point");
        while (p < end_ && IsDigit(*p)) ++p;
      }
      if (p < end_ && (*p == 'e' || *p == 'E')) {
        ++p;
        if (p < end_ && (*p == '+' || *p == '-')) ++p;
        if (p >= end_ || !IsDigit(*p)) return FailAt(p, "a number without digits in its exponent");
        while (p < end_ && IsDigit(*p)) ++p;
      }
      out.kind = Kind::Number;
      break;
    }
  }
  out.text = std::string_view(start, static_cast<std::size_t>(p - start));
  return p;
}

}  // namespace orvx::json
