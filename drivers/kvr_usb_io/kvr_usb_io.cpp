// The USB-IO digital input modules.
#include "kvr_usb_io.h"

#include <array>
#include <bitset>

#include "common/bit_field.h"
#include "common/device_backend.h"
#include "common/device_tables.h"
#include "common/rounding.h"
#include "common/version_text.h"

namespace {

kvr::DeviceBackend* g_backend = nullptr;

// Each live channel's whole processed field from the last read, known by
// the table the read filled: a channel's value comes from its own field,
// also where a later channel wrote over it in the shared bit table or where
// it runs past slot 127. USBIO_J1_MakeData holds a field of up to 32 bits
// whole; longer ones are taken from here.
struct KeptFields {
  const int32_t* makeData = nullptr;
  std::array<kvr::FieldBits, kvr::kUsbIoChannels> fields{};
  std::array<int32_t, kvr::kUsbIoChannels> firstSlots{};
  std::array<int32_t, kvr::kUsbIoChannels> lengths{};
  std::bitset<kvr::kUsbIoChannels> valid;
};
KeptFields g_kept;

// The number of channel c's processed field.
double ChannelNumber(int c, const int32_t* makeData, const int32_t* makeBits, int32_t startBit,
                     int32_t dataLength, int32_t conversion) {
  const int32_t length = kvr::FieldLength(dataLength);
  if (length <= 32) {
    return kvr::FieldNumber(static_cast<uint32_t>(makeData[c]), length, conversion);
  }
  const auto first = kvr::FieldFirstSlot(c, startBit);
  if (g_kept.makeData == makeData && g_kept.valid.test(c) && g_kept.lengths[c] == length &&
      g_kept.firstSlots[c] == first) {
    return kvr::FieldNumber(g_kept.fields[c], length, conversion);
  }
  return kvr::FieldNumber(makeBits, first, length, conversion);  // no read into these tables
}

kvr::DeviceBackend& Backend() {
  if (g_backend == nullptr) g_backend = &kvr::SelectBackend(kvr::DeviceFamily::UsbIo);
  return *g_backend;
}

void StoreInput(int channel, int32_t value, int32_t* data, int32_t* bits) {
  data[channel] = value;
  kvr::ExpandByte(value, bits + channel * 8);
}

}  // namespace

KVR_EXPORT int16_t search_USBIO(int32_t* DeviceHandle, int32_t* HidCh, int32_t max_device,
                                int32_t* DeviceWork_A, int32_t* DeviceWork_B, int32_t kind) {
  g_backend = &kvr::SelectBackend(kvr::DeviceFamily::UsbIo);
  const kvr::SearchTables tables{DeviceHandle, HidCh,
                                 kvr::ChannelCount(max_device, kvr::kUsbIoChannels), DeviceWork_A,
                                 DeviceWork_B};
  kvr::DeviceBackend& backend = *g_backend;
  return static_cast<int16_t>(kvr::SearchInto(backend, tables, [&](int channel) {
    if (kind == kUsbIoKindAll) return true;
    return kind == kUsbIoKindPrepared && backend.Prepared(channel);
  }));
}

KVR_EXPORT int16_t recive_USBIO(int32_t* DeviceHandle, int32_t* HidCh, int32_t max_device,
                                int32_t* /*DeviceWork_A*/, int32_t* /*DeviceWork_B*/,
                                int32_t* USBIO_J1_Data, int32_t* USBIO_J1_Data_Bit,
                                int32_t* usbio_StartBit, int32_t* usbio_DataLength,
                                int32_t* USBIO_J1_MakeData, int32_t* USBIO_J1_MakeData_Bit,
                                int32_t* usbio_bit_reverse, int32_t* usbio_bit_turn) {
  const int channels = kvr::ChannelCount(max_device, kvr::kUsbIoChannels);
  kvr::DeviceBackend& backend = Backend();
  backend.BeginReads(kvr::kLongestWaitForInputMs);
  const double now = kvr::CoarseMilliseconds();
  int16_t read = 0;
  for (int c = 0; c < channels; ++c) {
    const int device =
        HidCh[c] >= 0 ? kvr::ChannelOfHandle(DeviceHandle[c], kvr::kUsbIoChannels) : -1;
    if (device < 0) {
      StoreInput(c, 0, USBIO_J1_Data, USBIO_J1_Data_Bit);  // absent modules read 0
      continue;
    }
    int32_t input[kvr::kProbeInputs] = {};
    if (backend.Read(device, now, input)) {  // a module gone keeps its last input
      StoreInput(c, input[0] & 0xFF, USBIO_J1_Data, USBIO_J1_Data_Bit);
      ++read;
    }
  }
  kvr::ProcessBitFields({HidCh, channels, USBIO_J1_Data, USBIO_J1_Data_Bit, usbio_StartBit,
                         usbio_DataLength, usbio_bit_reverse, usbio_bit_turn, USBIO_J1_MakeData,
                         USBIO_J1_MakeData_Bit, g_kept.fields.data()});
  g_kept.makeData = USBIO_J1_MakeData;
  g_kept.valid.reset();
  for (int c = 0; c < channels; ++c) {
    if (HidCh[c] < 0) continue;
    g_kept.valid.set(c);
    g_kept.firstSlots[c] = static_cast<int32_t>(kvr::FieldFirstSlot(c, usbio_StartBit[c]));
    g_kept.lengths[c] = kvr::FieldLength(usbio_DataLength[c]);
  }
  return read;
}

KVR_EXPORT int16_t dataCalculation_USBIO(int32_t* HidCh, int32_t max_device, double* USBIO_Value,
                                         double* usbio_multiply, double* usbio_addition,
                                         int32_t* usbio_Conversion, int32_t* usbio_round_On,
                                         int32_t* usbio_round_value, int32_t* USBIO_J1_MakeData,
                                         int32_t* USBIO_J1_MakeData_Bit, int32_t* usbio_StartBit,
                                         int32_t* usbio_DataLength) {
  const int channels = kvr::ChannelCount(max_device, kvr::kUsbIoChannels);
  for (int c = 0; c < channels; ++c) {
    if (HidCh[c] < 0) continue;
    const double number =
        ChannelNumber(c, USBIO_J1_MakeData, USBIO_J1_MakeData_Bit, usbio_StartBit[c],
                      usbio_DataLength[c], usbio_Conversion[c]);
    double value = usbio_multiply[c] * number + usbio_addition[c];
    if (usbio_round_On[c] == 1) value = kvr::RoundAtDigit(value, usbio_round_value[c]);
    USBIO_Value[c] = value;
  }
  return 0;
}

KVR_EXPORT int16_t setting_write_USBIO(int32_t* DeviceHandle, int32_t max_device,
                                       int32_t* /*DeviceWork_A*/, int32_t* /*DeviceWork_B*/) {
  const int channels = kvr::ChannelCount(max_device, kvr::kUsbIoChannels);
  int16_t written = 0;
  for (int c = 0; c < channels; ++c) {
    const int device = kvr::ChannelOfHandle(DeviceHandle[c], kvr::kUsbIoChannels);
    if (device >= 0 && Backend().WriteSettings(device)) ++written;
  }
  return written;
}

KVR_EXPORT int16_t close_All_USBIO(int32_t* DeviceHandle, int32_t max_device) {
  const int channels = kvr::ChannelCount(max_device, kvr::kUsbIoChannels);
  for (int c = 0; c < channels; ++c) close_USBIO(DeviceHandle, c);
  return 0;
}

KVR_EXPORT int16_t close_USBIO(int32_t* DeviceHandle, int32_t channel) {
  if (channel < 0 || channel >= kvr::kUsbIoChannels) return -1;
  const int device = kvr::ChannelOfHandle(DeviceHandle[channel], kvr::kUsbIoChannels);
  if (device >= 0) Backend().Close(device);
  DeviceHandle[channel] = -1;
  return 0;
}

KVR_EXPORT int16_t kr_usbio_Version(char* buffer) {
  kvr::FillVersionText(buffer, "Ver1.00");
  return 1;
}

KVR_EXPORT int32_t describe_USBIO(int32_t channel, char* text, int32_t size) {
  if (channel < 0 || channel >= kvr::kUsbIoChannels) return 0;
  return kvr::DescribeInto(Backend(), channel, text, size);
}
