#include "sampling/sample_tap.h"

#include <cstdlib>
#include <new>

#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"

namespace tavelin {

TapSample* SampleTap::ZeroedRing() {
  void* ring = std::calloc(kCapacity, sizeof(TapSample));
  if (ring == nullptr) throw std::bad_alloc();
  return static_cast<TapSample*>(ring);
}

void SampleTap::Put(double timeMs, const USB_IO_IF& io, const KVR_USB_Probe* probes) {
  const std::size_t head = head_.load(std::memory_order_relaxed);
  if (head - tail_.load(std::memory_order_acquire) >= kCapacity) {
    dropped_.fetch_add(1, std::memory_order_relaxed);
    return;
  }
  TapSample& sample = ring_[head % kCapacity];
  sample.timeMs = timeMs;
  sample.run = run_;
  sample.mode = mode_;
  sample.modules = 0;
  sample.probes = 0;
  for (int16_t c = 0; c < 16; ++c) {
    if (io.HidCh(c) < 0) continue;
    sample.modules |= static_cast<uint16_t>(1u << c);
    sample.bits[static_cast<std::size_t>(c)] = static_cast<uint8_t>(io.USBIO_J1_Data(c) & 0xFF);
    sample.values[static_cast<std::size_t>(c)] = io.USBIO_Value(c);
  }
  if (probes != nullptr) {
    for (int16_t d = 0; d < 8; ++d) {
      if (probes->HidCh(d) < 0) continue;
      sample.probes |= static_cast<uint8_t>(1u << d);
      for (int16_t p = 0; p < 6; ++p) {
        sample.pins[static_cast<std::size_t>(d * 6 + p)] =
            probes->USBProbe_Value(static_cast<int16_t>(d * 6 + p));
      }
    }
  }
  head_.store(head + 1, std::memory_order_release);
}

}  // namespace tavelin
