#pragma once
#include <optional>
#include <string>

#include "logging/log_environment.h"
#include "state/ELM327_Info.h"

namespace tavelin {

// The folder logs go to by t_LogSaveFilePath_mode. Mode 2 with an empty or
// missing folder falls back to the desktop and stores it in the setting.
// The desktop is made where it does not exist.
std::string LogBaseFolder(ELM327_Info& device, const LogEnvironment& environment);

// Why the folder the run's logs go to would take no file (a file made and
// removed again to see), or nothing when it takes one. Asked before a run,
// so that a long run does not learn it only at its end.
std::optional<std::string> LogFolderRefusal(ELM327_Info& device, const LogEnvironment& environment);

// The comment as a folder name: line breaks dropped, characters a file name
// cannot hold replaced by their full-width forms.
std::string SubFolderNameOf(const std::string& comment);

// Makes the run's sub folder from the comment, with "-002", "-003" … when
// it is taken, and gives its bare name in `FolderName`.
void GetSubFolderName(ELM327_Info& device, std::string& FolderName,
                      const LogEnvironment& environment);

// The name of the next log file, taken.
struct LogFileName {
  std::string path;
  // The search stopped at its limit (1000): the file there is written over.
  bool overwrites = false;
  // The file the name was taken with: the empty file made, or the one
  // written over. The log put in place is another file.
  std::optional<FileIdentity> placeholder;
};

// The next log file: "SD" yymmddhh "-" number extension. The number runs
// within one clock hour; `FileName_Date` and `FileName_No` carry it from one
// write of a run to the next. The name is taken as it is found free (made
// empty, exclusively), so that two programs logging into one folder never
// share a file; a name taken meanwhile moves the search on.
LogFileName LogFilePath(ELM327_Info& device, const LocalTime& now, std::string& FileName_Date,
                        std::string& FileName_No, const std::string& FolderName,
                        const LogEnvironment& environment);

// Gives back a taken name whose file could not be written: the empty file
// goes, unless it was there before (a file written over).
void GiveBackLogName(const LogFileName& name);

// A taken name given back (GiveBackLogName) unless its file was written.
class TakenLogName {
 public:
  explicit TakenLogName(const LogFileName& name) : name_(name) {}
  ~TakenLogName();
  TakenLogName(const TakenLogName&) = delete;
  TakenLogName& operator=(const TakenLogName&) = delete;
  void Written() { written_ = true; }

 private:
  const LogFileName& name_;
  bool written_ = false;
};

}  // namespace tavelin
