#include "meeting_page.h"

#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSplitter>
#include <QTimer>
#include <QVBoxLayout>

#include "chat_pane.h"
#include "host_dispatcher.h"
#include "member_table.h"
#include "waiting_room_panel.h"

namespace meeting_app {

namespace {

QPushButton* makeButton(QWidget* parent, const QString& text, const char* name) {
  auto* b = new QPushButton(text, parent);
  b->setObjectName(name);
  return b;
}

QComboBox* makeCombo(QWidget* parent, const char* name) {
  auto* c = new QComboBox(parent);
  c->setObjectName(name);
  c->setSizeAdjustPolicy(QComboBox::AdjustToContents);
  return c;
}

}  // namespace

MeetingPage::MeetingPage(MeetingClient& client, HostDispatcher* dispatcher, QWidget* parent)
    : QWidget(parent), client_(client), dispatcher_(dispatcher) {
  setObjectName("meetingPage");
  title_ = new QLabel(this);
  title_->setObjectName("meetingTitle");
  members_ = new MemberTable(this);
  chat_ = new ChatPane(this);
  waiting_ = new WaitingRoomPanel(this);

  // My controls.
  mute_ = makeButton(this, QString(), "muteButton");
  camera_ = makeButton(this, QString(), "cameraButton");
  share_ = makeButton(this, QString(), "shareButton");
  hand_ = makeButton(this, QString(), "handButton");
  microphones_ = makeCombo(this, "microphoneCombo");
  speakers_ = makeCombo(this, "speakerCombo");
  cameras_ = makeCombo(this, "cameraCombo");
  auto* mine = new QGroupBox(tr("Me"), this);
  auto* mineButtons = new QHBoxLayout;
  for (QPushButton* b : {mute_, camera_, share_, hand_}) mineButtons->addWidget(b);
  auto* devices = new QFormLayout;
  devices->addRow(tr("Microphone"), microphones_);
  devices->addRow(tr("Speaker"), speakers_);
  devices->addRow(tr("Camera"), cameras_);
  auto* mineLayout = new QVBoxLayout(mine);
  mineLayout->addLayout(mineButtons);
  mineLayout->addLayout(devices);

  // The host's actions on the selected member and on everyone.
  hostBox_ = new QGroupBox(tr("Host: selected member"), this);
  auto* grid = new QGridLayout(hostBox_);
  using A = MeetingClient::HostAction;
  grid->addWidget(hostButton(tr("Mute mic"), "hostMuteAudioButton", A::MuteAudio), 0, 0);
  grid->addWidget(hostButton(tr("Unmute mic"), "hostUnmuteAudioButton", A::UnmuteAudio), 0, 1);
  grid->addWidget(hostButton(tr("Stop camera"), "hostMuteVideoButton", A::MuteVideo), 1, 0);
  grid->addWidget(hostButton(tr("Start camera"), "hostUnmuteVideoButton", A::UnmuteVideo), 1, 1);
  grid->addWidget(hostButton(tr("Lower hand"), "hostLowerHandButton", A::LowerHand), 2, 0);
  grid->addWidget(hostButton(tr("Stop share"), "hostStopShareButton", A::StopShare), 2, 1);
  auto* muteAll = makeButton(hostBox_, tr("Mute everyone"), "muteAllButton");
  grid->addWidget(muteAll, 3, 0, 1, 2);
  connect(muteAll, &QPushButton::clicked, this, [this] { client_.muteAll(); });

  status_ = new QLabel(this);
  status_->setObjectName("statusLine");
  status_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  leave_ = makeButton(this, tr("Leave"), "leaveButton");
  end_ = makeButton(this, tr("End for all"), "endButton");
  end_->setStyleSheet("color: #b02a2a");

  // Layout: members and chat side by side, controls on the right.
  auto* left = new QSplitter(Qt::Vertical, this);
  left->addWidget(members_);
  left->addWidget(chat_);
  left->setStretchFactor(0, 3);
  left->setStretchFactor(1, 2);
  auto* right = new QVBoxLayout;
  right->addWidget(mine);
  right->addWidget(hostBox_);
  right->addWidget(waiting_, 1);
  auto* middle = new QHBoxLayout;
  middle->addWidget(left, 3);
  middle->addLayout(right, 2);
  auto* top = new QHBoxLayout;
  top->addWidget(title_, 1);
  top->addWidget(leave_);
  top->addWidget(end_);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(top);
  layout->addLayout(middle, 1);
  layout->addWidget(status_);

  // My controls act on my own row's state.
  connect(mute_, &QPushButton::clicked, this, [this] {
    const MemberState* me = members_->state(client_.localUuid());
    client_.setMicrophoneOn(!(me && me->audioOn));
  });
  connect(camera_, &QPushButton::clicked, this, [this] {
    const MemberState* me = members_->state(client_.localUuid());
    client_.setCameraOn(!(me && me->videoOn));
  });
  connect(share_, &QPushButton::clicked, this, [this] {
    const MemberState* me = members_->state(client_.localUuid());
    client_.setSharing(!(me && me->sharing));
  });
  connect(hand_, &QPushButton::clicked, this, [this] {
    const MemberState* me = members_->state(client_.localUuid());
    client_.setHandUp(!(me && me->handUp));
  });
  connect(microphones_, &QComboBox::activated, this, [this](int i) {
    if (!fillingDevices_) client_.chooseMicrophone(microphones_->itemData(i).toString());
  });
  connect(speakers_, &QComboBox::activated, this, [this](int i) {
    if (!fillingDevices_) client_.chooseSpeaker(speakers_->itemData(i).toString());
  });
  connect(cameras_, &QComboBox::activated, this, [this](int i) {
    if (!fillingDevices_) client_.chooseCamera(cameras_->itemData(i).toString());
  });
  connect(leave_, &QPushButton::clicked, this, [this] { client_.leaveMeeting(false); });
  connect(end_, &QPushButton::clicked, this, [this] { client_.leaveMeeting(true); });

  // Chat and waiting room.
  connect(chat_, &ChatPane::sendRequested, this, [this](const QString& text) { client_.sendChat(text); });
  connect(chat_, &ChatPane::recallRequested, this, [this] { client_.recallLastMessage(); });
  connect(waiting_, &WaitingRoomPanel::admitRequested, this, [this](const QString& u) { client_.admit(u); });
  connect(waiting_, &WaitingRoomPanel::expelRequested, this, [this](const QString& u) { client_.expel(u); });
  connect(waiting_, &WaitingRoomPanel::admitAllRequested, this, [this] { client_.admitAll(); });

  // The client's events.
  connect(&client_, &MeetingClient::memberJoined, this, [this](const MemberState& m) {
    members_->upsert(m);
    refreshMyControls();
    refreshStatus();
  });
  connect(&client_, &MeetingClient::memberLeft, this, [this](const QString& uuid) {
    members_->remove(uuid);
    refreshStatus();
  });
  auto mine_changed = [this](const QString& uuid) {
    if (uuid == client_.localUuid()) refreshMyControls();
  };
  connect(&client_, &MeetingClient::audioChanged, this, [this, mine_changed](const QString& u, bool on) {
    members_->setAudio(u, on);
    mine_changed(u);
  });
  connect(&client_, &MeetingClient::videoChanged, this, [this, mine_changed](const QString& u, bool on) {
    members_->setVideo(u, on);
    mine_changed(u);
  });
  connect(&client_, &MeetingClient::sharingChanged, this, [this, mine_changed](const QString& u, bool on) {
    members_->setSharing(u, on);
    mine_changed(u);
  });
  connect(&client_, &MeetingClient::handChanged, this, [this, mine_changed](const QString& u, bool up) {
    members_->setHand(u, up);
    mine_changed(u);
  });
  connect(&client_, &MeetingClient::meetingInfoUpdated, this, &MeetingPage::updateInfo);
  connect(&client_, &MeetingClient::chatReceived, chat_, &ChatPane::addMessages);
  connect(&client_, &MeetingClient::chatRecalled, chat_, &ChatPane::markRecalled);
  connect(&client_, &MeetingClient::canRecallChanged, chat_, &ChatPane::setRecallEnabled);
  connect(&client_, &MeetingClient::guestArrived, waiting_, &WaitingRoomPanel::addGuest);
  connect(&client_, &MeetingClient::guestGone, waiting_, &WaitingRoomPanel::removeGuest);
  connect(&client_, &MeetingClient::devicesLoaded, this, &MeetingPage::fillDevices);
  connect(&client_, &MeetingClient::statsUpdated, this, [this](const RtcSummary& s) {
    stats_ = s;
    refreshStatus();
  });
  connect(&client_, &MeetingClient::operationFailed, this, [this](const QString& what, const QString& why) {
    chat_->showNotice(tr("%1 failed: %2").arg(what, why));
  });
  if (dispatcher_) connect(dispatcher_, &HostDispatcher::statsChanged, this, &MeetingPage::refreshStatus);
  refreshMyControls();
}

QPushButton* MeetingPage::hostButton(const QString& text, const char* name, MeetingClient::HostAction action) {
  auto* b = makeButton(hostBox_, text, name);
  connect(b, &QPushButton::clicked, this, [this, action] {
    const QString uuid = members_->selectedUuid();
    if (!uuid.isEmpty()) client_.actOnMember(action, uuid);
  });
  return b;
}

void MeetingPage::begin(const QString& meetingNum, const QString& subject, bool isHost) {
  members_->setLocalUuid(client_.localUuid());
  stats_ = RtcSummary();
  updateInfo(meetingNum, subject, isHost ? client_.localUuid() : QString(), isHost);
  client_.loadDevices();
  // The figure in the status line counts from the meeting's first moments
  // on (after this turn, which also lays the page out).
  if (dispatcher_) QTimer::singleShot(0, dispatcher_, &HostDispatcher::resetStats);
}

void MeetingPage::updateInfo(const QString& meetingNum, const QString& subject, const QString& hostUuid, bool isHost) {
  isHost_ = isHost;
  title_->setText(tr("<b>%1</b>   meeting number %2").arg(subject.toHtmlEscaped(), meetingNum));
  members_->setHostUuid(hostUuid);
  hostBox_->setVisible(isHost);
  end_->setVisible(isHost);
  waiting_->setHostControls(isHost);
  refreshMyControls();
  refreshStatus();
}

void MeetingPage::end() {
  members_->clearMembers();
  chat_->clearHistory();
  waiting_->clearGuests();
  title_->clear();
}

void MeetingPage::refreshMyControls() {
  const MemberState* me = members_->state(client_.localUuid());
  const bool in = me != nullptr;
  mute_->setText(in && me->audioOn ? tr("Mute") : tr("Unmute"));
  camera_->setText(in && me->videoOn ? tr("Stop camera") : tr("Start camera"));
  share_->setText(in && me->sharing ? tr("Stop sharing") : tr("Share screen"));
  hand_->setText(in && me->handUp ? tr("Lower hand") : tr("Raise hand"));
  for (QPushButton* b : {mute_, camera_, share_, hand_}) b->setEnabled(in);
}

void MeetingPage::fillDevices(const QString& kind, const QList<Device>& devices, const QString& current) {
  QComboBox* combo = kind == "microphone" ? microphones_ : kind == "speaker" ? speakers_ : cameras_;
  fillingDevices_ = true;
  combo->clear();
  for (const Device& d : devices) {
    combo->addItem(d.name, d.id);
    if (d.id == current) combo->setCurrentIndex(combo->count() - 1);
  }
  fillingDevices_ = false;
}

void MeetingPage::refreshStatus() {
  QStringList parts;
  parts << tr("%n member(s)", nullptr, members_->topLevelItemCount());
  parts << tr("%1 s").arg(stats_.durationSeconds);
  parts << tr("up %1 kbps, down %2 kbps").arg(stats_.txKbps).arg(stats_.rxKbps);
  parts << tr("mic %1 kbps, camera %2 kbps").arg(stats_.localAudioKbps).arg(stats_.localVideoKbps);
  if (stats_.worstQuality > 0) parts << tr("network %1").arg(stats_.worstQuality);
  parts << (isHost_ ? tr("host") : tr("member"));
  if (dispatcher_) {
    parts << dispatcher_->modeText();
    parts << tr("longest dispatch %1 ms").arg(dispatcher_->longestBlockMs(), 0, 'f', 1);
  }
  status_->setText(parts.join(QStringLiteral("  ·  ")));
}

}  // namespace meeting_app
