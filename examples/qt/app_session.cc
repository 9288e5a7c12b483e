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
struct LibraryLog {
  std::mutex m;
  FILE* file = nullptr;
};

LibraryLog& libraryLog() {
  static LibraryLog log;
  return log;
}

void writeLibraryLine(int32_t, const char* line, void* user_data) {
  auto* log = static_cast<LibraryLog*>(user_data);
  std::lock_guard<std::mutex> lock(log->m);
  if (log->file) {
    std::fputs(line, log->file);
    std::fputc('\n', log->file);
    std::fflush(log->file);
  }
}

QString logFolder() {
  QString dir = QDir::temp().filePath(QStringLiteral("morvanta-meeting"));
  QDir().mkpath(dir);
  return dir;
}

}  // namespace

AppSession::AppSession(QObject* parent) : QObject(parent), impl_(std::make_unique<Impl>()) {}

AppSession::~AppSession() { stop(); }

bool AppSession::running() const { return impl_->sdk != nullptr; }

bool AppSession::start() {
  if (running()) return true;
  const QString folder = logFolder();
  LibraryLog& log = libraryLog();
  {
    std::lock_guard<std::mutex> lock(log.m);
    if (!log.file) log.file = std::fopen(QDir(folder).filePath("library.log").toLocal8Bit().constData(), "a");
  }
  if (qEnvironmentVariableIsEmpty("MORVANTA_MEETING_LOG_TO_TERMINAL")) Morvanta_SetLogHandler(writeLibraryLine, &log);

  const QByteArray logPath = folder.toUtf8();
  MorvantaInitConfig config{};
  config.app_key = "morvanta-meeting-desktop";
  config.log_path = logPath.constData();
  config.use_asset_server_config = -1;
  config.debug = -1;
  // Callbacks and listener calls wait for the GUI thread, which runs them
  // when the dispatcher sees the library's descriptor readable.
  Morvanta_SetDispatchMode(MORVANTA_DISPATCH_HOST);
  if (!dispatcher_) {
    dispatcher_ = new HostDispatcher(Morvanta_GetDispatchFd(), [](int max) { return Morvanta_Dispatch(max); }, this);
  }
  MorvantaSDK_T* sdk = nullptr;
  const int32_t rc = Morvanta_Initialize(&config, &sdk);
  if (rc != 0 || !sdk) {
    error_ = tr("The meeting library did not start (code %1)").arg(rc);
    return false;
  }
  dispatcher_->setModeText(modeText());
  Impl& i = *impl_;
  i.sdk = sdk;
  i.account = Morvanta_GetAccountManager(sdk);
  i.audio = Morvanta_GetAudioManager(sdk);
  i.video = Morvanta_GetVideoManager(sdk);
  i.chat = Morvanta_GetChatroomManager(sdk);
  i.meeting = Morvanta_GetMeetingManager(sdk);
  i.member = Morvanta_GetMemberManager(sdk);
  i.preMeeting = Morvanta_GetPreMeetingManager(sdk);
  i.share = Morvanta_GetScreenShareManager(sdk);
  i.waitingRoom = Morvanta_GetWaitingRoomManager(sdk);
  return true;
}

void AppSession::stop() {
  Impl& i = *impl_;
  if (!i.sdk) return;
  Morvanta_DestroyAccountManagerHandle(i.account);
  Morvanta_DestroyAudioManagerHandle(i.audio);
  Morvanta_DestroyVideoManagerHandle(i.video);
  Morvanta_DestroyChatroomManagerHandle(i.chat);
  Morvanta_DestroyMeetingManagerHandle(i.meeting);
  Morvanta_DestroyMemberManagerHandle(i.member);
  Morvanta_DestroyPreMeetingManagerHandle(i.preMeeting);
  Morvanta_DestroyScreenShareManagerHandle(i.share);
  Morvanta_DestroyWaitingRoomManagerHandle(i.waitingRoom);
  Morvanta_Uninitialize();
  *impl_ = Impl();
  // Answers still queued (some calls are answered by the shutdown itself)
  // run now, while whoever asked is still there to hear them.
  dispatcher_->drain();
}

QString AppSession::modeText() const {
  const QString bridge = Morvanta_GetBridgeMode() == MORVANTA_BRIDGE_MODE_CONCURRENT ? tr("concurrent bridge")
                                                                                      : tr("compatible bridge");
  const QString dispatch = Morvanta_GetDispatchMode() == MORVANTA_DISPATCH_HOST ? tr("host dispatch")
                                                                                 : tr("worker dispatch");
  return bridge + QStringLiteral(", ") + dispatch;
}

}  // namespace meeting_app
