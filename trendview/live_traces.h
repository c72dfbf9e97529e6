#pragma once
#include <string>
#include <vector>

#include "devices/KVR_USB_Probe.h"
#include "sampling/sample_tap.h"
#include "state/ELM327_Info.h"

namespace tavelin {

// The traces a run's samples make, named as the settings name the inputs:
// a module's eight bits in the LED modes, its value in mode 3, each
// probe pin's value in mode 4.
std::vector<std::string> LiveLabels(const TapSample& first, const ELM327_Info& device,
                                    const KVR_USB_Probe* probes);
// Each trace's own colour (0xRRGGBB) where the settings give one other
// than the default (a bit's LED colour, a channel's or pin's text colour);
// -1 where they do not.
std::vector<int32_t> LiveColours(const TapSample& first, const ELM327_Info& device,
                                 const KVR_USB_Probe* probes);
// One sample's values, in the order of LiveLabels of its run.
void LiveValues(const TapSample& sample, std::vector<float>& values);

}  // namespace tavelin
