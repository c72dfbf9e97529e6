// The USB analog probes.
#include "kvr_usb_probe.h"

#include "common/device_backend.h"
#include "common/device_tables.h"
#include "common/rounding.h"
#include "common/version_text.h"

namespace {

constexpr int kProbeChannels = 8;

kvr::DeviceBackend* g_backend = nullptr;

kvr::DeviceBackend& Backend() {
  if (g_backend == nullptr) g_backend = &kvr::SelectBackend(kvr::DeviceFamily::Probe);
  return *g_backend;
}

int InputCount(int32_t max_input) {
  return max_input < 0 ? 0 : (max_input > kvr::kProbeInputs ? kvr::kProbeInputs : max_input);
}

// Table index of pin p of probe d, or -1 when it lies past the table.
int PinIndex(int d, int p, int32_t max_input, int32_t max_DB) {
  const int index = d * max_input + p;
  return index < max_DB ? index : -1;
}

}  // namespace

KVR_EXPORT int32_t search_USBProbe(int32_t* DeviceHandle, int32_t* HidCh, int32_t max_device,
                                   int32_t* DeviceWork_A, int32_t* DeviceWork_B, int32_t kind) {
  g_backend = &kvr::SelectBackend(kvr::DeviceFamily::Probe);
  const kvr::SearchTables tables{DeviceHandle, HidCh, kvr::ChannelCount(max_device, kProbeChannels),
                                 DeviceWork_A, DeviceWork_B};
  return kvr::SearchInto(*g_backend, tables, [&](int) { return kind == kUsbProbeKind; });
}

KVR_EXPORT int32_t recive_USBProbe(int32_t* DeviceHandle, int32_t* HidCh, int32_t max_device,
                                   int32_t* /*DeviceWork_A*/, int32_t* /*DeviceWork_B*/,
                                   int32_t* USBProbe_AN_Data, int32_t max_DB, int32_t max_input) {
  const int probes = kvr::ChannelCount(max_device, kProbeChannels);
  const int inputs = InputCount(max_input);
  kvr::DeviceBackend& backend = Backend();
  backend.BeginReads(kvr::kLongestWaitForInputMs);
  const double now = kvr::CoarseMilliseconds();
  int32_t read = 0;
  for (int d = 0; d < probes; ++d) {
    const int device = HidCh[d] >= 0 ? kvr::ChannelOfHandle(DeviceHandle[d], kProbeChannels) : -1;
    int32_t values[kvr::kProbeInputs] = {};  // absent probes read 0
    if (device >= 0) {
      if (!backend.Read(device, now, values)) continue;  // a probe gone keeps its last values
      ++read;
    }
    for (int p = 0; p < inputs; ++p) {
      const int index = PinIndex(d, p, max_input, max_DB);
      if (index >= 0) USBProbe_AN_Data[index] = values[p];
    }
  }
  return read;
}

KVR_EXPORT int32_t dataCalculation_USBProbe(int32_t* HidCh, int32_t max_device,
                                            double* USBProbe_Value, double* AN_pin_multiply,
                                            double* AN_pin_addition, int32_t* AN_pin_round_On,
                                            int32_t* AN_pin_round_value, int32_t* USBProbe_AN_Data,
                                            int32_t max_DB, int32_t max_input) {
  const int probes = kvr::ChannelCount(max_device, kProbeChannels);
  const int inputs = InputCount(max_input);
  for (int d = 0; d < probes; ++d) {
    if (HidCh[d] < 0) continue;
    for (int p = 0; p < inputs; ++p) {
      const int j = PinIndex(d, p, max_input, max_DB);
      if (j < 0) continue;
      double value = AN_pin_multiply[j] * USBProbe_AN_Data[j] + AN_pin_addition[j];
      if (AN_pin_round_On[j] == 1) value = kvr::RoundAtDigit(value, AN_pin_round_value[j]);
      USBProbe_Value[j] = value;
    }
  }
  return 0;
}

KVR_EXPORT int32_t close_All_USBProbe(int32_t* DeviceHandle, int32_t max_device) {
  const int probes = kvr::ChannelCount(max_device, kProbeChannels);
  for (int d = 0; d < probes; ++d) close_USBProbe(DeviceHandle, d);
  return 0;
}

KVR_EXPORT int32_t close_USBProbe(int32_t* DeviceHandle, int32_t channel) {
  if (channel < 0 || channel >= kProbeChannels) return -1;
  const int device = kvr::ChannelOfHandle(DeviceHandle[channel], kProbeChannels);
  if (device >= 0) Backend().Close(device);
  DeviceHandle[channel] = -1;
  return 0;
}

KVR_EXPORT int32_t kr_usbprobe_Version(char* buffer) {
  kvr::FillVersionText(buffer, "Ver1.00");
  return 1;
}

KVR_EXPORT int32_t describe_USBProbe(int32_t channel, char* text, int32_t size) {
  if (channel < 0 || channel >= kProbeChannels) return 0;
  return kvr::DescribeInto(Backend(), channel, text, size);
}
