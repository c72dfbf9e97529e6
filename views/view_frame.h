#pragma once
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <array>
#include <vector>

#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"
#include "sampling/sampling_view.h"
#include "state/ELM327_Info.h"
#include "views/bit_led.h"
#include "views/picture_button.h"
#include "views/view_host.h"

namespace tavelin {

// Where a view's frame controls stand, in twips, and how it differs.
struct FrameDesign {
  int viewCh;
  bool analog;  // works on KVR_USB_Probe
  int clientWidth, clientHeight;
  int connectLeft, connectTop;
  int disconnectLeft, disconnectTop;
  int statusLeft, statusTop;
  Colour statusForeColor;
  int commentLeft, commentTop, commentWidth;
  int deviceLedLeft;
  enum class Border { FixedSingle, None, Sizable } border;
  enum class LedClear { None, AfterStatus, FirstOfAll } ledClearAtConnect;
};

// The frame every view shares: the connect and disconnect pictures, the
// device LEDs, the comment and status boxes, the menus, and the run that
// Connect starts and Disconnect ends.
class ViewFrame : public QMainWindow, public SamplingView {
 public:
  ViewFrame(ViewHost& host, const FrameDesign& design);

  // What FormBG writes into, by name.
  void TB_Status(const std::string& text) override;
  void Pic_BitLED(int16_t bit, Colour backColor) override;
  void Lb_View_ch(int16_t index, std::string_view caption) override;
  void Lb_View_ch_MAX(int16_t index, std::string_view caption) override;
  void Lb_View_ch_MIN(int16_t index, std::string_view caption) override;
  void Lb_View_ch_Avg(int16_t index, std::string_view caption) override;

  ELM327_Info* device = nullptr;
  USB_IO_IF* USB_IO = nullptr;
  KVR_USB_Probe* USB_Probe = nullptr;

  void Form_Load();
  void Set_FormView();
  // The link to the broker after the title, while rows are published; an
  // empty state leaves the title as it is.
  void ShowPublishState(const QString& state);
  void View_DeviceLED();

  // The controls, for the dialogs and the tests.
  PictureButton* Pic_Connect;
  PictureButton* Pic_Disconnect;
  std::vector<BitLed*> Pic_DeviceLED;
  QLineEdit* TB_LogComment;
  QLineEdit* TB_Status_Box;
  std::vector<BitLed*> Pic_BitLED_;
  std::vector<QLabel*> Lb_View_ch_, Lb_View_ch_MAX_, Lb_View_ch_MIN_, Lb_View_ch_Avg_;
  QMenu* menu_file;
  QMenu* menu_tool;
  QMenu* menu_help;
  QAction* menu_file_close;
  QAction* menu_common_setting;
  QAction* menu_opt_function1;
  QAction* menu_opt_search;
  QAction* menu_opt_write_usbio;  // digital views only
  QAction* menu_tool_trend = nullptr;
  QAction* menu_tool_publish = nullptr;
  QAction* menu_help_version;
  // The two buttons from the keyboard: 接続 F5, 切断 Esc or F6. Their menu
  // stays usable during a run, unlike the three above.
  QMenu* menu_comm;
  QAction* menu_comm_connect;
  QAction* menu_comm_disconnect;

  void Pic_Connect_Click();
  void Pic_Disconnect_Click();
  void menu_opt_search_Click();
  void SayWhatWasFound(bool afterSearch);

 protected:
  // The channel area of Set_FormView.
  virtual void SetChannelArea() = 0;
  // The area that holds the view's own controls.
  QWidget* Area() const { return area_; }
  // Every bit LED to colour 0, where the view has them.
  void ClearBitLEDs();
  // Label helpers in design units.
  QLabel* MakeLabel(int left, int top, int width, int height, const QString& caption,
                    Colour foreColor, bool opaque, Colour backColor,
                    Qt::Alignment alignment = Qt::AlignLeft | Qt::AlignVCenter);
  QLineEdit* MakeTextBox(int left, int top, int width, int height, const QString& text,
                         Colour backColor, Colour foreColor);
  // A text box shows its text from the start: a long text is clipped at the
  // right, where the box would otherwise scroll to its cursor at the end.
  static void ShowText(QLineEdit* box, const QString& text);
  BitLed* MakeLed(int left, int top, int width, int height);

  void closeEvent(QCloseEvent* event) override;

  ViewHost& host_;
  const FrameDesign design_;

 private:
  QString Title() const;
  void BuildMenus();
  void SetMenusEnabled(bool enabled);
  void SetCommentLook(bool running);
  void SetConnectByFound();
  // Back to Ready when a run cannot start after all.
  void BackToReady();
  int32_t FamilyFound() const;
  bool FamilyTimerEnabled() const;

  QWidget* area_;
};

}  // namespace tavelin
