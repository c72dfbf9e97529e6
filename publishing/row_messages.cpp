#include "publishing/row_messages.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "platform/little_endian.h"
#include "platform/utf8.h"

namespace tavelin {
namespace {

void AppendNumber(std::string& out, double value) {
  if (value != value || value - value != 0.0) {  // NaN and infinities are no JSON numbers
    out += "null";
    return;
  }
  char text[32];
  const auto result = std::to_chars(text, text + sizeof text, value);
  out.append(text, result.ptr);
}

void AppendText(std::string& out, std::string_view text) {
  static constexpr char kHex[] = "0123456789abcdef";
  out += '"';
  for (const char c : ValidUtf8(text)) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (byte < 0x20 || byte == 0x7f) {
      out += "\\u00";
      out += kHex[byte >> 4];
      out += kHex[byte & 15];
    } else {
      out += c;
    }
  }
  out += '"';
}

void AppendKey(std::string& out, const char* key) {
  out += '"';
  out += key;
  out += "\":";
}

// The run's facts every run message holds.
void AppendRunFacts(std::string& out, const RunFacts& run) {
  out += '{';
  AppendKey(out, "run");
  AppendText(out, run.runId);
  out += ',';
  AppendKey(out, "comment");
  AppendText(out, run.head->comment);
  out += ',';
  AppendKey(out, "mode");
  out += std::to_string(run.head->viewCh);
  out += ',';
  AppendKey(out, "sampling_ms");
  AppendNumber(out, run.samplingMs);
  out += ',';
  AppendKey(out, "start");
  AppendText(out, IsoTime(run.startUnixMs));
}

}  // namespace

std::string IsoTime(int64_t unixMs) {
  const int64_t seconds = unixMs >= 0 ? unixMs / 1000 : (unixMs - 999) / 1000;
  const auto ms = static_cast<int>(unixMs - seconds * 1000);
  // A row a millisecond: the calendar is worked out once a second.
  thread_local int64_t cachedSecond = -1;
  thread_local char date[80];
  thread_local char offset[16];
  if (seconds != cachedSecond) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm local{};
    localtime_r(&time, &local);
    const int minutes = static_cast<int>(local.tm_gmtoff / 60) % (24 * 60);
    std::snprintf(date, sizeof date, "%04d-%02d-%02dT%02d:%02d:%02d", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
    std::snprintf(offset, sizeof offset, "%c%02d:%02d", minutes < 0 ? '-' : '+',
                  std::abs(minutes) / 60, std::abs(minutes) % 60);
    cachedSecond = seconds;
  }
  char text[112];
  std::snprintf(text, sizeof text, "%s.%03d%s", date, ms, offset);
  return text;
}

std::string RunId(int64_t startUnixMs) {
  const std::string iso = IsoTime(startUnixMs);  // yyyy-MM-ddTHH:mm:ss.fff
  return iso.substr(0, 4) + iso.substr(5, 2) + iso.substr(8, 2) + "-" + iso.substr(11, 2) +
         iso.substr(14, 2) + iso.substr(17, 2) + "-" + iso.substr(20, 3);
}

std::string RowMessage(const RunFacts& run, int64_t seq, double elapsedMs,
                       std::string_view values) {
  const JournalHead& head = *run.head;
  std::string out;
  out.reserve(96 + head.devices.size() * 64);
  out += '{';
  AppendKey(out, "run");
  AppendText(out, run.runId);
  out += ',';
  AppendKey(out, "seq");
  out += std::to_string(seq);
  out += ',';
  AppendKey(out, "time");
  AppendText(out, IsoTime(run.startUnixMs + static_cast<int64_t>(elapsedMs)));
  out += ',';
  AppendKey(out, "elapsed_ms");
  AppendNumber(out, elapsedMs);
  out += ',';
  AppendKey(out, "mode");
  out += std::to_string(head.viewCh);
  out += ',';
  AppendKey(out, "channels");
  out += '[';
  const bool analog = head.viewCh == 4;
  const bool bits = head.viewCh == 1 || head.viewCh == 2;
  le::Reader in(values);
  for (std::size_t d = 0; d < head.devices.size() && in.Left() > 0; ++d) {
    if (d > 0) out += ',';
    out += '{';
    AppendKey(out, "ch");
    out += std::to_string(head.devices[d].index);  // as the log names it: ch0, ch1, ...
    out += ',';
    AppendKey(out, "comment");
    AppendText(out, head.devices[d].comment);
    out += ',';
    if (bits) {
      AppendKey(out, "bits");
      const uint8_t byte = in.Number<uint8_t>().value_or(0);
      out += '[';
      for (int b = 0; b < 8; ++b) {
        if (b > 0) out += ',';
        out += (byte >> b) & 1 ? '1' : '0';
      }
      out += ']';
    } else if (analog) {
      AppendKey(out, "values");
      out += '[';
      for (int32_t k = 0; k < head.maxInput && in.Fits(8); ++k) {
        if (k > 0) out += ',';
        AppendNumber(out, *in.Number<double>());
      }
      out += ']';
    } else {
      AppendKey(out, "value");
      AppendNumber(out, in.Number<double>().value_or(0.0));
    }
    out += '}';
  }
  out += "]}";
  return out;
}

std::string RunStartMessage(const RunFacts& run) {
  std::string out;
  AppendRunFacts(out, run);
  out += ",\"state\":\"running\"}";
  return out;
}

std::string RunEndMessage(const RunFacts& run, int64_t rows, int64_t endUnixMs) {
  std::string out;
  AppendRunFacts(out, run);
  out += ",\"end\":";
  AppendText(out, IsoTime(endUnixMs));
  out += ",\"rows\":" + std::to_string(rows) + ",\"state\":\"ended\"}";
  return out;
}

}  // namespace tavelin
