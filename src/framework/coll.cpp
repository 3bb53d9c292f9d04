#include "orvx/afx_coll.h"

#include <algorithm>
#include <atomic>

std::uint64_t CPtrArray::NextStamp() {
  static std::atomic<std::uint64_t> last;  // stamps start at 1
  return ++last;
}

void CPtrArray::SetAtGrow(int i, void* p) {
  if (i < 0) return;
  const auto at = static_cast<std::size_t>(i);
  if (at >= v_.size()) v_.resize(at + 1, nullptr);
  v_[at] = p;
  Touch();
}

void CPtrArray::InsertAt(int i, void* p, int count) {
  if (i < 0 || count <= 0) return;
  const auto at = static_cast<std::size_t>(i);
  v_.resize(std::max(at, v_.size()), nullptr);  // past the end: null pointers up to it
  v_.insert(v_.begin() + static_cast<std::ptrdiff_t>(at), static_cast<std::size_t>(count), p);
  Touch();
}

void CPtrArray::RemoveAt(int i, int count) {
  if (i < 0 || count <= 0 || static_cast<std::size_t>(i) >= v_.size()) return;
  const auto at = static_cast<std::size_t>(i);
  const std::size_t n = std::min(static_cast<std::size_t>(count), v_.size() - at);
  v_.erase(v_.begin() + static_cast<std::ptrdiff_t>(at), v_.begin() + static_cast<std::ptrdiff_t>(at + n));
  Touch();
}

void CPtrArray::SetSize(int size, int /*growBy*/) {
  Touch();
  v_.resize(static_cast<std::size_t>(std::max(size, 0)), nullptr);
  if (v_.empty()) std::vector<void*>().swap(v_);  // and its storage goes
}
