#include "chat_pane.h"

#include <QDateTime>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>

namespace meeting_app {

ChatPane::ChatPane(QWidget* parent) : QWidget(parent) {
  setObjectName("chatPane");
  view_ = new QListWidget(this);
  view_->setObjectName("chatView");
  // One line per message, all of one height: appending stays cheap however
  // long the history grows (a wrapped list lays every row out again).
  view_->setUniformItemSizes(true);
  view_->setTextElideMode(Qt::ElideRight);
  input_ = new QLineEdit(this);
  input_->setObjectName("chatInput");
  input_->setPlaceholderText(tr("Type a message and press Enter"));
  send_ = new QPushButton(tr("Send"), this);
  send_->setObjectName("sendButton");
  recall_ = new QPushButton(tr("Recall my last"), this);
  recall_->setObjectName("recallButton");
  recall_->setEnabled(false);

  auto* title = new QLabel(tr("<b>Chat</b>"), this);
  auto* row = new QHBoxLayout;
  row->addWidget(input_, 1);
  row->addWidget(send_);
  row->addWidget(recall_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(title);
  layout->addWidget(view_, 1);
  layout->addLayout(row);

  connect(input_, &QLineEdit::returnPressed, this, &ChatPane::submit);
  connect(send_, &QPushButton::clicked, this, &ChatPane::submit);
  connect(recall_, &QPushButton::clicked, this, &ChatPane::recallRequested);
}

void ChatPane::submit() {
  const QString text = input_->text().trimmed();
  if (text.isEmpty()) return;
  input_->clear();
  emit sendRequested(text);
}

void ChatPane::addMessages(const QList<ChatLine>& lines) {
  const bool atBottom = view_->verticalScrollBar()->value() == view_->verticalScrollBar()->maximum();
  for (const ChatLine& line : lines) {
    if (line.messageUuid.isEmpty() || items_.contains(line.messageUuid)) continue;
    const QString when = QDateTime::fromMSecsSinceEpoch(line.time).toString("HH:mm");
    const QString who = line.mine ? tr("Me") : line.fromName;
    auto* item = new QListWidgetItem(QStringLiteral("[%1] %2: %3").arg(when, who, line.text), view_);
    item->setData(Qt::UserRole, line.messageUuid);
    if (line.mine) item->setForeground(QColor(0x1f, 0x4e, 0x9c));
    item->setToolTip(line.text);
    items_.insert(line.messageUuid, item);
  }
  if (atBottom && !scrollPending_) {
    // Once per burst, after the event loop has had its turn.
    scrollPending_ = true;
    QTimer::singleShot(0, this, [this] {
      scrollPending_ = false;
      view_->scrollToBottom();
    });
  }
}

void ChatPane::markRecalled(const QString& messageUuid) {
  QListWidgetItem* item = items_.value(messageUuid);
  if (!item) return;
  const QString text = item->text();
  const int colon = text.indexOf(": ");
  item->setText(text.left(colon < 0 ? text.size() : colon) + tr(": (message recalled)"));
  item->setForeground(QColor(0x80, 0x80, 0x80));
}

void ChatPane::setRecallEnabled(bool enabled) { recall_->setEnabled(enabled); }

void ChatPane::showNotice(const QString& text) {
  auto* item = new QListWidgetItem(text, view_);
  item->setForeground(QColor(0xb0, 0x2a, 0x2a));
  view_->scrollToBottom();
}

void ChatPane::clearHistory() {
  view_->clear();
  items_.clear();
  input_->clear();
  recall_->setEnabled(false);
}

}  // namespace meeting_app
