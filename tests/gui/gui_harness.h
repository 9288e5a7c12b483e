// Helpers for driving the meeting window as a person would (clicks and
// keys on widgets found by object name) and for reading the sandbox's own
// world, to check that what the window shows is what the service saw.
#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

class QListWidget;
class QListWidgetItem;
class QTreeWidget;
class QTreeWidgetItem;
class QWidget;

namespace gui_test {

// The sandbox's world as it last reported it (MORVANTA_SANDBOX_REPORT,
// which useSandboxReport() points at a file of this process): currentUser,
// meeting, calls, audio, video. {} before the first report.
void useSandboxReport();
QJsonObject sandboxReport();
// The meeting of the report (members, waitingRoom, chat, ...), or {}.
QJsonObject sandboxMeeting();
// The sandbox's call log entries of one method path.
QJsonArray sandboxCalls(const QString& path);
// The sandbox member record with this name, or {}.
QJsonObject sandboxMember(const QString& name);

// The column whose header reads `title`, or -1.
int column(const QTreeWidget* tree, const QString& title);
// The row whose name column starts with `name`, or null.
QTreeWidgetItem* row(const QTreeWidget* tree, const QString& name);
// The text of a member's cell under the header `title` ("" when absent).
QString cell(const QTreeWidget* tree, const QString& name, const QString& title);
// Items of a list whose text contains `text`.
QList<QListWidgetItem*> items(const QListWidget* list, const QString& text);

// A click on a row or a list item, where a person would click.
void clickRow(QTreeWidget* tree, QTreeWidgetItem* item);
void clickItem(QListWidget* list, QListWidgetItem* item);

// Saves a picture of `window` as <output folder>/<name>.png; answers the path.
QString saveScreenshot(QWidget* window, const QString& name);

}  // namespace gui_test
