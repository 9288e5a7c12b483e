#include "gui_harness.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QJsonDocument>
#include <QListWidget>
#include <QTest>
#include <QTreeWidget>

namespace gui_test {

namespace {
QString reportFile() {
  return QDir::temp().filePath(QStringLiteral("morvanta-gui-report-%1.json").arg(QCoreApplication::applicationPid()));
}
}  // namespace

void useSandboxReport() {
  QFile::remove(reportFile());
  qputenv("MORVANTA_SANDBOX_REPORT", reportFile().toLocal8Bit());
}

QJsonObject sandboxReport() {
  QFile f(reportFile());
  if (!f.open(QIODevice::ReadOnly)) return {};
  return QJsonDocument::fromJson(f.readAll()).object();
}

QJsonObject sandboxMeeting() { return sandboxReport().value("meeting").toObject(); }

QJsonArray sandboxCalls(const QString& path) {
  QJsonArray calls;
  for (const QJsonValue& c : sandboxReport().value("calls").toArray()) {
    if (c.toObject().value("path").toString() == path) calls.append(c);
  }
  return calls;
}

QJsonObject sandboxMember(const QString& name) {
  for (const QJsonValue& m : sandboxMeeting().value("members").toArray()) {
    if (m.toObject().value("name").toString() == name) return m.toObject();
  }
  return {};
}

int column(const QTreeWidget* tree, const QString& title) {
  for (int c = 0; c < tree->columnCount(); ++c) {
    if (tree->headerItem()->text(c) == title) return c;
  }
  return -1;
}

QTreeWidgetItem* row(const QTreeWidget* tree, const QString& name) {
  for (int i = 0; i < tree->topLevelItemCount(); ++i) {
    QTreeWidgetItem* item = tree->topLevelItem(i);
    if (item->text(0) == name || item->text(0).startsWith(name + " (")) return item;
  }
  return nullptr;
}

QString cell(const QTreeWidget* tree, const QString& name, const QString& title) {
  QTreeWidgetItem* item = row(tree, name);
  const int c = column(tree, title);
  return item && c >= 0 ? item->text(c) : QString();
}

QList<QListWidgetItem*> items(const QListWidget* list, const QString& text) {
  QList<QListWidgetItem*> found;
  for (int i = 0; i < list->count(); ++i) {
    if (list->item(i)->text().contains(text)) found << list->item(i);
  }
  return found;
}

void clickRow(QTreeWidget* tree, QTreeWidgetItem* item) {
  tree->scrollToItem(item);
  QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualItemRect(item).center());
}

void clickItem(QListWidget* list, QListWidgetItem* item) {
  list->scrollToItem(item);
  QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(item).center());
}

QString saveScreenshot(QWidget* window, const QString& name) {
  QDir dir(QString::fromUtf8(MORVANTA_GUI_OUTPUT_DIR));
  const QString mode = qEnvironmentVariable("MORVANTA_BRIDGE_MODE", "compatible");
  dir.mkpath(mode);
  const QString path = dir.filePath(mode + "/" + name + ".png");
  window->grab().save(path);
  return path;
}

}  // namespace gui_test
