#include "dialogs/publish_dialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QVBoxLayout>

namespace tavelin {
namespace {

QString Q(const std::string& text) {
  return QString::fromStdString(text);
}

std::string S(const QLineEdit* box) {
  return box->text().trimmed().toStdString();
}

}  // namespace

PublishDialog::PublishDialog(QWidget* parent, const std::string& title,
                             const PublishSettings& settings, const QString& link)
    : QDialog(parent) {
  setWindowTitle(Q(title) + QStringLiteral("　　- 配信設定 -"));
  Chk_Enabled = new QCheckBox(QStringLiteral("記録する行を MQTT ブローカーに配信する"));
  Chk_Enabled->setChecked(settings.enabled);
  TB_Url = new QLineEdit(Q(settings.url));
  TB_Url->setPlaceholderText(QStringLiteral("mqtt://利用者名@ホスト名:1883/接頭辞"));
  TB_Bench = new QLineEdit(Q(settings.bench));
  TB_CaFile = new QLineEdit(Q(settings.caFile));
  TB_CaFile->setPlaceholderText(QStringLiteral("mqtts:// で空欄ならシステムの証明書"));
  TB_PasswordFile = new QLineEdit(Q(settings.passwordFile));
  TB_PasswordFile->setPlaceholderText(QStringLiteral("空欄なら環境変数 ") + kPasswordVariable);
  CB_Version = new QComboBox;
  CB_Version->addItems({QStringLiteral("3.1.1"), QStringLiteral("5")});
  CB_Version->setCurrentIndex(settings.mqttVersion == 5 ? 1 : 0);
  Num_SpoolMb = new QSpinBox;
  Num_SpoolMb->setRange(1, 1024 * 1024);
  Num_SpoolMb->setSuffix(QStringLiteral(" MB"));
  Num_SpoolMb->setValue(static_cast<int>(settings.spoolLimitMb));
  Lb_Problem = new QLabel;
  Lb_Problem->setStyleSheet(QStringLiteral("color: #b00000"));
  Lb_Problem->setWordWrap(true);
  Lb_Link = new QLabel(link);
  Lb_Link->setWordWrap(true);

  auto* fields = new QFormLayout;
  fields->addRow(QStringLiteral("ブローカー URL"), TB_Url);
  fields->addRow(QStringLiteral("ベンチ名"), TB_Bench);
  fields->addRow(QStringLiteral("CA 証明書"), TB_CaFile);
  fields->addRow(QStringLiteral("パスワードのファイル"), TB_PasswordFile);
  fields->addRow(QStringLiteral("MQTT バージョン"), CB_Version);
  fields->addRow(QStringLiteral("保留の上限"), Num_SpoolMb);
  auto* buttons = new QDialogButtonBox;
  Btn_OK = buttons->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
  Btn_Cancel = buttons->addButton(QStringLiteral("キャンセル"), QDialogButtonBox::RejectRole);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(Chk_Enabled);
  layout->addLayout(fields);
  layout->addWidget(Lb_Problem);
  layout->addWidget(Lb_Link);
  layout->addWidget(buttons);
  TB_Url->setMinimumWidth(360);
  connect(buttons, &QDialogButtonBox::accepted, this, [this] {
    if (TakeSettings()) accept();
  });
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

PublishSettings PublishDialog::Settings() const {
  PublishSettings settings;
  settings.enabled = Chk_Enabled->isChecked();
  settings.url = S(TB_Url);
  settings.bench = S(TB_Bench);
  settings.caFile = S(TB_CaFile);
  settings.passwordFile = S(TB_PasswordFile);
  settings.mqttVersion = CB_Version->currentIndex() == 1 ? 5 : 4;
  settings.spoolLimitMb = Num_SpoolMb->value();
  return settings;
}

bool PublishDialog::TakeSettings() {
  const PublishSettings settings = Settings();
  const auto problem = settings.enabled ? PublishSettingsProblem(settings) : std::nullopt;
  Lb_Problem->setText(problem ? Q(*problem) : QString());
  return !problem;
}

}  // namespace tavelin
