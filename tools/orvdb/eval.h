// orvdb eval: JSON Lines requests in, one JSON line answer out per request.
#pragma once

#include <istream>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "orvx/database.h"

namespace orvdb {

class Evaluator {
 public:
  Evaluator() = default;
  Evaluator(const Evaluator&) = delete;
  Evaluator& operator=(const Evaluator&) = delete;
  ~Evaluator() = default;

  // The answer to one request line (without the line end). A bad request is
  // answered with {"error": "..."}.
  std::string Answer(std::string_view line);
  // Answers every non-blank line of `in` on `out`, in order.
  void Run(std::istream& in, std::ostream& out);

 private:
  // Each database file is read once per evaluator.
  const orvx::ModelDatabase& Load(const std::string& path);

  std::map<std::string, orvx::ModelDatabase> databases_;
};

// Appends `s` to `out` as a JSON string; bytes that are not UTF-8 become U+FFFD.
void AppendJsonString(std::string& out, std::string_view s);

}  // namespace orvdb
