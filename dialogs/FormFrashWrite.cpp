#include "dialogs/FormFrashWrite.h"

#include "views/design_units.h"
#include "views/view_frame.h"

namespace tavelin {

FormFrashWrite::FormFrashWrite(ViewHost& host, ViewFrame*& owner, const UsbIoEntryPoints& library)
    : ToolDialog(host, owner), library_(library) {
  setFixedSize(420, 224);
  TB_Board1 = new QPlainTextEdit(this);
  TB_Board1->setGeometry(12, 12, 396, 92);
  TB_Board1->setReadOnly(true);
  TB_Board1->setFocusPolicy(Qt::NoFocus);
  TB_Board1->setPlainText(QStringLiteral(
      "本ソフトウェアで使用するための設定を書き込む USB-IO\nを検索します。\n"
      "設定を書き込みたくない USB-IO は、パソコンとの接続を\n切り離してください。\n"));
  Bt_Search = new QPushButton(QStringLiteral("検索"), this);
  Bt_Search->setGeometry(12, 116, 96, 28);
  Lb_SearchResult = new QLabel(this);
  Lb_SearchResult->setGeometry(118, 116, 290, 28);
  Bt_Write = new QPushButton(QStringLiteral("設定書込み"), this);
  Bt_Write->setGeometry(12, 152, 96, 28);
  Bt_Write->setEnabled(false);
  Bt_OK = new QPushButton(QStringLiteral("閉じる"), this);
  Bt_OK->setGeometry(312, 186, 96, 28);
  QObject::connect(Bt_Search, &QPushButton::clicked, [this] { Bt_Search_Click(); });
  QObject::connect(Bt_Write, &QPushButton::clicked, [this] { Bt_Write_Click(); });
  QObject::connect(Bt_OK, &QPushButton::clicked, [this] { Unload(); });
  read_setting();
}

void FormFrashWrite::read_setting() {
  setWindowTitle(Q(obj_Form->device->Application_title2) + QStringLiteral("　 設定書込(USB-IO)"));
}

USB_IO_IF& FormFrashWrite::Private() {
  if (!usbIo_) usbIo_ = std::make_unique<USB_IO_IF>(library_);
  return *usbIo_;
}

void FormFrashWrite::Bt_Search_Click() {
  USB_IO_IF& io = Private();
  io.Param_ALL_Clear();
  io.searchDevice();  // every module, prepared or not
  if (io.FindDevice < 1) {
    Lb_SearchResult->setText(QStringLiteral("機器がみつかりません"));
    Bt_Write->setEnabled(false);
  } else {
    Lb_SearchResult->setText(QStringLiteral("接続されているUSB IO ・・・ %1台").arg(io.FindDevice));
    Bt_Write->setEnabled(true);
  }
}

void FormFrashWrite::Bt_Write_Click() {
  const ELM327_Info& device = *obj_Form->device;
  if (!host_.Boxes().OkCancel(this, Q(device.Application_title),
                              QStringLiteral("接続されているすべてのUSB IOに、\n"
                                             "設定データを書き込みます。\n"
                                             "よろしいですか？"),
                              QMessageBox::Warning)) {
    return;  // nothing has changed
  }
  USB_IO_IF& io = Private();
  const int32_t written = io.setting_writeDevice();
  if (written != io.FindDevice) {
    Lb_SearchResult->setText(QStringLiteral("%1台、書き込み完了。%2台、失敗しました。")
                                 .arg(written)
                                 .arg(io.FindDevice - written));
  } else {
    Lb_SearchResult->setText(QStringLiteral("%1台、書き込み完了").arg(io.FindDevice));
  }
  WarnToReplug();
  Bt_Search->setEnabled(false);
  Bt_Write->setEnabled(false);
}

void FormFrashWrite::WarnToReplug() {
  host_.Boxes().Exclamation(this, Q(obj_Form->device->Application_title),
                            QStringLiteral("パソコンからすべてのUSB IOを抜き、\n"
                                           "使用する場合は再び接続してください｡ "));
}

FormFrashWrite::State FormFrashWrite::CurrentState() const {
  if (!Bt_Search->isEnabled() && !Bt_Write->isEnabled()) return State::Written;
  return Bt_Write->isEnabled() ? State::Found : State::Idle;
}

void FormFrashWrite::Form_Unload() {
  // The test is on the two buttons, not on a flag: both are off only after a write.
  if (!Bt_Search->isEnabled() && !Bt_Write->isEnabled()) WarnToReplug();
  usbIo_.reset();
  if (obj_Form != nullptr) obj_Form->setEnabled(true);
}

}  // namespace tavelin
