#include "home_page.h"

#include <QDateTime>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace meeting_app {

HomePage::HomePage(QWidget* parent) : QWidget(parent) {
  setObjectName("homePage");
  welcome_ = new QLabel(this);
  welcome_->setObjectName("welcomeLabel");
  start_ = new QPushButton(tr("Start a meeting"), this);
  start_->setObjectName("startMeetingButton");
  number_ = new QLineEdit(this);
  number_->setObjectName("meetingNumberEdit");
  number_->setPlaceholderText(tr("Meeting number"));
  join_ = new QPushButton(tr("Join"), this);
  join_->setObjectName("joinMeetingButton");
  subject_ = new QLineEdit(this);
  subject_->setObjectName("scheduleSubjectEdit");
  subject_->setPlaceholderText(tr("Subject of a new meeting"));
  schedule_ = new QPushButton(tr("Schedule"), this);
  schedule_->setObjectName("scheduleButton");
  scheduled_ = new QListWidget(this);
  scheduled_->setObjectName("scheduledList");
  cancel_ = new QPushButton(tr("Cancel the selected meeting"), this);
  cancel_->setObjectName("cancelScheduledButton");
  signOut_ = new QPushButton(tr("Sign out"), this);
  signOut_->setObjectName("signOutButton");
  status_ = new QLabel(this);
  status_->setObjectName("homeStatus");

  auto* joinRow = new QHBoxLayout;
  joinRow->addWidget(number_, 1);
  joinRow->addWidget(join_);
  auto* now = new QGroupBox(tr("Meet now"), this);
  auto* nowLayout = new QVBoxLayout(now);
  nowLayout->addWidget(start_);
  nowLayout->addLayout(joinRow);

  auto* scheduleRow = new QHBoxLayout;
  scheduleRow->addWidget(subject_, 1);
  scheduleRow->addWidget(schedule_);
  auto* later = new QGroupBox(tr("Scheduled meetings"), this);
  auto* laterLayout = new QVBoxLayout(later);
  laterLayout->addLayout(scheduleRow);
  laterLayout->addWidget(scheduled_, 1);
  laterLayout->addWidget(cancel_);

  auto* top = new QHBoxLayout;
  top->addWidget(welcome_, 1);
  top->addWidget(signOut_);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(top);
  layout->addWidget(now);
  layout->addWidget(later, 1);
  layout->addWidget(status_);

  connect(start_, &QPushButton::clicked, this, &HomePage::startRequested);
  auto join = [this] {
    const QString num = number_->text().trimmed();
    if (!num.isEmpty()) emit joinRequested(num);
  };
  connect(join_, &QPushButton::clicked, this, join);
  connect(number_, &QLineEdit::returnPressed, this, join);
  auto schedule = [this] {
    emit scheduleRequested(subject_->text().trimmed());
    subject_->clear();
  };
  connect(schedule_, &QPushButton::clicked, this, schedule);
  connect(subject_, &QLineEdit::returnPressed, this, schedule);
  connect(cancel_, &QPushButton::clicked, this, [this] {
    const auto items = scheduled_->selectedItems();
    if (!items.isEmpty()) emit cancelRequested(items.first()->data(Qt::UserRole).toLongLong());
  });
  connect(signOut_, &QPushButton::clicked, this, &HomePage::signOutRequested);
}

void HomePage::setWelcome(const QString& nickname) { welcome_->setText(tr("<h2>Hello, %1</h2>").arg(nickname)); }

void HomePage::setSchedule(const QList<ScheduledMeeting>& meetings) {
  scheduled_->clear();
  for (const ScheduledMeeting& m : meetings) {
    const QString when = QDateTime::fromMSecsSinceEpoch(m.startTime).toString("yyyy-MM-dd HH:mm");
    auto* item = new QListWidgetItem(QStringLiteral("%1  %2  (%3)").arg(when, m.subject, m.meetingNum), scheduled_);
    item->setData(Qt::UserRole, m.meetingId);
  }
}

void HomePage::setStatus(const QString& text) { status_->setText(text); }

void HomePage::setBusy(bool busy) {
  start_->setEnabled(!busy);
  join_->setEnabled(!busy);
}

}  // namespace meeting_app
