// Walking the entries of a size-list block (InTraySPSZSizeList): byte 0 is the
// block's length L, then entries of a key byte, a payload length n and n
// payload bytes. Key 10 marks a named entry: the tray's name, a zero byte,
// then the sizes. The record's size-list getters and the tools walk blocks
// with this one reader.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

#include "orvx/afx_types.h"
#include "orvx/export.h"
#include "orvx/status.h"

namespace orvx {

inline constexpr BYTE kNamedSizeList = 10;

struct ORVX_API SizeListEntry {
  BYTE key = 0;
  std::span<const BYTE> payload;
  std::size_t offset = 0;  // of the key byte, within the block

  // A named entry holds a zero byte that ends its name.
  bool Named() const;
  // The name of a named entry ("" otherwise).
  std::string_view Name() const;
  // The size codes: after the name of a named entry, else the whole payload.
  std::span<const BYTE> Sizes() const;
};

class ORVX_API SizeListReader {
 public:
  // `block` as held: its first byte is its length, and only that many bytes are read.
  explicit SizeListReader(std::span<const BYTE> block);
  // The next complete entry; false at the end, or at an entry that runs past
  // the end of the block.
  bool Next(SizeListEntry& entry);
  // Why the walk stopped early: a Format error whose `where` is the offset
  // of the entry that runs past the end of the block. None after a complete walk.
  const Status& Problem() const { return problem_; }

 private:
  std::span<const BYTE> block_;
  std::size_t at_ = 1;
  Status problem_;
};

// The size list of input tray `trayNumber` (a numbered entry; 0 to 255), or
// of the tray named `trayName` (the named entries that come first, compared
// without regard to letter case, a stored name matching any request that
// begins with it), in `block` as held. Nothing when no entry lists the tray;
// an entry that lists it may hold no sizes.
ORVX_API std::optional<std::span<const BYTE>> FindSizeList(std::span<const BYTE> block, int trayNumber);
ORVX_API std::optional<std::span<const BYTE>> FindSizeList(std::span<const BYTE> block, const char* trayName);

}  // namespace orvx
