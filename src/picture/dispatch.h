// Inside the picture entry points: the choice of rule, and the tray records
// a call builds from the caller's list.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "picture/engine.h"

namespace orvx::picture {

// What one entry point does with pointer arrays: normalise the tray names,
// choose the rule by vendor and model group and run it.
DWORD Dispatch(const CPrnStaticInfo& record, bool extended, const Lists& lists);

// Tray records built from a caller's list, kept from one call to the next.
// The rules change a tray's name and ID only; each call sets every field
// they read.
class TrayRecords {
 public:
  void Resize(std::size_t inCount, std::size_t outCount);
  void SetIn(std::size_t i, const PictureTray& tray);
  void SetOut(std::size_t i, const PictureTray& tray);
  COptInTray& In(std::size_t i) const { return *ins_[i]; }
  COptOutTray& Out(std::size_t i) const { return *outs_[i]; }

  CPtrArray in, out;

 private:
  std::vector<std::unique_ptr<COptInTray>> ins_;
  std::vector<std::unique_ptr<COptOutTray>> outs_;
  std::string name_;  // a NUL-terminated copy of the name being set
};

}  // namespace orvx::picture
