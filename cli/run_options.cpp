#include "cli/run_options.h"

#include <charconv>

namespace tavelin::cli {
namespace {

template <typename Number>
bool ReadNumber(const std::string& text, Number& value) {
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

}  // namespace

std::optional<RunOptions> ParseRunOptions(const std::vector<std::string>& args,
                                          std::string& error) {
  RunOptions options;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& name = args[i];
    if (name == "--analysis") {
      options.analysis = true;
      continue;
    }
    if (name != "--mode" && name != "--seconds") {
      error = "unknown option '" + name + "'";
      return std::nullopt;
    }
    if (i + 1 >= args.size()) {
      error = name + " needs a value";
      return std::nullopt;
    }
    const std::string& value = args[++i];
    if (name == "--mode") {
      if (!ReadNumber(value, options.mode) || options.mode < 1 || options.mode > 4) {
        error = "--mode takes 1 to 4 (1, 2 LEDs, 3 digital values, 4 analog values), not '" +
                value + "'";
        return std::nullopt;
      }
    } else {
      double seconds = 0.0;
      if (!ReadNumber(value, seconds) || !(seconds > 0.0)) {
        error = "--seconds takes a positive number, not '" + value + "'";
        return std::nullopt;
      }
      options.seconds = seconds;
    }
  }
  return options;
}

}  // namespace tavelin::cli
