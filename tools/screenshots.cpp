// Pictures of the four views during a run on the demo bench, and of the
// dialogs, for docs/:
//   tavelin_screenshots DEMO_SIMULATION OUTPUT_FOLDER
// (under a real X server: scripts/screenshots runs it in Xvfb).
#include <QApplication>
#include <QTimer>
#include <iostream>

#include "dialogs/FormCommonSetting.h"
#include "dialogs/FormFrashWrite.h"
#include "dialogs/FormOption1.h"
#include "dialogs/FormOptionAN.h"
#include "gui_support.h"
#include "views/application_look.h"
#include "views/design_units.h"

namespace {

using namespace tavelin;

void Save(QWidget& dialog, const QString& file) {
  QCoreApplication::processEvents();
  dialog.grab().save(file);
  std::cout << file.toStdString() << "\n";
}

// The dialogs of the Tool menu, as a user opens them from `view`.
void SaveDialogs(Form1& form1, ViewFrame& view, const QString& folder) {
  if (view.USB_Probe != nullptr) {
    view.menu_opt_function1->trigger();
    Save(*form1.TheFormOptionAN(), folder + "/dialog-analog-channels.png");
    form1.TheFormOptionAN()->Bt_Cancell->click();
    return;
  }
  view.menu_common_setting->trigger();
  Save(*form1.TheFormCommonSetting(), folder + "/dialog-common-settings.png");
  form1.TheFormCommonSetting()->Bt_Cancell->click();
  view.menu_opt_function1->trigger();
  Save(*form1.TheFormOption1(), folder + "/dialog-digital-channels.png");
  form1.TheFormOption1()->Bt_Cancell->click();
  view.menu_opt_write_usbio->trigger();
  form1.TheFormFrashWrite()->Bt_Search->click();
  Save(*form1.TheFormFrashWrite(), folder + "/dialog-device-writer.png");
  form1.TheFormFrashWrite()->Bt_OK->click();
}

}  // namespace

int main(int argc, char** argv) {
  using namespace tavelin;
  using namespace tavelin::test;
  QApplication app(argc, argv);
  app.setQuitOnLastWindowClosed(false);
  UseProgramLook(app);
  if (argc != 3) {
    std::cerr << "usage: tavelin_screenshots DEMO_SIMULATION OUTPUT_FOLDER\n";
    return 2;
  }
  setenv("KVR_SIMULATION", argv[1], 1);
  for (int mode = 1; mode <= 4; ++mode) {
    ProgramFolder folder;
    SaveSettings(folder, mode, [](ELM327_Info& device) {
      device.t_LogComment = "昇温試験 1 回目";
      device.t_LogSave_Enable = 1;
      device.t_LogSaveFilePath_mode = 2;
      device.t_LogSaveFilePath = "/tmp";
      for (int16_t c = 0; c < 16; ++c) device.usbio_analysis(c) = c % 4 != 3;
      device.usbio_comment(0) = "カウンタ";
      device.usbio_comment(1) = "順送り";
      device.usbio_comment(2) = "方形波";
      device.bit_comment(0) = "運転";
      device.bit_comment(1) = "停止";
      device.bit_comment(2) = "非常停止";
      device.bit_comment(3) = "扉 開";
    });
    KVR_USB_Probe probe;
    for (int16_t p = 0; p < 48; ++p) probe.AN_pin_analysis(p) = p % 3 != 2;
    probe.AN_ch_comment(0) = "温度 (正弦波)";
    probe.AN_ch_comment(1) = "圧力 (のこぎり波)";
    probe.AN_ch_comment(2) = "流量 (雑音)";
    FileSaveSystem::Write_AnSet(probe, folder.Path());
    const auto booted = Boot(folder);
    if (!booted->started) return 1;
    ViewFrame& view = *booted->form1->ShownView();
    const QString file = QString::fromUtf8(argv[2]) + QStringLiteral("/view-%1.png").arg(mode);
    RunFor(view, 1500, [&] { view.grab().save(file); });
    std::cout << file.toStdString() << "\n";
    if (mode == 3 || mode == 4) SaveDialogs(*booted->form1, view, QString::fromUtf8(argv[2]));
  }
  return 0;
}
