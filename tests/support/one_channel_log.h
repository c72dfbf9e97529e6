#pragma once
// A csv log in our layout with one channel, 炉 on channel 0, in CP932.
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/code_page.h"

namespace tavelin::test {

// Its rows are "TIME , VALUE" lines under a header of `date`.
inline void WriteOneChannelLog(const std::filesystem::path& path,
                               const std::vector<std::string>& rows,
                               const std::string& date = "2026/11/24 10:00:00") {
  std::string text = "タヴェリン Ver1.11,,,\r\n\r\nDate:  " + date +
                     "\r\nサンプリング ログ\r\n\r\nch0 ：炉\r\n\r\n時間[ms]  ,ch0 \r\n";
  for (const std::string& row : rows) text += row + "\r\n";
  std::ofstream(path, std::ios::binary) << ToCodePage(text);
}

}  // namespace tavelin::test
