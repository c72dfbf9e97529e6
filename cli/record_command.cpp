#include "cli/record_command.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iostream>

#include "cli/console_run.h"
#include "cli/publish_command.h"
#include "cli/recover_command.h"
#include "cli/terminal_view.h"
#include "logging/journal_recovery.h"
#include "logging/log_names.h"
#include "platform/file_system.h"
#include "sampling/run_start.h"

namespace tavelin::cli {
namespace {

constexpr double kProgressSeconds = 0.2;

std::string Progress(double elapsed, int64_t rows, int32_t files) {
  char line[128];
  std::snprintf(line, sizeof line, "\r経過 %.1f 秒   記録 %lld 行   ファイル %d   ", elapsed,
                static_cast<long long>(rows), files);
  return line;
}

// Rows logged, in files, and left out: a csv file written at a rollover
// holds its header alone, as the log format requires.
std::string Counts(const RunSummary& summary) {
  std::string text = "ファイルに書いた行 " + std::to_string(summary.rowsInFiles);
  if (summary.rowsDiscarded > 0) {
    text += "、csv の切り替えで捨てた行 " + std::to_string(summary.rowsDiscarded) +
            " (20,001 行を超える記録には .xls 形式を使ってください)";
  }
  return text + "\n";
}

// A csv log keeps only the rows after its last full buffer: better said
// before a run long enough to fill one than after it.
void WarnOfCsvRollovers(const ELM327_Info& device, const RunOptions& options) {
  if (device.t_LogSaveFormat != 2 || !options.seconds) return;
  const double rows = *options.seconds * 1000.0 / std::max(1, device.t_LogSampling);
  if (rows <= 20001.0) return;
  char text[256];
  std::snprintf(text, sizeof text,
                "tavelin-cli record: この記録は約 %.0f 行になります。csv は 20,001 行ごとに"
                "ファイルを切り替え、それまでの行を残しません (--format xls ならすべて残ります)\n",
                rows);
  std::cerr << text;
}

}  // namespace

int RunRecord(const RunOptions& options, const std::string& programFolder,
              const PublishOptions& publish) {
  auto session = BootConsole(programFolder, std::cerr);
  if (!session) return 1;
  std::cerr << LeftoverNotice();
  if (options.folder && !FolderExists(*options.folder)) {
    std::cerr << "tavelin-cli record: --folder: フォルダーがありません: " << *options.folder
              << "\n";
    return 2;
  }
  session->device.t_LogSave_Enable = 1;
  ApplyRunOptions(options, *session);
  if (const std::string nothing = NothingToSample(*session, options.mode); !nothing.empty()) {
    std::cerr << "tavelin-cli record: " << nothing << "\n";
    return kNoDeviceStatus;
  }
  WarnOfCsvRollovers(session->device, options);
  if (CommentRefused(session->device.t_LogComment, session->device)) {
    std::cerr << "tavelin-cli record: " << kCommentNeededMessage << "\n";
    return 2;
  }
  // Better said before a long run than after it.
  if (const auto refusal =
          LogFolderRefusal(session->device, SystemLogEnvironment(session->writableFolder))) {
    std::cerr << "tavelin-cli record: " << *refusal << "\n";
    return 1;
  }

  const int32_t format = session->device.t_LogSaveFormat;
  if (format != 1 && format != 2) {
    std::cerr << "tavelin-cli record: " << UnwritableFormatText(format)
              << "。記録した行はジャーナルに残ります\n";
  }

  std::optional<PublishTarget> target;
  if (publish.url) {
    target = ConsolePublishTarget(publish, "record");
    if (!target) return 2;
  }
  // Before the run: rows it hands over wait in the publisher until the end.
  const std::unique_ptr<Publisher> publisher =
      target ? StartConsolePublisher(*target, "record") : nullptr;

  TerminalView view(session->device, session->USB_IO, session->USB_Probe);
  const bool terminal = isatty(STDERR_FILENO) != 0;
  double shownAt = -kProgressSeconds;
  try {
    const RunSummary summary = RunSampling(
        *session, view, options,
        [&](double elapsed, const FormBG& engine) {
          if (!terminal || elapsed - shownAt < kProgressSeconds) return;
          shownAt = elapsed;
          std::cerr << Progress(elapsed, engine.Excel_DB.RowsLogged(),
                                engine.Excel_DB.FilesWritten())
                    << std::flush;
        },
        [&](const WrittenLog& log) {
          if (terminal) std::cerr << "\r\x1b[K";
          std::cout << log.path << "\n" << std::flush;
        },
        publisher.get());
    if (publisher) FinishConsolePublisher(*publisher, "record");
    std::cerr << Progress(summary.seconds, summary.rows, summary.files) << "\n" << Counts(summary);
    if (summary.rowsDiscarded > 0 && summary.rowsKeptInJournal == 0) return kRowsLeftOutStatus;
    if (summary.rowsKeptInJournal > 0) {
      std::cerr << "tavelin-cli record: " << summary.rowsKeptInJournal
                << " 行はどのログファイルにも書けず、ジャーナルに残しました: " << summary.journal
                << "\n  (tavelin-cli recover --format csv または xls で書き出せます)\n";
      return 1;
    }
  } catch (const FileError& failure) {
    std::cerr << "\ntavelin-cli record: " << failure.what() << "\n" << LeftoverNotice();
    return 1;
  }
  return 0;
}

}  // namespace tavelin::cli
