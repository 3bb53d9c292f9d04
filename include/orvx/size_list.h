// Walking the entries of a size-list block (InTraySPSZSizeList): byte 0 is the
// block's length L, then entries of a key byte, a payload length n and n
// payload bytes. Key 10 marks a named entry: the tray's name, a zero byte,
// then the sizes. The record's size-list getters and the tools walk blocks
// with this one reader.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

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

// One entry of a block as data: a numbered tray's or a named tray's sizes.
struct TraySizes {
  bool named = false;
  int number = 0;  // the entry's key: the tray number, or 10 for a named entry
  std::string name;
  std::vector<BYTE> sizes;
};
// The entries of a well-formed block, in order. False when an entry runs past
// the end of the block or an entry of key 10 has no zero byte after a name.
ORVX_API bool DecodeSizeLists(std::span<const BYTE> block, std::vector<TraySizes>& out);
// Why an entry cannot be stored (a name holding a zero byte, a number
// outside 0 to 255 or equal to 10), or null.
ORVX_API const char* TrayProblem(const TraySizes& tray);
// The block of `trays`, its length byte first: an Argument failure
// ("entry 3: the block grows to 260 bytes here; it holds at most 255") when
// it does not fit, or a tray cannot be stored.
ORVX_API Result<std::vector<BYTE>> EncodeSizeLists(std::span<const TraySizes> trays);

}  // namespace orvx
