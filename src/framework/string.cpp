#include <algorithm>

#include "orvx/afx_host.h"
#include "orvx/afx_string.h"

namespace {
std::size_t Clamp(int n, std::size_t size) {
  return std::min(static_cast<std::size_t>(std::max(n, 0)), size);
}
}  // namespace

CString CString::Left(int n) const { return CString(s_.substr(0, Clamp(n, s_.size()))); }

CString CString::Right(int n) const {
  const std::size_t k = Clamp(n, s_.size());
  return CString(s_.substr(s_.size() - k));
}

CString CString::Mid(int first) const { return CString(s_.substr(Clamp(first, s_.size()))); }

int CString::Find(std::string_view sub) const {
  const auto at = s_.find(sub);
  return at == std::string::npos ? -1 : static_cast<int>(at);
}

BOOL CString::LoadString(UINT id) {
  if (orvx::host::LoadHostString(id, s_)) return TRUE;
  s_.clear();
  return FALSE;
}
