// An empty Qt window, the yardstick of the start time: the same toolkit,
// nothing of ours. With a text, the window shows it in a label: what the
// first text of any window costs (the font set-up) on top.
#include <QApplication>
#include <QLabel>
#include <QMainWindow>

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QMainWindow window;
  window.setWindowTitle(QStringLiteral("empty"));
  if (argc > 1) window.setCentralWidget(new QLabel(QString::fromLocal8Bit(argv[1])));
  window.resize(640, 480);
  window.show();
  return app.exec();
}
