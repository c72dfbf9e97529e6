#include "dialogs/FormCommonSetting.h"

#include <QButtonGroup>
#include <QDropEvent>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QMimeData>
#include <QPainter>
#include <QUrl>
#include <QVBoxLayout>
#include <QWindow>

#include "dialogs/setting_controls.h"
#include "platform/file_system.h"
#include "views/design_units.h"
#include "views/view_frame.h"

namespace tavelin {
namespace {

constexpr int32_t kFastestSampling = 1;
constexpr int32_t kSlowestSampling = 3600000;
const QString kDropTip = QStringLiteral("保存先のフォルダをドラッグ＆ドロップしてください");

QPixmap FolderPicture() {
  QPixmap picture(26, 22);
  picture.fill(Qt::transparent);
  QPainter painter(&picture);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QColor(0xb0, 0x84, 0x20));
  painter.setBrush(QColor(0xf0, 0xc0, 0x40));
  painter.drawRoundedRect(QRectF(1.5, 3.5, 10, 5), 1.5, 1.5);
  painter.drawRoundedRect(QRectF(1.5, 6.5, 23, 14), 1.5, 1.5);
  return picture;
}

QLabel* DropPicture(QWidget* parent) {
  auto* picture = new QLabel(parent);
  picture->setPixmap(FolderPicture());
  picture->setFixedSize(28, 24);
  picture->setToolTip(kDropTip);
  picture->setAcceptDrops(true);
  return picture;
}

// Radio buttons with no mark at all: an exclusive group keeps one.
template <std::size_t N>
void UnmarkAll(const std::array<QRadioButton*, N>& buttons) {
  QButtonGroup* group = buttons[0]->group();
  group->setExclusive(false);
  for (QRadioButton* button : buttons) button->setChecked(false);
  group->setExclusive(true);
}

template <std::size_t N>
void Mark(const std::array<QRadioButton*, N>& buttons, int32_t index) {
  if (index >= 0 && index < static_cast<int32_t>(N)) {
    buttons[static_cast<std::size_t>(index)]->setChecked(true);
  } else {
    UnmarkAll(buttons);
  }
}

// The first marked button, or -1.
template <std::size_t N>
int32_t Marked(const std::array<QRadioButton*, N>& buttons) {
  for (std::size_t i = 0; i < N; ++i) {
    if (buttons[i]->isChecked()) return static_cast<int32_t>(i);
  }
  return -1;
}

template <std::size_t N>
void MakeGroup(QObject* owner, const std::array<QRadioButton*, N>& buttons) {
  auto* group = new QButtonGroup(owner);
  for (QRadioButton* button : buttons) group->addButton(button);
}

// The local path of the first item of a dropped file list, or empty.
QString DroppedLocalPath(const QMimeData* data) {
  if (data == nullptr || !data->hasUrls() || data->urls().isEmpty()) return {};
  const QUrl first = data->urls().first();
  return first.isLocalFile() ? first.toLocalFile() : QString();
}

}  // namespace

FormCommonSetting::FormCommonSetting(ViewHost& host, ViewFrame*& owner) : ToolDialog(host, owner) {
  auto* layout = new QVBoxLayout(this);

  Frame7 = new QGroupBox(QStringLiteral("表示モード"), this);
  auto* modes = new QGridLayout(Frame7);
  const QString modeNames[6] = {QStringLiteral("LED表示1"),
                                QStringLiteral("LED表示2"),
                                QStringLiteral("数値表示(デジタル入力)"),
                                QStringLiteral("数値表示(アナログ入力)"),
                                QStringLiteral("未使用"),
                                QStringLiteral("未使用")};
  for (int i = 0; i < 6; ++i) {
    RB_ViewCh[i] = new QRadioButton(modeNames[i], Frame7);
    modes->addWidget(RB_ViewCh[i], i % 3, i / 3);
  }
  MakeGroup(this, RB_ViewCh);
  layout->addWidget(Frame7);

  CB_LogFile_Enable = new QCheckBox(QStringLiteral("ログファイルを保存する"), this);
  layout->addWidget(CB_LogFile_Enable);

  GB_LogSave_Format = new QGroupBox(QStringLiteral("ログファイルの形式"), this);
  auto* format = new QGridLayout(GB_LogSave_Format);
  RB_LogSV_Format[0] =
      new QRadioButton(QStringLiteral("Excel形式で保存 (.xls)"), GB_LogSave_Format);
  RB_LogSV_Format[1] =
      new QRadioButton(QStringLiteral("テキスト形式で保存 （.csv）"), GB_LogSave_Format);
  MakeGroup(this, RB_LogSV_Format);
  Label4 = new QLabel(QStringLiteral("Excelインストール ・・・"), GB_LogSave_Format);
  TB_Excel_Status = new QLineEdit(GB_LogSave_Format);
  TB_Excel_Status->setReadOnly(true);
  TB_Excel_Status->setFocusPolicy(Qt::NoFocus);
  TB_Excel_Status->setFixedWidth(44);
  format->addWidget(RB_LogSV_Format[0], 0, 0);
  format->addWidget(RB_LogSV_Format[1], 1, 0);
  auto* excel = new QHBoxLayout;
  excel->addWidget(Label4);
  excel->addWidget(TB_Excel_Status);
  excel->addStretch();
  format->addLayout(excel, 0, 1);
  layout->addWidget(GB_LogSave_Format);

  auto* sampling = new QHBoxLayout;
  Lb_Sampling = new QLabel(QStringLiteral("サンプリング"), this);
  TB_Sampling = new QLineEdit(QStringLiteral("100"), this);
  TB_Sampling->setFixedWidth(90);
  TB_Sampling->setAlignment(Qt::AlignRight);
  sampling->addWidget(Lb_Sampling);
  sampling->addWidget(TB_Sampling);
  sampling->addWidget(new QLabel(QStringLiteral("ms"), this));
  sampling->addStretch();
  layout->addLayout(sampling);

  CB_LogSave_subFolder =
      new QCheckBox(QStringLiteral("コメントをサブフォルダにして保存する"), this);
  layout->addWidget(CB_LogSave_subFolder);

  GB_LogSave_path = new QGroupBox(QStringLiteral("ログファイルの保存先"), this);
  auto* path = new QGridLayout(GB_LogSave_path);
  const QString places[3] = {QStringLiteral("実行ファイルのフォルダ内"),
                             QStringLiteral("デスクトップ上"), QStringLiteral("指定したフォルダ")};
  for (int i = 0; i < 3; ++i) {
    RB_LogSaveFilePath[i] = new QRadioButton(places[i], GB_LogSave_path);
    path->addWidget(RB_LogSaveFilePath[i], i, 0, 1, 3);
  }
  MakeGroup(this, RB_LogSaveFilePath);
  Img_Log_save_folder = DropPicture(GB_LogSave_path);
  TB_LogSaveFilePath = new QLineEdit(GB_LogSave_path);
  TB_LogSaveFilePath->setToolTip(kDropTip);
  TB_LogSaveFilePath->setMinimumWidth(300);
  Img_Log_save_folder_path = DropPicture(GB_LogSave_path);
  path->addWidget(Img_Log_save_folder, 3, 0);
  path->addWidget(TB_LogSaveFilePath, 3, 1);
  path->addWidget(Img_Log_save_folder_path, 3, 2);
  layout->addWidget(GB_LogSave_path);

  auto* buttons = new QHBoxLayout;
  Img_Help_Setting = MakeHelpPicture(this);
  Bt_OK = new QPushButton(QStringLiteral("OK"), this);
  Bt_Cancell = new QPushButton(QStringLiteral("キャンセル"), this);
  buttons->addWidget(Img_Help_Setting);
  buttons->addStretch();
  buttons->addWidget(Bt_OK);
  buttons->addWidget(Bt_Cancell);
  layout->addLayout(buttons);
  layout->setSizeConstraint(QLayout::SetFixedSize);

  for (QWidget* target :
       {static_cast<QWidget*>(TB_LogSaveFilePath), static_cast<QWidget*>(Img_Log_save_folder),
        static_cast<QWidget*>(Img_Log_save_folder_path)}) {
    target->installEventFilter(this);
  }
  QObject::connect(CB_LogFile_Enable, &QCheckBox::clicked,
                   [this](bool ticked) { Set_Log_Controls(ticked ? 1 : 0); });
  ConnectFoot(Bt_OK, Bt_Cancell, Img_Help_Setting, 1, [this] { Bt_OK_Click(); });
  QObject::connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, [this](QWindow* focus) {
    if (focus != nullptr && focus != windowHandle()) leftForOwnWindow_ = true;
    if (focus == nullptr) leftForOwnWindow_ = false;  // another program: no reload on return
  });
  read_setting();
}

ELM327_Info& FormCommonSetting::Device() const {
  return *obj_Form->device;
}

bool FormCommonSetting::event(QEvent* event) {
  if (event->type() == QEvent::WindowActivate && leftForOwnWindow_) {
    leftForOwnWindow_ = false;
    read_setting();
  }
  return ToolDialog::event(event);
}

void FormCommonSetting::read_setting() {
  const ELM327_Info& device = Device();
  setWindowTitle(Q(device.Application_title) + QStringLiteral("　　- 共通設定 -"));
  Mark(RB_ViewCh, device.t_ViewCh - 1);
  const bool excel = device.ExcelInstallCheck == 1;
  TB_Excel_Status->setText(excel ? QStringLiteral(" OK") : QStringLiteral(" NG"));
  SetForeColor(TB_Excel_Status, excel ? Rgb(0, 160, 11) : Rgb(255, 0, 0));
  RB_LogSV_Format[0]->setEnabled(excel);
  Set_Log_Controls(device.t_LogSave_Enable);
  // Without the workbook application the text format shows as chosen.
  RB_LogSV_Format[excel && device.t_LogSaveFormat == 1 ? 0 : 1]->setChecked(true);
  if (excel && device.t_LogSaveFormat != 1 && device.t_LogSaveFormat != 2) {
    UnmarkAll(RB_LogSV_Format);
  }
  Mark(RB_LogSaveFilePath, device.t_LogSaveFilePath_mode);
  TB_LogSaveFilePath->setText(Q(device.t_LogSaveFilePath));
  TB_LogSaveFilePath->setCursorPosition(0);
  if (device.t_LogSave_subFolder == 1) CB_LogSave_subFolder->setChecked(true);
  if (device.t_LogSave_subFolder == 0) CB_LogSave_subFolder->setChecked(false);
  TB_Sampling->setText(QString::number(device.t_LogSampling));
}

void FormCommonSetting::Set_Log_Controls(int32_t value) {
  if (value != 0 && value != 1) return;
  const bool on = value == 1;
  CB_LogFile_Enable->setChecked(on);
  GB_LogSave_Format->setEnabled(on);
  GB_LogSave_path->setEnabled(on);
  RB_LogSV_Format[0]->setEnabled(on && Device().ExcelInstallCheck == 1);
  RB_LogSV_Format[1]->setEnabled(on);
  for (QRadioButton* button : RB_LogSaveFilePath) button->setEnabled(on);
  TB_LogSaveFilePath->setEnabled(on);
  CB_LogSave_subFolder->setEnabled(on);
  TB_Sampling->setEnabled(on);
}

void FormCommonSetting::Bt_OK_Click() {
  ELM327_Info& device = Device();
  const int32_t mode = Marked(RB_ViewCh) + 1;  // none marked: 0
  if (mode != device.t_ViewCh) {
    device.t_ViewCh = mode;
    if (mode >= 1 && mode <= 4) ChangeView(mode);
  }
  if (CB_LogFile_Enable->checkState() != Qt::PartiallyChecked) {
    device.t_LogSave_Enable = CB_LogFile_Enable->isChecked() ? 1 : 0;
  }
  device.t_LogSaveFormat = RB_LogSV_Format[0]->isChecked() ? 1 : 2;
  if (const int32_t place = Marked(RB_LogSaveFilePath); place >= 0) {
    device.t_LogSaveFilePath_mode = place;
  }
  device.t_LogSaveFilePath = S(TB_LogSaveFilePath->text());
  device.t_LogSave_subFolder = CB_LogSave_subFolder->isChecked() ? 1 : 0;
  // A mistaken period silently means the fastest one.
  device.t_LogSampling =
      WholeNumberOr(TB_Sampling->text(), kFastestSampling, kSlowestSampling, kFastestSampling);
  Unload();
}

// The owner view hides, the view of the new mode shows, and the dialog
// belongs to it from now on.
void FormCommonSetting::ChangeView(int32_t mode) {
  ViewFrame* old = obj_Form;
  old->hide();
  ViewFrame& next = host_.ViewOfMode(mode);
  next.show();
  next.device = old->device;
  obj_Form = &next;
  next.Set_FormView();
}

void FormCommonSetting::SetFormData(int32_t view, int32_t fontsize) {
  if (view == 3) {
    for (int16_t i = 0; i < Device().MAX_Ch; ++i) Device().usbio_Font_size(i) = fontsize;
  } else if (view == 4) {
    KVR_USB_Probe& probe = host_.UsbProbe();
    for (int32_t i = 0; i < probe.max_DB; ++i) probe.AN_pin_Font_size(TableIndex(i)) = fontsize;
  }
}

// The three drop targets take a dropped file list: a file gives its folder,
// a folder itself. Nothing is stored before OK.
bool FormCommonSetting::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::DragEnter || event->type() == QEvent::DragMove) {
    auto* drag = static_cast<QDragMoveEvent*>(event);
    if (DroppedLocalPath(drag->mimeData()).isEmpty()) {
      drag->ignore();
    } else {
      drag->acceptProposedAction();
    }
    return true;
  }
  if (event->type() == QEvent::Drop) {
    auto* drop = static_cast<QDropEvent*>(event);
    const QString path = DroppedLocalPath(drop->mimeData());
    if (!path.isEmpty()) {
      TB_LogSaveFilePath->setText(Q(FolderOfDroppedPath(S(path))));
      TB_LogSaveFilePath->setCursorPosition(0);
      drop->acceptProposedAction();
    } else {
      drop->ignore();
    }
    return true;
  }
  return ToolDialog::eventFilter(watched, event);
}

}  // namespace tavelin
