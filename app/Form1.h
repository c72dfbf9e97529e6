#pragma once
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <array>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "devices/KVR_USB_Probe.h"
#include "devices/USB_IO_IF.h"
#include "devices/device_libraries.h"
#include "publishing/publisher.h"
#include "sampling/FormBG.h"
#include "settings/settings_kept_aside.h"
#include "state/ELM327_Info.h"
#include "trendview/trend_window.h"
#include "views/message_boxes.h"
#include "views/qt_event_pump.h"
#include "views/view_host.h"

namespace tavelin {

class ViewFrame;
class Form2;
class Formterms;
class FormVersion;
class FormHelp;
class FormCommonSetting;
class FormOption1;
class FormOptionAN;
class FormFrashWrite;

// What the start-up takes from around it; tests answer the dialogs here.
struct BootEnvironment {
  std::string programFolder;
  MessageBoxes* boxes = nullptr;
  // Called once the consent dialog is shown; it stays until it is hidden.
  std::function<void(Formterms&)> onConsentShown;
  // Where the settings files and logs of mode 0 go: the program's folder
  // when this is empty (see WritableFolder).
  std::string writableFolder;
};

// The start object: owns the shared objects for the life of the process,
// runs the start-up, and saves the settings when the last view closes. It
// is no window of its own.
class Form1 final : public ViewHost {
 public:
  explicit Form1(BootEnvironment environment);
  ~Form1() override;
  Form1(const Form1&) = delete;
  Form1& operator=(const Form1&) = delete;

  ELM327_Info device;
  USB_IO_IF USB_IO;
  KVR_USB_Probe USB_Probe;

  // The start-up. False when the program ends at once (a library, or the
  // consent refused); nothing has been written then.
  bool BootRoutine();

  // What the views reach of this object.
  ELM327_Info& Device() override { return device; }
  USB_IO_IF& UsbIo() override { return USB_IO; }
  KVR_USB_Probe& UsbProbe() override { return USB_Probe; }
  FormBG& TheFormBG() override { return *formBG_; }
  MessageBoxes& Boxes() override { return *environment_.boxes; }
  void BindToView(ViewFrame& view, bool analog) override;
  void ShowDialog(ViewDialog dialog, ViewFrame& owner) override;
  ViewFrame& ViewOfMode(int32_t mode) override { return View(mode); }
  void ShowHelp(int32_t kind) override;
  void HideHelp() override;
  void ShowTrend() override;
  void ShowPublishSettings(ViewFrame& owner) override;
  void KeepSettings() override;

  // Every logged row to the broker publish.conf names, while it says so;
  // none when publishing is off or its settings cannot publish.
  void ApplyPublishSettings(const PublishSettings& settings);
  Publisher* ThePublisher() const { return publisher_.get(); }
  // "送信中", "再接続待ち N 行", or empty without publishing.
  QString PublishStateText() const;

  // The dialog of a Tool menu entry while it is open, else null.
  FormCommonSetting* TheFormCommonSetting() const;
  FormOption1* TheFormOption1() const;
  FormOptionAN* TheFormOptionAN() const;
  FormFrashWrite* TheFormFrashWrite() const;

  const std::string& ProgramFolder() const { return environment_.programFolder; }
  const std::string& WritableFolder() const { return environment_.writableFolder; }
  FormVersion& TheFormVersion();
  FormHelp& TheFormHelp();
  Form2* Splash() { return form2_.get(); }

  // The view of a display mode, loaded on first use.
  ViewFrame& View(int32_t mode);
  ViewFrame* ShownView() const;
  void OpenFirstView();

  // The unload order, from a closing view down to this object; then the
  // settings are written (after consent) and the program ends.
  void UnloadFrom(ViewFrame& closing) override;
  bool Unloaded() const override { return unloaded_; }

  // A stop request from outside: the run ends as Disconnect ends it, then
  // the shown view closes as a user's close would. During the start-up a
  // box is answered with its safe button and the start-up ends early.
  void RequestStop();
  // A second start asked for the window: the shown view to the front.
  void RaiseShownView();
  bool StopRequested() const { return stopRequested_; }

 private:
  void PumpWithProgress(int percent);
  void OfferRecovery();
  void OfferUnsavedSettings();
  void Form_QueryUnload();
  void CloseOnceIdle(QPointer<ViewFrame> view);
  void ShowPublishState();

  BootEnvironment environment_;
  std::optional<DeviceLibraries> libraries_;
  QtMessagePump pump_;
  std::unique_ptr<QtSamplingTimer> timerBackView_;
  std::unique_ptr<QtSamplingTimer> timerUsbProbe_;
  std::unique_ptr<FormBG> formBG_;
  std::unique_ptr<Form2> form2_;
  ViewFrame* boundView_ = nullptr;  // the view the dialogs serve
  std::unique_ptr<FormVersion> formVersion_;
  std::unique_ptr<FormHelp> formHelp_;
  QPointer<TrendWindow> trend_;  // deletes itself when closed
  // After the engine: it goes first, and no run is under way then.
  std::unique_ptr<Publisher> publisher_;
  PublishSettings publishSettings_;
  std::unique_ptr<QTimer> publishStateTimer_;
  // The publisher's last news, from its thread.
  mutable std::mutex publishNewsMutex_;
  std::string publishNews_;
  std::array<std::unique_ptr<ViewFrame>, 4> views_;
  // The view each dialog belongs to: tied at a view's load, kept while the
  // dialog comes and goes.
  struct DialogOwners {
    ViewFrame* commonSetting = nullptr;
    ViewFrame* option1 = nullptr;
    ViewFrame* optionAN = nullptr;
    ViewFrame* frashWrite = nullptr;
  } owners_;
  QPointer<FormCommonSetting> formCommonSetting_;
  QPointer<FormOption1> formOption1_;
  QPointer<FormOptionAN> formOptionAN_;
  QPointer<FormFrashWrite> formFrashWrite_;
  bool unloaded_ = false;
  bool stopRequested_ = false;
  // The settings as last written or kept aside, and where they are kept.
  std::optional<SettingsKeptAside> keptAside_;
  SettingsRecords keptRecords_;
};

}  // namespace tavelin
