// CString: a byte string in the system's multibyte code page.
#pragma once

#include <compare>
#include <string>
#include <string_view>

#include "orvx/afx_types.h"
#include "orvx/export.h"

class ORVX_API CString {
 public:
  CString() = default;
  CString(const char* text) : s_(text ? text : "") {}  // NOLINT: implicit like the framework's
  CString(const char* text, int length) : s_(text ? text : "", text && length > 0 ? length : 0) {}
  CString(std::string_view text) : s_(text) {}  // NOLINT
  CString(std::string text) : s_(std::move(text)) {}  // NOLINT

  int GetLength() const { return static_cast<int>(s_.size()); }
  bool IsEmpty() const { return s_.empty(); }
  void Empty() { s_.clear(); }
  operator const char*() const { return s_.c_str(); }  // NOLINT: LPCTSTR conversion
  const char* c_str() const { return s_.c_str(); }
  std::string_view view() const { return s_; }
  const std::string& str() const { return s_; }
  char operator[](int i) const { return s_[static_cast<std::size_t>(i)]; }

  // The first n, last n, or from-n-on characters; counts are clamped to the string.
  CString Left(int n) const;
  CString Right(int n) const;
  CString Mid(int first) const;
  // Index of the first occurrence of `sub`, or -1.
  int Find(std::string_view sub) const;

  // Loads a string resource of the host; false (and an empty string) when there is none.
  BOOL LoadString(UINT id);

  CString& operator=(const char* text) {
    s_ = text ? text : "";
    return *this;
  }
  CString& operator+=(std::string_view more) {
    s_ += more;
    return *this;
  }
  friend CString operator+(const CString& a, std::string_view b) { return CString(a.s_ + std::string(b)); }

  friend bool operator==(const CString& a, const CString& b) { return a.s_ == b.s_; }
  friend bool operator==(const CString& a, std::string_view b) { return a.view() == b; }
  friend bool operator==(const CString& a, const char* b) { return a.view() == std::string_view(b ? b : ""); }
  // Through compare(): older standard libraries (libc++ 14) have no <=> for std::string.
  friend std::strong_ordering operator<=>(const CString& a, const CString& b) { return a.s_.compare(b.s_) <=> 0; }

 private:
  std::string s_;
};
