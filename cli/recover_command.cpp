#include "cli/recover_command.h"

#include <ctime>
#include <iostream>

#include "logging/journal_recovery.h"
#include "logging/log_environment.h"
#include "platform/file_system.h"
#include "platform/program_folder.h"
#include "platform/special_folders.h"

namespace tavelin::cli {
namespace {

std::string StartText(int64_t seconds) {
  const std::time_t start = static_cast<std::time_t>(seconds);
  std::tm parts{};
  localtime_r(&start, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S", &parts);
  return text;
}

void Describe(const LeftoverJournal& journal, std::ostream& out) {
  out << journal.path << "\n";
  if (!journal.readable) {
    out << "  読めません: " << journal.damage << "\n";
    return;
  }
  out << "  開始 " << StartText(journal.startSeconds) << "、ファイルにない行 " << journal.rows
      << "\n";
  for (const std::string& file : journal.files) out << "  書き終えたファイル " << file << "\n";
  if (!journal.damage.empty()) out << "  壊れた部分: " << journal.damage << "\n";
}

}  // namespace

std::string LeftoverNotice() {
  const auto leftovers = LeftoverJournals(JournalFolder());
  if (leftovers.empty()) return {};
  return "tavelin-cli: 途中で終わった記録が " + std::to_string(leftovers.size()) +
         " 件あります (tavelin-cli recover で書き出せます)\n";
}

int RunRecover(const RecoverOptions& options, const std::string& programFolder) {
  if (options.folder && !FolderExists(*options.folder)) {
    std::cerr << "tavelin-cli recover: --folder: フォルダーがありません: " << *options.folder
              << "\n";
    return 2;
  }
  const auto leftovers = LeftoverJournals(JournalFolder());
  if (leftovers.empty()) {
    std::cerr << "途中で終わった記録はありません\n";
    return 0;
  }
  if (options.list) {
    for (const LeftoverJournal& journal : leftovers) Describe(journal, std::cout);
    return 0;
  }
  int status = 0;
  for (const LeftoverJournal& journal : leftovers) {
    try {
      const Recovery recovery =
          RecoverJournal(journal.path, SystemLogEnvironment(WritableFolder(programFolder)),
                         options.folder, options.format);
      for (const std::string& file : recovery.files) std::cout << file << "\n";
      std::cerr << journal.path << ": " << recovery.rows << " 行を書き出しました\n";
      if (!recovery.damage.empty()) {
        std::cerr << "  読めなかった部分: " << recovery.damage << "\n";
      }
    } catch (const FileError& failure) {
      std::cerr << "tavelin-cli recover: " << failure.what() << " (記録はジャーナルに残ります)\n";
      status = 1;
    }
  }
  return status;
}

}  // namespace tavelin::cli
