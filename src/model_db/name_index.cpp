#include "name_index.h"

#include <algorithm>

namespace orvx::detail {
namespace {

constexpr std::uint64_t kEmptySlot = ~std::uint64_t{0};

std::uint64_t EdgeKey(std::uint32_t state, unsigned char c) { return std::uint64_t{state} << 8 | c; }

std::size_t Slot(std::uint64_t key, std::size_t capacity) {
  return static_cast<std::size_t>((key * 0x9E3779B97F4A7C15ull) >> 24) & (capacity - 1);
}

}  // namespace

NameIndex::NameIndex(std::span<const std::string_view> names, const void* identity, std::uint64_t generation)
    : size_(names.size()), identity_(identity), generation_(generation) {
  // The edge table grows with the trie (names share prefixes: far fewer
  // states than bytes), kept at most half full.
  std::size_t capacity = 1024;
  keys_.assign(capacity, kEmptySlot);
  targets_.resize(capacity);
  const auto grow = [&] {
    std::vector<std::uint64_t> keys(capacity * 2, kEmptySlot);
    std::vector<std::uint32_t> targets(capacity * 2);
    for (std::size_t k = 0; k < capacity; ++k) {
      if (keys_[k] == kEmptySlot) continue;
      std::size_t at = Slot(keys_[k], capacity * 2);
      while (keys[at] != kEmptySlot) at = (at + 1) & (capacity * 2 - 1);
      keys[at] = keys_[k];
      targets[at] = targets_[k];
    }
    capacity *= 2;
    keys_.swap(keys);
    targets_.swap(targets);
  };
  nodes_.emplace_back();
  // The trie, with each state's children listed for the breadth-first pass.
  std::vector<std::uint32_t> firstChild(1, 0), nextSibling(1, 0);
  std::vector<unsigned char> byte(1, 0);
  for (std::size_t i = 0; i < names.size(); ++i) {
    std::uint32_t state = 0;
    for (const char ch : names[i]) {
      const auto c = static_cast<unsigned char>(ch);
      const std::uint64_t key = EdgeKey(state, c);
      std::size_t at = Slot(key, capacity);
      while (keys_[at] != kEmptySlot && keys_[at] != key) at = (at + 1) & (capacity - 1);
      if (keys_[at] == kEmptySlot && 2 * nodes_.size() >= capacity) {
        grow();
        at = Slot(key, capacity);
        while (keys_[at] != kEmptySlot && keys_[at] != key) at = (at + 1) & (capacity - 1);
      }
      if (keys_[at] == kEmptySlot) {
        const auto fresh = static_cast<std::uint32_t>(nodes_.size());
        keys_[at] = key;
        targets_[at] = fresh;
        nodes_.emplace_back();
        firstChild.push_back(0);
        nextSibling.push_back(firstChild[state]);
        byte.push_back(c);
        firstChild[state] = fresh;
      }
      state = targets_[at];
    }
    nodes_[state].word = std::min(nodes_[state].word, static_cast<std::uint32_t>(i));
  }
  // Failure links breadth first: a state's suffixes are shorter, so theirs
  // are known when it is reached. The root's own name (the empty one) is
  // kept out of `best`: FirstIn reports non-empty names only.
  std::vector<std::uint32_t> queue;
  queue.reserve(nodes_.size());
  for (std::uint32_t c = firstChild[0]; c; c = nextSibling[c]) queue.push_back(c);
  for (std::size_t q = 0; q < queue.size(); ++q) {
    const std::uint32_t s = queue[q];
    Node& n = nodes_[s];
    n.best = std::min(n.word, nodes_[n.fail].best);
    for (std::uint32_t c = firstChild[s]; c; c = nextSibling[c]) {
      nodes_[c].fail = s ? Step(n.fail, byte[c]) : 0;
      queue.push_back(c);
    }
  }
}

std::uint32_t NameIndex::Child(std::uint32_t state, unsigned char c) const {
  const std::uint64_t key = EdgeKey(state, c);
  for (std::size_t at = Slot(key, keys_.size());; at = (at + 1) & (keys_.size() - 1)) {
    if (keys_[at] == key) return targets_[at];
    if (keys_[at] == kEmptySlot) return 0;  // the root is no one's child
  }
}

std::uint32_t NameIndex::Step(std::uint32_t state, unsigned char c) const {
  for (;;) {
    if (const std::uint32_t to = Child(state, c)) return to;
    if (state == 0) return 0;
    state = nodes_[state].fail;
  }
}

std::uint32_t NameIndex::Exact(std::string_view name) const {
  std::uint32_t state = 0;
  for (const char c : name)
    if ((state = Child(state, static_cast<unsigned char>(c))) == 0) return kNoRecord;
  return nodes_[state].word;
}

std::uint32_t NameIndex::FirstIn(std::string_view text) const {
  std::uint32_t first = kNoRecord, state = 0;
  for (const char c : text) {
    state = Step(state, static_cast<unsigned char>(c));
    first = std::min(first, nodes_[state].best);
    if (first == 0) break;
  }
  return first;
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
