#include "orvx/afx_coll.h"

void CPtrArray::SetAtGrow(int i, void* p) {
  if (i < 0) return;
  const auto at = static_cast<std::size_t>(i);
  if (at >= v_.size()) v_.resize(at + 1, nullptr);
  v_[at] = p;
}

void CPtrArray::SetSize(int size, int /*growBy*/) {
  if (size <= 0) {
    std::vector<void*>().swap(v_);
    return;
  }
  v_.resize(static_cast<std::size_t>(size), nullptr);
}
