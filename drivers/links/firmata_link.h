#pragma once
#include <memory>

#include "link.h"

namespace kvr {

// A board running StandardFirmata on a serial line. The board streams its
// reports: a digital port when it changes (and when asked to report it),
// the analog pins at the sampling interval, set to the shortest the line
// carries. A version report after the first is a board that reset: it is
// set up again.
std::unique_ptr<Link> MakeFirmataLink(LinkAddress address, LatestInputs* modules,
                                      LatestInputs* probes);

// An Uno restarts when its line is opened: its bootloader waits about two
// seconds before the firmware says its version.
constexpr int kFirmataHelloMs = 3000;
// A board silent this long is asked for its version; twice this long, lost.
constexpr int kFirmataQuietMs = 1000;
constexpr int kFirmataLostMs = 3000;

}  // namespace kvr
