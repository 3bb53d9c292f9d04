// The lookup's index over the names of a list of records, shared by the
// library-wide model array, the databases a caller owns and the tool's lint.
// Names are hashed by their length: the exact pass probes the query's own
// hash, the substring pass probes each window of the query whose length some
// name has. It holds one table entry per distinct name, never the names
// themselves, so whatever the names its memory stays a small multiple of
// their count; a lookup costs the query's length times the number of distinct
// name lengths, whatever the number of records. Every hit is checked against
// the current name, so a hash collision costs time, never a wrong answer.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "record/name_watch.h"
#include "orvx/database.h"

namespace orvx::detail {

inline constexpr std::uint32_t kNoRecord = 0xFFFFFFFFu;

// What an index was made from: a change to any of these makes it stale.
struct IndexStamp {
  std::size_t size = 0;
  std::uint64_t list = 0;     // the container's own change stamp (storage, order)
  std::uint64_t renames = 0;  // the container's rename counter
  std::uint64_t shared = 0;   // renames of records that several indexes read
  bool operator==(const IndexStamp&) const = default;
};

class NameIndex {
 public:
  NameIndex(std::span<const std::string_view> names, const IndexStamp& stamp);

  bool Fits(const IndexStamp& stamp) const { return stamp == stamp_; }
  // The first record named exactly `name`; `nameAt(i)` is record i's name.
  template <typename NameAt>
  std::uint32_t Exact(std::string_view name, NameAt nameAt) const;
  // The first record whose name, not empty, occurs in `text`.
  template <typename NameAt>
  std::uint32_t FirstIn(std::string_view text, NameAt nameAt) const;
  // The first record with an empty name (which occurs in every text).
  std::uint32_t FirstEmpty() const { return firstEmpty_; }

 private:
  // Polynomial hashing modulo the Mersenne prime 2^61 - 1, with a base drawn
  // when the index is made: names cannot be chosen to collide.
  static constexpr std::uint64_t kPrime = (std::uint64_t{1} << 61) - 1;
  static std::uint64_t MulMod(std::uint64_t a, std::uint64_t b) {
    __extension__ using Wide = unsigned __int128;
    const Wide p = Wide{a} * b;
    const std::uint64_t r = static_cast<std::uint64_t>(p & kPrime) + static_cast<std::uint64_t>(p >> 61);
    return r >= kPrime ? r - kPrime : r;
  }
  // A zero byte adds nothing, and needs not: the key holds the length.
  std::uint64_t Push(std::uint64_t h, char c) const {
    const std::uint64_t r = MulMod(h, base_) + static_cast<unsigned char>(c);
    return r >= kPrime ? r - kPrime : r;
  }
  // The hash of a name of `length` bytes whose polynomial hash is `h`.
  static std::uint64_t Key(std::uint64_t h, std::size_t length) {
    std::uint64_t k = h ^ (std::uint64_t{length} * 0x9E3779B97F4A7C15ull);
    k ^= k >> 31;
    return k * 0xBF58476D1CE4E5B9ull;
  }
  std::size_t SlotOf(std::uint64_t key) const { return static_cast<std::size_t>(key >> 32) & (keys_.size() - 1); }
  bool MayHold(std::uint64_t key) const {
    const std::size_t bit = static_cast<std::size_t>(key) & (filter_.size() * 64 - 1);
    return (filter_[bit >> 6] >> (bit & 63)) & 1u;
  }
  // The record in the table under `key` whose name equals `text`, or kNoRecord.
  template <typename NameAt>
  std::uint32_t Find(std::uint64_t key, std::string_view text, NameAt& nameAt) const {
    for (std::size_t at = SlotOf(key);; at = (at + 1) & (keys_.size() - 1)) {
      const std::uint32_t r = records_[at];
      if (r == kNoRecord) return kNoRecord;
      if (keys_[at] == key && nameAt(r) == text) return r;
    }
  }

  std::uint64_t base_;
  std::vector<std::uint64_t> keys_;     // open addressing, at most half full
  std::vector<std::uint32_t> records_;  // kNoRecord: an empty slot
  std::vector<std::uint64_t> filter_;   // one bit per key, to skip most table probes
  std::vector<std::uint32_t> lengths_;  // the distinct name lengths, ascending, none 0
  std::vector<std::uint64_t> powers_;   // base^length for each of lengths_
  std::uint32_t firstEmpty_ = kNoRecord;
  IndexStamp stamp_;
};

template <typename NameAt>
std::uint32_t NameIndex::Exact(std::string_view name, NameAt nameAt) const {
  if (name.empty()) return firstEmpty_;
  if (!std::binary_search(lengths_.begin(), lengths_.end(), name.size())) return kNoRecord;
  std::uint64_t h = 0;
  for (const char c : name) h = Push(h, c);
  const std::uint64_t key = Key(h, name.size());
  return MayHold(key) ? Find(key, name, nameAt) : kNoRecord;
}

template <typename NameAt>
std::uint32_t NameIndex::FirstIn(std::string_view text, NameAt nameAt) const {
  if (lengths_.empty() || text.size() < lengths_.front()) return kNoRecord;
  // prefix[i]: the hash of text's first i bytes; a window's hash follows from two of them.
  std::uint64_t small[257];
  std::vector<std::uint64_t> large;
  std::uint64_t* prefix = small;
  if (text.size() >= std::size(small)) {
    large.resize(text.size() + 1);
    prefix = large.data();
  }
  prefix[0] = 0;
  for (std::size_t i = 0; i < text.size(); ++i) prefix[i + 1] = Push(prefix[i], text[i]);
  std::uint32_t first = kNoRecord;
  for (std::size_t l = 0; l < lengths_.size() && lengths_[l] <= text.size(); ++l) {
    const std::size_t length = lengths_[l];
    const std::uint64_t power = powers_[l];
    for (std::size_t at = 0; at + length <= text.size(); ++at) {
      const std::uint64_t shifted = MulMod(prefix[at], power);
      const std::uint64_t h = prefix[at + length] >= shifted ? prefix[at + length] - shifted
                                                             : prefix[at + length] + kPrime - shifted;
      const std::uint64_t key = Key(h, length);
      if (!MayHold(key)) continue;
      const std::uint32_t r = Find(key, text.substr(at, length), nameAt);
      if (r < first && (first = r) == 0) return 0;
    }
  }
  return first;
}

// Whether `pattern` occurs in `text`, in time linear in both.
bool Contains(std::string_view text, std::string_view pattern);

// The lookup of GetPointerToCPrnStaticInfo over an index of `size` records;
// `nameAt(i)` is record i's current name.
template <typename NameAt>
LookupResult Lookup(const NameIndex& index, std::size_t size, std::string_view name, NameAt nameAt) {
  if (size == 0) return {};
  if (const std::uint32_t i = index.Exact(name, nameAt); i != kNoRecord)
    return {static_cast<std::ptrdiff_t>(i), Match::Exact};
  // A leading "hp" reads as "HP" for the substring pass.
  const bool fixed = name.size() >= 2 && name[0] == 'h' && name[1] == 'p';
  std::string fixedKey;
  if (fixed) fixedKey = "HP" + std::string(name.substr(2));
  const std::string_view key = fixed ? std::string_view(fixedKey) : name;
  const std::uint32_t first = std::min(index.FirstEmpty(), index.FirstIn(key, nameAt));
  if (first == kNoRecord) return {0, Match::Default};
  const std::string_view pattern = nameAt(first);
  // A record named just "HP" only answers a query that starts with "HP";
  // for any other it ends the search with the default record.
  if (pattern == "HP" && !key.starts_with("HP")) return {0, Match::Default};
  // "hp" only counts when the query as given would not have matched.
  const bool byFix = fixed && !Contains(name, pattern);
  return {static_cast<std::ptrdiff_t>(first), byFix ? Match::HpFix : Match::Substring};
}

// Where a list of records keeps its index: the index itself, the lock that
// guards it (one thread makes an index, the others wait and share it), and
// the counter its records move when they are renamed.
struct IndexSlot {
  std::mutex lock;
  std::shared_ptr<const NameIndex> index;  // guarded by lock
  std::atomic<std::uint64_t> renames{0};
};

// The index in `slot` when it still fits the records, else a new one.
// `list` is the container's change stamp; `recordAt(i)` gives record i.
template <typename RecordAt>
std::shared_ptr<const NameIndex> CurrentIndex(IndexSlot& slot, std::size_t size, std::uint64_t list,
                                              RecordAt recordAt) {
  const IndexStamp stamp{size, list, slot.renames.load(std::memory_order_acquire), NameWatch::Shared()};
  const std::lock_guard<std::mutex> hold(slot.lock);
  if (slot.index && slot.index->Fits(stamp)) return slot.index;
  slot.index.reset();  // the old index goes before the new one is made
  std::vector<std::string_view> names(size);
  for (std::size_t i = 0; i < size; ++i) {
    const CPrnStaticInfo& r = recordAt(i);
    NameWatch::Indexed(r, slot.renames);
    names[i] = r.GetModelName().view();
  }
  slot.index = std::make_shared<const NameIndex>(names, stamp);
  return slot.index;
}

inline void DropIndex(IndexSlot& slot) {
  const std::lock_guard<std::mutex> hold(slot.lock);
  slot.index.reset();
}

}  // namespace orvx::detail
