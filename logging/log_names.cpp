#include "logging/log_names.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <utility>

#include "platform/file_system.h"
#include "platform/number_text.h"
#include "platform/special_folders.h"

namespace tavelin {
namespace {

constexpr int kLastNumber = 1000;

void ReplaceAll(std::string& text, const std::string& what, const std::string& with) {
  for (std::size_t at = text.find(what); at != std::string::npos;
       at = text.find(what, at + with.size())) {
    text.replace(at, what.size(), with);
  }
}

// The next number text after a collision: "00" or "0" in front below 100,
// and from 100 on the old text stays in front, so 099 is followed by 099100.
void NextNumberText(int n, std::string& text) {
  std::string next = n < 10 ? std::string(2, '0') : n < 100 ? std::string(1, '0') : text;
  next.append(DecimalText(n));
  text.swap(next);
}

// The leading number of a text, as a person reads it: "099100" is 99100.
int LeadingNumber(const std::string& text) {
  long long value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') break;
    value = value * 10 + (c - '0');
    if (value > kLastNumber) break;
  }
  return static_cast<int>(value);
}

// The desktop, made when it does not exist (usual on a machine without a
// desktop session).
std::string Desktop(const LogEnvironment& environment) {
  std::error_code ignored;
  if (!environment.desktopFolder.empty()) {
    std::filesystem::create_directories(environment.desktopFolder, ignored);
  }
  return environment.desktopFolder;
}

}  // namespace

LogEnvironment SystemLogEnvironment(const std::string& programFolder) {
  LogEnvironment environment{NowLocal, nullptr, programFolder, DesktopFolder()};
  environment.logWritten = [](const WrittenLog& log) {
    if (log.overwrote) {
      std::cerr << "tavelin: the 1000th log name of the hour is in use: " << log.path
                << " was written over\n";
    }
  };
  environment.journalFolder = JournalFolder();
  return environment;
}

void Yield(const LogEnvironment& environment) {
  if (environment.yield) environment.yield();
}

std::string LogBaseFolder(ELM327_Info& device, const LogEnvironment& environment) {
  switch (device.t_LogSaveFilePath_mode) {
    case 0:
      return environment.programFolder;
    case 1:
      return Desktop(environment);
    case 2:
      if (device.t_LogSaveFilePath.empty() || !FolderExists(device.t_LogSaveFilePath)) {
        device.t_LogSaveFilePath = Desktop(environment);  // stays so, and is saved
      }
      return device.t_LogSaveFilePath;
    default:
      return {};
  }
}

std::optional<std::string> LogFolderRefusal(ELM327_Info& device,
                                            const LogEnvironment& environment) {
  const std::string probe =
      JoinPath(LogBaseFolder(device, environment), ".tavelin-write-test-" + DecimalText(getpid()));
  try {
    if (TakeFileName(probe)) DeleteFile(probe);
    return std::nullopt;
  } catch (const FileError& refused) {
    return std::string(refused.what());
  }
}

std::string SubFolderNameOf(const std::string& comment) {
  static const std::pair<const char*, const char*> kReplacements[] = {
      {"\r", ""},  {"\n", ""},  {"\r\n", ""}, {"\t", "　　"}, {"\\", "￥"},
      {"/", "／"}, {":", "："}, {"*", "＊"},  {"?", "？"},    {"\"", " "},
      {"<", "＜"}, {">", "＞"}, {"|", "｜"},
  };
  std::string name = comment;
  for (const auto& [what, with] : kReplacements) ReplaceAll(name, what, with);
  return name;
}

void GetSubFolderName(ELM327_Info& device, std::string& FolderName,
                      const LogEnvironment& environment) {
  const std::string base = LogBaseFolder(device, environment);
  const std::string name = SubFolderNameOf(device.t_LogComment);
  if (!FolderExists(base)) return;
  if (!FolderExists(JoinPath(base, name))) {
    // Made under t_LogSaveFilePath, not under the base, as it always was.
    CreateFolder(JoinPath(device.t_LogSaveFilePath, name));
    FolderName = name;
    return;
  }
  int n = 2;
  std::string suffix = "002";
  while (FolderExists(JoinPath(base, name + "-" + suffix)) && n < kLastNumber) {
    ++n;
    NextNumberText(n, suffix);
  }
  const std::string folder = JoinPath(base, name + "-" + suffix);
  if (!FolderExists(folder)) CreateFolder(folder);
  FolderName = name + "-" + suffix;
}

LogFileName LogFilePath(ELM327_Info& device, const LocalTime& now, std::string& FileName_Date,
                        std::string& FileName_No, const std::string& FolderName,
                        const LogEnvironment& environment) {
  std::string number = "001";
  int n = 1;
  const char* extension = device.t_LogSaveFormat == 1   ? ".xls"
                          : device.t_LogSaveFormat == 2 ? ".csv"
                                                        : "";
  const std::string date = FileNameDate(now);
  if (date == FileName_Date) {
    number = FileName_No;
    n = LeadingNumber(FileName_No);
  } else {
    FileName_Date = date;
  }
  std::string base = LogBaseFolder(device, environment);
  if (device.t_LogSave_subFolder == 1 && !FolderName.empty() &&
      FolderExists(JoinPath(base, FolderName))) {
    base = JoinPath(base, FolderName);
  }
  const auto pathOf = [&] { return JoinPath(base, "SD" + date + "-" + number + extension); };
  LogFileName name{pathOf(), false, std::nullopt};
  bool taken = TakeFileName(name.path);
  while (!taken && n < kLastNumber) {
    ++n;
    NextNumberText(n, number);
    name.path = pathOf();
    Yield(environment);
    taken = TakeFileName(name.path);
  }
  name.overwrites = !taken;
  name.placeholder = IdentityOf(name.path);
  FileName_No = number;
  return name;
}

void GiveBackLogName(const LogFileName& name) {
  if (name.overwrites) return;
  std::error_code ignored;
  std::filesystem::remove(name.path, ignored);
}

TakenLogName::~TakenLogName() {
  if (!written_) GiveBackLogName(name_);
}

}  // namespace tavelin
