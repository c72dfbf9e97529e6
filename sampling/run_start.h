#pragma once
#include <string>
#include <string_view>

#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"
#include "state/ELM327_Info.h"

namespace tavelin {

// What Connect does before a run, shared by the views and the console.

// The device half: a new run starts its values and analysis afresh, and the
// digital side takes the channel settings as they are now.
void PrepareDevicesForRun(bool analog, const ELM327_Info& device, USB_IO_IF& usbIo,
                          KVR_USB_Probe& usbProbe);

// The comment of a run as Connect takes it from its box: blanks cut at
// both ends, then its first 50 characters.
inline constexpr std::size_t kRunCommentLength = 50;
std::string RunComment(std::string_view typed);

// Connect refuses an empty comment when every run gets a sub folder named
// after it, with this message.
bool CommentRefused(const std::string& comment, const ELM327_Info& device);
inline constexpr const char* kCommentNeededMessage =
    "「コメントをサブフォルダにして保存する」が有効になっています。\n"
    "コメントを記入して下さい。";

// Where to look when a run has no device to sample, as the window and the
// console say it.
inline constexpr const char* kConnectDeviceHint =
    "USB の機器をつなぐ手順と権限は README の「実機をつなぐ」に、模擬デバイスは "
    "KVR_SIMULATION にあります";

}  // namespace tavelin
