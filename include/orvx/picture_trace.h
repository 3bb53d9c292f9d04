// What the picture rules did, step by step, for tools that explain a picture
// ID. While a PictureTrace lives, the rule engine records on the same thread
// every option name and tray it tests: which row of which table matched (or
// none), the bits that row added and the tray ID it left. With no trace
// alive the engine only checks that none is.
#pragma once

#include <string>
#include <vector>

#include "orvx/afx_types.h"
#include "orvx/export.h"

namespace orvx {

struct PictureTraceStep {
  enum Kind { Option, InTray, OutTray } kind = Option;
  std::string name;   // the name as the rule tested it
  int row = -1;       // index of the matching row in its table; -1: no row matched
  std::string test;   // the matching row's name test, e.g. begins with "Cassette"
  DWORD added = 0;    // bits the row set that were not set before
  int id = -1;        // the tray's ID after the row (trays only)
};

class ORVX_API PictureTrace {
 public:
  PictureTrace();
  PictureTrace(const PictureTrace&) = delete;
  PictureTrace& operator=(const PictureTrace&) = delete;
  ~PictureTrace();

  const std::vector<PictureTraceStep>& Steps() const { return steps_; }
  void Add(PictureTraceStep step) { steps_.push_back(std::move(step)); }
  // The trace recording on this thread, or null.
  static PictureTrace* Current();

 private:
  std::vector<PictureTraceStep> steps_;
  PictureTrace* previous_;
};

}  // namespace orvx
