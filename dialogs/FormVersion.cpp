#include "dialogs/FormVersion.h"

#include <QDesktopServices>
#include <QMouseEvent>
#include <QPainter>
#include <QUrl>
#include <QWindow>

#include "views/design_units.h"
#include "views/view_frame.h"

namespace tavelin {
namespace {

// The OK picture: a plain button face of 109 x 24 pixels.
QPixmap OkPicture() {
  QPixmap pixmap(109, 24);
  pixmap.fill(Qt::white);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  QLinearGradient face(0, 0, 0, 24);
  face.setColorAt(0, QColor(0xf6, 0xf6, 0xf6));
  face.setColorAt(1, QColor(0xd8, 0xd8, 0xd8));
  painter.setBrush(face);
  painter.setPen(QColor(0x9a, 0x9a, 0x9a));
  painter.drawRoundedRect(QRectF(0.5, 0.5, 108, 23), 3, 3);
  return pixmap;
}

QLabel* Label(QWidget* parent, int left, int top, int width, int height, const QString& text) {
  auto* label = new QLabel(text, parent);
  label->setGeometry(TwipRect(left, top, width, height));
  label->setAlignment(Qt::AlignCenter);
  return label;
}

}  // namespace

FormVersion::FormVersion() {
  setWindowFlags(Qt::Tool | Qt::FramelessWindowHint);
  setFixedSize(Px(4680), Px(3195));
  setAutoFillBackground(true);
  QPalette palette = this->palette();
  palette.setColor(QPalette::Window, Qt::white);
  palette.setColor(QPalette::WindowText, Qt::black);
  setPalette(palette);

  Img_OK = Label(this, 1470, 2610, 1695, 390, QString());
  Lb_OK = Label(this, 1890, 2685, 765, 210, QStringLiteral("OK"));
  Lb_App_Title = Label(this, 765, 480, 2790, 285, QString());
  QFont title = Lb_App_Title->font();
  title.setPointSizeF(12);
  title.setBold(true);
  Lb_App_Title->setFont(title);
  Lb_URL = Label(this, 1290, 1980, 2010, 225, Q(identity::kHomepageShown));
  QPalette link = Lb_URL->palette();
  link.setColor(QPalette::WindowText, QColor(0, 0, 255));
  Lb_URL->setPalette(link);
  Lb_URL->setCursor(Qt::PointingHandCursor);
  Lb_copylight = Label(this, 570, 1500, 3585, 285, QString());
  StartSystemMove = [this] {
    return windowHandle() != nullptr && windowHandle()->startSystemMove();
  };
  for (QWidget* surface : {static_cast<QWidget*>(this), static_cast<QWidget*>(Lb_App_Title),
                           static_cast<QWidget*>(Lb_copylight), static_cast<QWidget*>(Lb_OK),
                           static_cast<QWidget*>(Img_OK), static_cast<QWidget*>(Lb_URL)}) {
    surface->installEventFilter(this);
  }
}

void FormVersion::Form_Load() {
  Img_OK->setPixmap(OkPicture());
  setWindowTitle(Q(obj_Form->device->Application_title));
  Lb_App_Title->setText(windowTitle());
  Lb_copylight->setText(Q(obj_Form->device->Copy_light));
  loaded_ = true;
}

void FormVersion::ShowFor(QWidget& owner) {
  if (!loaded_) {
    Form_Load();
    move(owner.frameGeometry().center() - QPoint(width() / 2, height() / 2));
  }
  show();
  raise();
}

void FormVersion::Drag_Form(Qt::MouseButtons buttons) {
  if (!(buttons & Qt::LeftButton) || !leftHeld_) return;
  leftHeld_ = false;
  dragged_ = true;
  StartSystemMove();
}

bool FormVersion::eventFilter(QObject* watched, QEvent* event) {
  const auto* mouse = dynamic_cast<QMouseEvent*>(event);
  if (mouse == nullptr) return QDialog::eventFilter(watched, event);
  switch (event->type()) {
    case QEvent::MouseButtonPress:
      dragged_ = false;
      leftHeld_ = mouse->button() == Qt::LeftButton;
      if (watched == Lb_URL && mouse->button() == Qt::LeftButton) {
        leftHeld_ = false;  // the link is no drag surface
        QDesktopServices::openUrl(QUrl(Q(obj_Form->device->Homepage_URL)));
        return true;
      }
      break;
    case QEvent::MouseMove:
      if (watched != Lb_URL) {
        Drag_Form(mouse->buttons());
        return true;
      }
      break;
    case QEvent::MouseButtonRelease:
      leftHeld_ = false;
      if ((watched == Img_OK || watched == Lb_OK) && mouse->button() == Qt::LeftButton &&
          !dragged_) {
        hide();
        return true;
      }
      break;
    default:
      break;
  }
  return QDialog::eventFilter(watched, event);
}

void FormVersion::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QRect frame = TwipRect(60, 60, 4575, 3090);
  painter.setPen(QColor(0xE0, 0xE0, 0xE0));
  painter.drawRect(frame);
  painter.setPen(QColor(0xC0, 0xC0, 0xC0));
  painter.drawRect(frame.adjusted(2, 2, -2, -2));
}

}  // namespace tavelin
