#include "app_session.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>
#include <cstdio>
#include <mutex>

#include "app_session_impl.h"
#include "host_dispatcher.h"

namespace meeting_app {

namespace {

// The library's lines go to a log file, not the terminal the app runs in.
// The handler may run on any of the library's threads.
struct LibraryLog {
  std::mutex m;
  FILE* file = nullptr;
};

LibraryLog& libraryLog() {
  static LibraryLog* log = new LibraryLog;  // lives as long as the process: lines may come late
  return *log;
}

QString logFolder() {
  QString dir = QDir::temp().filePath(QStringLiteral("morvanta-meeting"));
  QDir().mkpath(dir);
  return dir;
}

}  // namespace

AppSession::AppSession(QObject* parent) : QObject(parent), impl_(std::make_unique<Impl>()) {}

AppSession::~AppSession() { stop(); }

bool AppSession::running() const { return impl_->session.valid(); }

bool AppSession::start() {
  if (running()) return true;
  const QString folder = logFolder();
  morvanta::SessionOptions options;
  options.appKey = "morvanta-meeting-desktop";
  options.logPath = folder.toStdString();
  // Callbacks and listener calls wait for the GUI thread, which runs them
  // when the dispatcher sees the library's descriptor readable.
  options.dispatchMode = morvanta::DispatchMode::Host;
  if (qEnvironmentVariableIsEmpty("MORVANTA_MEETING_LOG_TO_TERMINAL")) {
    LibraryLog& log = libraryLog();
    {
      std::lock_guard<std::mutex> lock(log.m);
      if (!log.file) log.file = std::fopen(QDir(folder).filePath("library.log").toLocal8Bit().constData(), "a");
    }
    options.logHandler = [&log](morvanta::LogLevel, std::string_view line) {
      std::lock_guard<std::mutex> lock(log.m);
      if (!log.file) return;
      std::fwrite(line.data(), 1, line.size(), log.file);
      std::fputc('\n', log.file);
      std::fflush(log.file);
    };
  }
  auto created = morvanta::Session::create(options);
  if (!created.ok() || !created.value) {
    error_ = tr("The meeting library did not start: %1 (code %2)")
                 .arg(QString::fromStdString(created.message))
                 .arg(created.code);
    return false;
  }
  // The descriptor exists once host dispatch is chosen, which create() did.
  if (!dispatcher_) {
    dispatcher_ = new HostDispatcher(morvanta::Session::dispatchFd(),
                                     [](int max) { return morvanta::Session::dispatch(max); }, this);
  }
  Impl& i = *impl_;
  i.session = std::move(*created.value);
  i.account = i.session.account();
  i.audio = i.session.audio();
  i.video = i.session.video();
  i.chat = i.session.chatroom();
  i.meeting = i.session.meeting();
  i.member = i.session.member();
  i.preMeeting = i.session.preMeeting();
  i.share = i.session.screenShare();
  i.waitingRoom = i.session.waitingRoom();
  dispatcher_->setModeText(modeText());
  return true;
}

void AppSession::stop() {
  if (!running()) return;
  // Managers before the session; then answers still queued (some calls are
  // answered by the shutdown itself) run while whoever asked still listens.
  morvanta::Session session = std::move(impl_->session);
  *impl_ = Impl();
  session.close();
  if (dispatcher_) dispatcher_->drain();
}

QString AppSession::modeText() const {
  const QString bridge = morvanta::Session::bridgeMode() == morvanta::BridgeMode::Concurrent ? tr("concurrent bridge")
                                                                                            : tr("compatible bridge");
  const QString dispatch = morvanta::Session::dispatchMode() == morvanta::DispatchMode::Host ? tr("host dispatch")
                                                                                 : tr("worker dispatch");
  return bridge + QStringLiteral(", ") + dispatch;
}

}  // namespace meeting_app
