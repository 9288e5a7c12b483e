#include "gui_harness.h"

#include <QCoreApplication>
#include <QDir>
#include <QHeaderView>
#include <QJsonDocument>
#include <QListWidget>
#include <QTest>
#include <QTreeWidget>
#include <atomic>
#include <memory>
#include <mutex>

#include "bridge/js_bridge_adapter.h"
#include "capi/sdk_state.h"

namespace gui_test {

QJsonValue sandbox(const QString& expression) {
  struct Shared {
    std::mutex m;
    std::atomic<bool> done{false};
    std::string json;
  };
  auto bridge = morvanta::capi::g_bridge;
  if (!bridge) return QJsonValue(QJsonValue::Undefined);
  auto shared = std::make_shared<Shared>();
  const std::string script = "JSON.stringify({v: (function () { return " + expression.toStdString() + "; })()})";
  bridge->ExecuteJS(script, [shared](const morvanta::JSResult& r) {
    std::lock_guard<std::mutex> lock(shared->m);
    if (r.success) shared->json = r.value.stringValue;
    shared->done = true;
  });
  // The window keeps running meanwhile: whatever the library delivers is
  // dispatched as usual.
  for (int i = 0; i < 2000 && !shared->done; ++i) QTest::qWait(5);
  std::lock_guard<std::mutex> lock(shared->m);
  if (!shared->done) return QJsonValue(QJsonValue::Undefined);
  return QJsonDocument::fromJson(QByteArray::fromStdString(shared->json)).object().value("v");
}

QJsonObject sandboxMeeting() { return sandbox("morVantaSandbox.meeting").toObject(); }

QJsonArray sandboxCalls(const QString& path) {
  return sandbox(QStringLiteral("morVantaSandbox.callsTo('%1')").arg(path)).toArray();
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
