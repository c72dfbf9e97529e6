// tavelin-hid-usage: for udev, the usage page and usage of a hidraw
// device's first top-level collection, as "ff54:0001". Our modules and
// probes are known by their usage, whatever their vendor and product ids,
// and udev cannot read a binary report descriptor by itself.
//
//   tavelin-hid-usage hidraw3          the device's descriptor in sysfs
//   tavelin-hid-usage ./descriptor     a descriptor in a file
//
// Exit status 1 when the descriptor cannot be read or opens no collection.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "common/hid_protocol.h"

namespace {

constexpr std::size_t kLongestDescriptor = 4096;  // the kernel's own bound

std::string DescriptorPath(const std::string& argument) {
  if (argument.find('/') != std::string::npos) return argument;
  return "/sys/class/hidraw/" + argument + "/device/report_descriptor";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || argv[1][0] == '\0') {
    std::fprintf(stderr, "usage: tavelin-hid-usage hidrawN | DESCRIPTOR-FILE\n");
    return 2;
  }
  std::ifstream file(DescriptorPath(argv[1]), std::ios::binary);
  std::vector<uint8_t> descriptor;
  char byte;
  while (descriptor.size() < kLongestDescriptor && file.get(byte)) {
    descriptor.push_back(static_cast<uint8_t>(byte));
  }
  const auto top = kvr::hid::TopUsageOf(descriptor);
  if (!top) return 1;
  std::printf("%04x:%04x\n", top->page, top->usage);
  return 0;
}
