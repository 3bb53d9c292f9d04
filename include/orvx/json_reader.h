// An on-demand reader for one JSON text (one eval request, one edited value): it checks the
// syntax once, remembers where each top-level member's value lies, and
// decodes a value only when asked for it. It builds no document tree and,
// reused from one request to the next, allocates nothing once warm.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "orvx/export.h"

namespace orvx::json {

enum class Kind : std::uint8_t { Null, False, True, Number, String, Array, Object };

// A value: its kind and its text, which stays valid as long as the request line.
struct ORVX_API Value {
  Kind kind = Kind::Null;
  bool escaped = true;        // a string that may hold escapes (false: its text is its content)
  bool indexed = false;       // an array whose elements the reader has listed
  std::uint32_t first = 0, count = 0;  // those elements, when listed
  std::string_view text;
  bool IsInteger() const;  // a number without fraction or exponent
};

// The integer a value holds: false when it is no integer number, or one past
// the 64-bit range (a floating-point number to other JSON readers). Integers
// above the signed range, within the unsigned one, are clamped to the signed
// range, so range checks still refuse them.
ORVX_API bool ToInteger(const Value& v, long long& out);
// Appends the decoded string `v` (which must be a String) to `out`.
ORVX_API void AppendString(const Value& v, std::string& out);
inline std::string String(const Value& v) {
  std::string s;
  AppendString(v, s);
  return s;
}

// Calls `f(element)` for each element of an Array value.
template <typename F>
void ForEachElement(const Value& array, F f);
// Calls `f(key, value)` for each member of an Object value (key decoded).
template <typename F>
void ForEachMember(const Value& object, std::string& key, F f);

class ORVX_API Reader {
 public:
  // Checks `text` as one JSON value. False with a message (what is wrong and
  // at which byte) when it is not JSON, or nests values more than 512 deep.
  bool Parse(std::string_view text);
  const std::string& Error() const { return error_; }
  const Value& Root() const { return root_; }

  // For an object root: its members, last one winning for a repeated key.
  std::size_t MemberCount() const { return count_; }
  std::string_view Key(std::size_t i) const { return members_[i].Name(); }
  const Value& MemberValue(std::size_t i) const { return members_[i].value; }
  const Value* Find(std::string_view key) const;

  // Calls `f(element)` for each element of an Array value: from the list the
  // reader made while checking it (the arrays of the top-level members), or
  // by walking its text.
  template <typename F>
  void ForEach(const Value& array, F f) const {
    if (!array.indexed) return ForEachElement(array, f);
    for (std::uint32_t i = 0; i < array.count; ++i) f(elements_[array.first + i]);
  }

 private:
  struct Member {
    std::string_view raw;  // the name as it stands in the text
    std::string decoded;   // the name, when it had escapes
    bool escaped = false;
    // Not a view kept into `decoded`: growing the member list moves the strings.
    std::string_view Name() const { return escaped ? std::string_view(decoded) : raw; }
    Value value;
  };
  const char* ParseValue(const char* p, Value& out, int depth);
  const char* FailAt(const char* p, const char* what);
  void AddMember(const Value& key, const Value& value);
  std::size_t Slot(std::string_view name) const;
  void Rehash(std::size_t size);
  bool Fail(const char* p, const char* what);

  const char* begin_ = nullptr;
  const char* end_ = nullptr;
  Value root_;
  std::vector<Member> members_;
  std::size_t count_ = 0;
  // Past a few members, repeated names are found through this open hash
  // table of member indices, so that a request with any number of members
  // is checked in linear time. It is kept from one request to the next: a
  // slot is taken only when it holds the current generation, so a request
  // clears nothing.
  struct HashSlot {
    std::uint32_t generation = 0, member = 0;
  };
  std::vector<HashSlot> slots_;
  std::uint32_t generation_ = 0;
  bool hashed_ = false;
  std::vector<Value> elements_;
  std::string error_;
};

// ---- internal: walking a checked value -----------------------------------

namespace detail {
ORVX_API const char* SkipSpace(const char* p, const char* end);
// The first quote, backslash, control byte or byte of 0x80 and above at or
// after `p` (or `end`): where a run of plain string bytes stops.
ORVX_API const char* PlainRunEnd(const char* p, const char* end);
// The end of the (checked) value starting at `p`, and its kind.
ORVX_API const char* ValueEnd(const char* p, const char* end, Kind& kind, bool* escaped = nullptr);
}  // namespace detail

template <typename F>
void ForEachElement(const Value& array, F f) {
  const char* p = array.text.data() + 1;
  const char* end = array.text.data() + array.text.size() - 1;
  p = detail::SkipSpace(p, end);
  while (p < end) {
    Value v;
    const char* e = detail::ValueEnd(p, end, v.kind, &v.escaped);
    v.text = std::string_view(p, static_cast<std::size_t>(e - p));
    f(v);
    p = detail::SkipSpace(e, end);
    if (p < end && *p == ',') p = detail::SkipSpace(p + 1, end);
  }
}

template <typename F>
void ForEachMember(const Value& object, std::string& key, F f) {
  const char* p = object.text.data() + 1;
  const char* end = object.text.data() + object.text.size() - 1;
  p = detail::SkipSpace(p, end);
  while (p < end) {
    Value k;
    const char* e = detail::ValueEnd(p, end, k.kind);
    k.text = std::string_view(p, static_cast<std::size_t>(e - p));
    key.clear();
    AppendString(k, key);
    p = detail::SkipSpace(e, end) + 1;  // the colon
    p = detail::SkipSpace(p, end);
    Value v;
    e = detail::ValueEnd(p, end, v.kind, &v.escaped);
    v.text = std::string_view(p, static_cast<std::size_t>(e - p));
    f(std::string_view(key), v);
    p = detail::SkipSpace(e, end);
    if (p < end && *p == ',') p = detail::SkipSpace(p + 1, end);
  }
}

}  // namespace orvx::json
