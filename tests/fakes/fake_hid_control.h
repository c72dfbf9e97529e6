#pragma once
// The controls of the fake HID devices (fake_hid_port.cpp): the test side of
// the port that KVR_HID_PORT names. A test opens the same library and
// reaches these with dlsym.
#include <cstddef>

extern "C" {
// Forgets every device; handles still open read as unplugged.
void fake_hid_reset();
// A device at `path` with its usage and its identity feature report.
void fake_hid_plug(const char* path, unsigned short usage_page, unsigned short usage,
                   const unsigned char* identity, size_t length);
// Pulled out: gone from the enumeration, its open handles read as gone.
void fake_hid_unplug(const char* path);
// An input report on every open handle of the device; the handles reached.
int fake_hid_send(const char* path, const unsigned char* report, size_t length);
// Feature reports sent to the device fail (1) or are taken (0).
void fake_hid_fail_writes(const char* path, int fail);
// Handles open now, over every device.
int fake_hid_open_handles();
}
