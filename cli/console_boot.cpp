#include "cli/console_boot.h"

#include <ostream>

#include "devices/library_version_check.h"
#include "platform/program_folder.h"
#include "settings/FileSaveSystem.h"
#include "spreadsheet/excel_check.h"

namespace tavelin::cli {

std::unique_ptr<ConsoleSession> BootConsole(const std::string& programFolder,
                                            std::ostream& errors) {
  const std::string writable = WritableFolder(programFolder);
  ELM327_Info::SetProgramFolder(writable);
  ELM327_Info defaults;
  auto check = CheckLibraryVersions(defaults, DeviceLibraryFolder(programFolder),
                                    [&](const std::string& text) { errors << text << "\n"; });
  if (check.result < 1) {
    if (!check.failure.empty()) errors << "デバイスライブラリ: " << check.failure << "\n";
    return nullptr;
  }
  auto session =
      std::make_unique<ConsoleSession>(programFolder, writable, std::move(*check.libraries));
  session->device.Param_ALL_Clear();
  session->USB_Probe.Param_ALL_Clear();
  // What the windows saved; the console reads the files and never writes them.
  FileSaveSystem::Read_Config(session->device, writable);
  FileSaveSystem::Read_ChSet(session->device, writable);
  FileSaveSystem::Read_AnSet(session->USB_Probe, writable);
  session->USB_IO.Param_ALL_Clear();
  session->USB_IO.openDevice();
  session->USB_Probe.openDevice();
  CheckExcelInstalled(session->device);
  return session;
}

}  // namespace tavelin::cli
