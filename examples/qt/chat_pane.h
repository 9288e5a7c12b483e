// The chat of the meeting window: the history, a line to type into (Enter
// sends), and a button that recalls my last message.
#pragma once

#include <QHash>
#include <QWidget>

#include "meeting_types.h"

class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QPushButton;

namespace meeting_app {

class ChatPane : public QWidget {
  Q_OBJECT
 public:
  explicit ChatPane(QWidget* parent = nullptr);

  // Appends messages not shown yet (a message uuid is shown once).
  void addMessages(const QList<ChatLine>& lines);
  void markRecalled(const QString& messageUuid);
  void setRecallEnabled(bool enabled);
  void showNotice(const QString& text);
  void clearHistory();
  int messageCount() const { return items_.size(); }

 signals:
  void sendRequested(const QString& text);
  void recallRequested();

 private:
  void submit();

  QListWidget* view_;
  QLineEdit* input_;
  QPushButton* send_;
  QPushButton* recall_;
  QHash<QString, QListWidgetItem*> items_;
  bool scrollPending_ = false;
};

}  // namespace meeting_app
