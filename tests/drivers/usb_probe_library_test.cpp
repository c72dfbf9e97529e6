// The probe library through its entry points, on simulated probes.
#include <gtest/gtest.h>

#include "devices/KVR_USB_Probe.h"
#include "support/simulation.h"

namespace tavelin {
namespace {

using test::BuiltLibraries;
using test::Simulation;

TEST(UsbProbeLibrary, ReadsAndConvertsThePinsOfFoundProbes) {
  Simulation simulation("probe 1 constant 100 200 300 400 500 4095\nprobe 3 sine 1000\n");
  KVR_USB_Probe probe(BuiltLibraries().usbProbe.api);
  probe.openDevice();
  EXPECT_EQ(probe.FindDevice, 2);
  EXPECT_EQ(probe.HidCh(0), -1);
  EXPECT_GE(probe.HidCh(1), 0);
  probe.AN_pin_multiply(6) = 0.5;
  probe.AN_pin_addition(7) = -200.0;
  probe.AN_pin_multiply(8) = 1.0 / 3.0;
  probe.AN_pin_round_On(8) = 1;
  probe.AN_pin_round_value(8) = 2;
  probe.ReciveData();
  probe.DataCalculation();
  EXPECT_EQ(probe.USBProbe_AN_Data(11), 4095);
  EXPECT_EQ(probe.USBProbe_Value(6), 50.0);
  EXPECT_EQ(probe.USBProbe_Value(7), 0.0);
  EXPECT_EQ(probe.USBProbe_Value(8), 100.0);
  EXPECT_EQ(probe.USBProbe_Value(9), 400.0);
  EXPECT_EQ(probe.USBProbe_Value(0), 0.0);  // absent probe
  for (int16_t pin = 18; pin < 24; ++pin) {
    EXPECT_GE(probe.USBProbe_AN_Data(pin), 0);
    EXPECT_LE(probe.USBProbe_AN_Data(pin), 4095);
  }
}

}  // namespace
}  // namespace tavelin
