// What the picture rules did in one call, step by step, for tools that
// explain a picture ID: every option and document-unit name and every tray
// the rule tested, with the row that matched (or none), every bit the rule
// set by itself (start value, bits by drawer count, fallback, ...), every
// input it did not read (a unit without a bit, names the entry point drops,
// trays of a group without a rule) and the step that left a 0 or a fixed
// result.
// A trace belongs to the one call it is handed to (orvx::PictureCaller).
#pragma once

#include <string>
#include <vector>

#include "orvx/afx_types.h"
#include "orvx/export.h"

namespace orvx {

struct PictureTraceStep {
  enum Kind { Option, DocOption, InTray, OutTray, Rule } kind = Option;
  std::string name;       // the name as the rule tested it; rule steps: ""
  std::string inputName;  // trays: the name the caller gave; options: the name; rule steps: ""
  std::string finalName;  // trays: the name after the call; else ""
  int tray = -1;          // trays: the position in its list
  int row = -1;           // the row of its table that matched (see PictureRuleRows); -1: none
  std::string test;       // the matching row's test, or what a rule step is ("start value", ...)
  DWORD added = 0;        // bits the step set that were not set before
  int id = -1;            // trays: the tray's ID after the step
};

// The name of a step kind as every face writes it ("in-tray"); null for a value that is no kind.
ORVX_API const char* PictureStepName(int kind);

struct PictureTrace {
  std::string rule;  // the rule function that ran; "" when none did
  std::vector<PictureTraceStep> steps;

  void Clear() {
    rule.clear();
    steps.clear();
  }
};

}  // namespace orvx
