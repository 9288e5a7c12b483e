// The first page: sign in with one of the service's accounts.
#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;
class QPushButton;

namespace meeting_app {

class SignInPage : public QWidget {
  Q_OBJECT
 public:
  explicit SignInPage(QWidget* parent = nullptr);
  void setBusy(bool busy);
  void showError(const QString& text);
  void reset();

 signals:
  void signInRequested(const QString& username, const QString& password);

 private:
  QLineEdit* user_;
  QLineEdit* password_;
  QPushButton* signIn_;
  QLabel* status_;
};

}  // namespace meeting_app
