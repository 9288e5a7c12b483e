#include "member_table.h"

#include <QBrush>
#include <QHeaderView>

namespace meeting_app {

MemberTable::MemberTable(QWidget* parent) : QTreeWidget(parent) {
  setObjectName("memberTable");
  setColumnCount(kColumnCount);
  setHeaderLabels({tr("Name"), tr("Role"), tr("Microphone"), tr("Camera"), tr("Sharing"), tr("Hand")});
  setRootIsDecorated(false);
  setUniformRowHeights(true);
  setAlternatingRowColors(true);
  setSelectionMode(QAbstractItemView::SingleSelection);
  header()->setSectionResizeMode(kName, QHeaderView::Stretch);
  for (int c = kRole; c < kColumnCount; ++c) header()->setSectionResizeMode(c, QHeaderView::ResizeToContents);
}

void MemberTable::upsert(const MemberState& member) {
  auto it = rows_.find(member.uuid);
  QTreeWidgetItem* item = nullptr;
  if (it == rows_.end()) {
    item = new QTreeWidgetItem(this);
    item->setData(kName, Qt::UserRole, member.uuid);
    rows_.insert(member.uuid, item);
  } else {
    item = it.value();
  }
  states_[member.uuid] = member;
  render(item, member);
}

void MemberTable::remove(const QString& uuid) {
  auto it = rows_.find(uuid);
  if (it == rows_.end()) return;
  const bool wasSelected = it.value()->isSelected();
  delete it.value();
  rows_.erase(it);
  states_.remove(uuid);
  // Qt would move the selection to a neighbour; a host acting on "the
  // selected member" must never act on someone they did not pick.
  if (wasSelected) {
    setCurrentItem(nullptr);
    clearSelection();
  }
}

void MemberTable::update(const QString& uuid, void (*change)(MemberState&, bool), bool value) {
  auto it = states_.find(uuid);
  if (it == states_.end()) return;
  const MemberState before = it.value();
  change(it.value(), value);
  if (!(it.value() == before)) render(rows_.value(uuid), it.value());
}

void MemberTable::setAudio(const QString& uuid, bool on) {
  update(uuid, [](MemberState& s, bool v) { s.audioOn = v; }, on);
}
void MemberTable::setVideo(const QString& uuid, bool on) {
  update(uuid, [](MemberState& s, bool v) { s.videoOn = v; }, on);
}
void MemberTable::setSharing(const QString& uuid, bool sharing) {
  update(uuid, [](MemberState& s, bool v) { s.sharing = v; }, sharing);
}
void MemberTable::setHand(const QString& uuid, bool up) {
  update(uuid, [](MemberState& s, bool v) { s.handUp = v; }, up);
}

void MemberTable::setHostUuid(const QString& uuid) {
  if (uuid == hostUuid_) return;
  hostUuid_ = uuid;
  for (auto it = states_.begin(); it != states_.end(); ++it) render(rows_.value(it.key()), it.value());
}

void MemberTable::clearMembers() {
  clear();
  rows_.clear();
  states_.clear();
  hostUuid_.clear();
}

const MemberState* MemberTable::state(const QString& uuid) const {
  auto it = states_.find(uuid);
  return it == states_.end() ? nullptr : &it.value();
}

QString MemberTable::selectedUuid() const {
  const auto items = selectedItems();
  return items.isEmpty() ? QString() : items.first()->data(kName, Qt::UserRole).toString();
}

void MemberTable::render(QTreeWidgetItem* item, const MemberState& s) {
  item->setText(kName, s.uuid == localUuid_ ? tr("%1 (me)").arg(s.name) : s.name);
  item->setText(kRole, s.uuid == hostUuid_ ? tr("host") : tr("member"));
  item->setText(kMicrophone, s.audioOn ? tr("on") : tr("muted"));
  item->setText(kCamera, s.videoOn ? tr("on") : tr("off"));
  item->setText(kSharing, s.sharing ? tr("sharing") : QString());
  item->setText(kHand, s.handUp ? tr("raised") : QString());
  item->setForeground(kMicrophone, QBrush(s.audioOn ? QColor(0x1b, 0x7f, 0x3b) : QColor(0xb0, 0x2a, 0x2a)));
  item->setForeground(kCamera, QBrush(s.videoOn ? QColor(0x1b, 0x7f, 0x3b) : QColor(0x70, 0x70, 0x70)));
  item->setForeground(kHand, QBrush(QColor(0xc0, 0x7a, 0x00)));
  QFont f = item->font(kName);
  f.setBold(s.uuid == localUuid_);
  item->setFont(kName, f);
}

}  // namespace meeting_app
