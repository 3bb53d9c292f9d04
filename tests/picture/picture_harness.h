// Runs the picture-ID entry points on trays built from a short description
// and reports the result and what became of every tray.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "orvx/prn_static_info.h"

namespace picture_test {

// An in- or out-tray as the host would build it.
struct T {
  T(const char* n) : name(n) {}  // NOLINT: a bare name is the common case
  T& Unit(int u) { addUnit = u; return *this; }
  T& Delivery(int d) { derivery = d; return *this; }
  T& Id(int i) { id = i; return *this; }
  std::string name;
  int addUnit = 0;
  int derivery = 2;
  int id = -1;
  bool Plain() const { return addUnit == 0 && derivery == 2 && id == -1; }
};

struct Outcome {
  DWORD result = 0;
  std::vector<int> inIds, outIds;
  std::vector<std::string> inNames, outNames;
};

struct Request {
  int vendor = 1;
  int group = 0;
  std::vector<T> in = {};
  std::vector<T> out = {};
  int duplexUnit = 0;
  int outputUnit = 0;
  std::vector<std::string> options = {};
  std::vector<std::string> docOptions = {};
  const char* model = nullptr;
};

inline CStringList Names(const std::vector<std::string>& names) {
  CStringList l;
  for (const auto& n : names) l.AddTail(n);
  return l;
}

template <class Tray>
std::vector<std::unique_ptr<Tray>> Build(const std::vector<T>& given, CPtrArray& array) {
  std::vector<std::unique_ptr<Tray>> trays;
  for (const auto& s : given) {
    auto t = std::make_unique<Tray>();
    t->SetName(s.name.c_str());
    t->SetAddUnit(s.addUnit);
    t->SetID(s.id);
    if constexpr (std::is_same_v<Tray, COptOutTray>) t->SetDerivery(s.derivery);
    array.Add(t.get());
    trays.push_back(std::move(t));
  }
  return trays;
}

// Calls GetPictureID (extended = false) or GetPictureIDEx with tray records.
// When every tray is plain, also checks that the name-list form of the same
// entry point returns the same result.
inline Outcome Call(const Request& r, bool extended) {
  CPrnStaticInfo record;
  record.SetVenderID(static_cast<WORD>(r.vendor));
  record.SetModelGroupID(static_cast<WORD>(r.group));
  if (r.model) record.SetModelName(r.model);
  CPtrArray in, out;
  auto ins = Build<COptInTray>(r.in, in);
  auto outs = Build<COptOutTray>(r.out, out);
  CStringList options = Names(r.options), docs = Names(r.docOptions);

  Outcome o;
  o.result = extended ? record.GetPictureIDEx(in, out, options, docs)
                      : record.GetPictureID(in, out, r.duplexUnit, r.outputUnit);
  for (const auto& t : ins) {
    o.inIds.push_back(t->GetID());
    o.inNames.push_back(t->GetName().str());
  }
  for (const auto& t : outs) {
    o.outIds.push_back(t->GetID());
    o.outNames.push_back(t->GetName().str());
  }

  bool plain = true;
  for (const auto& t : r.in) plain = plain && t.Plain();
  for (const auto& t : r.out) plain = plain && t.Plain();
  if (plain) {
    std::vector<std::string> inNames, outNames;
    for (const auto& t : r.in) inNames.push_back(t.name);
    for (const auto& t : r.out) outNames.push_back(t.name);
    CStringList inList = Names(inNames), outList = Names(outNames);
    const DWORD byNames = extended ? record.GetPictureIDEx(inList, outList, options, docs)
                                   : record.GetPictureID(inList, outList, r.duplexUnit, r.outputUnit);
    EXPECT_EQ(byNames, o.result) << "the name-list form disagrees";
  }
  return o;
}

// One expectation: the picture ID and the IDs of the in- and out-trays.
struct Expect {
  DWORD result;
  std::vector<int> inIds;
  std::vector<int> outIds;
};

inline void Check(const Request& r, const Expect& e, bool extended) {
  const Outcome o = Call(r, extended);
  EXPECT_EQ(o.result, e.result) << std::hex << "got 0x" << o.result << ", want 0x" << e.result;
  EXPECT_EQ(o.inIds, e.inIds);
  EXPECT_EQ(o.outIds, e.outIds);
}

struct Case {
  const char* what;
  Request request;
  Expect expect;
};

inline void CheckAll(std::initializer_list<Case> cases, bool extended) {
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Check(c.request, c.expect, extended);
  }
}

}  // namespace picture_test
