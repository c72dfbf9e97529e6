#pragma once
// The USB-IO digital input modules. Tables are handed in as the address of
// entry 0; channel tables have max_device + 1 entries, bit tables 129.
#include <cstdint>

#include "kvr_export.h"

// Search kind that accepts only modules prepared by setting_write_USBIO.
constexpr int32_t kUsbIoKindPrepared = 184;
// Search kind that accepts every module.
constexpr int32_t kUsbIoKindAll = 0;

KVR_EXPORT int16_t search_USBIO(int32_t* DeviceHandle, int32_t* HidCh, int32_t max_device,
                                int32_t* DeviceWork_A, int32_t* DeviceWork_B, int32_t kind);
KVR_EXPORT int16_t recive_USBIO(int32_t* DeviceHandle, int32_t* HidCh, int32_t max_device,
                                int32_t* DeviceWork_A, int32_t* DeviceWork_B,
                                int32_t* USBIO_J1_Data, int32_t* USBIO_J1_Data_Bit,
                                int32_t* usbio_StartBit, int32_t* usbio_DataLength,
                                int32_t* USBIO_J1_MakeData, int32_t* USBIO_J1_MakeData_Bit,
                                int32_t* usbio_bit_reverse, int32_t* usbio_bit_turn);
KVR_EXPORT int16_t dataCalculation_USBIO(int32_t* HidCh, int32_t max_device, double* USBIO_Value,
                                         double* usbio_multiply, double* usbio_addition,
                                         int32_t* usbio_Conversion, int32_t* usbio_round_On,
                                         int32_t* usbio_round_value, int32_t* USBIO_J1_MakeData,
                                         int32_t* USBIO_J1_MakeData_Bit, int32_t* usbio_StartBit,
                                         int32_t* usbio_DataLength);
KVR_EXPORT int16_t setting_write_USBIO(int32_t* DeviceHandle, int32_t max_device,
                                       int32_t* DeviceWork_A, int32_t* DeviceWork_B);
KVR_EXPORT int16_t close_All_USBIO(int32_t* DeviceHandle, int32_t max_device);
KVR_EXPORT int16_t close_USBIO(int32_t* DeviceHandle, int32_t channel);
KVR_EXPORT int16_t kr_usbio_Version(char* buffer);
// What stands on a channel after a search, for a user wiring a bench: the
// backend and the device's place with a tab between ("hid\t/dev/hidraw3"),
// cut to fit `size` bytes with its terminating zero. Returns the whole
// text's length; 0 when nothing was found there. The program does not call it.
KVR_EXPORT int32_t describe_USBIO(int32_t channel, char* text, int32_t size);

using search_USBIO_fn = decltype(&search_USBIO);
using recive_USBIO_fn = decltype(&recive_USBIO);
using dataCalculation_USBIO_fn = decltype(&dataCalculation_USBIO);
using setting_write_USBIO_fn = decltype(&setting_write_USBIO);
using close_All_USBIO_fn = decltype(&close_All_USBIO);
using close_USBIO_fn = decltype(&close_USBIO);
using kr_usbio_Version_fn = decltype(&kr_usbio_Version);
using describe_USBIO_fn = decltype(&describe_USBIO);
