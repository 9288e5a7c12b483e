// The library's session for the app: initialises it in host dispatch mode
// (callbacks wait for the GUI thread), owns the managers, and the
// dispatcher that runs the callbacks on Qt's event loop.
#pragma once

#include <QObject>
#include <QString>
#include <memory>

namespace meeting_app {

class HostDispatcher;

class AppSession : public QObject {
  Q_OBJECT
 public:
  explicit AppSession(QObject* parent = nullptr);
  ~AppSession() override;

  // Starts the library; answers false (see error()) when it could not.
  bool start();
  void stop();
  bool running() const;
  QString error() const { return error_; }
  HostDispatcher* dispatcher() const { return dispatcher_; }
  QString modeText() const;

  struct Impl;
  Impl& impl() { return *impl_; }

 private:
  std::unique_ptr<Impl> impl_;
  HostDispatcher* dispatcher_ = nullptr;
  QString error_;
};

}  // namespace meeting_app
