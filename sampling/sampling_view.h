#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "state/ELM327_Info.h"

namespace tavelin {

class ExcelApplication;

// An LED whose bit is off: RGB(30, 30, 30).
inline constexpr Colour kUnlitLedColour = 0x1E1E1E;

// What the sampling engine reaches of the view in charge, by the views' own
// member names: the run flag, the spreadsheet of the run and the controls
// it paints on each tick.
class SamplingView {
 public:
  virtual ~SamplingView() = default;

  // 1 while a sampling run is on; the only stop signal of a run.
  int32_t RxFlag = 0;
  // The spreadsheet application of the run, or empty.
  std::shared_ptr<ExcelApplication> objExcel;

  virtual void TB_Status(const std::string& text) = 0;
  virtual void Pic_BitLED(int16_t bit, Colour backColor) = 0;
  virtual void Lb_View_ch(int16_t index, std::string_view caption) = 0;
  virtual void Lb_View_ch_MAX(int16_t index, std::string_view caption) = 0;
  virtual void Lb_View_ch_MIN(int16_t index, std::string_view caption) = 0;
  virtual void Lb_View_ch_Avg(int16_t index, std::string_view caption) = 0;
};

}  // namespace tavelin
