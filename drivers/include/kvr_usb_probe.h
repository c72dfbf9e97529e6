#pragma once
// The USB analog probes: six 12-bit inputs each. Pin p of probe d is table
// index d * max_input + p.
#include <cstdint>

#include "kvr_export.h"

// Search kind of the probes.
constexpr int32_t kUsbProbeKind = 101;

KVR_EXPORT int32_t search_USBProbe(int32_t* DeviceHandle, int32_t* HidCh, int32_t max_device,
                                   int32_t* DeviceWork_A, int32_t* DeviceWork_B, int32_t kind);
KVR_EXPORT int32_t recive_USBProbe(int32_t* DeviceHandle, int32_t* HidCh, int32_t max_device,
                                   int32_t* DeviceWork_A, int32_t* DeviceWork_B,
                                   int32_t* USBProbe_AN_Data, int32_t max_DB, int32_t max_input);
KVR_EXPORT int32_t dataCalculation_USBProbe(int32_t* HidCh, int32_t max_device,
                                            double* USBProbe_Value, double* AN_pin_multiply,
                                            double* AN_pin_addition, int32_t* AN_pin_round_On,
                                            int32_t* AN_pin_round_value, int32_t* USBProbe_AN_Data,
                                            int32_t max_DB, int32_t max_input);
KVR_EXPORT int32_t close_All_USBProbe(int32_t* DeviceHandle, int32_t max_device);
KVR_EXPORT int32_t close_USBProbe(int32_t* DeviceHandle, int32_t channel);
KVR_EXPORT int32_t kr_usbprobe_Version(char* buffer);
// As describe_USBIO, for the probe on a channel.
KVR_EXPORT int32_t describe_USBProbe(int32_t channel, char* text, int32_t size);

using search_USBProbe_fn = decltype(&search_USBProbe);
using recive_USBProbe_fn = decltype(&recive_USBProbe);
using dataCalculation_USBProbe_fn = decltype(&dataCalculation_USBProbe);
using close_All_USBProbe_fn = decltype(&close_All_USBProbe);
using close_USBProbe_fn = decltype(&close_USBProbe);
using kr_usbprobe_Version_fn = decltype(&kr_usbprobe_Version);
using describe_USBProbe_fn = decltype(&describe_USBProbe);
