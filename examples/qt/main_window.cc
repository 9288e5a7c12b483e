#include "main_window.h"

#include <QStackedWidget>
#include <QStatusBar>

#include "app_session.h"
#include "home_page.h"
#include "meeting_client.h"
#include "meeting_page.h"
#include "sign_in_page.h"

namespace meeting_app {

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent), session_(new AppSession(this)) {
  setObjectName("mainWindow");
  setWindowTitle(tr("Morvanta Meeting"));
  resize(1100, 720);
  auto* stack = new QStackedWidget(this);
  stack->setObjectName("pages");
  setCentralWidget(stack);
  signIn_ = new SignInPage(stack);
  stack->addWidget(signIn_);
  showPage(signIn_);

  if (!session_->start()) {
    signIn_->showError(session_->error());
    signIn_->setEnabled(false);
    return;
  }
  client_ = new MeetingClient(*session_, this);
  home_ = new HomePage(stack);
  meeting_ = new MeetingPage(*client_, session_->dispatcher(), stack);
  stack->addWidget(home_);
  stack->addWidget(meeting_);

  connect(signIn_, &SignInPage::signInRequested, client_, &MeetingClient::signIn);
  connect(client_, &MeetingClient::signInFailed, signIn_, &SignInPage::showError);
  connect(client_, &MeetingClient::signedIn, this, [this](const QString& nickname) {
    signIn_->reset();
    home_->setWelcome(nickname);
    home_->setStatus(QString());
    showPage(home_);
  });
  connect(home_, &HomePage::signOutRequested, client_, &MeetingClient::signOut);
  connect(client_, &MeetingClient::signedOut, this, [this] { showPage(signIn_); });

  connect(home_, &HomePage::startRequested, this, [this] {
    home_->setBusy(true);
    home_->setStatus(tr("Starting a meeting..."));
    client_->startMeeting();
  });
  connect(home_, &HomePage::joinRequested, this, [this](const QString& num) {
    home_->setBusy(true);
    home_->setStatus(tr("Joining %1...").arg(num));
    client_->joinMeeting(num);
  });
  connect(home_, &HomePage::scheduleRequested, client_, &MeetingClient::scheduleMeeting);
  connect(home_, &HomePage::cancelRequested, client_, &MeetingClient::cancelScheduled);
  connect(client_, &MeetingClient::scheduleLoaded, home_, &HomePage::setSchedule);
  connect(client_, &MeetingClient::operationFailed, this, [this](const QString& what, const QString& why) {
    if (!client_->inMeeting()) {
      home_->setBusy(false);
      home_->setStatus(tr("%1: %2").arg(what, why));
    }
  });
  connect(client_, &MeetingClient::meetingFailed, this, [this](const QString& why) {
    home_->setBusy(false);
    home_->setStatus(tr("The meeting could not start: %1").arg(why));
  });
  connect(client_, &MeetingClient::meetingEntered, this,
          [this](const QString& num, const QString& subject, bool isHost) {
            home_->setBusy(false);
            home_->setStatus(QString());
            meeting_->begin(num, subject, isHost);
            showPage(meeting_);
          });
  connect(client_, &MeetingClient::meetingLeft, this, [this](const QString& reason) {
    meeting_->end();
    home_->setStatus(tr("The meeting is over for you (%1)").arg(reason));
    showPage(home_);
  });
}

MainWindow::~MainWindow() {
  // The client stops listening, the session ends (running the answers still
  // queued, which the client hears), and only then does the client go.
  if (client_) client_->shutdown();
  session_->stop();
  delete client_;
  client_ = nullptr;
}

void MainWindow::showPage(QWidget* page) {
  auto* stack = static_cast<QStackedWidget*>(centralWidget());
  stack->setCurrentWidget(page);
}

}  // namespace meeting_app
