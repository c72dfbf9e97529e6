#include "settings/FileSaveSystem.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <fstream>
#include <vector>

#include "platform/file_system.h"
#include "settings/record_bytes.h"

namespace tavelin::FileSaveSystem {
namespace {

constexpr int kChannels = kChannelEntries;  // 0..16
constexpr int kBits = kBitEntries;          // 0..128

// The stored bound of an apply loop: indices past the tables cannot be
// set, which counts as an error after all earlier indices were applied.
template <typename Apply>
bool ApplyUpTo(int32_t storedUpper, int tableEntries, Apply apply) {
  for (int64_t i = 0; i <= storedUpper; ++i) {
    if (i >= tableEntries) return false;
    apply(static_cast<int16_t>(i));
  }
  return true;
}

std::string PathIn(const std::string& folder, const char* file) {
  return JoinPath(folder, file);
}

// The file up to `limit` bytes: what lies behind a record is never read,
// however large the file. False when it cannot be read.
bool ReadRecordBytes(const std::string& path, std::size_t limit, std::string& bytes) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  // By blocks, up to the limit: a file of a few kilobytes costs a few
  // kilobytes, not the megabytes its largest record could take.
  constexpr std::size_t kBlock = 1 << 16;
  bytes.clear();
  while (bytes.size() < limit && in) {
    const std::size_t at = bytes.size();
    const std::size_t want = std::min(kBlock, limit - at);
    bytes.resize(at + want);
    in.read(bytes.data() + at, static_cast<std::streamsize>(want));
    bytes.resize(at + static_cast<std::size_t>(in.gcount()));
  }
  return !in.bad();
}

// Writes from the start of the file in place, leaving a longer old tail.
bool WriteInPlace(const std::string& path, const std::string& bytes) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0) return false;
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n =
        pwrite(fd, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
    if (n <= 0) break;
    done += static_cast<std::size_t>(n);
  }
  const bool closed = close(fd) == 0;
  return done == bytes.size() && closed;
}

constexpr std::size_t kLongestKeptTail = 1 << 20;

// Writes from the start of the file and leaves a longer old tail as it was,
// through a file put in place whole, so that a crash or a power cut during
// the write leaves the old settings or the new ones. A tail over a megabyte
// (a file broken by hand) is not copied: that file is written in place.
bool WriteFromStart(const std::string& path, const std::string& bytes) {
  std::error_code error;
  const auto oldSize = std::filesystem::file_size(path, error);
  const std::size_t tail = !error && oldSize > bytes.size() ? oldSize - bytes.size() : 0;
  if (tail > kLongestKeptTail) return WriteInPlace(path, bytes);
  std::string whole = bytes;
  if (tail > 0) {
    std::ifstream in(path, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(bytes.size()));
    whole.resize(bytes.size() + tail);
    in.read(whole.data() + bytes.size(), static_cast<std::streamsize>(tail));
    if (!in) return WriteInPlace(path, bytes);
  }
  const auto rights = std::filesystem::status(path, error).permissions();
  const bool existed = !error && std::filesystem::exists(path, error);
  try {
    TextStream file = CreateTextFile(path);
    file.Write(whole);
    file.Close();
    if (existed) std::filesystem::permissions(path, rights, error);  // as the user left them
    return true;
  } catch (const FileError&) {
    return WriteInPlace(path, bytes);  // a folder that takes no new file, a file that may change
  }
}

template <typename Target, typename Apply>
int32_t ReadFile(const std::string& folder, const char* file, std::size_t maxBytes,
                 OtherVersion otherVersion, Target& target, Apply applyRecord) {
  const std::string path = PathIn(folder, file);
  try {
    if (!FileExists(path)) return kNoFile;
    std::string bytes;
    const bool readWell = ReadRecordBytes(path, maxBytes, bytes);
    int32_t result = applyRecord(bytes, target);
    if (result == kOtherVersion && otherVersion == OtherVersion::Delete) {
      try {
        DeleteFile(path);
      } catch (const std::exception&) {
        // The result says what was found; the file stays.
      }
      return result;
    }
    if (result == kOtherVersion) return result;
    if (!readWell && result == kRead) result = kReadWithError;
    return result;
  } catch (const std::exception&) {
    return kReadWithError;
  }
}

template <typename Source, typename Record>
int32_t WriteFile(const std::string& folder, const char* file, const Source& source,
                  Record record) {
  try {
    if (!FolderExists(folder)) return kWriteFailed;
    bool failed = false;
    const std::string bytes = record(source, failed);
    const bool written = WriteFromStart(PathIn(folder, file), bytes);
    return written && !failed ? kWritten : kWriteFailed;
  } catch (const std::exception&) {
    return kWriteFailed;
  }
}

}  // namespace

// ---- config.dat ----

int32_t ApplyConfigRecord(std::string_view bytes, ELM327_Info& device) {
  RecordReader in(bytes);
  const std::string title = in.Text();
  const std::string notice = in.Text();
  const int32_t terms = in.Long();
  const int32_t version = in.Long();
  const std::string reserved5 = in.Text();
  const auto reserved6 = in.Block8();
  const int32_t bitRate = in.Long();
  const int32_t msgIdType = in.Long();
  const int32_t silentMode = in.Long();
  const int32_t viewCh = in.Long();
  const int32_t reserved11 = in.Long();
  const std::string reserved12 = in.Text();
  const int32_t format = in.Long();
  const int32_t pathMode = in.Long();
  const std::string path = in.Text();
  const int32_t enable = in.Long();
  const int32_t sampling = in.Long();
  const int32_t subFolder = in.Long();
  const std::string comment = in.Text();

  if (notice != device.Copy_light || title != device.Application_title ||
      version != device.install_version) {
    return kOtherVersion;
  }
  device.t_TERMS_OF_USE = terms;
  device.t_bitRate = bitRate;
  device.t_msgID_type = msgIdType;
  device.t_silent_mode = silentMode;
  device.t_ViewCh = viewCh;
  device.config_reserved_text1 = reserved5;
  device.config_reserved_block = reserved6;
  device.t_LogSaveFormat = format;
  device.t_LogSaveFilePath_mode = pathMode;
  device.t_LogSaveFilePath = path;
  device.t_LogSave_Enable = enable;
  device.t_LogSampling = sampling;
  device.t_LogSave_subFolder = subFolder;
  device.t_LogComment = comment;
  device.config_reserved_long = reserved11;
  device.config_reserved_text2 = reserved12;
  return kRead;
}

std::string ConfigRecord(const ELM327_Info& device, bool& failed) {
  RecordWriter out;
  out.Text(device.Application_title);
  out.Text(device.Copy_light);
  out.Long(device.t_TERMS_OF_USE);
  out.Long(device.install_version);
  out.Text(device.config_reserved_text1);
  out.Block8(device.config_reserved_block);
  out.Long(device.t_bitRate);
  out.Long(device.t_msgID_type);
  out.Long(device.t_silent_mode);
  out.Long(device.t_ViewCh);
  out.Long(device.config_reserved_long);
  out.Text(device.config_reserved_text2);
  out.Long(device.t_LogSaveFormat);
  out.Long(device.t_LogSaveFilePath_mode);
  out.Text(device.t_LogSaveFilePath);
  out.Long(device.t_LogSave_Enable);
  out.Long(device.t_LogSampling);
  out.Long(device.t_LogSave_subFolder);
  out.Text(device.t_LogComment);
  failed = out.Failed();
  return out.Bytes();
}

int32_t Read_Config(ELM327_Info& device, const std::string& folder, OtherVersion otherVersion) {
  return ReadFile(folder, kConfigFile, kConfigMaxBytes, otherVersion, device, ApplyConfigRecord);
}

int32_t Write_Config(const ELM327_Info& device, const std::string& folder) {
  return WriteFile(folder, kConfigFile, device, ConfigRecord);
}

// ---- ch_set.dat ----

int32_t ApplyChSetRecord(std::string_view bytes, ELM327_Info& device) {
  RecordReader in(bytes);
  const std::string title = in.Text();
  const std::string notice = in.Text();
  const int32_t channelUpper = in.Long();
  std::array<int32_t, kChannels> startBit{}, length{}, conversion{}, reverse{}, turn{}, analysis{},
      roundOn{}, roundValue{}, fontSize{}, fontColor{}, backColor{};
  std::array<double, kChannels> multiply{}, addition{};
  std::array<std::string, kChannels> comment;
  for (auto& v : startBit) v = in.Long();
  for (auto& v : length) v = in.Long();
  for (auto& v : multiply) v = in.Double();
  for (auto& v : addition) v = in.Double();
  for (auto& v : conversion) v = in.Long();
  for (auto& v : comment) v = in.Text();
  for (auto* field :
       {&reverse, &turn, &analysis, &roundOn, &roundValue, &fontSize, &fontColor, &backColor}) {
    for (auto& v : *field) v = in.Long();
  }
  const int32_t bitUpper = in.Long();
  std::vector<int32_t> ledColor(kBits), bitTurn(kBits);
  std::vector<std::string> bitComment(kBits);
  for (auto& v : ledColor) v = in.Long();
  for (auto& v : bitTurn) v = in.Long();
  for (auto& v : bitComment) v = in.Text();

  if (notice != device.Copy_light2 || title != device.Application_title2) return kOtherVersion;
  const bool channelsFit = ApplyUpTo(channelUpper, kChannels, [&](int16_t c) {
    device.usbio_StartBit(c) = startBit[c];
    device.usbio_DataLength(c) = length[c];
    device.usbio_multiply(c) = multiply[c];
    device.usbio_addition(c) = addition[c];
    device.usbio_Conversion(c) = conversion[c];
    device.usbio_comment(c) = comment[c];
    device.usbio_bit_reverse(c) = reverse[c];
    device.usbio_bit_turn(c) = turn[c];
    device.usbio_analysis(c) = analysis[c];
    device.usbio_round_On(c) = roundOn[c];
    device.usbio_round_value(c) = roundValue[c];
    device.usbio_Font_size(c) = fontSize[c];
    device.usbio_FontColor(c) = fontColor[c];
    device.usbio_BackColor(c) = backColor[c];
  });
  const bool bitsFit = ApplyUpTo(bitUpper, kBits, [&](int16_t b) {
    device.bit_LEDColor(b) = ledColor[b];
    device.bit_turn(b) = bitTurn[b];
    device.bit_comment(b) = bitComment[b];
  });
  return channelsFit && bitsFit ? kRead : kReadWithError;
}

std::string ChSetRecord(const ELM327_Info& device, bool& failed) {
  RecordWriter out;
  out.Text(device.Application_title2);
  out.Text(device.Copy_light2);
  out.Long(kChannels - 1);
  const auto longs = [&](const IndexedTable<int32_t, kChannels>& table) {
    for (int16_t c = 0; c < kChannels; ++c) out.Long(table(c));
  };
  const auto doubles = [&](const IndexedTable<double, kChannels>& table) {
    for (int16_t c = 0; c < kChannels; ++c) out.Double(table(c));
  };
  longs(device.usbio_StartBit);
  longs(device.usbio_DataLength);
  doubles(device.usbio_multiply);
  doubles(device.usbio_addition);
  longs(device.usbio_Conversion);
  for (int16_t c = 0; c < kChannels; ++c) out.Text(device.usbio_comment(c));
  longs(device.usbio_bit_reverse);
  longs(device.usbio_bit_turn);
  longs(device.usbio_analysis);
  longs(device.usbio_round_On);
  longs(device.usbio_round_value);
  longs(device.usbio_Font_size);
  longs(device.usbio_FontColor);
  longs(device.usbio_BackColor);
  out.Long(kBits - 1);
  for (int16_t b = 0; b < kBits; ++b) out.Long(device.bit_LEDColor(b));
  for (int16_t b = 0; b < kBits; ++b) out.Long(device.bit_turn(b));
  for (int16_t b = 0; b < kBits; ++b) out.Text(device.bit_comment(b));
  failed = out.Failed();
  return out.Bytes();
}

int32_t Read_ChSet(ELM327_Info& device, const std::string& folder, OtherVersion otherVersion) {
  return ReadFile(folder, kChSetFile, kChSetMaxBytes, otherVersion, device, ApplyChSetRecord);
}

int32_t Write_ChSet(const ELM327_Info& device, const std::string& folder) {
  return WriteFile(folder, kChSetFile, device, ChSetRecord);
}

// ---- an_set.dat ----

int32_t ApplyAnSetRecord(std::string_view bytes, KVR_USB_Probe& USB_Probe) {
  RecordReader in(bytes);
  const std::string title = in.Text();
  const std::string notice = in.Text();
  const int32_t probeUpper = in.Long();
  const int32_t pinUpper = in.Long();
  std::array<std::string, kProbeEntries> probeComment;
  std::array<std::string, kPinEntries> pinComment;
  std::array<double, kPinEntries> multiply{}, addition{};
  std::array<int32_t, kPinEntries> analysis{}, roundOn{}, roundValue{}, fontSize{}, fontColor{},
      backColor{};
  for (auto& v : probeComment) v = in.Text();
  for (auto& v : pinComment) v = in.Text();
  for (auto& v : multiply) v = in.Double();
  for (auto& v : addition) v = in.Double();
  for (auto* field : {&analysis, &roundOn, &roundValue, &fontSize, &fontColor, &backColor}) {
    for (auto& v : *field) v = in.Long();
  }

  if (notice != USB_Probe.Copy_light2 || title != USB_Probe.Application_title2) {
    return kOtherVersion;
  }
  const bool probesFit = ApplyUpTo(
      probeUpper, kProbeEntries, [&](int16_t d) { USB_Probe.AN_ch_comment(d) = probeComment[d]; });
  const bool pinsFit = ApplyUpTo(pinUpper, kPinEntries, [&](int16_t p) {
    USB_Probe.AN_pin_comment(p) = pinComment[p];
    USB_Probe.AN_pin_multiply(p) = multiply[p];
    USB_Probe.AN_pin_addition(p) = addition[p];
    USB_Probe.AN_pin_analysis(p) = analysis[p];
    USB_Probe.AN_pin_round_On(p) = roundOn[p];
    USB_Probe.AN_pin_round_value(p) = roundValue[p];
    USB_Probe.AN_pin_Font_size(p) = fontSize[p];
    USB_Probe.AN_pin_FontColor(p) = fontColor[p];
    USB_Probe.AN_pin_BackColor(p) = backColor[p];
  });
  return probesFit && pinsFit ? kRead : kReadWithError;
}

std::string AnSetRecord(const KVR_USB_Probe& USB_Probe, bool& failed) {
  RecordWriter out;
  out.Text(USB_Probe.Application_title2);
  out.Text(USB_Probe.Copy_light2);
  out.Long(kProbeEntries - 1);
  out.Long(kPinEntries - 1);
  for (int16_t d = 0; d < kProbeEntries; ++d) out.Text(USB_Probe.AN_ch_comment(d));
  for (int16_t p = 0; p < kPinEntries; ++p) out.Text(USB_Probe.AN_pin_comment(p));
  for (int16_t p = 0; p < kPinEntries; ++p) out.Double(USB_Probe.AN_pin_multiply(p));
  for (int16_t p = 0; p < kPinEntries; ++p) out.Double(USB_Probe.AN_pin_addition(p));
  for (const auto* table :
       {&USB_Probe.AN_pin_analysis, &USB_Probe.AN_pin_round_On, &USB_Probe.AN_pin_round_value,
        &USB_Probe.AN_pin_Font_size, &USB_Probe.AN_pin_FontColor, &USB_Probe.AN_pin_BackColor}) {
    for (int16_t p = 0; p < kPinEntries; ++p) out.Long((*table)(p));
  }
  failed = out.Failed();
  return out.Bytes();
}

int32_t Read_AnSet(KVR_USB_Probe& USB_Probe, const std::string& folder, OtherVersion otherVersion) {
  return ReadFile(folder, kAnSetFile, kAnSetMaxBytes, otherVersion, USB_Probe, ApplyAnSetRecord);
}

int32_t Write_AnSet(const KVR_USB_Probe& USB_Probe, const std::string& folder) {
  return WriteFile(folder, kAnSetFile, USB_Probe, AnSetRecord);
}

}  // namespace tavelin::FileSaveSystem
