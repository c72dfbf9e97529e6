#include "simulation_file.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>
#include <stdexcept>

#include "line_words.h"

namespace kvr {
namespace {

constexpr int kUsbIoChannels = 16;
constexpr int kProbeChannels = 8;
constexpr double kDefaultStepMs = 100.0;
constexpr double kDefaultPeriodMs = 2000.0;
// Simulation files are a few lines and scripts some steps a read: anything
// larger is not one of them.
constexpr std::uintmax_t kLargestSimulationFile = std::uintmax_t{1} << 20;
constexpr std::uintmax_t kLargestScript = std::uintmax_t{16} << 20;
constexpr double kLongestPeriodMs = 3600000.0;  // an hour

double Milliseconds(const std::string& word, const char* what) {
  double value = 0.0;
  const auto result = std::from_chars(word.data(), word.data() + word.size(), value);
  const bool number = result.ptr == word.data() + word.size() &&
                      (result.ec == std::errc() || result.ec == std::errc::result_out_of_range);
  if (!number) throw LineFault(std::string(what) + " '" + Shown(word) + "' is not a number of ms");
  if (result.ec == std::errc::result_out_of_range || !(value > 0.0 && value <= kLongestPeriodMs)) {
    throw LineFault(std::string(what) + " " + Shown(word) + " is outside 0 to 3600000 ms");
  }
  return value;
}

double MsOr(Arguments& args, double fallback, const char* what) {
  return args.Empty() ? fallback : Milliseconds(args.Take(), what);
}

std::uint64_t SeedOf(const std::string& text) {
  return std::hash<std::string>{}(text);
}

std::vector<Step> ReadScript(const std::filesystem::path& path, DeviceFamily family) {
  std::string why;
  const auto text = ReadPlainFile(path.string(), kLargestScript, why);
  if (!text) throw LineFault("script " + path.string() + " " + why);
  std::istringstream in(*text);
  const int width = family == DeviceFamily::UsbIo ? 1 : kProbeInputs;
  const std::int64_t high = family == DeviceFamily::UsbIo ? 255 : kAnalogFullScale;
  std::vector<Step> steps;
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    const auto words = Words(line);
    if (words.empty()) continue;
    try {
      if (static_cast<int>(words.size()) != width) {
        throw LineFault("a step holds " + std::to_string(width) + " value(s), this one " +
                        std::to_string(words.size()));
      }
      Step step{};
      for (int i = 0; i < width; ++i)
        step[i] = static_cast<int32_t>(Integer(words[i], 0, high, "value"));
      steps.push_back(step);
    } catch (const LineFault& fault) {
      throw LineFault(path.string() + ":" + std::to_string(number) + ": " + fault.what());
    }
  }
  if (steps.empty()) throw LineFault("script " + path.string() + " holds no step");
  return steps;
}

std::unique_ptr<SignalSource> DigitalSource(const std::string& name, Arguments& args,
                                            const std::filesystem::path& folder,
                                            std::uint64_t seed) {
  if (name == "counter") return MakeCounter(MsOr(args, kDefaultStepMs, "step"));
  if (name == "walk") return MakeWalkingBit(MsOr(args, kDefaultStepMs, "step"));
  if (name == "random") return MakeRandomBits(MsOr(args, kDefaultStepMs, "step"), seed);
  if (name == "square") {
    if (args.Empty() || args.Left() > 8) throw LineFault("square takes 1 to 8 periods");
    std::vector<double> periods;
    while (!args.Empty()) periods.push_back(Milliseconds(args.Take(), "period"));
    return MakeSquareWaves(std::move(periods));
  }
  if (name == "constant") {
    if (args.Empty()) throw LineFault("constant needs a value");
    return MakeConstant({static_cast<int32_t>(Integer(args.Take(), 0, 255, "value"))});
  }
  if (name == "script") {
    if (args.Empty()) throw LineFault("script needs a file");
    return MakeScript(ReadScript(folder / args.Take(), DeviceFamily::UsbIo));
  }
  throw LineFault("unknown USB-IO source '" + Shown(name) +
                  "' (counter, walk, square, random, constant, script)");
}

std::unique_ptr<SignalSource> AnalogSource(const std::string& name, Arguments& args,
                                           const std::filesystem::path& folder,
                                           std::uint64_t seed) {
  if (name == "sine") return MakeSine(MsOr(args, kDefaultPeriodMs, "period"));
  if (name == "ramp") return MakeRamp(MsOr(args, kDefaultPeriodMs, "period"));
  if (name == "noise") {
    const auto centre = args.Empty() ? 2048 : Integer(args.Take(), 0, kAnalogFullScale, "centre");
    const auto spread = args.Empty() ? 200 : Integer(args.Take(), 0, kAnalogFullScale, "spread");
    return MakeNoise(static_cast<int32_t>(centre), static_cast<int32_t>(spread), seed);
  }
  if (name == "constant") {
    if (args.Empty() || args.Left() > kProbeInputs) throw LineFault("constant takes 1 to 6 values");
    Step values{};
    for (int p = 0; !args.Empty(); ++p) {
      values[p] = static_cast<int32_t>(Integer(args.Take(), 0, kAnalogFullScale, "value"));
    }
    return MakeConstant(values);
  }
  if (name == "script") {
    if (args.Empty()) throw LineFault("script needs a file");
    return MakeScript(ReadScript(folder / args.Take(), DeviceFamily::Probe));
  }
  throw LineFault("unknown probe source '" + Shown(name) +
                  "' (sine, ramp, noise, constant, script)");
}

// Splits the options off the end of a device line: "vanish-after N" and
// "write-fails", in any order.
void TakeOptions(std::vector<std::string>& words, SimulatedDeviceLine& device) {
  for (;;) {
    if (words.size() >= 2 && words[words.size() - 2] == "vanish-after") {
      device.vanishAfterReads = Integer(words.back(), 0, INT64_MAX, "vanish-after");
      words.resize(words.size() - 2);
    } else if (!words.empty() && words.back() == "write-fails") {
      device.writeFails = true;
      words.pop_back();
    } else {
      return;
    }
  }
}

SimulatedDeviceLine DeviceLine(std::vector<std::string> words, const std::string& text,
                               DeviceFamily family, const std::filesystem::path& folder) {
  SimulatedDeviceLine device;
  device.text = Joined(words);
  TakeOptions(words, device);
  const bool usbio = family == DeviceFamily::UsbIo;
  const std::size_t sourceAt = usbio ? 3 : 2;
  if (words.size() <= sourceAt) {
    throw LineFault(usbio ? "expected: usbio CHANNEL prepared|plain SOURCE ..."
                          : "expected: probe CHANNEL SOURCE ...");
  }
  device.channel = static_cast<int>(
      Integer(words[1], 0, (usbio ? kUsbIoChannels : kProbeChannels) - 1, "channel"));
  if (usbio) {
    if (words[2] != "prepared" && words[2] != "plain") {
      throw LineFault("'" + Shown(words[2]) + "' must be prepared or plain");
    }
    device.prepared = words[2] == "prepared";
  }
  Arguments args(std::vector<std::string>(words.begin() + sourceAt + 1, words.end()));
  const std::string& name = words[sourceAt];
  const auto seed = SeedOf(text);
  device.source =
      usbio ? DigitalSource(name, args, folder, seed) : AnalogSource(name, args, folder, seed);
  args.ExpectEnd();
  return device;
}

}  // namespace

SimulationFile ReadSimulationFile(const std::string& path, DeviceFamily family,
                                  std::ostream& errors) {
  SimulationFile file;
  const bool reportsCommonLines = family == DeviceFamily::UsbIo;
  std::string why;
  const auto text = ReadPlainFile(path, kLargestSimulationFile, why);
  if (!text) {
    if (reportsCommonLines) errors << path << ": the simulation file " << why << "\n";
    return file;
  }
  std::istringstream in(*text);
  const auto folder = std::filesystem::path(path).parent_path();
  bool seen[kUsbIoChannels] = {};
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    auto words = Words(line);
    if (words.empty()) continue;
    const std::string& keyword = words[0];
    const bool mine = (keyword == "usbio" && family == DeviceFamily::UsbIo) ||
                      (keyword == "probe" && family == DeviceFamily::Probe);
    const bool common = keyword != "usbio" && keyword != "probe";
    try {
      if (keyword == "read-time-us") {
        if (words.size() != 2) throw LineFault("expected: read-time-us MICROSECONDS");
        file.readTimeUs = static_cast<int>(Integer(words[1], 0, 1000000, "read time"));
      } else if (common) {
        throw LineFault("unknown word '" + Shown(keyword) + "' (usbio, probe, read-time-us)");
      } else if (mine) {
        auto device = DeviceLine(std::move(words), line, family, folder);
        if (seen[device.channel]) {
          throw LineFault("channel " + std::to_string(device.channel) + " is given twice");
        }
        seen[device.channel] = true;
        file.devices.push_back(std::move(device));
      }
    } catch (const LineFault& fault) {
      if (mine || (common && reportsCommonLines)) {
        errors << path << ":" << number << ": " << fault.what() << "\n";
      }
    }
  }
  return file;
}

}  // namespace kvr
