// The framework's containers: pointer array, string list and object list.
// Only what the library and its hosts use: ordered storage walked from the head.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "orvx/afx_string.h"
#include "orvx/export.h"

class CObject;

class ORVX_API CPtrArray {
 public:
  CPtrArray() = default;
  CPtrArray(const CPtrArray& other) : v_(other.v_), stamp_(other.stamp_) {}
  CPtrArray(CPtrArray&& other) noexcept : v_(std::move(other.v_)), stamp_(other.stamp_) { other.Touch(); }
  CPtrArray& operator=(const CPtrArray& other) {
    v_ = other.v_;
    stamp_ = other.stamp_;
    return *this;
  }
  CPtrArray& operator=(CPtrArray&& other) noexcept {
    v_ = std::move(other.v_);
    stamp_ = other.stamp_;
    other.Touch();
    return *this;
  }
  ~CPtrArray() = default;

  int GetSize() const { return static_cast<int>(v_.size()); }
  int GetCount() const { return GetSize(); }
  bool IsEmpty() const { return v_.empty(); }
  int GetUpperBound() const { return GetSize() - 1; }
  void* GetAt(int i) const { return v_.at(static_cast<std::size_t>(i)); }
  void SetAt(int i, void* p) {
    v_.at(static_cast<std::size_t>(i)) = p;
    Touch();
  }
  void*& ElementAt(int i) {
    Touch();
    return v_.at(static_cast<std::size_t>(i));
  }
  void* operator[](int i) const { return GetAt(i); }
  void*& operator[](int i) { return ElementAt(i); }
  // Sets element i, growing the array with null pointers when i is past the end.
  void SetAtGrow(int i, void* p);
  int Add(void* p) {
    v_.push_back(p);
    Touch();
    return GetSize() - 1;
  }
  void InsertAt(int i, void* p, int count = 1);
  void RemoveAt(int i, int count = 1);
  // A new size of 0 also releases the storage, as the framework does.
  void SetSize(int size, int growBy = -1);
  void RemoveAll() { SetSize(0); }
  void** GetData() {
    Touch();
    return v_.data();
  }

  auto begin() const { return v_.begin(); }
  auto end() const { return v_.end(); }

  // Moves on every change, and on every call that hands out a way to change
  // the array, to a value no other state of any array had: two equal stamps
  // mean the same elements. Lookup indexes over the array compare it.
  std::uint64_t Stamp() const { return stamp_; }

 private:
  static std::uint64_t NextStamp();
  void Touch() { stamp_ = NextStamp(); }

  std::vector<void*> v_;
  std::uint64_t stamp_ = NextStamp();
};

class ORVX_API CStringList {
 public:
  CStringList() = default;
  CStringList(std::initializer_list<CString> items) : v_(items) {}
  int GetCount() const { return static_cast<int>(v_.size()); }
  int GetSize() const { return GetCount(); }
  bool IsEmpty() const { return v_.empty(); }
  void AddTail(const CString& s) { v_.push_back(s); }
  void AddHead(const CString& s) { v_.insert(v_.begin(), s); }
  const CString& GetHead() const { return v_.front(); }
  const CString& GetTail() const { return v_.back(); }
  void RemoveAll() { v_.clear(); }

  auto begin() const { return v_.begin(); }
  auto end() const { return v_.end(); }

 private:
  std::vector<CString> v_;
};

// A list of borrowed object pointers; whoever fills it decides who deletes them.
class ORVX_API CObList {
 public:
  int GetCount() const { return static_cast<int>(v_.size()); }
  bool IsEmpty() const { return v_.empty(); }
  void AddTail(CObject* p) { v_.push_back(p); }
  CObject* GetHead() const { return v_.front(); }
  void RemoveAll() { v_.clear(); }

  auto begin() const { return v_.begin(); }
  auto end() const { return v_.end(); }

 private:
  std::vector<CObject*> v_;
};
