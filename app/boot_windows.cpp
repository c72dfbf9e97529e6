#include "app/boot_windows.h"

#include <QCloseEvent>
#include <QPainter>

#include "views/design_units.h"

namespace tavelin {

const char* const kTermsOfUse =
    "タヴェリン 使用許諾契約書\n\n"
    "1. 本ソフトウェアは、USB 入力機器の状態の表示と記録のために提供されます。\n"
    "2. 本ソフトウェアを使用して得られた測定値およびログの正しさは、"
    "使用者の責任において確認してください。\n"
    "3. 本ソフトウェアの使用により生じた損害について、作者は責任を負いません。\n"
    "4. 本ソフトウェアを改変せずに再配布することは自由です。\n\n"
    "上記に同意する場合は「同意します」を選び、OK を押してください。";

Form2::Form2() {
  setWindowFlags(Qt::SplashScreen | Qt::FramelessWindowHint);
  setFixedSize(360, 120);
  setAutoFillBackground(true);
  QPalette palette = this->palette();
  palette.setColor(QPalette::Window, ColourOf(0x404040));
  palette.setColor(QPalette::WindowText, ColourOf(0xE0E0E0));
  setPalette(palette);
  QPixmap mark(40, 40);
  mark.fill(Qt::transparent);
  QPainter painter(&mark);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setBrush(QColor(0x30, 0xe0, 0x50));
  painter.setPen(Qt::NoPen);
  for (int i = 0; i < 4; ++i) painter.drawEllipse(QRectF(2 + 9.5 * i, 16, 7, 7));
  Image1 = new QLabel(this);
  Image1->setPixmap(mark);
  Image1->setGeometry(16, 16, 40, 40);
  auto* title = new QLabel(QStringLiteral("タヴェリン"), this);
  title->setGeometry(70, 18, 270, 32);
  QFont big(UiFontFamily());
  big.setPointSizeF(16);
  title->setFont(big);
  Lb_msg = new QLabel(this);
  Lb_msg->setGeometry(16, 64, 328, 18);
  ProgressBar1 = new QProgressBar(this);
  ProgressBar1->setGeometry(16, 88, 328, 16);
  ProgressBar1->setRange(0, 100);
  ProgressBar1->setTextVisible(false);
}

Formterms::Formterms(ELM327_Info& device) : device_(device) {
  setWindowFlags(Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
  setFixedSize(480, 360);
  RT_terms_of_use = new QTextEdit(this);
  RT_terms_of_use->setGeometry(12, 12, 456, 260);
  RT_terms_of_use->setReadOnly(true);
  RT_terms_of_use->setPlainText(QString::fromUtf8(kTermsOfUse));
  RB_Enable[0] = new QRadioButton(QStringLiteral("同意します"), this);
  RB_Enable[0]->setGeometry(24, 284, 200, 22);
  RB_Enable[1] = new QRadioButton(QStringLiteral("同意しません"), this);
  RB_Enable[1]->setGeometry(24, 308, 200, 22);
  RB_Enable[1]->setChecked(true);
  Bt_agree[0] = new QPushButton(QStringLiteral("OK"), this);
  Bt_agree[0]->setGeometry(272, 320, 90, 28);
  Bt_agree[0]->setEnabled(false);
  Bt_agree[1] = new QPushButton(QStringLiteral("キャンセル"), this);
  Bt_agree[1]->setGeometry(378, 320, 90, 28);
  for (QRadioButton* radio : RB_Enable) {
    QObject::connect(radio, &QRadioButton::toggled,
                     [this] { Bt_agree[0]->setEnabled(RB_Enable[0]->isChecked()); });
  }
  QObject::connect(Bt_agree[0], &QPushButton::clicked, [this] { Bt_agree_Click(0); });
  QObject::connect(Bt_agree[1], &QPushButton::clicked, [this] { Bt_agree_Click(1); });
}

void Formterms::Bt_agree_Click(int index) {
  if (index == 0) device_.t_TERMS_OF_USE = RB_Enable[0]->isChecked() ? 1 : 0;
  hide();
}

void Formterms::closeEvent(QCloseEvent* event) {
  event->ignore();
  hide();  // the title bar's close is a cancel
}

}  // namespace tavelin
