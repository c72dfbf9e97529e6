// The USB-IO digital input modules.
#include "kvr_usb_io.h"

#include "common/bit_field.h"
#include "common/device_backend.h"
#include "common/device_tables.h"
#include "common/rounding.h"
#include "common/version_text.h"

namespace {

kvr::DeviceBackend* g_backend = nullptr;

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
  backend.BeginReads();
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
                         USBIO_J1_MakeData_Bit});
  return read;
}

KVR_EXPORT int16_t dataCalculation_USBIO(int32_t* HidCh, int32_t max_device, double* USBIO_Value,
                                         double* usbio_multiply, double* usbio_addition,
                                         int32_t* usbio_Conversion, int32_t* usbio_round_On,
                                         int32_t* usbio_round_value, int32_t* /*USBIO_J1_MakeData*/,
                                         int32_t* USBIO_J1_MakeData_Bit, int32_t* usbio_StartBit,
                                         int32_t* usbio_DataLength) {
  const int channels = kvr::ChannelCount(max_device, kvr::kUsbIoChannels);
  for (int c = 0; c < channels; ++c) {
    if (HidCh[c] < 0) continue;
    const double number =
        kvr::FieldNumber(USBIO_J1_MakeData_Bit, kvr::FieldFirstSlot(c, usbio_StartBit[c]),
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
