#include "waiting_room_panel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace meeting_app {

WaitingRoomPanel::WaitingRoomPanel(QWidget* parent) : QWidget(parent) {
  setObjectName("waitingRoomPanel");
  title_ = new QLabel(this);
  title_->setObjectName("waitingTitle");
  list_ = new QListWidget(this);
  list_->setObjectName("waitingList");
  admit_ = new QPushButton(tr("Admit"), this);
  admit_->setObjectName("admitButton");
  expel_ = new QPushButton(tr("Send away"), this);
  expel_->setObjectName("expelButton");
  admitAll_ = new QPushButton(tr("Admit all"), this);
  admitAll_->setObjectName("admitAllButton");

  auto* row = new QHBoxLayout;
  row->addWidget(admit_);
  row->addWidget(expel_);
  row->addWidget(admitAll_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(title_);
  layout->addWidget(list_, 1);
  layout->addLayout(row);

  connect(admit_, &QPushButton::clicked, this, [this] {
    const QString uuid = selectedUuid();
    if (!uuid.isEmpty()) emit admitRequested(uuid);
  });
  connect(expel_, &QPushButton::clicked, this, [this] {
    const QString uuid = selectedUuid();
    if (!uuid.isEmpty()) emit expelRequested(uuid);
  });
  connect(admitAll_, &QPushButton::clicked, this, &WaitingRoomPanel::admitAllRequested);
  connect(list_, &QListWidget::itemSelectionChanged, this, &WaitingRoomPanel::refresh);
  refresh();
}

void WaitingRoomPanel::addGuest(const WaitingGuest& guest) {
  for (int i = 0; i < list_->count(); ++i) {
    if (list_->item(i)->data(Qt::UserRole).toString() == guest.uuid) {
      list_->item(i)->setText(guest.name);
      return;
    }
  }
  auto* item = new QListWidgetItem(guest.name, list_);
  item->setData(Qt::UserRole, guest.uuid);
  refresh();
}

void WaitingRoomPanel::removeGuest(const QString& uuid) {
  for (int i = 0; i < list_->count(); ++i) {
    if (list_->item(i)->data(Qt::UserRole).toString() == uuid) {
      const bool wasSelected = list_->item(i)->isSelected();
      delete list_->takeItem(i);
      // Never leave a neighbour selected in its place: the next click on
      // Admit or Send away must concern someone the host picked.
      if (wasSelected) {
        list_->setCurrentItem(nullptr);
        list_->clearSelection();
      }
      break;
    }
  }
  refresh();
}

void WaitingRoomPanel::clearGuests() {
  list_->clear();
  refresh();
}

void WaitingRoomPanel::setHostControls(bool enabled) {
  host_ = enabled;
  refresh();
}

int WaitingRoomPanel::guestCount() const { return list_->count(); }

QString WaitingRoomPanel::selectedUuid() const {
  const auto items = list_->selectedItems();
  return items.isEmpty() ? QString() : items.first()->data(Qt::UserRole).toString();
}

void WaitingRoomPanel::refresh() {
  title_->setText(tr("<b>Waiting room</b> (%1)").arg(list_->count()));
  const bool selected = !selectedUuid().isEmpty();
  admit_->setEnabled(host_ && selected);
  expel_->setEnabled(host_ && selected);
  admitAll_->setEnabled(host_ && list_->count() > 0);
}

}  // namespace meeting_app
