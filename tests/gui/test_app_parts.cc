// The meeting window's parts on their own, where a fault would hide behind
// the whole window: the dispatcher's slicing under a flood, rows and chat
// lines that must never double, and the waiting room's buttons.
#include <QAbstractButton>
#include <QLineEdit>
#include <QListWidget>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <sys/eventfd.h>
#include <unistd.h>

#include "chat_pane.h"
#include "host_dispatcher.h"
#include "member_table.h"
#include "waiting_room_panel.h"

using namespace meeting_app;

namespace {

// A stand-in for the library's queue: `pending` items, each taking
// `itemMs`; the descriptor is readable while any wait.
struct FakeQueue {
  int fd = eventfd(0, EFD_NONBLOCK);
  int pending = 0;
  int itemMs = 0;
  int ran = 0;
  int nested = 0;
  ~FakeQueue() { close(fd); }
  void add(int n) {
    pending += n;
    const uint64_t one = 1;
    if (write(fd, &one, sizeof one) < 0) qFatal("eventfd write");
  }
  int dispatch(int max) {
    if (nested) return -1;
    const int n = std::min(max <= 0 ? pending : max, pending);
    for (int i = 0; i < n; ++i) QThread::msleep(itemMs);
    pending -= n;
    ran += n;
    if (pending == 0) {
      uint64_t v;
      if (read(fd, &v, sizeof v) < 0) { /* already clear */ }
    }
    return n;
  }
};

MemberState member(const QString& uuid, const QString& name, bool audio = false) {
  MemberState m;
  m.uuid = uuid;
  m.name = name;
  m.audioOn = audio;
  return m;
}

}  // namespace

class AppPartsTest : public QObject {
  Q_OBJECT

 private slots:
  // 100 slow items: all run, in many turns, and the event loop gets its
  // turn in between (a probe timer runs while items still wait).
  void dispatcherSlicesAFloodAndLetsTheLoopRun() {
    FakeQueue q;
    q.itemMs = 1;
    HostDispatcher d(q.fd, [&q](int max) { return q.dispatch(max); });
    int probesWhileWaiting = 0;
    QTimer probe;
    probe.setInterval(0);
    connect(&probe, &QTimer::timeout, this, [&] {
      if (q.pending > 0) ++probesWhileWaiting;
    });
    probe.start();
    q.add(100);
    QTRY_COMPARE_WITH_TIMEOUT(q.ran, 100, 10000);
    QCOMPARE(d.itemsDispatched(), qint64(100));
    QVERIFY2(d.turns() >= 5, qPrintable(QString::number(d.turns())));
    QVERIFY(probesWhileWaiting > 0);
    QVERIFY(d.longestBlockMs() > 0);
    // The watch is armed again: later items are run too.
    q.add(3);
    QTRY_COMPARE_WITH_TIMEOUT(q.ran, 103, 5000);
    d.resetStats();
    QCOMPARE(d.itemsDispatched(), qint64(0));
    QCOMPARE(d.longestBlockMs(), 0.0);
  }

  // A refusal (-1: nested, or not host dispatch) ends the turn quietly and
  // counts nothing; drain() runs what waits at once.
  void dispatcherRefusalAndDrain() {
    FakeQueue q;
    HostDispatcher d(q.fd, [&q](int max) { return q.dispatch(max); });
    q.nested = 1;
    q.add(2);
    QTest::qWait(50);
    QCOMPARE(q.ran, 0);
    QCOMPARE(d.turns(), qint64(0));
    q.nested = 0;
    d.drain();
    QCOMPARE(q.ran, 2);
    QCOMPARE(q.pending, 0);
  }

  void memberTableKeepsOneRowPerMember() {
    MemberTable t;
    t.setLocalUuid("me");
    t.upsert(member("me", "Alice"));
    t.upsert(member("u1", "Bob", true));
    t.upsert(member("u1", "Bobby", true));  // again: the row is updated, not doubled
    QCOMPARE(t.topLevelItemCount(), 2);
    QCOMPARE(t.topLevelItem(0)->text(MemberTable::kName), QString("Alice (me)"));
    QCOMPARE(t.topLevelItem(1)->text(MemberTable::kName), QString("Bobby"));
    QCOMPARE(t.topLevelItem(1)->text(MemberTable::kMicrophone), QString("on"));

    t.setAudio("u1", false);
    t.setHand("u1", true);
    t.setSharing("u1", true);
    t.setVideo("ghost", true);  // unknown member: nothing appears
    QCOMPARE(t.topLevelItemCount(), 2);
    QCOMPARE(t.topLevelItem(1)->text(MemberTable::kMicrophone), QString("muted"));
    QCOMPARE(t.topLevelItem(1)->text(MemberTable::kHand), QString("raised"));
    QCOMPARE(t.topLevelItem(1)->text(MemberTable::kSharing), QString("sharing"));
    QVERIFY(t.state("u1")->handUp);

    // Roles follow the meeting's host.
    QCOMPARE(t.topLevelItem(0)->text(MemberTable::kRole), QString("member"));
    t.setHostUuid("me");
    QCOMPARE(t.topLevelItem(0)->text(MemberTable::kRole), QString("host"));
    QCOMPARE(t.topLevelItem(1)->text(MemberTable::kRole), QString("member"));

    t.setCurrentItem(t.topLevelItem(1));
    QCOMPARE(t.selectedUuid(), QString("u1"));
    t.remove("u1");
    QCOMPARE(t.topLevelItemCount(), 1);
    QVERIFY(!t.contains("u1"));
    QCOMPARE(t.selectedUuid(), QString());
    t.clearMembers();
    QCOMPARE(t.topLevelItemCount(), 0);
  }

  void chatShowsEachMessageOnceAndSendsWhatIsTyped() {
    ChatPane chat;
    auto* view = chat.findChild<QListWidget*>("chatView");
    auto* input = chat.findChild<QLineEdit*>("chatInput");
    ChatLine a{"m1", "u1", "Bob", "hello", 0, false};
    ChatLine b{"m2", "me", "Alice", "hi Bob", 0, true};
    chat.addMessages({a, b});
    chat.addMessages({a});  // delivered again: still once
    QCOMPARE(view->count(), 2);
    QVERIFY(view->item(0)->text().endsWith("Bob: hello"));
    QVERIFY(view->item(1)->text().endsWith("Me: hi Bob"));
    chat.markRecalled("m2");
    QVERIFY(view->item(1)->text().endsWith("Me: (message recalled)"));
    QVERIFY(!view->item(1)->text().contains("hi Bob"));

    QSignalSpy sent(&chat, &ChatPane::sendRequested);
    QTest::keyClicks(input, "   ");
    QTest::keyClick(input, Qt::Key_Return);
    QCOMPARE(sent.count(), 0);  // nothing but blanks: nothing sent
    input->clear();
    QTest::keyClicks(input, "  see you  ");
    QTest::keyClick(input, Qt::Key_Return);
    QCOMPARE(sent.count(), 1);
    QCOMPARE(sent.at(0).at(0).toString(), QString("see you"));
    QVERIFY(input->text().isEmpty());
  }

  void waitingRoomButtonsFollowHostAndSelection() {
    WaitingRoomPanel panel;
    auto* list = panel.findChild<QListWidget*>("waitingList");
    auto* admit = panel.findChild<QAbstractButton*>("admitButton");
    auto* admitAll = panel.findChild<QAbstractButton*>("admitAllButton");
    panel.addGuest({"w1", "Wendy"});
    panel.addGuest({"w1", "Wendy B."});  // a new name, not a second guest
    panel.addGuest({"w2", "Walt"});
    QCOMPARE(panel.guestCount(), 2);
    QCOMPARE(list->item(0)->text(), QString("Wendy B."));
    QVERIFY(!admitAll->isEnabled());  // not the host
    panel.setHostControls(true);
    QVERIFY(admitAll->isEnabled());
    QVERIFY(!admit->isEnabled());  // nobody selected
    QSignalSpy admitted(&panel, &WaitingRoomPanel::admitRequested);
    list->setCurrentRow(1);
    QVERIFY(admit->isEnabled());
    QTest::mouseClick(admit, Qt::LeftButton);
    QCOMPARE(admitted.count(), 1);
    QCOMPARE(admitted.at(0).at(0).toString(), QString("w2"));
    panel.removeGuest("w2");  // the selected guest goes: nobody else becomes selected
    QVERIFY(list->selectedItems().isEmpty());
    QVERIFY(!admit->isEnabled());
    panel.removeGuest("nobody");
    QCOMPARE(panel.guestCount(), 1);
    panel.clearGuests();
    QVERIFY(!admitAll->isEnabled());
  }
};

QTEST_MAIN(AppPartsTest)
#include "test_app_parts.moc"
