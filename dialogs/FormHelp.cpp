#include "dialogs/FormHelp.h"

#include "dialogs/help_texts.h"
#include "views/design_units.h"
#include "views/view_frame.h"

namespace tavelin {

FormHelp::FormHelp() {
  setWindowFlags(Qt::Tool | Qt::WindowStaysOnTopHint | Qt::WindowTitleHint |
                 Qt::WindowCloseButtonHint);
  setFixedSize(Px(6510), Px(4590));
  TB_View = new QPlainTextEdit(this);
  TB_View->setGeometry(TwipRect(75, 120, 6345, 3990));
  TB_View->setReadOnly(true);
  TB_View->setFocusPolicy(Qt::NoFocus);
  TB_View->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
  Bt_Close = new QPushButton(QStringLiteral("OK"), this);
  Bt_Close->setGeometry(TwipRect(5280, 4200, 1110, 345));
  QObject::connect(Bt_Close, &QPushButton::clicked, [this] { hide(); });
}

void FormHelp::EnsureLoaded() {
  if (loaded_) return;
  loaded_ = true;
  move(0, 0);  // always on top, and at the top left rather than centred
  if (obj_Form != nullptr && obj_Form->device != nullptr) {
    setWindowTitle(Q(obj_Form->device->Application_title) + QStringLiteral("　　ヘルプ"));
  }
}

namespace HelpWizard {

void Show_Help(FormHelp& help, int32_t kind) {
  const char* text = HelpText(kind);
  if (text == nullptr) return;
  help.EnsureLoaded();
  help.show();
  help.TB_View->setPlainText(QString::fromUtf8(text).replace(QStringLiteral("\r\n"), "\n"));
}

}  // namespace HelpWizard
}  // namespace tavelin
