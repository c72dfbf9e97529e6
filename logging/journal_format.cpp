#include "logging/journal_format.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <algorithm>
#include <bit>
#include <cstring>
#include <ctime>
#include <optional>

#include "platform/crc32c.h"
#include "platform/little_endian.h"

namespace tavelin {
namespace {

// A byte of eight slots: bit k is set where slot k holds 1. Every logged row
// packs sixteen of these, so SSE2 takes four slots at a time where it can.
uint8_t OnesOf(const int32_t* slots) {
#if defined(__SSE2__)
  const __m128i one = _mm_set1_epi32(1);
  const __m128i low =
      _mm_cmpeq_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(slots)), one);
  const __m128i high =
      _mm_cmpeq_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(slots + 4)), one);
  return static_cast<uint8_t>(_mm_movemask_ps(_mm_castsi128_ps(low)) |
                              (_mm_movemask_ps(_mm_castsi128_ps(high)) << 4));
#else
  uint8_t bits = 0;
  for (int b = 0; b < 8; ++b) bits |= static_cast<uint8_t>((slots[b] == 1 ? 1 : 0) << b);
  return bits;
#endif
}

constexpr char kMagic[4] = {'T', 'A', 'V', 'J'};
constexpr char kRow = 'R';
constexpr char kMark = 'F';
constexpr char kTakenName = 'N';
constexpr uint32_t kLongestText = 1 << 16;
constexpr uint32_t kLongestMark = 1 << 17;
constexpr int kChannels = 16;
constexpr int kProbes = 8;

bool Analog(const JournalHead& head) {
  return head.viewCh == 4;
}
bool Bits(const JournalHead& head) {
  return head.viewCh == 1 || head.viewCh == 2;
}

// The journal's texts are at most 64 KiB.
class Reader : public le::Reader {
 public:
  using le::Reader::Reader;
  std::optional<std::string> Text() { return le::Reader::Text(kLongestText); }
};

std::optional<JournalHead> ParseHead(std::string_view bytes) {
  Reader in(bytes);
  JournalHead head;
  const auto viewCh = in.Number<int32_t>();
  const auto format = in.Number<int32_t>();
  const auto pathMode = in.Number<int32_t>();
  auto savePath = in.Text();
  const auto subFolder = in.Number<int32_t>();
  auto folderName = in.Text();
  auto programFolder = in.Text();
  auto comment = in.Text();
  auto title = in.Text();
  auto notice = in.Text();
  auto homepage = in.Text();
  const auto start = in.Number<int64_t>();
  const auto found = in.Number<int32_t>();
  const auto maxInput = in.Number<int32_t>();
  const auto count = in.Number<uint16_t>();
  if (!viewCh || !format || !pathMode || !savePath || !subFolder || !folderName || !programFolder ||
      !comment || !title || !notice || !homepage || !start || !found || !maxInput || !count) {
    return std::nullopt;
  }
  if (*viewCh < 1 || *viewCh > 4 || *maxInput < 1 || *maxInput > 6) return std::nullopt;
  const int limit = *viewCh == 4 ? kProbes : kChannels;
  if (*count > limit || *found < 0 || *found > limit) return std::nullopt;
  head = {*viewCh,
          *format,
          *pathMode,
          std::move(*savePath),
          *subFolder,
          std::move(*folderName),
          std::move(*programFolder),
          std::move(*comment),
          std::move(*title),
          std::move(*notice),
          std::move(*homepage),
          *start,
          *found,
          *maxInput,
          {}};
  int previous = -1;
  for (uint16_t i = 0; i < *count; ++i) {
    const auto index = in.Number<int16_t>();
    auto deviceComment = in.Text();
    // In rising order and inside the tables, as the writer puts them.
    if (!index || !deviceComment || *index <= previous || *index >= limit) return std::nullopt;
    previous = *index;
    head.devices.push_back({*index, std::move(*deviceComment)});
  }
  if (in.Left() != 0) return std::nullopt;
  return head;
}

}  // namespace

std::size_t JournalHead::ValueBytes() const {
  const std::size_t per = Analog(*this) ? 8 * static_cast<std::size_t>(maxInput)
                          : Bits(*this) ? 1
                                        : 8;
  return per * devices.size();
}

JournalHead HeadOfRun(const ELM327_Info& device, const USB_IO_IF& usbIo,
                      const KVR_USB_Probe* usbProbe, const std::string& folderName,
                      const std::string& programFolder) {
  JournalHead head;
  head.viewCh = device.t_ViewCh;
  head.logSaveFormat = device.t_LogSaveFormat;
  head.pathMode = device.t_LogSaveFilePath_mode;
  head.savePath = device.t_LogSaveFilePath;
  head.subFolder = device.t_LogSave_subFolder;
  head.folderName = folderName;
  head.programFolder = programFolder;
  head.comment = device.t_LogComment;
  head.title = device.Application_title;
  head.notice = device.Copy_light;
  head.homepage = device.Homepage_URL;
  head.startSeconds = static_cast<int64_t>(std::time(nullptr));
  if (Analog(head)) {
    head.findDevice = usbProbe != nullptr ? usbProbe->FindDevice : 0;
    head.maxInput = usbProbe != nullptr ? usbProbe->max_input : 6;
    for (int16_t d = 0; usbProbe != nullptr && d < usbProbe->max_device && d < kProbes; ++d) {
      if (usbProbe->HidCh(d) >= 0) head.devices.push_back({d, usbProbe->AN_ch_comment(d)});
    }
  } else {
    head.findDevice = usbIo.FindDevice;
    for (int16_t c = 0; c < usbIo.max_device && c < kChannels; ++c) {
      if (usbIo.HidCh(c) >= 0) head.devices.push_back({c, device.usbio_comment(c)});
    }
  }
  return head;
}

void PackRow(const JournalHead& head, const USB_IO_IF& usbIo, const KVR_USB_Probe* usbProbe,
             std::string& values) {
  values.resize(head.ValueBytes());
  char* out = values.data();
  const auto put = [&out](double value) {
    const auto bits = std::bit_cast<uint64_t>(value);
    for (int i = 0; i < 8; ++i) *out++ = static_cast<char>(bits >> (8 * i));
  };
  if (Bits(head)) {
    for (const JournalDevice& d : head.devices) {
      // The module's eight slots, the last one checked: the rest lie before it.
      *out++ =
          static_cast<char>(OnesOf(&usbIo.USBIO_J1_MakeData_Bit(TableIndex(d.index * 8 + 7)) - 7));
    }
  } else if (Analog(head)) {
    for (const JournalDevice& d : head.devices) {
      for (int32_t k = 0; k < head.maxInput; ++k) {
        put(usbProbe->USBProbe_Value(TableIndex(d.index * head.maxInput + k)));
      }
    }
  } else {
    for (const JournalDevice& d : head.devices) put(usbIo.USBIO_Value(d.index));
  }
}

void UnpackRow(const JournalHead& head, std::string_view values, USB_IO_IF& usbIo,
               KVR_USB_Probe& usbProbe) {
  Reader in(values);
  for (const JournalDevice& d : head.devices) {
    if (Bits(head)) {
      const uint8_t bits = in.Number<uint8_t>().value_or(0);
      for (int16_t b = 0; b < 8; ++b) {
        usbIo.USBIO_J1_MakeData_Bit(TableIndex(d.index * 8 + b)) = (bits >> b) & 1;
      }
    } else if (Analog(head)) {
      for (int32_t k = 0; k < head.maxInput; ++k) {
        usbProbe.USBProbe_Value(TableIndex(d.index * head.maxInput + k)) =
            in.Number<double>().value_or(0.0);
      }
    } else {
      usbIo.USBIO_Value(d.index) = in.Number<double>().value_or(0.0);
    }
  }
}

std::string EncodeHead(const JournalHead& head) {
  std::string body;
  le::U32(body, static_cast<uint32_t>(head.viewCh));
  le::U32(body, static_cast<uint32_t>(head.logSaveFormat));
  le::U32(body, static_cast<uint32_t>(head.pathMode));
  le::Text(body, head.savePath);
  le::U32(body, static_cast<uint32_t>(head.subFolder));
  le::Text(body, head.folderName);
  le::Text(body, head.programFolder);
  le::Text(body, head.comment);
  le::Text(body, head.title);
  le::Text(body, head.notice);
  le::Text(body, head.homepage);
  le::U32(body, static_cast<uint32_t>(head.startSeconds));
  le::U32(body, static_cast<uint32_t>(static_cast<uint64_t>(head.startSeconds) >> 32));
  le::U32(body, static_cast<uint32_t>(head.findDevice));
  le::U32(body, static_cast<uint32_t>(head.maxInput));
  le::U16(body, static_cast<uint16_t>(head.devices.size()));
  for (const JournalDevice& d : head.devices) {
    le::U16(body, static_cast<uint16_t>(d.index));
    le::Text(body, d.comment);
  }
  std::string out(kMagic, sizeof kMagic);
  le::U16(out, kJournalVersion);
  le::U32(out, static_cast<uint32_t>(body.size()));
  out += body;
  le::U32(out, Crc32c(body));
  return out;
}

void AppendRow(std::string& out, double time, std::string_view values) {
  // One resize, then the fields in place: a row is appended every logged pass.
  const std::size_t start = out.size();
  out.resize(start + 1 + 8 + values.size() + 4);
  char* at = out.data() + start;
  *at = kRow;
  const auto bits = std::bit_cast<uint64_t>(time);
  for (int i = 0; i < 8; ++i) at[1 + i] = static_cast<char>(bits >> (8 * i));
  std::memcpy(at + 9, values.data(), values.size());
  const uint32_t crc = Crc32c(std::string_view(at, 9 + values.size()));
  for (int i = 0; i < 4; ++i) at[9 + values.size() + i] = static_cast<char>(crc >> (8 * i));
}

void AppendMark(std::string& out, const JournalMark& mark) {
  std::string body;
  le::U32(body, static_cast<uint32_t>(mark.rowsCovered));
  le::U32(body, static_cast<uint32_t>(static_cast<uint64_t>(mark.rowsCovered) >> 32));
  le::U8(body, mark.overwrote ? 1 : 0);
  le::Text(body, mark.path);
  const std::size_t start = out.size();
  out += kMark;
  le::U32(out, static_cast<uint32_t>(body.size()));
  out += body;
  le::U32(out, Crc32c(std::string_view(out).substr(start)));
}

void AppendTakenName(std::string& out, const JournalTakenName& taken) {
  std::string body;
  le::U64(body, static_cast<uint64_t>(taken.rowsCovered));
  le::U8(body, taken.placeholder ? 1 : 0);
  le::U64(body, taken.placeholder ? taken.placeholder->device : 0);
  le::U64(body, taken.placeholder ? taken.placeholder->inode : 0);
  le::Text(body, taken.path);
  const std::size_t start = out.size();
  out += kTakenName;
  le::U32(out, static_cast<uint32_t>(body.size()));
  out += body;
  le::U32(out, Crc32c(std::string_view(out).substr(start)));
}

namespace {

std::optional<JournalTakenName> ParseTakenName(std::string_view body, uint16_t version) {
  if (version == 1) return JournalTakenName{std::string(body), -1, std::nullopt};
  Reader in(body);
  const auto covered = in.Number<int64_t>();
  const auto known = in.Number<uint8_t>();
  const auto device = in.Number<uint64_t>();
  const auto inode = in.Number<uint64_t>();
  auto path = in.Text();
  if (!covered || !known || !device || !inode || !path || in.Left() != 0 || *covered < 0) {
    return std::nullopt;
  }
  JournalTakenName taken{std::move(*path), *covered, std::nullopt};
  if (*known != 0) taken.placeholder = FileIdentity{*device, *inode};
  return taken;
}

}  // namespace

int64_t JournalContents::RowsInFiles() const {
  int64_t covered = 0;
  for (const JournalMark& mark : marks) covered = std::max(covered, mark.rowsCovered);
  return covered;
}

JournalContents ReadJournal(std::string_view bytes) {
  JournalContents contents;
  Reader in(bytes);
  const auto magic = in.Take(sizeof kMagic);
  if (!magic || std::memcmp(magic->data(), kMagic, sizeof kMagic) != 0) {
    contents.damage = "not a journal";
    return contents;
  }
  const auto version = in.Number<uint16_t>();
  if (!version || *version < 1 || *version > kJournalVersion) {
    contents.damage =
        version ? "a journal of another version (" + std::to_string(*version) + ")" : "cut short";
    return contents;
  }
  const auto headLength = in.Number<uint32_t>();
  const auto body = headLength ? in.Take(*headLength) : std::nullopt;
  const auto headCrc = in.Number<uint32_t>();
  std::optional<JournalHead> head;
  if (body && headCrc && Crc32c(*body) == *headCrc) head = ParseHead(*body);
  if (!head) {
    contents.damage = "its head is cut short or damaged";
    return contents;
  }
  contents.readable = true;
  contents.head = std::move(*head);
  const std::size_t valueBytes = contents.head.ValueBytes();
  // The first row follows the rows the file notes before it cover.
  std::optional<int64_t> nextRow;
  while (in.Left() > 0) {
    const std::size_t start = in.At();
    const char type = (*in.Take(1))[0];
    const auto damaged = [&](const char* what) {
      contents.damage = std::string(what) + " at byte " + std::to_string(start) + "; " +
                        std::to_string(bytes.size() - start) + " bytes from there not read";
    };
    if (type == kRow) {
      if (!in.Fits(8 + valueBytes + 4)) {
        damaged("a row cut short");
        break;
      }
      const double time = *in.Number<double>();
      const std::string_view values = *in.Take(valueBytes);
      const uint32_t crc = *in.Number<uint32_t>();
      if (Crc32c(bytes.substr(start, in.At() - start - 4)) != crc) {
        damaged("a damaged row");
        break;
      }
      if (!nextRow) nextRow = contents.RowsInFiles();
      contents.rows.push_back({(*nextRow)++, time, values});
    } else if (type == kMark) {
      const auto length = in.Number<uint32_t>();
      if (!length || *length > kLongestMark || !in.Fits(*length + 4)) {
        damaged("a file note cut short");
        break;
      }
      const std::string_view markBytes = *in.Take(*length);
      const uint32_t crc = *in.Number<uint32_t>();
      Reader mark(markBytes);
      const auto low = mark.Number<uint32_t>();
      const auto high = mark.Number<uint32_t>();
      const auto overwrote = mark.Number<uint8_t>();
      auto path = mark.Text();
      if (Crc32c(bytes.substr(start, in.At() - start - 4)) != crc || !low || !high || !overwrote ||
          !path) {
        damaged("a damaged file note");
        break;
      }
      const auto covered = static_cast<int64_t>((static_cast<uint64_t>(*high) << 32) | *low);
      contents.marks.push_back({covered, *overwrote != 0, std::move(*path)});
      contents.unfinished.reset();
    } else if (type == kTakenName) {
      const auto length = in.Number<uint32_t>();
      if (!length || *length > kLongestText || !in.Fits(*length + 4)) {
        damaged("a name note cut short");
        break;
      }
      const std::string_view body = *in.Take(*length);
      auto taken = Crc32c(bytes.substr(start, in.At() - start)) == *in.Number<uint32_t>()
                       ? ParseTakenName(body, *version)
                       : std::nullopt;
      if (!taken) {
        damaged("a damaged name note");
        break;
      }
      contents.unfinished = std::move(*taken);
    } else {
      damaged("an unknown record");
      break;
    }
  }
  return contents;
}

}  // namespace tavelin
