#include <QApplication>
#include <QLineEdit>
#include <QTextStream>

/// An entry of Qt's that prints its text, and what is selected of it, at every change.
int main(int argc, char* argv[]) {
  QApplication application(argc, argv);
  QLineEdit entry;
  entry.setWindowTitle("Qt entry");
  entry.setMaxLength(10000);
  entry.resize(600, 60);
  const auto print = [&entry] {
    QTextStream out(stdout);
    out.setEncoding(QStringConverter::Utf8);
    out << "text:" << entry.text() << "\n"
        << "selected:" << entry.selectedText() << "\n";
    out.flush();
  };
  QObject::connect(&entry, &QLineEdit::textChanged, print);
  QObject::connect(&entry, &QLineEdit::selectionChanged, print);
  // Keys that come before it has the focus are lost.
  QObject::connect(&application, &QApplication::focusChanged, [&entry] {
    if (entry.hasFocus()) QTextStream(stdout) << "ready" << Qt::endl;
  });
  entry.show();
  return QApplication::exec();
}
