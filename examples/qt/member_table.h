// The member list of the meeting window: one row per member, kept up to date
// from the client's events. Rows are found by member uuid (Qt::UserRole).
#pragma once

#include <QHash>
#include <QTreeWidget>

#include "meeting_types.h"

namespace meeting_app {

class MemberTable : public QTreeWidget {
  Q_OBJECT
 public:
  enum Column { kName, kRole, kMicrophone, kCamera, kSharing, kHand, kColumnCount };

  explicit MemberTable(QWidget* parent = nullptr);

  void setLocalUuid(const QString& uuid) { localUuid_ = uuid; }
  // The meeting's host; the other rows read "member".
  void setHostUuid(const QString& uuid);
  // Adds the member, or refreshes the row of one already listed.
  void upsert(const MemberState& member);
  void remove(const QString& uuid);
  void setAudio(const QString& uuid, bool on);
  void setVideo(const QString& uuid, bool on);
  void setSharing(const QString& uuid, bool sharing);
  void setHand(const QString& uuid, bool up);
  void clearMembers();

  bool contains(const QString& uuid) const { return states_.contains(uuid); }
  const MemberState* state(const QString& uuid) const;
  // The uuid of the selected row, or "".
  QString selectedUuid() const;

 private:
  void render(QTreeWidgetItem* item, const MemberState& s);
  void update(const QString& uuid, void (*change)(MemberState&, bool), bool value);

  QString localUuid_;
  QString hostUuid_;
  QHash<QString, QTreeWidgetItem*> rows_;
  QHash<QString, MemberState> states_;
};

}  // namespace meeting_app
