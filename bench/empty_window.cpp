// An empty Qt window, the yardstick of the start time: the same toolkit,
// nothing of ours.
#include <QApplication>
#include <QMainWindow>

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QMainWindow window;
  window.setWindowTitle(QStringLiteral("empty"));
  window.resize(640, 480);
  window.show();
  return app.exec();
}
