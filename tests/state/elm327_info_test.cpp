#include "state/ELM327_Info.h"

#include <gtest/gtest.h>

namespace tavelin {
namespace {

TEST(ELM327_Info, ClearKeepsBitReverseAndTurnAndResetsTheRest) {
  ELM327_Info device;
  device.usbio_bit_reverse(3) = 1;
  device.usbio_bit_turn(4) = 1;
  device.usbio_StartBit(3) = 5;
  device.bit_turn(100) = 1;
  device.t_ViewCh = 4;
  device.Param_ALL_Clear();
  EXPECT_EQ(device.usbio_bit_reverse(3), 1);
  EXPECT_EQ(device.usbio_bit_turn(4), 1);
  EXPECT_EQ(device.usbio_StartBit(3), 1);
  EXPECT_EQ(device.bit_turn(100), 0);
  EXPECT_EQ(device.t_ViewCh, 1);
}

TEST(ELM327_Info, IndexOutsideATableThrowsAndTouchesNothing) {
  ELM327_Info device;
  EXPECT_THROW(device.usbio_StartBit(17), std::out_of_range);
  EXPECT_THROW(device.usbio_StartBit(-1) = 3, std::out_of_range);
  EXPECT_THROW(device.bit_LEDColor(129), std::out_of_range);
  EXPECT_THROW(device.bit_comment(INT16_MIN), std::out_of_range);
  EXPECT_NO_THROW(device.bit_comment(128) = "spare");
}

}  // namespace
}  // namespace tavelin
