// One picture-ID request as the tool makes it: a record, trays built from
// names and fields, unit-name lists and host strings; and what it answered.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "orvx/picture.h"
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

// Makes picture calls through the library's one picture call, keeping its
// lists from one call to the next, so that a stream of requests allocates
// nothing once warm.
class PictureCaller {
 public:
  // Runs `request` on `record` with the request's host strings. The result:
  // the picture ID, and `In(i)` / `Out(i)` the trays as the rule left them.
  DWORD Call(const CPrnStaticInfo& record, const PictureRequest& request, orvx::PictureTrace* trace = nullptr);
  const COptInTray& In(std::size_t i) const { return caller_.In(i); }
  const COptOutTray& Out(std::size_t i) const { return caller_.Out(i); }

 private:
  orvx::PictureCaller caller_;
  std::vector<orvx::PictureTray> in_, out_;
  std::vector<std::string_view> options_, docOptions_;
};

}  // namespace orvdb
