// One picture-ID request as the tool makes it: a record, trays built from
// names and fields, unit-name lists and host strings; and what it answered.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "orvx/prn_static_info.h"

namespace orvdb {

struct TrayInput {
  std::string name;
  int id = -1;
  int addUnit = 0;
  int derivery = 2;  // out-trays only
};

struct PictureRequest {
  bool extended = true;   // GetPictureIDEx, else GetPictureID
  bool byNames = false;   // the name-list form
  std::vector<TrayInput> in, out;
  std::size_t inCount = 0, outCount = 0;  // trays in use; the vectors keep their capacity
  int duplexUnit = 0, outputUnit = 0;
  std::vector<std::string> options, docOptions;
  std::size_t optionCount = 0, docOptionCount = 0;
  std::map<UINT, std::string> strings;  // the host's string table for this call

  void Clear();
  TrayInput& AddIn();
  TrayInput& AddOut();
  std::string& AddOption();
  std::string& AddDocOption();
};

// Makes picture calls, keeping its tray records and lists from one call to
// the next, so that a stream of requests allocates nothing once warm.
class PictureCaller {
 public:
  // Runs `request` on `record`; the host string table is the request's for
  // the call. The result: the picture ID, and `In(i)` / `Out(i)` the trays
  // as the rule left them (tray form only).
  DWORD Call(CPrnStaticInfo& record, const PictureRequest& request);
  const COptInTray& In(std::size_t i) const { return *ins_[i]; }
  const COptOutTray& Out(std::size_t i) const { return *outs_[i]; }

 private:
  std::vector<std::unique_ptr<COptInTray>> ins_;
  std::vector<std::unique_ptr<COptOutTray>> outs_;
  CPtrArray in_, out_;
  CStringList inNames_, outNames_, options_, docOptions_;
};

}  // namespace orvdb
