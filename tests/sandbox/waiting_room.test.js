'use strict';
// The sandbox's waiting room: the host's side, the waiting user's side, refusals.
const test = require('node:test');
const assert = require('node:assert/strict');
const { CONFIG, loadSandbox, sleep } = require('./support');

const { sdk, ctl } = loadSandbox();
const meetings = sdk.getMeetingManager();
const waiting = sdk.getWaitingRoomManager();
const C = ctl.codes;
const S = ctl.waitingRoomStatus;
const R = ctl.waitingRoomReasons;

const WR_EVENTS = ['onMemberJoin', 'onMemberLeave', 'onMemberAdmitted', 'onMyWaitingRoomStatusChanged',
  'onMemberNameChanged', 'onWaitingRoomInfoUpdated', 'onAllMembersKicked', 'onManagersUpdated'];

function recorder(log, names) {
  return Object.fromEntries(names.map((name) => [name, (...args) => log.push([name, ...args])]));
}
// A command's outcome: 0, or the code of its rejection.
async function waitFor(pred, ms = 2000) {
  for (const end = Date.now() + ms; !pred(); await sleep(5)) {
    if (Date.now() > end) throw new Error('condition not reached in time');
  }
}
const outcome = (promise) => promise.then(() => 0, (e) => e.code);

test.beforeEach(async () => {
  ctl.reset();
  ctl.configure({ meeting: { script: [], rtcStatsIntervalMs: 0, joinStepMs: 1, memberCount: 3, autoAdmitMs: null } });
  await sdk.initialize(CONFIG);
});
test.after(() => ctl.reset());

test('host: arrivals wait; admit, rename, expel, put back and expel all, with their events', async () => {
  await sdk.getAccountManager().loginByPassword({ username: 'alice', password: 'alice-password' });
  const log = [];
  const joins = [];
  waiting.addListener(recorder(log, WR_EVENTS));
  meetings.addMeetingListener(recorder(joins, ['onMemberJoinRoom', 'onMemberLeaveRoom']));
  await meetings.createMeeting({ subject: 'Gate', enableWaitingRoom: true });
  await waitFor(() => ctl.meeting.waitingRoom.memberCount === 3);
  assert.deepEqual((await waiting.getWaitingRoomInfo()).data, { memberCount: 3, isEnabledOnEntry: true, backgroundImageUrl: '' });
  const list = (await waiting.getWaitingRoomMemberList(0, 0, true)).data;
  assert.deepEqual(list.map((w) => [w.uuid, w.status]), [['sim-member-01', S.WAITING], ['sim-member-02', S.WAITING],
    ['sim-member-03', S.WAITING]]);
  assert.equal(typeof list[0].joinTime, 'number');
  assert.deepEqual((await waiting.getWaitingRoomMemberList(0, 1, false)).data.map((w) => w.uuid), ['sim-member-03']);
  assert.equal(joins.length, 0, 'nobody is in the room yet');

  assert.equal(await outcome(waiting.admitMember('sim-member-01', false)), 0);
  ctl.meetingAction({ member: 1, action: 'rename', name: 'Alan T.' });
  assert.equal(await outcome(waiting.expelMember('sim-member-03', true)), 0);
  assert.equal(await outcome(waiting.putInWaitingRoom('sim-member-01')), 0);
  assert.equal(await outcome(waiting.expelAllMembers(false)), 0);
  ctl.meetingAction({ member: 2, action: 'join' });

  const names = log.map((e) => e[0]);
  assert.deepEqual(names, [
    'onMemberJoin', 'onWaitingRoomInfoUpdated', 'onMemberJoin', 'onWaitingRoomInfoUpdated',
    'onMemberJoin', 'onWaitingRoomInfoUpdated',
    'onMemberAdmitted', 'onWaitingRoomInfoUpdated',
    'onMemberNameChanged',
    'onMemberLeave', 'onWaitingRoomInfoUpdated',
    'onMemberJoin', 'onWaitingRoomInfoUpdated',
    'onAllMembersKicked', 'onWaitingRoomInfoUpdated',
  ], 'member 3 was expelled for good: its later join is ignored');
  assert.deepEqual(log[0].slice(2), [R.JOINED]);
  assert.deepEqual(log[6].slice(1), ['sim-member-01']);
  assert.deepEqual(log[8].slice(1), ['sim-member-02', 'Alan T.', null]);
  assert.deepEqual(log[9].slice(1), ['sim-member-03', R.EXPELLED]);
  assert.deepEqual([log[11][1].uuid, log[11][2]], ['sim-member-01', R.PUT_BACK]);
  assert.deepEqual(log[14][1], { memberCount: 0, isEnabledOnEntry: true, backgroundImageUrl: '' });
  assert.deepEqual(joins.map((e) => [e[0], e[1][0].uuid]),
    [['onMemberJoinRoom', 'sim-member-01'], ['onMemberLeaveRoom', 'sim-member-01']]);

  assert.equal(await outcome(waiting.admitMember('sim-member-02', false)), C.MEMBER_NOT_FOUND);
  assert.equal(await outcome(waiting.putInWaitingRoom('user-alice-0001')), C.CANNOT_MOVE_HOST);
  // admitMember(uuid, true): that member skips the waiting room next time.
  ctl.meetingAction({ member: 0, action: 'join' });
  assert.equal(await outcome(waiting.admitMember('sim-member-01', true)), 0);
  assert.equal(await outcome(waiting.putInWaitingRoom('sim-member-01')), 0);
  ctl.meetingAction({ member: 0, action: 'leave' });
  ctl.meetingAction({ member: 0, action: 'join' });
  assert.ok(ctl.meeting.members.some((m) => m.uuid === 'sim-member-01'));
});

test('the local user waits, is admitted, rejoins, is put back and admitted again', async () => {
  ctl.configure({ meeting: { autoAdmitMs: 15 } });
  const log = [];
  const engine = [];
  waiting.addListener(recorder(log, WR_EVENTS));
  sdk.addGlobalEventListener(recorder(engine, ['beforeRtcEngineInitialize', 'beforeRtcEngineRelease']));
  assert.equal((await meetings.joinMeeting({ meetingNum: '8800000002', nickname: 'Wanda' })).code, 0);
  let info = (await meetings.getMeetingInfo()).data;
  assert.deepEqual([info.inWaitingRoom, info.isWaitingRoomEnabled], [true, true]);
  assert.equal((await sdk.getMemberManager().getMemberList()).code, C.IN_WAITING_ROOM);
  assert.equal((await meetings.rejoinAfterAdmittedToRoom()).code, C.NOT_ADMITTED);
  assert.equal(meetings.getRoomContext(), null);
  assert.equal(engine.length, 0, 'no RTC engine in the waiting room');
  assert.deepEqual(log.slice(0, 2).map((e) => e.slice(0, 3)), [
    ['onMyWaitingRoomStatusChanged', S.WAITING, R.JOINED],
    ['onManagersUpdated', [{ uuid: 'sim-member-01', userUuid: 'sim-member-01', name: 'Grace Hopper',
      userName: 'Grace Hopper', role: 'host' }]],
  ]);
  await waitFor(() => ctl.meeting.localStatus === 'admitted');
  assert.deepEqual(log.filter((e) => e[0] === 'onMyWaitingRoomStatusChanged').pop().slice(1), [S.ADMITTED, R.ADMITTED]);
  assert.equal((await meetings.rejoinAfterAdmittedToRoom()).code, 0);
  info = (await meetings.getMeetingInfo()).data;
  assert.equal(info.inWaitingRoom, false);
  assert.equal((await sdk.getMemberManager().getMemberList()).data.length, 4);
  assert.equal((await meetings.rejoinAfterAdmittedToRoom()).code, C.ALREADY_IN_MEETING);

  ctl.configure({ meeting: { autoAdmitMs: null } });
  assert.equal(ctl.meetingAction({ action: 'putLocalInWaitingRoom' }), true);
  assert.deepEqual(log.filter((e) => e[0] === 'onMyWaitingRoomStatusChanged').pop().slice(1), [S.WAITING, R.PUT_BACK]);
  assert.deepEqual(engine.map((e) => e[0]), ['beforeRtcEngineInitialize', 'beforeRtcEngineRelease']);
  assert.equal((await meetings.rejoinAfterAdmittedToRoom()).code, C.NOT_ADMITTED);
  assert.equal(ctl.meetingAction({ action: 'admitLocal' }), true);
  assert.equal((await meetings.rejoinAfterAdmittedToRoom()).code, 0);
  assert.equal(ctl.meeting.localStatus, 'inRoom');
  assert.equal(engine.length, 3);
});

test('refusals: commands reject with a code, queries answer it', async () => {
  assert.equal(await outcome(waiting.admitAllMembers()), C.NOT_IN_MEETING);
  assert.equal((await waiting.getWaitingRoomInfo()).code, C.NOT_IN_MEETING);
  ctl.enterMeeting({ meetingNum: '8800000002' });
  ctl.meetingAction({ member: 'Linus Torvalds', action: 'join' });
  assert.equal(ctl.meeting.waitingRoom.memberCount, 1);
  for (const call of [() => waiting.admitMember('sim-member-04', false), () => waiting.admitAllMembers(),
    () => waiting.expelMember('sim-member-04', false), () => waiting.expelAllMembers(true),
    () => waiting.putInWaitingRoom('sim-member-02')]) {
    assert.equal(await outcome(call()), C.NO_PERMISSION);
  }
  assert.equal((await waiting.getWaitingRoomMemberList(0, 10, true)).code, C.NO_PERMISSION);
  assert.equal((await waiting.getWaitingRoomInfo()).data.memberCount, 1, 'anyone may read the info');
  assert.equal(await outcome(waiting.admitMember(42, false)), C.NO_PERMISSION, 'permission is checked first');
});
