#include "trendview/plot_command.h"

#include <QImage>
#include <QPainter>
#include <charconv>
#include <cstring>
#include <iostream>
#include <optional>

#include "trend/past_run.h"
#include "trendview/trend_plot.h"

namespace tavelin {
namespace {

constexpr int kLargestSide = 16000;

struct PlotOptions {
  std::string log;
  std::string output;
  std::string channels;
  int width = 1600;
  int height = 1000;
};

std::optional<int> Whole(const std::string& text) {
  int value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return std::nullopt;
  return value;
}

// The options, or the mistake in `why`.
std::optional<PlotOptions> Read(const std::vector<std::string>& args, std::string& why) {
  PlotOptions options;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& word = args[i];
    const bool hasValue = i + 1 < args.size();
    if (word == "--plot" && hasValue) {
      options.log = args[++i];
    } else if (word == "--output" && hasValue) {
      options.output = args[++i];
    } else if (word == "--channels" && hasValue) {
      options.channels = args[++i];
    } else if (word == "--size" && hasValue) {
      const std::string size = args[++i];
      const std::size_t x = size.find('x');
      const auto w = x == std::string::npos ? std::nullopt : Whole(size.substr(0, x));
      const auto h = x == std::string::npos ? std::nullopt : Whole(size.substr(x + 1));
      if (!w || !h || *w < 200 || *h < 100 || *w > kLargestSide || *h > kLargestSide) {
        why = "--size は 幅x高さ (200x100 から 16000x16000) で指定してください: " + size;
        return std::nullopt;
      }
      options.width = *w;
      options.height = *h;
    } else {
      why = "わからない引数です: " + word;
      return std::nullopt;
    }
  }
  if (options.log.empty() || options.output.empty()) {
    why = "使い方: tavelin --plot LOGFILE --output FILE.png [--channels LIST] [--size WxH]";
    return std::nullopt;
  }
  return options;
}

// The traces LIST names: numbers from 1, ranges "a-b", or names.
std::optional<std::vector<std::size_t>> Shown(const std::string& list,
                                              const std::vector<std::string>& labels,
                                              std::string& why) {
  std::vector<std::size_t> shown;
  if (list.empty()) {
    for (std::size_t t = 0; t < labels.size(); ++t) shown.push_back(t);
    return shown;
  }
  std::size_t start = 0;
  while (start <= list.size()) {
    const std::size_t comma = std::min(list.find(',', start), list.size());
    const std::string item = list.substr(start, comma - start);
    start = comma + 1;
    if (item.empty()) continue;
    const std::size_t dash = item.find('-', 1);
    const auto first = Whole(dash == std::string::npos ? item : item.substr(0, dash));
    const auto last = dash == std::string::npos ? first : Whole(item.substr(dash + 1));
    if (first && last && *first >= 1 && *last >= *first &&
        static_cast<std::size_t>(*last) <= labels.size()) {
      for (int n = *first; n <= *last; ++n) shown.push_back(static_cast<std::size_t>(n - 1));
      continue;
    }
    const auto named = std::find(labels.begin(), labels.end(), item);
    if (named == labels.end()) {
      why = "--channels: ログにない入力です: " + item + " (1 から " +
            std::to_string(labels.size()) + " の番号か名前)";
      return std::nullopt;
    }
    shown.push_back(static_cast<std::size_t>(named - labels.begin()));
  }
  return shown;
}

}  // namespace

bool AsksForPlot(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--plot") == 0) return true;
  }
  return false;
}

int RunPlot(const std::vector<std::string>& arguments) {
  std::string why;
  const auto options = Read(arguments, why);
  if (!options) {
    std::cerr << "tavelin: " << why << "\n";
    return 2;
  }
  const PastRun run = ReadPastRun(options->log);
  if (run.rows == 0) {
    std::cerr << "tavelin: " << options->log << ": "
              << (run.problem.empty() ? "行がありません" : run.problem) << "\n";
    return 1;
  }
  if (!run.problem.empty()) std::cerr << "tavelin: " << options->log << ": " << run.problem << "\n";
  const TrendTraces& traces = run.traces;
  TrendFrame frame;
  const auto shown = Shown(options->channels, traces.Labels(), why);
  if (!shown) {
    std::cerr << "tavelin: " << why << "\n";
    return 2;
  }
  frame.shown = *shown;
  frame.fromMs = traces.FirstMs();
  frame.toMs = std::max(traces.LastMs(), frame.fromMs + 1.0);
  if (!SaveTrendPicture(QString::fromStdString(options->output),
                        QSize(options->width, options->height), traces, frame)) {
    std::cerr << "tavelin: " << options->output << " に書けません\n";
    return 1;
  }
  return 0;
}

}  // namespace tavelin
