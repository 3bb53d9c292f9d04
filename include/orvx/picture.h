// Picture calls for tools and other front ends: one call that builds the
// tray records from the caller's list and runs either entry point, which rule
// the entry points choose, and what each rule's tables recognise.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "orvx/afx_types.h"
#include "orvx/export.h"
#include "orvx/picture_trace.h"
#include "orvx/picture_values.h"

class CPrnStaticInfo;
class COptInTray;
class COptOutTray;

namespace orvx {

// The host strings the rules read (a renamed manual or default tray's name).
inline constexpr UINT kManualTrayString = ORVX_STRING_MANUAL_TRAY;
inline constexpr UINT kDefaultTrayString = ORVX_STRING_DEFAULT_TRAY;

struct PictureRoute {
  const char* rule;   // e.g. "GetOptionFlagEx_Nightjar"; null when no rule runs
  DWORD fixedResult;  // the result when no rule runs (0, or 0x800 for some copier groups)
};

// The rule of GetPictureID (extended = false) or GetPictureIDEx (true) for a
// record with this vendor ID and model group ID.
ORVX_API PictureRoute ChoosePictureRule(int vendor, int group, bool extended);

// One tray as the caller describes it; the call builds its tray record.
struct PictureTray {
  std::string_view name;
  int id = ORVX_TRAY_NEW_ID;
  int addUnit = ORVX_TRAY_NEW_ADD_UNIT;
  int delivery = ORVX_TRAY_NEW_DELIVERY;  // out-trays only
};

// One picture call. The host strings the rules read travel with it.
struct PictureCall {
  bool extended = true;  // GetPictureIDEx, else GetPictureID
  std::span<const PictureTray> in, out;
  int duplexUnit = 0, outputUnit = 0;                     // classic only
  std::span<const std::string_view> options, docOptions;  // extended only
  std::optional<std::string_view> manualTrayName;         // kManualTrayString; none: a renamed tray's name is empty
  std::optional<std::string_view> defaultTrayName;        // kDefaultTrayString
};

// Makes picture calls. It keeps its tray records from one call to the next,
// so a stream of calls allocates nothing once warm; one caller serves one
// thread at a time, and calls on different callers share nothing.
class ORVX_API PictureCaller {
 public:
  PictureCaller();
  ~PictureCaller();
  PictureCaller(const PictureCaller&) = delete;
  PictureCaller& operator=(const PictureCaller&) = delete;

  // Runs `call` on `record` and returns the picture ID. A trace, when given,
  // is cleared and receives what the rules did.
  DWORD Call(const CPrnStaticInfo& record, const PictureCall& call, PictureTrace* trace = nullptr);
  // The trays of the last call as the rule left them (final name and ID).
  const COptInTray& In(std::size_t i) const;
  const COptOutTray& Out(std::size_t i) const;

 private:
  struct Trays;
  std::unique_ptr<Trays> trays_;
};

// Which rule serves a vendor and model group, per entry point: every row of
// the dispatch lists. `groups` holds -1 for "every group no other row names".
struct PictureRuleRoute {
  std::string rule;  // "" for a fixed result
  bool extended;
  int vendor;
  std::vector<int> groups;
  DWORD fixedResult;
};
ORVX_API const std::vector<PictureRuleRoute>& PictureRoutes();

// One row of a rule's tables, as a tool shows it.
struct PictureRuleRow {
  PictureTraceStep::Kind table;  // which names it tests; Rule: a step of the rule's own
  int index;                     // its index in that table, as a trace step's `row`
  std::string test;              // begins with "Cassette" (8) or is "Tray 1", drawer count 2, ...
  std::vector<std::string> literals;
  DWORD bits;
  int id;              // the tray ID it writes; -1 when none
  std::string effect;  // anything else it does or needs; "" if nothing
};
// The rows of the rule named `rule` (as ChoosePictureRule names it), in table
// order; null for a name that is no rule.
ORVX_API const std::vector<PictureRuleRow>* PictureRuleRows(std::string_view rule);

}  // namespace orvx
