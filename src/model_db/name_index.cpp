#include "model_db/name_index.h"

#include <algorithm>
#include <chrono>

namespace orvx::detail {
namespace {

std::uint64_t Mix(std::uint64_t x) {
  x += 0x9E3779B97F4A7C15ull;
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
  return x ^ (x >> 31);
}

// A base no one can foresee: the clock, a per-process count and an address.
std::uint64_t DrawBase(const void* where) {
  static std::atomic<std::uint64_t> drawn{0};
  const auto now = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
  const std::uint64_t seed = Mix(now ^ Mix(drawn.fetch_add(1) ^ reinterpret_cast<std::uintptr_t>(where)));
  return (seed % ((std::uint64_t{1} << 61) - 1 - 256)) + 256;  // above every byte value
}

}  // namespace

NameIndex::NameIndex(std::span<const std::string_view> names, const IndexStamp& stamp)
    : base_(DrawBase(this)), stamp_(stamp) {
  std::size_t capacity = 16;
  while (capacity < 2 * names.size()) capacity *= 2;
  keys_.assign(capacity, 0);
  records_.assign(capacity, kNoRecord);
  filter_.assign(capacity / 8, 0);  // 8 bits a slot: 16 or more a name
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string_view name = names[i];
    if (name.empty()) {
      firstEmpty_ = std::min(firstEmpty_, static_cast<std::uint32_t>(i));
      continue;
    }
    std::uint64_t h = 0;
    for (const char c : name) h = Push(h, c);
    const std::uint64_t key = Key(h, name.size());
    std::size_t at = SlotOf(key);
    // A name seen before keeps its first record.
    while (records_[at] != kNoRecord && !(keys_[at] == key && names[records_[at]] == name))
      at = (at + 1) & (capacity - 1);
    if (records_[at] != kNoRecord) continue;
    keys_[at] = key;
    records_[at] = static_cast<std::uint32_t>(i);
    const std::size_t bit = static_cast<std::size_t>(key) & (filter_.size() * 64 - 1);
    filter_[bit >> 6] |= std::uint64_t{1} << (bit & 63);
    lengths_.push_back(static_cast<std::uint32_t>(name.size()));
  }
  std::sort(lengths_.begin(), lengths_.end());
  lengths_.erase(std::unique(lengths_.begin(), lengths_.end()), lengths_.end());
  lengths_.shrink_to_fit();
  powers_.reserve(lengths_.size());
  std::uint64_t power = 1;
  std::size_t done = 0;
  for (const std::uint32_t length : lengths_) {
    for (; done < length; ++done) power = MulMod(power, base_);
    powers_.push_back(power);
  }
}

bool Contains(std::string_view text, std::string_view pattern) {
  if (pattern.empty()) return true;
  if (pattern.size() > text.size()) return false;
  // Knuth-Morris-Pratt: `border[i]` is the longest proper border of pattern[0..i].
  std::vector<std::size_t> border(pattern.size(), 0);
  for (std::size_t i = 1, k = 0; i < pattern.size(); ++i) {
    while (k && pattern[i] != pattern[k]) k = border[k - 1];
    if (pattern[i] == pattern[k]) ++k;
    border[i] = k;
  }
  for (std::size_t i = 0, k = 0; i < text.size(); ++i) {
    while (k && text[i] != pattern[k]) k = border[k - 1];
    if (text[i] == pattern[k] && ++k == pattern.size()) return true;
  }
  return false;
}

}  // namespace orvx::detail
