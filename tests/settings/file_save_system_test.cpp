// The three settings files, byte for byte.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>

#include "logging/log_test_support.h"
#include "settings/FileSaveSystem.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;
using namespace FileSaveSystem;
using test::ReadBytes;

std::string Le32(uint32_t v) {
  return {static_cast<char>(v), static_cast<char>(v >> 8), static_cast<char>(v >> 16),
          static_cast<char>(v >> 24)};
}
std::string Text(const std::string& cp932) {
  return std::string{static_cast<char>(cp932.size()), static_cast<char>(cp932.size() >> 8)} + cp932;
}
std::size_t TextBytes(const std::string& utf8) {
  return ToCodePage(utf8).size();
}

class SettingsFiles : public ::testing::Test {
 protected:
  std::string Folder() const { return folder.Path().string(); }
  fs::path File(const char* name) const { return folder.Path() / name; }
  void Cut(const char* name, std::size_t size) const { fs::resize_file(File(name), size); }

  test::TempFolder folder;
  ELM327_Info device;
  KVR_USB_Probe probe{UsbProbeEntryPoints{}};
};

TEST_F(SettingsFiles, ConfigBytesAreTheFieldsInFileOrder) {
  device.t_LogSaveFilePath = "/log";
  device.t_LogComment = "炉";
  device.t_ViewCh = 3;
  device.t_TERMS_OF_USE = 1;
  ASSERT_EQ(Write_Config(device, Folder()), kWritten);
  const std::string expected =
      Text("\x83\x5E\x83\x94\x83\x46\x83\x8A\x83\x93 Ver1.11") +  // タヴェリン Ver1.11
      Text(identity::kNotice) + Le32(1) + Le32(111) + Text("") + std::string(8, '\0') + Le32(2) +
      Le32(0) + Le32(0) + Le32(3) + Le32(0) + Text("") + Le32(1) + Le32(0) + Text("/log") +
      Le32(0) + Le32(300) + Le32(0) + Text("\x98\x46");  // 炉
  EXPECT_EQ(ReadBytes(File(kConfigFile)), expected);
}

// The channel files' sizes; the config's bytes are checked whole above.
TEST_F(SettingsFiles, SizesAreTheFixedPartPlusTheTextBytes) {
  ASSERT_EQ(Write_ChSet(device, Folder()), kWritten);
  ASSERT_EQ(Write_AnSet(probe, Folder()), kWritten);
  std::size_t chText = TextBytes(device.Application_title2) + TextBytes(device.Copy_light2);
  for (int16_t c = 0; c < kChannelEntries; ++c) chText += TextBytes(device.usbio_comment(c));
  EXPECT_EQ(fs::file_size(File(kChSetFile)), 2356 + chText);  // bit comments are empty
  std::size_t anText = TextBytes(probe.Application_title2) + TextBytes(probe.Copy_light2);
  for (int16_t d = 0; d < kProbeEntries; ++d) anText += TextBytes(probe.AN_ch_comment(d));
  for (int16_t p = 0; p < kPinEntries; ++p) anText += TextBytes(probe.AN_pin_comment(p));
  EXPECT_EQ(fs::file_size(File(kAnSetFile)), 2088 + anText);
}

TEST_F(SettingsFiles, EveryFieldComesBack) {
  device.t_TERMS_OF_USE = 1;
  device.t_bitRate = 5;
  device.t_msgID_type = 1;
  device.t_silent_mode = 1;
  device.t_ViewCh = 4;
  device.t_LogSaveFormat = 2;
  device.t_LogSaveFilePath_mode = 2;
  device.t_LogSaveFilePath = "/srv/ログ";
  device.t_LogSave_Enable = 1;
  device.t_LogSampling = 3600000;
  device.t_LogSave_subFolder = 1;
  device.t_LogComment = "温度①, ü";  // ü is not in CP932
  device.config_reserved_text1 = "r5";
  device.config_reserved_block = {1, 2, 3, 4, 5, 6, 7, 8};
  device.config_reserved_long = -7;
  device.config_reserved_text2 = "r12";
  for (int16_t c = 0; c < kChannelEntries; ++c) {
    device.usbio_StartBit(c) = c % 8 + 1;
    device.usbio_DataLength(c) = 128 - c;
    device.usbio_multiply(c) = 1.0 / (c + 1);
    device.usbio_addition(c) = -1e300 * c;
    device.usbio_Conversion(c) = c % 4;
    device.usbio_comment(c) = "圧力" + std::to_string(c);
    device.usbio_bit_reverse(c) = 1;
    device.usbio_bit_turn(c) = c & 1;
    device.usbio_analysis(c) = 1;
    device.usbio_round_On(c) = 1;
    device.usbio_round_value(c) = 10;
    device.usbio_Font_size(c) = 64;
    device.usbio_FontColor(c) = 0x123456;
    device.usbio_BackColor(c) = 0x654321;
  }
  for (int16_t b = 0; b < kBitEntries; ++b) {
    device.bit_LEDColor(b) = b * 1000;
    device.bit_turn(b) = b & 1;
    device.bit_comment(b) = b % 3 == 0 ? "" : "弁" + std::to_string(b);
  }
  for (int16_t p = 0; p < kPinEntries; ++p) {
    probe.AN_pin_comment(p) = "入力ピン" + std::to_string(p);
    probe.AN_pin_multiply(p) = 0.1 * p;
    probe.AN_pin_addition(p) = -p;
    probe.AN_pin_analysis(p) = 1;
    probe.AN_pin_round_On(p) = 1;
    probe.AN_pin_round_value(p) = 3;
    probe.AN_pin_Font_size(p) = 9;
    probe.AN_pin_FontColor(p) = p;
    probe.AN_pin_BackColor(p) = -p;
  }
  probe.AN_ch_comment(8) = "予備";
  ASSERT_EQ(Write_Config(device, Folder()), kWritten);
  ASSERT_EQ(Write_ChSet(device, Folder()), kWritten);
  ASSERT_EQ(Write_AnSet(probe, Folder()), kWritten);

  ELM327_Info read;
  KVR_USB_Probe readProbe{UsbProbeEntryPoints{}};
  EXPECT_EQ(Read_Config(read, Folder()), kRead);
  EXPECT_EQ(Read_ChSet(read, Folder()), kRead);
  EXPECT_EQ(Read_AnSet(readProbe, Folder()), kRead);
  device.t_LogComment = "温度①, ?";
  bool failed = false;
  EXPECT_EQ(ConfigRecord(read, failed), ConfigRecord(device, failed));
  EXPECT_EQ(ChSetRecord(read, failed), ChSetRecord(device, failed));
  EXPECT_EQ(AnSetRecord(readProbe, failed), AnSetRecord(probe, failed));
  EXPECT_EQ(read.t_LogComment, "温度①, ?");
  EXPECT_EQ(read.usbio_multiply(2), 1.0 / 3.0);
  EXPECT_EQ(readProbe.AN_pin_comment(47), "入力ピン47");
}

TEST_F(SettingsFiles, AConfigCutAfterItsVersionReadsZerosFromThere) {
  ASSERT_EQ(Write_Config(device, Folder()), kWritten);
  Cut(kConfigFile, 2 + TextBytes(device.Application_title) + 2 + TextBytes(device.Copy_light) + 8);
  device.t_LogComment = "kept?";
  EXPECT_EQ(Read_Config(device, Folder()), kRead);
  EXPECT_EQ(device.t_ViewCh, 0);
  EXPECT_EQ(device.t_LogSampling, 0);
  EXPECT_EQ(device.t_LogComment, "");
}

TEST_F(SettingsFiles, AnotherVersionIsDeletedAndLeavesTheDefaults) {
  ELM327_Info older;
  older.Application_title = "タヴェリン Ver1.10";
  older.t_ViewCh = 3;
  ASSERT_EQ(Write_Config(older, Folder()), kWritten);
  chmod(File(kConfigFile).c_str(), 0444);
  EXPECT_EQ(Read_Config(device, Folder()), kOtherVersion);
  EXPECT_FALSE(fs::exists(File(kConfigFile)));
  EXPECT_EQ(device.t_ViewCh, 1);

  older.install_version = 112;
  older.Application_title = device.Application_title;
  ASSERT_EQ(Write_Config(older, Folder()), kWritten);
  EXPECT_EQ(Read_Config(device, Folder()), kOtherVersion);

  KVR_USB_Probe other{UsbProbeEntryPoints{}};
  other.Copy_light2 = "someone else";
  ASSERT_EQ(Write_AnSet(other, Folder()), kWritten);
  EXPECT_EQ(Read_AnSet(probe, Folder()), kOtherVersion);
  EXPECT_FALSE(fs::exists(File(kAnSetFile)));
  EXPECT_EQ(Read_AnSet(probe, Folder()), kNoFile);
}

TEST_F(SettingsFiles, TheStoredChannelBoundDecidesWhatIsApplied) {
  ELM327_Info written;
  for (int16_t c = 0; c < kChannelEntries; ++c) written.usbio_StartBit(c) = 5;
  ASSERT_EQ(Write_ChSet(written, Folder()), kWritten);
  const std::size_t boundAt =
      2 + TextBytes(written.Application_title2) + 2 + TextBytes(written.Copy_light2);
  const auto setBound = [&](int32_t bound) {
    std::string bytes = ReadBytes(File(kChSetFile));
    bytes.replace(boundAt, 4, Le32(static_cast<uint32_t>(bound)));
    std::ofstream(File(kChSetFile), std::ios::binary) << bytes;
  };
  setBound(8);
  EXPECT_EQ(Read_ChSet(device, Folder()), kRead);
  EXPECT_EQ(device.usbio_StartBit(8), 5);
  EXPECT_EQ(device.usbio_StartBit(9), 1);

  ELM327_Info fresh;
  setBound(1000);
  EXPECT_EQ(Read_ChSet(fresh, Folder()), kReadWithError);
  EXPECT_EQ(fresh.usbio_StartBit(16), 5);  // every index up to the tables' end
  EXPECT_EQ(fresh.bit_LEDColor(128), 0x00FF00);
}

TEST_F(SettingsFiles, AChannelFileCutBehindItsBoundZeroesTheChannels) {
  ASSERT_EQ(Write_ChSet(device, Folder()), kWritten);
  Cut(kChSetFile, 2 + TextBytes(device.Application_title2) + 2 + TextBytes(device.Copy_light2) + 4);
  EXPECT_EQ(Read_ChSet(device, Folder()), kRead);
  EXPECT_EQ(device.usbio_DataLength(16), 0);
  EXPECT_EQ(device.usbio_comment(3), "");
  EXPECT_EQ(device.bit_LEDColor(0), 0);  // the bit bound reads 0: index 0 only
  EXPECT_EQ(device.bit_LEDColor(1), 0x00FF00);
}

TEST_F(SettingsFiles, AnAnalogFileCutInItsLastBlockZeroesTheLaterFields) {
  probe.AN_pin_BackColor(47) = 0x777777;
  ASSERT_EQ(Write_AnSet(probe, Folder()), kWritten);
  Cut(kAnSetFile, fs::file_size(File(kAnSetFile)) - 49 * 4);  // without the back colours
  KVR_USB_Probe read{UsbProbeEntryPoints{}};
  EXPECT_EQ(Read_AnSet(read, Folder()), kRead);
  EXPECT_EQ(read.AN_pin_BackColor(47), 0);
  EXPECT_EQ(read.AN_pin_FontColor(47), 0xE0E0E0);
}

TEST_F(SettingsFiles, AShorterRecordOverALongerFileKeepsTheTailAndReadsWell) {
  device.t_LogComment = std::string(300, 'x');
  ASSERT_EQ(Write_Config(device, Folder()), kWritten);
  const auto longSize = fs::file_size(File(kConfigFile));
  device.t_LogComment = "short";
  fs::permissions(File(kConfigFile), fs::perms::owner_read | fs::perms::owner_write);
  const auto before = fs::status(File(kConfigFile));
  ASSERT_EQ(Write_Config(device, Folder()), kWritten);
  EXPECT_EQ(fs::file_size(File(kConfigFile)), longSize);
  // Put in place whole, with the old file's rights, and nothing beside it.
  EXPECT_EQ(fs::status(File(kConfigFile)).permissions(), before.permissions());
  EXPECT_EQ(std::distance(fs::directory_iterator(Folder()), {}), 1);
  ELM327_Info read;
  EXPECT_EQ(Read_Config(read, Folder()), kRead);
  EXPECT_EQ(read.t_LogComment, "short");
}

TEST_F(SettingsFiles, MissingFilesAndFoldersAndTooLongTextsAreNumbersNotCrashes) {
  EXPECT_EQ(Read_Config(device, Folder()), kNoFile);
  EXPECT_EQ(Read_ChSet(device, Folder()), kNoFile);
  const std::string gone = Folder() + "/gone";
  EXPECT_EQ(Write_Config(device, gone), kWriteFailed);
  EXPECT_EQ(Write_AnSet(probe, gone), kWriteFailed);
  fs::create_directory(File(kChSetFile));  // a folder where the file should be
  EXPECT_EQ(Read_ChSet(device, Folder()), kNoFile);
  EXPECT_EQ(Write_ChSet(device, Folder()), kWriteFailed);
  device.t_LogComment = std::string(70000, 'a');  // too long for its count
  EXPECT_EQ(Write_Config(device, Folder()), kWriteFailed);
}

// A huge file costs no more than its largest record: a 1 GiB ch_set.dat
// (a record and a sparse tail) reads well with 512 MB of address space.
[[noreturn]] void ReadWithLittleMemory(const std::string& folder) {
  const rlim_t bytes = rlim_t{512} << 20;
  const rlimit limit{bytes, bytes};
  setrlimit(RLIMIT_AS, &limit);
  ELM327_Info read;
  const int32_t result = Read_ChSet(read, folder);
  std::_Exit(result == kRead && read.usbio_comment(3) == "大きな" ? 0 : 1);
}

TEST_F(SettingsFiles, AHugeFileIsReadNoFurtherThanItsLargestRecord) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the address sanitizer reserves more address space than the limit";
#endif
  device.usbio_comment(3) = "大きな";
  ASSERT_EQ(Write_ChSet(device, Folder()), kWritten);
  Cut(kChSetFile, std::size_t{1} << 30);
  EXPECT_EXIT(ReadWithLittleMemory(Folder()), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace tavelin
