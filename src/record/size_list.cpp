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
#include "orvx/size_list.h"
#include "orvx/text.h"

namespace orvx {

bool SizeListEntry::Named() const {
  return key == kNamedSizeList && std::find(payload.begin(), payload.end(), BYTE{0}) != payload.end();
}

std::string_view SizeListEntry::Name() const {
  if (!Named()) return {};
  const auto zero = std::find(payload.begin(), payload.end(), BYTE{0});
  return {reinterpret_cast<const char*>(payload.data()), static_cast<std::size_t>(zero - payload.begin())};
}

std::span<const BYTE> SizeListEntry::Sizes() const {
  return Named() ? payload.subspan(Name().size() + 1) : payload;
}

SizeListReader::SizeListReader(std::span<const BYTE> block)
    : block_(block.empty() ? block : block.first(std::min<std::size_t>(block.size(), block[0]))) {}

bool SizeListReader::Next(SizeListEntry& entry) {
  const std::size_t length = block_.size();
  if (problem_.Failed() || at_ >= length) return false;
  if (at_ + 2 > length || at_ + 2 + block_[at_ + 1] > length) {
    problem_ = {Status::Format,
                "the entry at byte " + std::to_string(at_) + " (key " + std::to_string(block_[at_]) +
                    ") runs past the end of the block",
                0, static_cast<long long>(at_)};
    return false;
  }
  entry = {block_[at_], block_.subspan(at_ + 2, block_[at_ + 1]), at_};
  at_ += 2 + entry.payload.size();
  return true;
}

namespace {

bool EqualNoCase(std::string_view a, const char* b) {
  for (std::size_t i = 0; i < a.size(); ++i) {
    const auto cb = static_cast<unsigned char>(b[i]);
    if (cb == 0) return false;  // the request ended before the stored name
    if (text::FoldCase(a[i]) != text::FoldCase(static_cast<char>(cb))) return false;
  }
  return true;
}

}  // namespace

std::optional<std::span<const BYTE>> FindSizeList(std::span<const BYTE> block, int trayNumber) {
  if (trayNumber < 0 || trayNumber > 255) return std::nullopt;
  SizeListReader reader(block);
  for (SizeListEntry e; reader.Next(e);)
    if (e.key == trayNumber) return e.payload;
  return std::nullopt;
}

// Named entries come first: the search ends at the first entry that is not one.
std::optional<std::span<const BYTE>> FindSizeList(std::span<const BYTE> block, const char* trayName) {
  if (!trayName) return std::nullopt;
  SizeListReader reader(block);
  for (SizeListEntry e; reader.Next(e);) {
    if (!e.Named()) return std::nullopt;
    if (EqualNoCase(e.Name(), trayName)) return e.Sizes();
  }
  return std::nullopt;
}

}  // namespace orvx

namespace {

int Deliver(std::span<const BYTE> bytes, BYTE* out) {
  if (out && !bytes.empty()) std::memcpy(out, bytes.data(), bytes.size());
  return static_cast<int>(bytes.size());
}

std::span<const BYTE> Block(const std::unique_ptr<BYTE[]>& block) {
  return {block.get(), block ? block[0] : std::size_t{0}};
}

}  // namespace

int CPrnStaticInfo::GetInTraySPSZSizeList(int trayNumber, BYTE* out) const {
  if (!InTraySPSZSizeList) return 0;
  const auto list = orvx::FindSizeList(Block(InTraySPSZSizeList), trayNumber);
  return list ? Deliver(*list, out) : 0;
}

int CPrnStaticInfo::GetInTraySPSZSizeList(const char* trayName, BYTE* out) const {
  if (!InTraySPSZSizeList) return 0;
  const auto list = orvx::FindSizeList(Block(InTraySPSZSizeList), trayName);
  return list ? Deliver(*list, out) : 0;
}

int CPrnStaticInfo::GetInTraySPSZSizeList(BYTE* out) const {
  return InTraySPSZSizeList ? Deliver(Block(InTraySPSZSizeList), out) : 0;
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

namespace orvx {

bool DecodeSizeLists(std::span<const BYTE> block, std::vector<TraySizes>& out) {
  out.clear();
  SizeListReader reader(block);
  for (SizeListEntry e; reader.Next(e);) {
    if (e.key == kNamedSizeList && !e.Named()) return false;
    const auto sizes = e.Sizes();
    out.push_back({e.Named(), e.key, std::string(e.Name()), std::vector<BYTE>(sizes.begin(), sizes.end())});
  }
  return !reader.Problem().Failed();
}

const char* TrayProblem(const TraySizes& t) {
  if (t.named) return t.name.find('\0') == std::string::npos ? nullptr : "a tray name cannot hold a zero byte";
  if (t.number >= 0 && t.number <= 255 && t.number != kNamedSizeList) return nullptr;
  return "\"tray\" must be a name or a number from 0 to 255 other than 10 (the key of named entries)";
}

Result<std::vector<BYTE>> EncodeSizeLists(std::span<const TraySizes> trays) {
  std::vector<BYTE> block(1);
  for (std::size_t n = 0; n < trays.size(); ++n) {
    const TraySizes& t = trays[n];
    const auto fail = [&](const std::string& problem) {
      return Status{Status::Argument, "entry " + std::to_string(n) + ": " + problem};
    };
    if (const char* problem = TrayProblem(t)) return fail(problem);
    const std::size_t start = block.size();
    block.push_back(t.named ? kNamedSizeList : static_cast<BYTE>(t.number));
    block.push_back(0);
    if (t.named) {
      block.insert(block.end(), t.name.begin(), t.name.end());
      block.push_back(0);
    }
    block.insert(block.end(), t.sizes.begin(), t.sizes.end());
    if (block.size() > 255)
      return fail("the block grows to " + std::to_string(block.size()) + " bytes here; it holds at most 255");
    block[start + 1] = static_cast<BYTE>(block.size() - start - 2);
  }
  block[0] = static_cast<BYTE>(block.size());
  return block;
}

}  // namespace orvx
