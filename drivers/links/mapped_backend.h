#pragma once
// The devices of the device map, for both device libraries of a process:
// this library is loaded once however many of them use it, so a TCP
// server, an RS-485 bus or a board serves modules and probes through one
// connection.
#include "common/device_backend.h"

extern "C" {
// The mapped devices of one family (0: modules, 1: probes), for the life of the process.
__attribute__((visibility("default"))) kvr::DeviceBackend* kvr_links_backend(int family);
}
