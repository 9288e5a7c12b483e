#include "sign_in_page.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace meeting_app {

SignInPage::SignInPage(QWidget* parent) : QWidget(parent) {
  setObjectName("signInPage");
  auto* title = new QLabel(tr("<h2>Sign in</h2>"), this);
  user_ = new QLineEdit(this);
  user_->setObjectName("usernameEdit");
  password_ = new QLineEdit(this);
  password_->setObjectName("passwordEdit");
  password_->setEchoMode(QLineEdit::Password);
  signIn_ = new QPushButton(tr("Sign in"), this);
  signIn_->setObjectName("signInButton");
  signIn_->setDefault(true);
  status_ = new QLabel(this);
  status_->setObjectName("signInStatus");
  auto* hint = new QLabel(tr("Sandbox accounts: alice / alice-password, bob / bob-password"), this);
  hint->setStyleSheet("color: gray");

  auto* form = new QFormLayout;
  form->addRow(tr("User name"), user_);
  form->addRow(tr("Password"), password_);
  auto* layout = new QVBoxLayout(this);
  layout->addStretch(1);
  layout->addWidget(title);
  layout->addLayout(form);
  layout->addWidget(signIn_);
  layout->addWidget(status_);
  layout->addWidget(hint);
  layout->addStretch(2);

  auto submit = [this] {
    if (user_->text().trimmed().isEmpty()) {
      showError(tr("Enter a user name"));
      return;
    }
    setBusy(true);
    emit signInRequested(user_->text().trimmed(), password_->text());
  };
  connect(signIn_, &QPushButton::clicked, this, submit);
  connect(password_, &QLineEdit::returnPressed, this, submit);
  connect(user_, &QLineEdit::returnPressed, password_, qOverload<>(&QWidget::setFocus));
}

void SignInPage::setBusy(bool busy) {
  signIn_->setEnabled(!busy);
  if (busy) status_->setText(tr("Signing in..."));
}

void SignInPage::showError(const QString& text) {
  setBusy(false);
  status_->setText(text);
}

void SignInPage::reset() {
  setBusy(false);
  password_->clear();
  status_->clear();
}

}  // namespace meeting_app
