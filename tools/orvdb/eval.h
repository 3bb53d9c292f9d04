// orvdb eval: JSON Lines requests in, one JSON line answer out per request.
#pragma once

#include <cstdint>
#include <istream>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "orvx/json_reader.h"
#include "orvx/database.h"
#include "orvx/whole_file.h"
#include "picture_codec.h"

namespace orvdb {

namespace json = orvx::json;

class Evaluator {
 public:
  Evaluator() = default;
  Evaluator(const Evaluator&) = delete;
  Evaluator& operator=(const Evaluator&) = delete;

  // Appends the answer to one request line (without the line end) to `out`.
  // A bad request is answered with {"error": "..."}.
  void Answer(std::string_view line, std::string& out);
  std::string Answer(std::string_view line) {
    std::string out;
    Answer(line, out);
    return out;
  }
  // Answers every non-blank line of `in` on `out`, in order, each as soon as
  // its request is complete.
  void Run(std::istream& in, std::ostream& out);

 private:
  // The database of the file `path` names. A file is read once and kept
  // while it is among the kCachedDatabases used last: any path to the same
  // file (a link, another spelling) finds it. Each request stats the path
  // (nothing is opened); a file rewritten in place or replaced at the path
  // changes its size or times and is read anew, and one that changed too
  // recently for its times to show a further change is read anew until it
  // has stayed still for kStillNanoseconds.
  orvx::ModelDatabase& Load(const std::string& path);
  void Picture(std::string& out);
  void SizeList(std::string& out);
  void Info(std::string& out);
  void Lookup(std::string& out);

  static constexpr std::size_t kCachedDatabases = 16;
  // File systems stamp times in ticks (FAT: 2 s) from a clock that may run a
  // little behind the one read here: after 3 s without a change, any later
  // change shows in the times.
  static constexpr std::int64_t kStillNanoseconds = 3'000'000'000;
  struct Cached {
    orvx::FileState state;  // as the path showed it before the read
    bool still = false;     // it had not changed for kStillNanoseconds when read
    std::uint64_t lastUse = 0;
    orvx::ModelDatabase db;
  };
  std::vector<Cached> databases_;
  std::uint64_t uses_ = 0;
  // Reused from one request to the next.
  json::Reader reader_;
  PictureRequest request_;
  PictureCodec codec_;
  CPrnStaticInfo record_;
  std::string text_, op_, path_;
};

}  // namespace orvdb
