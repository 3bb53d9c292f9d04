// Lookup indexes copy the names of the records they cover. A record that an
// index has read marks itself; renaming a marked record moves a process-wide
// generation, and an index made under another generation is made again. Names
// change rarely (a load, a host's SetModelName), lookups often.
#pragma once

#include <cstdint>

#include "orvx/prn_static_info.h"

namespace orvx::detail {

struct NameWatch {
  static void Indexed(const CPrnStaticInfo& r) { r.nameIndexed_.store(true, std::memory_order_relaxed); }
  static void Renamed(const CPrnStaticInfo& r) {
    if (r.nameIndexed_.load(std::memory_order_relaxed)) Bump();
  }
  static std::uint64_t Generation();

 private:
  static void Bump();
};

}  // namespace orvx::detail
