#include "trend/log_table.h"

#include <freexl.h>

#include <algorithm>
#include <charconv>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <sstream>
#include <thread>

#include "platform/code_page.h"
#include "spreadsheet/xls_reader.h"
#include "trend/journal_table.h"

namespace tavelin {
namespace {

namespace fs = std::filesystem;

constexpr const char* kNotOurs = "タヴェリンのログではありません (時間の見出しがありません)";

std::string Trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(" \t\r");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

std::vector<std::string> Cells(const std::string& line) {
  std::vector<std::string> cells;
  std::string cell;
  std::istringstream in(line);
  while (std::getline(in, cell, ',')) cells.push_back(Trimmed(cell));
  if (!line.empty() && line.back() == ',') cells.emplace_back();
  return cells;
}

bool Number(const std::string& text, double& value) {
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  return result.ec == std::errc() && result.ptr == end;
}

// The channel groups over the columns, filled forward ("0Ch", "", "" ...).
std::vector<std::string> FilledForward(std::vector<std::string> groups, std::size_t size) {
  groups.resize(size);
  for (std::size_t i = 1; i < size; ++i) {
    if (groups[i].empty()) groups[i] = groups[i - 1];
  }
  return groups;
}

void Label(LogTable& table, const std::vector<std::string>& groups,
           const std::vector<std::string>& names) {
  for (std::size_t c = 1; c < names.size(); ++c) {
    const std::string& group = c < groups.size() ? groups[c] : "";
    table.labels.push_back(group.empty() ? names[c] : group + " " + names[c]);
  }
  table.columns.assign(table.labels.size(), {});
}

// A row of numbers under the headings; false, with the reason, for one
// that is not.
bool TakeRow(LogTable& table, const std::vector<double>& row) {
  if (row.size() != table.labels.size() + 1) return false;
  table.times.push_back(row[0]);
  for (std::size_t c = 1; c < row.size(); ++c)
    table.columns[c - 1].push_back(static_cast<float>(row[c]));
  return true;
}

LogTable ReadCsv(const std::string& path) {
  LogTable table;
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    table.problem = "開けません";
    return table;
  }
  std::vector<std::string> lines;
  std::map<std::string, std::string> comments;  // "ch3" -> its comment (value layouts)
  std::vector<std::string> groups;
  bool headed = false;
  int number = 0;
  for (std::string raw; std::getline(in, raw);) {
    ++number;
    const std::string line = FromCodePage(raw);
    if (!headed) {
      std::vector<std::string> cells = Cells(line);
      if (!cells.empty() && cells[0].rfind("時間[ms]", 0) == 0) {
        while (cells.size() > 1 && cells.back().empty()) cells.pop_back();
        headed = true;
        for (std::size_t c = 1; c < cells.size(); ++c) {
          std::string key = cells[c];  // "ch0", or "Ch0-1" of a probe
          std::transform(key.begin(), key.end(), key.begin(), ::tolower);
          key = key.substr(0, key.find('-'));
          if (const auto at = comments.find(key); at != comments.end()) {
            if (groups.size() <= c) groups.resize(c + 1);
            groups[c] = at->second;
          }
        }
        Label(table, groups, cells);
        continue;
      }
      if (const std::size_t colon = line.find(" ："); colon != std::string::npos) {
        comments[Trimmed(line.substr(0, colon))] =
            Trimmed(line.substr(colon + std::string(" ：").size()));
      } else if (!cells.empty() && cells[0].empty() && cells.size() > 1) {
        groups = FilledForward(cells, cells.size());  // the bit layout's channel row
      }
      continue;
    }
    std::vector<double> row;
    for (const std::string& cell : Cells(line)) {
      double value = 0.0;
      if (cell.empty()) continue;  // the bit layout ends its rows with a comma
      if (!Number(cell, value)) {
        row.clear();
        break;
      }
      row.push_back(value);
    }
    if (row.empty() && Trimmed(line).empty()) continue;
    if (!TakeRow(table, row)) {
      table.problem = "行 " + std::to_string(number) + " が読めません (ここまでを表示します)";
      return table;
    }
  }
  if (!headed) table.problem = kNotOurs;
  return table;
}

// The workbook layout: the channel row 6, the headings row 7, rows of
// numbers from row 8 (counted from 1).
constexpr unsigned kGroupRow = 5;
constexpr unsigned kHeadingRow = 6;

std::string TextOf(const FreeXL_CellValue& cell) {
  if (cell.type == FREEXL_CELL_TEXT || cell.type == FREEXL_CELL_SST_TEXT)
    return cell.value.text_value;
  return "";
}

LogTable ReadXlsWithFreexl(const std::string& path);

// Ours hold at most 20,008 rows of 129 cells: about 20 MB.
constexpr std::size_t kLargestWorkbook = std::size_t{256} << 20;

// A log's workbook as our reader walks its records: the headings' texts,
// then the rows of numbers, each taken as its last cell comes.
class LogSheet final : public SheetCellVisitor {
 public:
  void Text(unsigned row, unsigned column, const std::string& text) override {
    if (row == kGroupRow || row == kHeadingRow) {
      auto& texts = row == kGroupRow ? groups_ : names_;
      if (texts.size() <= column) texts.resize(column + 1);
      texts[column] = text;
    } else if (row > kHeadingRow) {
      Cell(row, column);
      broken_ = true;  // a text among the numbers
    }
  }
  void Number(unsigned row, unsigned column, double value) override {
    if (row <= kHeadingRow || !Cell(row, column)) return;
    if (column == row_.size()) {
      row_.push_back(value);
    } else {
      broken_ = true;
    }
  }
  LogTable Finish() {
    Label();
    Take();
    return std::move(table_);
  }

 private:
  // False once the rows have ended: at a file's damage, or an empty row.
  bool Cell(unsigned row, unsigned column) {
    if (done_) return false;
    if (row != rowAt_) {
      Label();
      Take();
      if (done_ || row != (rowAt_ == 0 ? kHeadingRow + 1 : rowAt_ + 1)) {
        done_ = true;  // the rows end at the first empty one
        return false;
      }
      rowAt_ = row;
    }
    return column < kMaxColumns;
  }
  void Label() {
    if (labelled_) return;
    labelled_ = true;
    while (!names_.empty() && names_.back().empty()) names_.pop_back();
    if (names_.empty() || names_[0].find("時間") == std::string::npos) {
      table_.problem = kNotOurs;
      done_ = true;
      return;
    }
    tavelin::Label(table_, FilledForward(groups_, names_.size()), names_);
  }
  void Take() {
    if (done_ || rowAt_ == 0) return;
    if (broken_ || !TakeRow(table_, row_)) {
      table_.problem = "行 " + std::to_string(rowAt_ + 1) + " が読めません (ここまでを表示します)";
      done_ = true;
    }
    row_.clear();
  }

  static constexpr unsigned kMaxColumns = 256;
  LogTable table_;
  std::vector<std::string> groups_, names_;
  std::vector<double> row_;
  unsigned rowAt_ = 0;
  bool labelled_ = false;
  bool broken_ = false;
  bool done_ = false;
};

// Our own workbooks (and most others) through our reader, which takes a
// run of them several times faster; libfreexl reads what it does not follow.
LogTable ReadXls(const std::string& path) {
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  const auto size = static_cast<std::size_t>(in ? std::max<std::streamoff>(in.tellg(), 0) : 0);
  if (size > kLargestWorkbook) return ReadXlsWithFreexl(path);
  const std::unique_ptr<char[]> bytes(new char[size]);  // read over at once, never cleared
  in.seekg(0);
  LogSheet sheet;
  if (in.read(bytes.get(), static_cast<std::streamsize>(size)) &&
      ReadFirstSheet(std::string_view(bytes.get(), size), sheet)) {
    return sheet.Finish();
  }
  return ReadXlsWithFreexl(path);
}

LogTable ReadXlsWithFreexl(const std::string& path) {
  LogTable table;
  const void* book = nullptr;
  if (freexl_open(path.c_str(), &book) != FREEXL_OK) {
    if (book != nullptr) freexl_close(book);
    table.problem = "ブックとして読めません (壊れているか、Excel 97-2003 形式ではありません)";
    return table;
  }
  unsigned rows = 0;
  unsigned short columns = 0;
  if (freexl_select_active_worksheet(book, 0) != FREEXL_OK ||
      freexl_worksheet_dimensions(book, &rows, &columns) != FREEXL_OK || rows <= kHeadingRow) {
    freexl_close(book);
    table.problem = kNotOurs;
    return table;
  }
  const auto cell = [&](unsigned r, unsigned short c) {
    FreeXL_CellValue value{};
    if (freexl_get_cell_value(book, r, c, &value) != FREEXL_OK) value.type = FREEXL_CELL_NULL;
    return value;
  };
  std::vector<std::string> groups, names;
  for (unsigned short c = 0; c < columns; ++c) {
    groups.push_back(TextOf(cell(kGroupRow, c)));
    names.push_back(TextOf(cell(kHeadingRow, c)));
  }
  while (!names.empty() && names.back().empty()) names.pop_back();
  if (names.empty() || names[0].find("時間") == std::string::npos) {
    freexl_close(book);
    table.problem = kNotOurs;
    return table;
  }
  Label(table, FilledForward(groups, names.size()), names);
  table.times.reserve(rows - kHeadingRow - 1);
  for (std::vector<float>& column : table.columns) column.reserve(rows - kHeadingRow - 1);
  std::vector<double> row;
  row.reserve(names.size());
  for (unsigned r = kHeadingRow + 1; r < rows; ++r) {
    row.clear();
    for (unsigned short c = 0; c < names.size(); ++c) {
      const FreeXL_CellValue value = cell(r, c);
      if (value.type == FREEXL_CELL_DOUBLE) {
        row.push_back(value.value.double_value);
      } else if (value.type == FREEXL_CELL_INT) {
        row.push_back(value.value.int_value);
      } else {
        break;
      }
    }
    if (row.empty()) break;  // past the last row
    if (!TakeRow(table, row)) {
      table.problem = "行 " + std::to_string(r + 1) + " が読めません (ここまでを表示します)";
      break;
    }
  }
  freexl_close(book);
  return table;
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// "SD26112422-007.xls": the name the program gives a log.
bool LogName(const std::string& name) {
  const std::size_t dot = name.rfind('.');
  if (name.size() < 14 || name.compare(0, 2, "SD") != 0 || name[10] != '-' || dot == 11 ||
      dot == std::string::npos) {
    return false;
  }
  const auto digits = [&](std::size_t from, std::size_t to) {
    return std::all_of(name.begin() + static_cast<std::ptrdiff_t>(from),
                       name.begin() + static_cast<std::ptrdiff_t>(to),
                       [](char c) { return c >= '0' && c <= '9'; });
  };
  return digits(2, 10) && digits(11, dot);
}

// The logs beside `path` of its kind, in the order they were written: the
// names sort by the hour, then by the number within it (99 before 099100).
std::vector<fs::path> LogsBeside(const fs::path& path) {
  std::vector<fs::path> logs;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(path.parent_path(), error)) {
    const fs::path& found = entry.path();
    if (found.extension() == path.extension() && LogName(found.filename().string()))
      logs.push_back(found);
  }
  std::sort(logs.begin(), logs.end());
  return logs;
}

// `next` goes on from a file of `labels` whose last row came at `lastMs`:
// the same traces and a clock that goes on.
bool GoesOn(const std::vector<std::string>& labels, double lastMs, const LogTable& next) {
  return next.problem.empty() && next.labels == labels && !next.times.empty() &&
         next.times.front() >= lastMs;
}

bool GoesOn(const LogTable& table, const LogTable& next) {
  return !table.times.empty() && GoesOn(table.labels, table.times.back(), next);
}

void Append(LogTable& table, const LogTable& next) {
  table.times.insert(table.times.end(), next.times.begin(), next.times.end());
  for (std::size_t c = 0; c < table.columns.size(); ++c) {
    table.columns[c].insert(table.columns[c].end(), next.columns[c].begin(), next.columns[c].end());
  }
}

}  // namespace

LogTable ReadLogFile(const std::string& path) {
  try {
    if (LooksLikeJournal(path)) return ReadJournalTable(path);
    std::string lower = path;
    std::transform(lower.begin(), lower.end(), lower.begin(), ::tolower);
    return EndsWith(lower, ".xls") ? ReadXls(path) : ReadCsv(path);
  } catch (const std::exception&) {  // memory, or a reader's own fault: the file is not shown
    LogTable table;
    table.problem = "読めません";
    return table;
  }
}

void ForEachFileOfRun(const std::string& path, const std::function<void(RunFileRead&)>& take,
                      std::atomic<int>* filesRead) {
  const auto count = [filesRead] {
    if (filesRead != nullptr) ++*filesRead;
  };
  RunFileRead file{path, ReadLogFile(path), 1};
  const std::vector<fs::path> logs =
      LogName(fs::path(path).filename().string()) ? LogsBeside(path) : std::vector<fs::path>{};
  const auto at = std::find_if(logs.begin(), logs.end(), [&](const fs::path& log) {
    return log.filename() == fs::path(path).filename();
  });
  if (!file.table.problem.empty() || at == logs.end()) {
    take(file);
    return;
  }
  // Back to the run's first file: each one before must lead into the next.
  auto first = at;
  LogTable head = std::move(file.table);
  while (first != logs.begin()) {
    LogTable earlier = ReadLogFile(std::prev(first)->string());
    count();
    if (!GoesOn(earlier, head)) break;
    head = std::move(earlier);
    --first;
  }
  file = {first->string(), std::move(head), static_cast<int>(logs.end() - first)};
  std::vector<std::string> labels = file.table.labels;
  double lastMs = file.table.times.empty() ? 0.0 : file.table.times.back();
  const bool any = !file.table.times.empty();
  take(file);
  // The next files are read ahead on other threads while `take` works on
  // one: reading is most of a long run's opening.
  std::deque<std::future<LogTable>> ahead;
  auto toRead = std::next(first);
  const std::size_t reading = std::max(2u, std::thread::hardware_concurrency());
  for (auto next = std::next(first); any && next != logs.end(); ++next) {
    for (; ahead.size() < reading && toRead != logs.end(); ++toRead) {
      ahead.push_back(
          std::async(std::launch::async, [log = toRead->string()] { return ReadLogFile(log); }));
    }
    file = {next->string(), ahead.front().get(), static_cast<int>(logs.end() - first)};
    ahead.pop_front();
    count();
    if (!GoesOn(labels, lastMs, file.table)) break;
    lastMs = file.table.times.back();
    take(file);
  }
}

LogTable ReadLogRun(const std::string& path, std::vector<std::string>* files) {
  LogTable run;
  bool first = true;
  if (files != nullptr) files->clear();
  ForEachFileOfRun(path, [&](RunFileRead& file) {
    if (first) {
      run = std::move(file.table);
      first = false;
    } else {
      Append(run, file.table);
    }
    if (files != nullptr) files->push_back(file.path);
  });
  return run;
}

}  // namespace tavelin
