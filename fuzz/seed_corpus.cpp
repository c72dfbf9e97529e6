// Writes real settings files, journals and a workbook with the program's
// writers, as seeds for the fuzzers: the defaults, and files full of other
// values and Japanese text; journals of the three row kinds.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "logging/journal_format.h"
#include "settings/FileSaveSystem.h"
#include "spreadsheet/ExcelApplication.h"
#include "spreadsheet/xls_writer.h"

using namespace tavelin;
namespace fs = std::filesystem;

// A journal of each row kind: rows, a file written, more rows, a name taken.
void WriteJournals(const fs::path& folder) {
  fs::create_directories(folder);
  for (int32_t viewCh : {1, 3, 4}) {
    JournalHead head;
    head.viewCh = viewCh;
    head.logSaveFormat = viewCh == 4 ? 1 : 2;
    head.pathMode = 2;
    head.savePath = "/home/bench/ログ";
    head.comment = "炉 1";
    head.title = "タヴェリン Ver1.11";
    head.findDevice = 2;
    head.devices = {{0, "0Ch"}, {viewCh == 4 ? int16_t{7} : int16_t{15}, "圧力"}};
    std::string bytes = EncodeHead(head);
    const std::string values(head.ValueBytes(), '\x3f');
    for (int row = 0; row < 3; ++row) AppendRow(bytes, row * 10.0, values);
    AppendMark(bytes, {3, false, "/home/bench/ログ/SD26030214-001.csv"});
    AppendRow(bytes, 30.0, values);
    AppendTakenName(bytes, {"/home/bench/ログ/SD26030214-002.csv", 4, FileIdentity{2049, 131}});
    std::ofstream(folder / ("kind" + std::to_string(viewCh)), std::ios::binary) << bytes;
  }
}

// A small workbook of texts, whole numbers, hundredths and doubles.
void WriteWorkbook(const fs::path& folder) {
  fs::create_directories(folder);
  Worksheet sheet;
  sheet.cells(6, 1).value("ch0");
  sheet.cells(7, 1).value("経過時間 [ms]");
  for (int r = 8; r < 40; ++r) {
    sheet.cells(r, 1).value(std::to_string(r * 10));
    sheet.cells(r, 2).value(std::to_string(r) + ".25");
    sheet.cells(r, 3).value(std::to_string(r) + ".123456789");
  }
  WriteXls(sheet.Data(), (folder / "log.xls").string());
}

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: seed_corpus FOLDER\n";
    return 2;
  }
  const fs::path root = argv[1];
  const auto write = [&](const std::string& name, const ELM327_Info& device,
                         const KVR_USB_Probe& probe) {
    for (const char* kind : {"config", "ch_set", "an_set"}) fs::create_directories(root / kind);
    const std::string folder = (root / "tmp").string();
    fs::create_directories(folder);
    FileSaveSystem::Write_Config(device, folder);
    FileSaveSystem::Write_ChSet(device, folder);
    FileSaveSystem::Write_AnSet(probe, folder);
    fs::rename(fs::path(folder) / FileSaveSystem::kConfigFile, root / "config" / name);
    fs::rename(fs::path(folder) / FileSaveSystem::kChSetFile, root / "ch_set" / name);
    fs::rename(fs::path(folder) / FileSaveSystem::kAnSetFile, root / "an_set" / name);
    fs::remove_all(folder);
  };
  ELM327_Info device;
  KVR_USB_Probe probe{UsbProbeEntryPoints{}};
  write("defaults", device, probe);

  device.t_TERMS_OF_USE = 1;
  device.t_ViewCh = 3;
  device.t_LogSave_Enable = 1;
  device.t_LogSaveFilePath_mode = 2;
  device.t_LogSaveFilePath = "/home/bench/ログ";
  device.t_LogComment = "炉 1, 昇温試験\r\n二回目";
  for (int16_t c = 0; c < 17; ++c) {
    device.usbio_comment(c) = "圧力センサ" + std::to_string(c);
    device.usbio_DataLength(c) = 16;
    device.usbio_multiply(c) = 0.25;
  }
  for (int16_t b = 0; b < 129; b += 7) device.bit_comment(b) = "弁" + std::to_string(b);
  for (int16_t p = 0; p < 49; ++p) probe.AN_pin_comment(p) = "温度" + std::to_string(p);
  write("japanese", device, probe);
  WriteJournals(root / "journal");
  WriteWorkbook(root / "workbook");
  return 0;
}
