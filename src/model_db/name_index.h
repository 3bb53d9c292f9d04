// The lookup's index over the names of a list of records, shared by the
// library-wide model array, the databases a caller owns and the tool's lint:
// the exact pass walks a trie of every name, the substring pass runs the same
// trie as an Aho-Corasick automaton over the query. A lookup costs time in
// the query's length, whatever the number of records.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "../record/name_watch.h"
#include "orvx/database.h"

namespace orvx::detail {

inline constexpr std::uint32_t kNoRecord = 0xFFFFFFFFu;

class NameIndex {
 public:
  // `names[i]` is the name of record i. `identity`, `generation`: what the
  // names were read from, for Fits.
  NameIndex(std::span<const std::string_view> names, const void* identity, std::uint64_t generation);

  // Whether the index still describes this list of records.
  bool Fits(std::size_t size, const void* identity, std::uint64_t generation) const {
    return size == size_ && identity == identity_ && generation == generation_;
  }
  // The first record named exactly `name`.
  std::uint32_t Exact(std::string_view name) const;
  // The first record whose name, not empty, occurs in `text`.
  std::uint32_t FirstIn(std::string_view text) const;
  // The first record with an empty name (which occurs in every text).
  std::uint32_t FirstEmpty() const { return nodes_[0].word; }

 private:
  std::uint32_t Child(std::uint32_t state, unsigned char c) const;
  std::uint32_t Step(std::uint32_t state, unsigned char c) const;

  struct Node {
    std::uint32_t word = kNoRecord;  // the first record whose name ends here
    std::uint32_t best = kNoRecord;  // the first of `word` over this state and its suffixes
    std::uint32_t fail = 0;          // the longest proper suffix that is a state
  };
  std::vector<Node> nodes_;
  // The trie's edges, (state << 8 | byte) -> state, open addressing.
  std::vector<std::uint64_t> keys_;
  std::vector<std::uint32_t> targets_;
  std::size_t size_;
  const void* identity_;
  std::uint64_t generation_;
};

// The lookup of GetPointerToCPrnStaticInfo over an index of `size` records;
// `nameAt(i)` is record i's name as the index read it.
template <typename NameAt>
LookupResult Lookup(const NameIndex& index, std::size_t size, std::string_view name, NameAt nameAt);

// Whether `pattern` occurs in `text`, in time linear in both.
bool Contains(std::string_view text, std::string_view pattern);

using IndexSlot = std::shared_ptr<const NameIndex>;

// The index in `slot` when it still fits the records, else a new one; `lock`
// guards the slot (one thread makes an index, the others wait and share it).
// `recordAt(i)` gives record i; `identity` tells one list of records from
// another (their storage).
template <typename RecordAt>
std::shared_ptr<const NameIndex> CurrentIndex(IndexSlot& slot, std::mutex& lock, std::size_t size,
                                              const void* identity, RecordAt recordAt) {
  const std::uint64_t generation = NameWatch::Generation();
  const std::lock_guard<std::mutex> hold(lock);
  if (slot && slot->Fits(size, identity, generation)) return slot;
  slot.reset();  // the old index goes before the new one is made
  std::vector<std::string_view> names(size);
  for (std::size_t i = 0; i < size; ++i) {
    const CPrnStaticInfo& r = recordAt(i);
    NameWatch::Indexed(r);
    names[i] = r.GetModelName().view();
  }
  slot = std::make_shared<const NameIndex>(names, identity, generation);
  return slot;
}

inline void DropIndex(IndexSlot& slot, std::mutex& lock) {
  const std::lock_guard<std::mutex> hold(lock);
  slot.reset();
}

template <typename NameAt>
LookupResult Lookup(const NameIndex& index, std::size_t size, std::string_view name, NameAt nameAt) {
  if (size == 0) return {};
  if (const std::uint32_t i = index.Exact(name); i != kNoRecord) return {static_cast<std::ptrdiff_t>(i), Match::Exact};
  // A leading "hp" reads as "HP" for the substring pass.
  const bool fixed = name.size() >= 2 && name[0] == 'h' && name[1] == 'p';
  std::string fixedKey;
  if (fixed) fixedKey = "HP" + std::string(name.substr(2));
  const std::string_view key = fixed ? std::string_view(fixedKey) : name;
  const std::uint32_t first = std::min(index.FirstEmpty(), index.FirstIn(key));
  if (first == kNoRecord) return {0, Match::Default};
  const std::string_view pattern = nameAt(first);
  // A record named just "HP" only answers a query that starts with "HP";
  // for any other it ends the search with the default record.
  if (pattern == "HP" && !key.starts_with("HP")) return {0, Match::Default};
  // "hp" only counts when the query as given would not have matched.
  const bool byFix = fixed && !Contains(name, pattern);
  return {static_cast<std::ptrdiff_t>(first), byFix ? Match::HpFix : Match::Substring};
}

}  // namespace orvx::detail
