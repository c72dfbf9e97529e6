#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace tavelin {

// A compound file (version 3, 512-byte sectors) that holds one stream in
// its root: the container of an .xls file. The stream is written between
// the two parts of its frame, so a large stream is never copied.
struct CompoundFrame {
  std::string header;  // the 512-byte header, before the stream
  std::string tail;    // the stream's padding, then directory, FAT and DIFAT sectors
};

// The frame around a stream of `streamLength` bytes named `streamName`
// (ASCII, at most 31 characters). A stream under 4,096 bytes is padded to
// that size, so that it never belongs in the mini stream.
CompoundFrame CompoundFrameFor(std::string_view streamName, std::size_t streamLength);

// The whole file in memory.
std::string CompoundFile(std::string_view streamName, std::string_view stream);

}  // namespace tavelin
