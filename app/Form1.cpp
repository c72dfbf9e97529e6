#include "app/Form1.h"

#include <QApplication>
#include <QTimer>
#include <iostream>

#include "app/boot_windows.h"
#include "devices/library_version_check.h"
#include "dialogs/FormCommonSetting.h"
#include "dialogs/FormFrashWrite.h"
#include "dialogs/FormHelp.h"
#include "dialogs/FormOption1.h"
#include "dialogs/FormOptionAN.h"
#include "dialogs/FormVersion.h"
#include "dialogs/publish_dialog.h"
#include "logging/journal_recovery.h"
#include "logging/log_environment.h"
#include "platform/special_folders.h"
#include "settings/FileSaveSystem.h"
#include "spreadsheet/excel_check.h"
#include "views/channel_views.h"
#include "views/design_units.h"

namespace tavelin {
namespace {

// From its second step on, the start-up goes on past a step that fails.
template <typename Step>
void IgnoringErrors(Step step) {
  try {
    step();
  } catch (const std::exception&) {
    // the step is abandoned, the next one runs
  }
}

}  // namespace

Form1::Form1(BootEnvironment environment) : environment_(std::move(environment)) {
  if (environment_.writableFolder.empty()) environment_.writableFolder = environment_.programFolder;
  ELM327_Info::SetProgramFolder(environment_.writableFolder);
  device.Param_ALL_Clear();
}

Form1::~Form1() {
  delete trend_.data();  // before the engine whose samples it reads
  if (formBG_) formBG_->Row_Consumer = nullptr;
}

bool Form1::BootRoutine() {
  device.Param_ALL_Clear();
  USB_Probe.Param_ALL_Clear();

  const auto check = CheckLibraryVersions(
      device, DeviceLibraryFolder(environment_.programFolder), [this](const std::string& text) {
        Boxes().Critical(nullptr, Q(device.Application_title), Q(text));
      });
  if (check.result < 1) return false;
  libraries_.emplace(std::move(*const_cast<LibraryVersionCheck&>(check).libraries));
  USB_IO.Bind(libraries_->usbIo.api);
  USB_Probe.Bind(libraries_->usbProbe.api);
  timerBackView_ = std::make_unique<QtSamplingTimer>([this] { formBG_->TimerBackView_Timer(); });
  timerUsbProbe_ = std::make_unique<QtSamplingTimer>([this] { formBG_->TimerUSB_Probe_Timer(); });
  formBG_ =
      std::make_unique<FormBG>(libraries_->kvr100.api, pump_, *timerBackView_, *timerUsbProbe_,
                               SystemLogEnvironment(environment_.writableFolder));

  IgnoringErrors([&] { FileSaveSystem::Read_Config(device, environment_.writableFolder); });

  if (device.t_TERMS_OF_USE == 0) {
    Formterms terms(device);
    terms.setWindowTitle(Q(device.Application_title));
    terms.show();
    if (environment_.onConsentShown) environment_.onConsentShown(terms);
    while (terms.isVisible() && !stopRequested_) {
      QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
  }
  if (stopRequested_ && device.t_TERMS_OF_USE != 1) return false;
  if (device.t_TERMS_OF_USE != 1) {
    Boxes().Critical(
        nullptr, Q(device.Application_title),
        QStringLiteral("使用許諾契約書に同意しない場合、アプリケーションは使用できません。\n"
                       "アプリケーションを終了します。"));
    return false;
  }

  form2_ = std::make_unique<Form2>();
  form2_->Lb_msg->setText(QStringLiteral("デバイスの初期処理中"));
  form2_->ProgressBar1->setValue(0);
  form2_->show();
  IgnoringErrors([&] { libraries_->kvr100.api.kv_timeGetTime(); });
  IgnoringErrors([&] { FileSaveSystem::Read_ChSet(device, environment_.writableFolder); });
  IgnoringErrors([&] { FileSaveSystem::Read_AnSet(USB_Probe, environment_.writableFolder); });
  PumpWithProgress(15);
  PumpWithProgress(45);
  IgnoringErrors([&] {
    USB_IO.Param_ALL_Clear();
    USB_IO.openDevice();
  });
  PumpWithProgress(70);
  IgnoringErrors([&] { USB_Probe.openDevice(); });
  PumpWithProgress(90);
  form2_->hide();
  OfferRecovery();
  OfferUnsavedSettings();
  ApplyPublishSettings(ReadPublishSettings(PublishSettingsPath()));
  IgnoringErrors([&] { CheckExcelInstalled(device); });
  if (stopRequested_) {
    Form_QueryUnload();
    return false;
  }
  OpenFirstView();
  return true;
}

void Form1::RequestStop() {
  stopRequested_ = true;
  if (QWidget* box = QApplication::activeModalWidget()) box->close();
  ViewFrame* view = ShownView();
  if (view == nullptr) return;  // the start-up ends at its next step
  if (view->RxFlag == 1) view->Pic_Disconnect_Click();
  CloseOnceIdle(view);
}

void Form1::RaiseShownView() {
  ViewFrame* view = ShownView();
  if (view == nullptr) return;
  if (view->isMinimized()) view->showNormal();
  view->raise();
  view->activateWindow();
}

// The run ends in its own loop, further up the stack than this request:
// the view closes once that loop has written the last file.
void Form1::CloseOnceIdle(QPointer<ViewFrame> view) {
  if (view == nullptr || unloaded_) return;
  if (formBG_->State() != RunState::Idle) {
    QTimer::singleShot(10, view, [this, view] { CloseOnceIdle(view); });
    return;
  }
  view->close();
}

// Runs that did not end (a crash, a kill, a power cut) left journals: their
// logs can be written now, where their settings say.
void Form1::OfferRecovery() {
  const auto leftovers = LeftoverJournals(JournalFolder());
  if (leftovers.empty()) return;
  int64_t rows = 0;
  for (const LeftoverJournal& journal : leftovers) rows += journal.rows;
  const QString title = Q(device.Application_title);
  if (!Boxes().Ask(
          nullptr, title,
          QStringLiteral("前回の記録が途中で終わっています (%1 件、ファイルにない行 %2 行)。\n"
                         "ログファイルに書き出しますか？")
              .arg(leftovers.size())
              .arg(rows),
          QStringLiteral("書き出す"), QStringLiteral("そのままにする"))) {
    return;
  }
  QStringList written, failed;
  for (const LeftoverJournal& journal : leftovers) {
    try {
      const Recovery recovery =
          RecoverJournal(journal.path, SystemLogEnvironment(environment_.writableFolder), {});
      for (const std::string& file : recovery.files) written << Q(file);
      if (!recovery.damage.empty()) failed << Q(journal.path + ": " + recovery.damage);
    } catch (const std::exception& failure) {
      failed << Q(failure.what());
    }
  }
  QString text = written.isEmpty() ? QStringLiteral("書き出す行はありませんでした。")
                                   : QStringLiteral("ログファイルを書き出しました:\n") +
                                         written.join(QLatin1Char('\n'));
  if (!failed.isEmpty()) {
    text += QStringLiteral("\n\n読めなかった部分:\n") + failed.join(QLatin1Char('\n'));
  }
  Boxes().Information(nullptr, title, text);
}

// Settings changed in the window by a program that then did not end well
// (a crash, a kill, a power cut) were kept aside: they are offered back.
void Form1::OfferUnsavedSettings() {
  keptAside_.emplace(StateFolder(), environment_.writableFolder);
  if (stopRequested_) return;
  const auto kept = keptAside_->Kept();
  if (kept && *kept != RecordsOf(device, USB_Probe)) {
    const bool restore =
        Boxes().Ask(nullptr, Q(device.Application_title),
                    QStringLiteral("前回は変更した設定を保存する前に終了しました。\n"
                                   "前回の設定を復元しますか？"),
                    QStringLiteral("復元する"), QStringLiteral("復元しない"));
    if (restore) {
      ApplyRecords(*kept, device, USB_Probe);
    } else {
      keptAside_->Drop();
    }
  } else if (kept) {
    keptAside_->Drop();  // the files hold them already
  }
  keptRecords_ = RecordsOf(device, USB_Probe);
}

void Form1::KeepSettings() {
  if (!keptAside_ || unloaded_) return;
  SettingsRecords now = RecordsOf(device, USB_Probe);
  if (now == keptRecords_) return;
  if (keptAside_->Keep(now)) keptRecords_ = std::move(now);
}

void Form1::PumpWithProgress(int percent) {
  form2_->ProgressBar1->setValue(percent);
  QCoreApplication::processEvents();
}

FormVersion& Form1::TheFormVersion() {
  if (!formVersion_) {
    formVersion_ = std::make_unique<FormVersion>();
    formVersion_->obj_Form = boundView_;
  }
  return *formVersion_;
}

FormHelp& Form1::TheFormHelp() {
  if (!formHelp_) {
    formHelp_ = std::make_unique<FormHelp>();
    formHelp_->obj_Form = boundView_;
  }
  return *formHelp_;
}

ViewFrame& Form1::View(int32_t mode) {
  auto& view = views_.at(static_cast<std::size_t>(mode - 1));
  if (!view) {
    switch (mode) {
      case 1:
        view = std::make_unique<FormView_LED1>(*this);
        break;
      case 2:
        view = std::make_unique<FormView_LED2>(*this);
        break;
      case 3:
        view = std::make_unique<FormView_Value1>(*this);
        break;
      default:
        view = std::make_unique<FormView_Value2>(*this);
        break;
    }
    view->Form_Load();
    // A view opens centred on the screen.
    view->adjustSize();
    if (const QScreen* screen = view->screen()) {
      view->move(screen->availableGeometry().center() - view->rect().center());
    }
  }
  return *view;
}

// A view's load ties the engine and every dialog to it, in this order; the
// analog view also the analog channel dialog.
void Form1::BindToView(ViewFrame& view, bool analog) {
  formBG_->device = &device;
  formBG_->USB_IO = &USB_IO;
  if (analog) formBG_->USB_Probe = &USB_Probe;
  formBG_->obj_Form = &view;
  // The help and version boxes are made when first shown, bound then.
  boundView_ = &view;
  if (formHelp_) formHelp_->obj_Form = &view;
  owners_.commonSetting = &view;
  owners_.option1 = &view;
  if (analog) owners_.optionAN = &view;
  if (formVersion_) formVersion_->obj_Form = &view;
  owners_.frashWrite = &view;
}

// A Tool menu entry: its dialog shown, then the view disabled. The version
// box leaves the view enabled.
void Form1::ShowDialog(ViewDialog dialog, ViewFrame& owner) {
  ToolDialog* shown = nullptr;
  switch (dialog) {
    case ViewDialog::Version:
      TheFormVersion().ShowFor(owner);
      return;
    case ViewDialog::CommonSetting:
      shown = formCommonSetting_ = new FormCommonSetting(*this, owners_.commonSetting);
      break;
    case ViewDialog::ChannelSettings:
      if (owner.USB_Probe != nullptr) {
        shown = formOptionAN_ = new FormOptionAN(*this, owners_.optionAN);
      } else {
        shown = formOption1_ = new FormOption1(*this, owners_.option1);
      }
      break;
    case ViewDialog::DeviceWriter:
      shown = formFrashWrite_ =
          new FormFrashWrite(*this, owners_.frashWrite, libraries_->usbIo.api);
      break;
  }
  shown->ShowOver(owner);
  owner.setEnabled(false);
}

FormCommonSetting* Form1::TheFormCommonSetting() const {
  return formCommonSetting_;
}
FormOption1* Form1::TheFormOption1() const {
  return formOption1_;
}
FormOptionAN* Form1::TheFormOptionAN() const {
  return formOptionAN_;
}
FormFrashWrite* Form1::TheFormFrashWrite() const {
  return formFrashWrite_;
}

void Form1::ShowHelp(int32_t kind) {
  HelpWizard::Show_Help(TheFormHelp(), kind);
}

void Form1::ShowTrend() {
  if (!trend_) {
    trend_ = new TrendWindow(&device, &USB_Probe, &TheFormBG().Sample_Tap);
    trend_->setAttribute(Qt::WA_DeleteOnClose);
  }
  trend_->show();
  trend_->raise();
  trend_->activateWindow();
}

void Form1::ShowPublishSettings(ViewFrame& owner) {
  QString link = QStringLiteral("配信していません");
  if (publisher_) {
    const std::lock_guard lock(publishNewsMutex_);
    link = QStringLiteral("状態: ") + PublishStateText() +
           (publishNews_.empty() ? QString() : QStringLiteral("\n") + Q(publishNews_));
  }
  PublishDialog dialog(&owner, device.Application_title, publishSettings_, link);
  if (dialog.exec() != QDialog::Accepted) return;
  const PublishSettings settings = dialog.Settings();
  try {
    WritePublishSettings(PublishSettingsPath(), settings);
  } catch (const std::exception& failure) {
    Boxes().Critical(&owner, Q(device.Application_title),
                     QStringLiteral("配信設定を保存できません: ") + Q(failure.what()));
  }
  ApplyPublishSettings(settings);
}

void Form1::ApplyPublishSettings(const PublishSettings& settings) {
  // The ツール menu is closed during a run: no run holds the old publisher.
  if (formBG_) formBG_->Row_Consumer = nullptr;
  publisher_.reset();
  publishSettings_ = settings;
  std::string why;
  const auto target = settings.enabled ? TargetOf(settings, why) : std::nullopt;
  if (!why.empty()) std::cerr << "tavelin: 配信: " << why << "\n";
  if (target) {
    publisher_ = std::make_unique<Publisher>(*target, [this](const std::string& news) {
      std::cerr << "tavelin: " << news << "\n";
      const std::lock_guard lock(publishNewsMutex_);
      publishNews_ = news;
    });
    if (formBG_) formBG_->Row_Consumer = publisher_.get();
  }
  if (!publishStateTimer_) {
    publishStateTimer_ = std::make_unique<QTimer>();
    QObject::connect(publishStateTimer_.get(), &QTimer::timeout, [this] { ShowPublishState(); });
  }
  ShowPublishState();
  if (publisher_) {
    publishStateTimer_->start(500);
  } else {
    publishStateTimer_->stop();
  }
}

void Form1::ShowPublishState() {
  const QString state = PublishStateText();
  for (auto& view : views_) {
    if (view) view->ShowPublishState(state);
  }
}

QString Form1::PublishStateText() const {
  if (!publisher_) return {};
  const PublishStatus status = publisher_->Status();
  if (status.state == LinkState::Sending) return QStringLiteral("送信中");
  return QStringLiteral("再接続待ち %1 行").arg(status.waitingRows);
}

void Form1::HideHelp() {
  if (formHelp_ && formHelp_->isVisible()) formHelp_->hide();
}

ViewFrame* Form1::ShownView() const {
  for (const auto& view : views_) {
    if (view && view->isVisible()) return view.get();
  }
  return nullptr;
}

void Form1::OpenFirstView() {
  if (device.t_ViewCh < 1 || device.t_ViewCh > 4) device.t_ViewCh = 1;
  View(device.t_ViewCh).show();
}

void Form1::UnloadFrom(ViewFrame& closing) {
  unloaded_ = true;
  const auto settle = [] { QCoreApplication::processEvents(); };
  form2_.reset();
  settle();
  if (formBG_) {
    formBG_->DisableTimer(false);
    formBG_->DisableTimer(true);
  }
  settle();
  if (formVersion_) formVersion_->hide();
  settle();
  for (QWidget* dialog :
       std::initializer_list<QWidget*>{formCommonSetting_, formOption1_, formOptionAN_}) {
    if (dialog != nullptr) dialog->close();
    settle();
  }
  if (formHelp_) formHelp_->hide();
  settle();
  if (formFrashWrite_) formFrashWrite_->close();
  settle();
  for (auto& view : views_) {
    if (view && view.get() != &closing) {
      view->close();
      settle();
    }
  }
  Form_QueryUnload();
  QCoreApplication::quit();
}

void Form1::Form_QueryUnload() {
  if (device.t_TERMS_OF_USE != 1) return;
  IgnoringErrors([&] {
    if (USB_IO.FindDevice > 0) USB_IO.closeAllDevice();
  });
  FileSaveSystem::Write_Config(device, environment_.writableFolder);
  FileSaveSystem::Write_ChSet(device, environment_.writableFolder);
  FileSaveSystem::Write_AnSet(USB_Probe, environment_.writableFolder);
  if (keptAside_) keptAside_->Drop();
}

}  // namespace tavelin
