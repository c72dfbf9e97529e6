#include "views/view_frame.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QFocusEvent>
#include <QKeySequence>
#include <QLayout>
#include <QMenuBar>

#include "sampling/run_start.h"
#include "spreadsheet/excel_check.h"
#include "views/design_units.h"

namespace tavelin {
namespace {

constexpr Colour kViewBack = 0x404040;
constexpr Colour kCommentIdle = 0xB4B4B4;
constexpr Colour kCommentRun = 0x505050;
constexpr Colour kDeviceOn = 0x00FF00;
constexpr Colour kDeviceOff = Rgb(100, 100, 100);

template <typename Labels>
QLabel* LabelAt(Labels& labels, int16_t index) {
  if (index < 0 || index >= static_cast<int>(labels.size())) {
    throw std::out_of_range("this view has no label " + std::to_string(index));
  }
  return labels[static_cast<std::size_t>(index)];
}

}  // namespace

ViewFrame::ViewFrame(ViewHost& host, const FrameDesign& design)
    : host_(host), design_(design), area_(new QWidget(this)) {
  setCentralWidget(area_);
  area_->setFixedSize(Px(design.clientWidth), Px(design.clientHeight));
  area_->setAutoFillBackground(true);
  SetColours(area_, kViewBack, 0);
  switch (design.border) {
    case FrameDesign::Border::FixedSingle:
      setWindowFlags(Qt::Window | Qt::MSWindowsFixedSizeDialogHint | Qt::WindowMinimizeButtonHint |
                     Qt::WindowCloseButtonHint);
      layout()->setSizeConstraint(QLayout::SetFixedSize);
      break;
    case FrameDesign::Border::None:
      setWindowFlags(Qt::Tool | Qt::FramelessWindowHint);
      layout()->setSizeConstraint(QLayout::SetFixedSize);
      break;
    case FrameDesign::Border::Sizable:
      area_->setMinimumSize(area_->size());
      area_->setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
      break;
  }

  Pic_Connect = new PictureButton(area_);
  Pic_Connect->setGeometry(Px(design.connectLeft), Px(design.connectTop), 58, 27);
  Pic_Disconnect = new PictureButton(area_);
  Pic_Disconnect->setGeometry(Px(design.disconnectLeft), Px(design.disconnectTop), 59, 27);
  QObject::connect(Pic_Connect, &QAbstractButton::clicked, [this] { Pic_Connect_Click(); });
  QObject::connect(Pic_Disconnect, &QAbstractButton::clicked, [this] { Pic_Disconnect_Click(); });

  const int devices = design.analog ? 8 : 16;
  for (int i = 0; i < devices; ++i) {
    const int row = i < 6 ? 0 : (i < 11 ? 1 : 2);
    const int column = row == 0 ? i : (row == 1 ? i - 6 + 1 : i - 11 + 1);
    Pic_DeviceLED.push_back(MakeLed(design.deviceLedLeft + 165 * column, 135 + 75 * row, 120, 60));
  }

  TB_Status_Box = MakeTextBox(design.statusLeft, design.statusTop, 2430, 195, QString(), 0x505050,
                              design.statusForeColor);
  TB_Status_Box->setReadOnly(true);
  TB_Status_Box->setFocusPolicy(Qt::NoFocus);
  TB_LogComment = MakeTextBox(design.commentLeft, design.commentTop, design.commentWidth, 240,
                              QString(), 0xC0C0C0, 0);
  TB_LogComment->setMaxLength(static_cast<int>(kRunCommentLength));

  BuildMenus();
}

void ViewFrame::BuildMenus() {
  menu_file = menuBar()->addMenu(QStringLiteral("ファイル(&F)"));
  menu_file_close = menu_file->addAction(QStringLiteral("終了(&X)"));
  QObject::connect(menu_file_close, &QAction::triggered, [this] { close(); });

  menu_tool = menuBar()->addMenu(QStringLiteral("ツール(&T)"));
  menu_common_setting = menu_tool->addAction(QStringLiteral("共通設定"));
  QObject::connect(menu_common_setting, &QAction::triggered,
                   [this] { host_.ShowDialog(ViewDialog::CommonSetting, *this); });
  menu_opt_function1 = menu_tool->addAction(
      design_.analog ? QStringLiteral("Ch設定 （アナログ入力）") : QStringLiteral("Ch設定"));
  QObject::connect(menu_opt_function1, &QAction::triggered,
                   [this] { host_.ShowDialog(ViewDialog::ChannelSettings, *this); });
  menu_tool->addSeparator();
  menu_opt_search =
      menu_tool->addAction(design_.analog ? QStringLiteral("デバイス再検索 ")
                                          : QStringLiteral("デバイス再検索 （USB-IO）"));
  QObject::connect(menu_opt_search, &QAction::triggered, [this] { menu_opt_search_Click(); });
  menu_opt_write_usbio = nullptr;
  if (!design_.analog) {
    menu_opt_write_usbio = menu_tool->addAction(QStringLiteral("マイコン設定書込 (USB-IO)"));
    QObject::connect(menu_opt_write_usbio, &QAction::triggered,
                     [this] { host_.ShowDialog(ViewDialog::DeviceWriter, *this); });
  }
  menu_tool_trend = menu_tool->addAction(QStringLiteral("トレンド表示"));
  QObject::connect(menu_tool_trend, &QAction::triggered, [this] { host_.ShowTrend(); });
  menu_tool_publish = menu_tool->addAction(QStringLiteral("配信設定"));
  QObject::connect(menu_tool_publish, &QAction::triggered,
                   [this] { host_.ShowPublishSettings(*this); });

  menu_help = menuBar()->addMenu(QStringLiteral("ヘルプ(&H)"));
  menu_help_version = menu_help->addAction(QStringLiteral("バージョン情報(&A)"));
  QObject::connect(menu_help_version, &QAction::triggered,
                   [this] { host_.ShowDialog(ViewDialog::Version, *this); });

  // After the three menus, which a run disables: this one stays, so that
  // its keys reach 切断 during a run. A key does what a click on the button
  // would, and nothing while the button is disabled.
  menu_comm = menuBar()->addMenu(QStringLiteral("通信(&C)"));
  menu_comm_connect = menu_comm->addAction(QStringLiteral("接続(&C)"));
  menu_comm_connect->setShortcut(QKeySequence(Qt::Key_F5));
  menu_comm_disconnect = menu_comm->addAction(QStringLiteral("切断(&D)"));
  menu_comm_disconnect->setShortcuts({QKeySequence(Qt::Key_Escape), QKeySequence(Qt::Key_F6)});
  for (QAction* action : {menu_comm_connect, menu_comm_disconnect}) {
    action->setShortcutContext(Qt::WindowShortcut);
  }
  QObject::connect(menu_comm_connect, &QAction::triggered, [this] {
    if (Pic_Connect->isEnabled()) Pic_Connect_Click();
  });
  QObject::connect(menu_comm_disconnect, &QAction::triggered, [this] {
    if (Pic_Disconnect->isEnabled()) Pic_Disconnect_Click();
  });
  QObject::connect(menu_comm, &QMenu::aboutToShow, [this] {
    menu_comm_connect->setEnabled(Pic_Connect->isEnabled());
    menu_comm_disconnect->setEnabled(Pic_Disconnect->isEnabled());
  });
  QObject::connect(menu_comm, &QMenu::aboutToHide, [this] {
    // Enabled again for the keys, which the entries' state would block.
    menu_comm_connect->setEnabled(true);
    menu_comm_disconnect->setEnabled(true);
  });
}

QLabel* ViewFrame::MakeLabel(int left, int top, int width, int height, const QString& caption,
                             Colour foreColor, bool opaque, Colour backColor,
                             Qt::Alignment alignment) {
  auto* label = new QLabel(caption, area_);
  label->setGeometry(TwipRect(left, top, width, height));
  label->setAlignment(alignment);
  label->setAutoFillBackground(opaque);
  SetColours(label, backColor, foreColor);
  QFont font(UiFontFamily());
  font.setPointSizeF(9);
  label->setFont(font);
  return label;
}

namespace {

// A box reached by Tab keeps its text as it is: QLineEdit would select it
// all, and the next key would write over a channel's name.
class ViewTextBox final : public QLineEdit {
 public:
  using QLineEdit::QLineEdit;

 protected:
  void focusInEvent(QFocusEvent* event) override {
    QLineEdit::focusInEvent(event);
    if (event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason) {
      deselect();
      setCursorPosition(static_cast<int>(text().size()));
    }
  }
};

}  // namespace

QLineEdit* ViewFrame::MakeTextBox(int left, int top, int width, int height, const QString& text,
                                  Colour backColor, Colour foreColor) {
  auto* box = new ViewTextBox(text, area_);
  box->setGeometry(TwipRect(left, top, width, height));
  box->setFrame(false);
  box->setTextMargins(2, 0, 2, 0);
  SetColours(box, backColor, foreColor);
  QFont font(UiFontFamily());
  font.setPointSizeF(9);
  box->setFont(font);
  return box;
}

void ViewFrame::ShowText(QLineEdit* box, const QString& text) {
  box->setText(text);
  box->setCursorPosition(0);
}

BitLed* ViewFrame::MakeLed(int left, int top, int width, int height) {
  auto* led = new BitLed(area_);
  led->setGeometry(TwipRect(left, top, width, height));
  return led;
}

// ---- what FormBG writes ----

void ViewFrame::TB_Status(const std::string& text) {
  TB_Status_Box->setText(Q(text));
}

void ViewFrame::Pic_BitLED(int16_t bit, Colour backColor) {
  if (bit < 0 || bit >= static_cast<int>(Pic_BitLED_.size())) {
    throw std::out_of_range("this view has no bit LED " + std::to_string(bit));
  }
  Pic_BitLED_[static_cast<std::size_t>(bit)]->SetBackColor(backColor);
}

void ViewFrame::Lb_View_ch(int16_t index, std::string_view caption) {
  LabelAt(Lb_View_ch_, index)->setText(QString::fromUtf8(caption.data(), caption.size()));
}
void ViewFrame::Lb_View_ch_MAX(int16_t index, std::string_view caption) {
  LabelAt(Lb_View_ch_MAX_, index)->setText(QString::fromUtf8(caption.data(), caption.size()));
}
void ViewFrame::Lb_View_ch_MIN(int16_t index, std::string_view caption) {
  LabelAt(Lb_View_ch_MIN_, index)->setText(QString::fromUtf8(caption.data(), caption.size()));
}
void ViewFrame::Lb_View_ch_Avg(int16_t index, std::string_view caption) {
  LabelAt(Lb_View_ch_Avg_, index)->setText(QString::fromUtf8(caption.data(), caption.size()));
}

// ---- load and fill ----

void ViewFrame::Form_Load() {
  device = &host_.Device();
  USB_IO = &host_.UsbIo();
  if (design_.analog) USB_Probe = &host_.UsbProbe();
  host_.BindToView(*this, design_.analog);
  Set_FormView();
}

QString ViewFrame::Title() const {
  switch (design_.viewCh) {
    case 1:
    case 2:
      return Q(device->Application_title2);
    case 3:
      return Q(device->Application_title) + QStringLiteral("　デジタル入力");
    default:
      return Q(device->Application_title) + QStringLiteral("　アナログ入力");
  }
}

void ViewFrame::ShowPublishState(const QString& state) {
  if (device == nullptr) return;  // not loaded yet: its load sets the title
  setWindowTitle(state.isEmpty() ? Title() : Title() + QStringLiteral("　［配信: %1］").arg(state));
}

void ViewFrame::Set_FormView() {
  setWindowTitle(Title());
  View_DeviceLED();
  ShowText(TB_LogComment, Q(device->t_LogComment));
  SetBackColor(TB_LogComment, kCommentIdle);  // the text colour stays as it is
  SetChannelArea();
  SetConnectByFound();
  SayWhatWasFound(false);
  Pic_Disconnect->setEnabled(false);
  Pic_Disconnect->SetPicture(TheButtonPictures().Pic_bt_OFF_D);
}

void ViewFrame::View_DeviceLED() {
  const int32_t devices = design_.analog ? host_.UsbProbe().max_device : host_.UsbIo().max_device;
  for (int32_t i = 0; i < devices && i < static_cast<int32_t>(Pic_DeviceLED.size()); ++i) {
    const int32_t hid =
        design_.analog ? host_.UsbProbe().HidCh(TableIndex(i)) : host_.UsbIo().HidCh(TableIndex(i));
    Pic_DeviceLED[static_cast<std::size_t>(i)]->SetBackColor(hid < 0 ? kDeviceOff : kDeviceOn);
  }
}

int32_t ViewFrame::FamilyFound() const {
  return design_.analog ? host_.UsbProbe().FindDevice : host_.UsbIo().FindDevice;
}

void ViewFrame::SetConnectByFound() {
  const bool found = FamilyFound() != 0;
  Pic_Connect->setEnabled(found);
  Pic_Connect->SetPicture(found ? TheButtonPictures().Pic_bt_On_E
                                : TheButtonPictures().Pic_bt_On_D);
}

// Without a device the status says so, its tip how to connect one; after a
// search it says what was found. A run's own texts take the box over.
void ViewFrame::SayWhatWasFound(bool afterSearch) {
  static const QString kNone = QStringLiteral("デバイスが見つかりません");
  const int32_t found = FamilyFound();
  if (found == 0) {
    TB_Status_Box->setText(kNone);
    TB_Status_Box->setToolTip(Q(kConnectDeviceHint));
    return;
  }
  TB_Status_Box->setToolTip(QString());
  if (afterSearch) {
    TB_Status_Box->setText((design_.analog ? QStringLiteral("プローブ %1 台を検出")
                                           : QStringLiteral("USB-IO %1 台を検出"))
                               .arg(found));
  } else if (TB_Status_Box->text() == kNone) {
    TB_Status_Box->clear();
  }
}

void ViewFrame::SetMenusEnabled(bool enabled) {
  menu_file->setEnabled(enabled);
  menu_tool->setEnabled(enabled);
  menu_help->setEnabled(enabled);
  // Their titles in the bar too; 通信 stays, for the keys of a run.
  for (QMenu* menu : {menu_file, menu_tool, menu_help}) menu->menuAction()->setEnabled(enabled);
}

void ViewFrame::SetCommentLook(bool running) {
  TB_LogComment->setReadOnly(running);
  SetColours(TB_LogComment, running ? kCommentRun : kCommentIdle, running ? 0xC0C0C0 : 0);
}

void ViewFrame::ClearBitLEDs() {
  for (BitLed* led : Pic_BitLED_) led->SetBackColor(0);
}

// ---- a run ----

void ViewFrame::Pic_Connect_Click() {
  const ButtonPictures& pictures = TheButtonPictures();
  if (design_.ledClearAtConnect == FrameDesign::LedClear::FirstOfAll) ClearBitLEDs();
  Pic_Connect->setEnabled(false);
  Pic_Connect->SetPicture(pictures.Pic_bt_On_D);
  Pic_Disconnect->setEnabled(true);
  Pic_Disconnect->SetPicture(pictures.Pic_bt_OFF_E);
  SetMenusEnabled(false);
  SetCommentLook(true);

  const std::string comment = RunComment(S(TB_LogComment->text()));
  if (CommentRefused(comment, *device)) {
    host_.Boxes().Critical(this, Q(device->Application_title), Q(kCommentNeededMessage));
    return;  // Refused: only Disconnect leads out
  }
  device->t_LogComment = comment;
  host_.KeepSettings();
  if (device->t_LogSave_Enable == 1) {
    // A run that logs into a folder that takes no file would lose its rows
    // at Disconnect: better said now.
    if (const auto refusal = host_.TheFormBG().Excel_DB.LogFolderRefusal(*device)) {
      host_.Boxes().Critical(this, Q(device->Application_title),
                             QStringLiteral("ログファイルを保存できません。\n") + Q(*refusal) +
                                 QStringLiteral("\n「共通設定」で保存先を確かめてください。"));
      BackToReady();
      return;
    }
  }
  if (LogsToWorkbook(*device)) objExcel = OpenExcelForRun();
  TB_Status_Box->setText(QStringLiteral("通信初期処理中"));
  TB_Status_Box->repaint();
  if (design_.ledClearAtConnect == FrameDesign::LedClear::AfterStatus) ClearBitLEDs();
  PrepareDevicesForRun(design_.analog, *device, host_.UsbIo(), host_.UsbProbe());
  RxFlag = 1;
  host_.TheFormBG().start_timer();
  host_.KeepSettings();  // a run may fall back to the desktop as its log folder
}

void ViewFrame::Pic_Disconnect_Click() {
  RxFlag = 0;  // this alone stops the run
  if (design_.ledClearAtConnect != FrameDesign::LedClear::None) ClearBitLEDs();
  TB_Status_Box->setText(QString());
  TB_Status_Box->repaint();
  BackToReady();
  if (LogsToWorkbook(*device)) {
    // No test for an empty objExcel: after a refused connect this fails.
    if (!objExcel) {
      throw std::runtime_error(
          "切断の処理: ワークブックを閉じられません (ワークブックのアプリケーションがありません)");
    }
    CloseExcelAfterRun(*objExcel);
    objExcel.reset();
  }
}

void ViewFrame::BackToReady() {
  const ButtonPictures& pictures = TheButtonPictures();
  Pic_Disconnect->setEnabled(false);
  Pic_Disconnect->SetPicture(pictures.Pic_bt_OFF_D);
  Pic_Connect->setEnabled(true);
  Pic_Connect->SetPicture(pictures.Pic_bt_On_E);
  SetMenusEnabled(true);
  SetCommentLook(false);
}

void ViewFrame::menu_opt_search_Click() {
  const QString question = design_.analog ? QStringLiteral("アナログ入力デバイスを再検索します。")
                                          : QStringLiteral("USB-IO を再検索します。");
  if (!host_.Boxes().OkCancel(this, Q(device->Application_title),
                              question + QStringLiteral("\nよろしいですか？"),
                              QMessageBox::Warning)) {
    return;
  }
  if (design_.analog) {
    USB_Probe->Param_ALL_Clear();
    USB_Probe->openDevice();
  } else {
    USB_IO->Param_ALL_Clear();
    USB_IO->openDevice();
  }
  View_DeviceLED();
  SetConnectByFound();
  SayWhatWasFound(true);
}

// ---- closing ----

bool ViewFrame::FamilyTimerEnabled() const {
  return host_.TheFormBG().TimerEnabled(design_.analog);
}

void ViewFrame::closeEvent(QCloseEvent* event) {
  if (host_.Unloaded()) {
    event->accept();
    return;
  }
  if (RxFlag == 1 || FamilyTimerEnabled()) {
    event->ignore();  // no close during a run, and no word about it
    return;
  }
  QCoreApplication::processEvents();
  host_.TheFormBG().DisableTimer(design_.analog);
  event->accept();
  host_.UnloadFrom(*this);
}

}  // namespace tavelin
