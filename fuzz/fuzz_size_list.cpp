// The size-list getters on arbitrary blocks, whose byte 0 may disagree with
// the real length, and arbitrary requests.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <memory>
#include <vector>

#include "orvx/prn_static_info.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider fdp(data, size);
  const int length = fdp.ConsumeIntegralInRange<int>(-2, 300);
  std::vector<BYTE> source = fdp.ConsumeBytes<BYTE>(static_cast<std::size_t>(std::max(length, 0)));
  source.resize(static_cast<std::size_t>(std::max(length, 1)), 0);  // the caller's buffer holds `length` bytes
  CPrnStaticInfo record;
  const int stored = record.SetInTraySPSZSizeList(length, source.data());
  if (stored < 0 || stored > 255 || stored > std::max(length, 0)) abort();

  // Exactly sized output buffers: a write past what the getter reports is caught.
  const int whole = record.GetInTraySPSZSizeList(nullptr);
  if (whole != stored) abort();
  auto wholeOut = std::make_unique<BYTE[]>(static_cast<std::size_t>(whole) + 1);
  if (record.GetInTraySPSZSizeList(wholeOut.get()) != whole) abort();

  while (fdp.remaining_bytes() > 0) {
    int result;
    if (fdp.ConsumeBool()) {
      const int tray = fdp.ConsumeIntegralInRange<int>(-300, 600);
      result = record.GetInTraySPSZSizeList(tray, nullptr);
      auto out = std::make_unique<BYTE[]>(static_cast<std::size_t>(result) + 1);
      if (record.GetInTraySPSZSizeList(tray, out.get()) != result) abort();
    } else {
      const std::string name = fdp.ConsumeRandomLengthString(40);
      result = record.GetInTraySPSZSizeList(name.c_str(), nullptr);
      auto out = std::make_unique<BYTE[]>(static_cast<std::size_t>(result) + 1);
      if (record.GetInTraySPSZSizeList(name.c_str(), out.get()) != result) abort();
    }
    if (result < 0 || result > whole) abort();
  }
  return 0;
}
