#include "cli/run_options.h"

#include <charconv>

namespace tavelin::cli {
namespace {

template <typename Number>
bool ReadNumber(const std::string& text, Number& value) {
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

bool TakesValue(const std::string& name, bool recording) {
  if (name == "--mode" || name == "--seconds") return true;
  return recording &&
         (name == "--sampling" || name == "--folder" || name == "--comment" || name == "--format");
}

// One option with its value; false with `error` set when the value is bad.
bool ReadOption(const std::string& name, const std::string& value, RunOptions& options,
                std::string& error) {
  if (name == "--mode") {
    if (ReadNumber(value, options.mode) && options.mode >= 1 && options.mode <= 4) return true;
    error =
        "--mode takes 1 to 4 (1, 2 LEDs, 3 digital values, 4 analog values), not '" + value + "'";
  } else if (name == "--seconds") {
    double seconds = 0.0;
    if (ReadNumber(value, seconds) && seconds > 0.0) {
      options.seconds = seconds;
      return true;
    }
    error = "--seconds takes a positive number, not '" + value + "'";
  } else if (name == "--sampling") {
    int32_t ms = 0;
    if (ReadNumber(value, ms) && ms >= 1 && ms <= 3600000) {
      options.samplingMs = ms;
      return true;
    }
    error = "--sampling takes 1 to 3600000 ms, not '" + value + "'";
  } else if (name == "--format") {
    if (value == "xls" || value == "csv") {
      options.format = value == "xls" ? 1 : 2;
      return true;
    }
    error = "--format takes csv or xls, not '" + value + "'";
  } else if (name == "--folder") {
    options.folder = value;
    return true;
  } else {
    options.comment = value;
    return true;
  }
  return false;
}

}  // namespace

std::optional<RunOptions> ParseRunOptions(const std::vector<std::string>& args, bool recording,
                                          std::string& error) {
  RunOptions options;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& name = args[i];
    if (name == "--analysis") {
      options.analysis = true;
    } else if (recording && name == "--subfolder") {
      options.subFolder = true;
    } else if (!TakesValue(name, recording)) {
      error = "unknown option '" + name + "'";
      return std::nullopt;
    } else if (i + 1 >= args.size()) {
      error = name + " needs a value";
      return std::nullopt;
    } else if (!ReadOption(name, args[++i], options, error)) {
      return std::nullopt;
    }
  }
  return options;
}

}  // namespace tavelin::cli
