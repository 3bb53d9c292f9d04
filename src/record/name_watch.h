// Lookup indexes hold hashes of the names of the records they cover. A record
// that an index has read points at that index's rename counter, and a real
// change of its name moves it, so that only the list holding the record makes
// its index again. A record read by two indexes (a host's record both in the
// library-wide array and elsewhere) moves a shared counter that every index
// watches. Names change rarely (a load, a host's SetModelName), lookups often.
#pragma once

#include <atomic>
#include <cstdint>

#include "orvx/prn_static_info.h"

namespace orvx::detail {

struct NameWatch {
  static void Indexed(const CPrnStaticInfo& r, std::atomic<std::uint64_t>& counter) {
    std::atomic<std::uint64_t>* seen = nullptr;
    if (r.nameWatch_.compare_exchange_strong(seen, &counter, std::memory_order_acq_rel) || seen == &counter) return;
    r.nameWatch_.store(&SharedCounter(), std::memory_order_release);
  }
  static void Renamed(const CPrnStaticInfo& r) {
    if (auto* counter = r.nameWatch_.load(std::memory_order_acquire)) counter->fetch_add(1, std::memory_order_acq_rel);
  }
  static std::uint64_t Shared() { return SharedCounter().load(std::memory_order_acquire); }

 private:
  static std::atomic<std::uint64_t>& SharedCounter();
};

}  // namespace orvx::detail
