// morvanta-meeting: a desktop meeting client. Run from the build's bin/
// folder (index.js beside it) or installed (the sandbox SDK is found in
// ../share/morvanta/sandbox relative to the executable).
#include <QApplication>
#include <QDir>
#include <QFileInfo>

#include "main_window.h"

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setApplicationName("morvanta-meeting");
  const QDir here(QCoreApplication::applicationDirPath());
  if (qEnvironmentVariableIsEmpty("MORVANTA_SDK_PATH") && !QFileInfo::exists(here.filePath("index.js"))) {
    const QString installed = here.filePath("../share/morvanta/sandbox/index.js");
    if (QFileInfo::exists(installed)) qputenv("MORVANTA_SDK_PATH", QDir::cleanPath(installed).toLocal8Bit());
  }
  meeting_app::MainWindow window;
  window.show();
  return app.exec();
}
