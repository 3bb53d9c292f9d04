// Input-tray size lists.
//
// The block is self-describing: byte 0 is its length L. The record keeps the
// invariant that a block it holds is exactly L bytes long (the setter makes
// sure of it), so every walk below is bounded by L and can never leave the
// allocation. Malformed content inside the block is handled this way:
//   - an entry whose header or payload would run past L ends the walk, as if
//     the block ended there (result 0);
//   - a named entry without a zero byte inside its payload ends a name search
//     (result 0), like an entry that is not named.
#include <algorithm>
#include <cstring>

#include "orvx/prn_static_info.h"

namespace {

struct Entry {
  BYTE key;
  const BYTE* payload;
  std::size_t size;
};

// Calls `visit` for each complete entry until it returns true; returns that
// entry, or null at the end of the block or at an entry that runs past it.
template <typename Visit>
bool Walk(const BYTE* block, Entry& found, Visit visit) {
  const std::size_t length = block[0];
  std::size_t at = 1;
  while (at < length) {
    if (at + 2 > length) return false;
    const std::size_t n = block[at + 1];
    if (at + 2 + n > length) return false;
    const Entry e{block[at], block + at + 2, n};
    switch (visit(e)) {
      case 1: found = e; return true;
      case -1: return false;
      default: break;
    }
    at += 2 + n;
  }
  return false;
}

int Deliver(const BYTE* from, std::size_t n, BYTE* out) {
  if (out && n) std::memcpy(out, from, n);
  return static_cast<int>(n);
}

bool EqualNoCase(const BYTE* a, const char* b, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    const auto lower = [](unsigned char c) { return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + 32) : c; };
    const auto cb = static_cast<unsigned char>(b[i]);
    if (lower(a[i]) != lower(cb)) return false;
    if (cb == 0) return false;  // the request ended before the stored name
  }
  return true;
}

}  // namespace

int CPrnStaticInfo::GetInTraySPSZSizeList(int trayNumber, BYTE* out) const {
  if (!InTraySPSZSizeList || trayNumber < 0 || trayNumber > 255) return 0;
  Entry e{};
  if (!Walk(InTraySPSZSizeList.get(), e, [&](const Entry& x) { return x.key == trayNumber ? 1 : 0; })) return 0;
  return Deliver(e.payload, e.size, out);
}

int CPrnStaticInfo::GetInTraySPSZSizeList(const char* trayName, BYTE* out) const {
  if (!InTraySPSZSizeList || !trayName) return 0;
  constexpr BYTE kNamedEntry = 10;
  std::size_t nameLength = 0;
  Entry e{};
  const bool hit = Walk(InTraySPSZSizeList.get(), e, [&](const Entry& x) {
    if (x.key != kNamedEntry) return -1;
    const BYTE* zero = std::find(x.payload, x.payload + x.size, BYTE{0});
    if (zero == x.payload + x.size) return -1;
    nameLength = static_cast<std::size_t>(zero - x.payload);
    return EqualNoCase(x.payload, trayName, nameLength) ? 1 : 0;
  });
  if (!hit) return 0;
  return Deliver(e.payload + nameLength + 1, e.size - nameLength - 1, out);
}

int CPrnStaticInfo::GetInTraySPSZSizeList(BYTE* out) const {
  return InTraySPSZSizeList ? Deliver(InTraySPSZSizeList.get(), InTraySPSZSizeList[0], out) : 0;
}

// A source whose byte 0 disagrees with `length` is cut to the shorter of the
// two, and byte 0 of the stored copy is set to that length, so that the block
// always describes itself truthfully. Returns the length of the block now
// held: `length` itself for a well-formed source, 0 when no block remains.
int CPrnStaticInfo::SetInTraySPSZSizeList(int length, const BYTE* source) {
  InTraySPSZSizeList.reset();
  if (length < 1 || !source) return 0;
  const std::size_t n = std::min<std::size_t>(static_cast<std::size_t>(length), source[0]);
  if (n == 0) return 0;
  auto block = std::make_unique<BYTE[]>(n);
  std::memcpy(block.get(), source, n);
  block[0] = static_cast<BYTE>(n);
  InTraySPSZSizeList = std::move(block);
  return static_cast<int>(n);
}
