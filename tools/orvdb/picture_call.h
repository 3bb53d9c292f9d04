// One picture-ID request as the tool makes it: a record, trays built from
// names and fields, unit-name lists and host strings; and what it answered.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "orvx/prn_static_info.h"

namespace orvdb {

struct TraySpec {
  std::string name;
  int id = -1;
  int addUnit = 0;
  int derivery = 2;  // out-trays only
};

struct PictureRequest {
  bool extended = true;   // GetPictureIDEx, else GetPictureID
  bool byNames = false;   // the name-list form
  std::vector<TraySpec> in, out;
  int duplexUnit = 0, outputUnit = 0;
  std::vector<std::string> options, docOptions;
  std::map<UINT, std::string> strings;  // the host's string table for this call
};

struct TrayResult {
  std::string name;
  int id;
};

struct PictureResult {
  DWORD pictureId = 0;
  std::vector<TrayResult> in, out;  // empty for the name-list form
};

// Runs the request on `record`. The host string table is replaced by the
// request's for the duration of the call.
PictureResult CallPicture(CPrnStaticInfo& record, const PictureRequest& request);

}  // namespace orvdb
