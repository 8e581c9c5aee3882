// A small Qt program that opens a text, as an editor would, and goes on until it is ended.
#include <QApplication>
#include <QFile>
#include <QPlainTextEdit>

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QFile file(QString::fromLocal8Bit(argv[argc - 1]));
  if (!file.open(QIODevice::ReadOnly)) return 1;
  QPlainTextEdit window(QString::fromUtf8(file.readAll()));
  window.show();
  return app.exec();
}
