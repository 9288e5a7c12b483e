// The app's window: sign in, home, and the meeting, one page at a time.
// It starts the library on creation and stops it when closed.
#pragma once

#include <QMainWindow>

namespace meeting_app {

class AppSession;
class HomePage;
class MeetingClient;
class MeetingPage;
class SignInPage;

class MainWindow : public QMainWindow {
  Q_OBJECT
 public:
  explicit MainWindow(QWidget* parent = nullptr);
  ~MainWindow() override;

 private:
  void showPage(QWidget* page);

  AppSession* session_;
  MeetingClient* client_ = nullptr;
  SignInPage* signIn_;
  HomePage* home_ = nullptr;
  MeetingPage* meeting_ = nullptr;
};

}  // namespace meeting_app
