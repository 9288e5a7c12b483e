'use strict';
// The sandbox's meeting world: meeting operations, members, the meeting, RTC
// stats, message channel and global events (waiting room: waiting-room.test.js).
const test = require('node:test');
const assert = require('node:assert/strict');
const { CONFIG, loadSandbox, sleep } = require('./support');

const { sdk, ctl } = loadSandbox();
const meetings = sdk.getMeetingManager();
const members = sdk.getMemberManager();
const C = ctl.codes;

const MEETING_EVENTS = ['onMemberJoinRoom', 'onMemberLeaveRoom', 'onMemberAudioMuteChanged', 'onMemberVideoMuteChanged',
  'onRoomEnded', 'onMemberAudioConnectStateChanged', 'onMemberJoinChatroom', 'onMemberLeaveChatroom',
  'onMemberScreenShareStateChanged', 'onReceiveChatroomMessages', 'onMemberChatBanStateChanged'];
const STATS_EVENTS = ['onRtcStats', 'onLocalAudioStats', 'onRemoteAudioStats', 'onLocalVideoStats',
  'onRemoteVideoStats', 'onNetworkQuality'];

function recorder(log, names) {
  return Object.fromEntries(names.map((name) => [name, (...args) => log.push([name, ...args])]));
}
// Resolves once pred() holds (polled), or fails after ms: robust on a busy machine.
async function waitFor(pred, ms = 2000) {
  for (const end = Date.now() + ms; !pred(); await sleep(5)) {
    if (Date.now() > end) throw new Error('condition not reached in time');
  }
}
const login = (username) => sdk.getAccountManager().loginByPassword({ username, password: `${username}-password` });

test.beforeEach(async () => {
  ctl.reset();
  // A quiet world unless a test asks for more: no script, no stats.
  ctl.configure({ meeting: { script: [], rtcStatsIntervalMs: 0, joinStepMs: 0, memberCount: 2 } });
  await sdk.initialize(CONFIG);
});
test.after(() => ctl.reset());

test('create, query, leave, join and end, with the refusals on the way', async () => {
  assert.equal((await meetings.createMeeting({ subject: 'Plan' })).code, C.NOT_LOGGED_IN);
  assert.equal((await meetings.getMeetingInfo()).code, C.NOT_IN_MEETING);
  await login('alice');
  assert.equal((await meetings.createMeeting({})).code, C.INVALID_PARAM);

  const created = await meetings.createMeeting({ subject: 'Plan', meetingNum: '6200000001' });
  assert.equal(created.code, 0);
  const info = (await meetings.getMeetingInfo()).data;
  assert.equal(info.meetingNum, '6200000001');
  assert.equal(typeof info.meetingId, 'number');
  assert.equal(info.roomUuid, 'room-6200000001');
  assert.deepEqual(info.localMember, { userUuid: 'user-alice-0001', uuid: 'user-alice-0001', name: 'Alice Archer', role: 'host' });
  assert.equal(info.hostUuid, 'user-alice-0001');
  assert.equal(info.type, 2, 'personal meeting number');
  assert.equal(info.inWaitingRoom, false);
  assert.equal((await meetings.joinMeeting({ meetingNum: '8800000001' })).code, C.ALREADY_IN_MEETING);

  assert.equal((await meetings.leaveMeeting(false)).code, 0);
  assert.equal((await meetings.getMeetingInfo()).code, C.NOT_IN_MEETING);
  assert.equal((await meetings.joinMeeting({ meetingNum: '123' })).code, C.MEETING_NOT_FOUND);
  // The meeting goes on without its host; coming back makes Alice host again.
  assert.equal((await meetings.joinMeeting({ meetingNum: '6200000001' })).code, 0);
  assert.equal((await meetings.getMeetingInfo()).data.localMember.role, 'host');
  assert.equal((await meetings.endMeeting()).code, 0);
  assert.equal((await meetings.joinMeeting({ meetingNum: '6200000001' })).code, C.MEETING_NOT_FOUND, 'ended');

  // A joiner of a configured room is a member, sees the members already there, and cannot end it.
  assert.equal((await meetings.joinMeeting({ meetingNum: '8800000001', nickname: 'Al' })).code, 0);
  const list = (await members.getMemberList()).data;
  assert.deepEqual(list.map((m) => [m.uuid, m.role]),
    [['sim-member-01', 'host'], ['sim-member-02', 'member'], ['user-alice-0001', 'member']]);
  assert.equal(list[2].name, 'Al');
  assert.equal((await meetings.endMeeting()).code, C.NO_PERMISSION);
  assert.equal((await meetings.leaveMeeting(true)).code, 0, 'leave(true) of a member only leaves');
  assert.equal((await meetings.joinMeeting({ meetingNum: '8800000001' })).code, 0);
});

test('an anonymous user can join; ids are deterministic', async () => {
  assert.equal((await meetings.joinMeeting({ meetingNum: '8800000001', nickname: 'Visitor' })).code, 0);
  const first = (await meetings.getMeetingInfo()).data.localMember;
  assert.match(first.userUuid, /^anon-[0-9a-f]{8}$/);
  assert.equal(first.name, 'Visitor');
  ctl.reset();
  await sdk.initialize(CONFIG);
  await meetings.joinMeeting({ meetingNum: '8800000001', nickname: 'Visitor' });
  assert.equal((await meetings.getMeetingInfo()).data.localMember.userUuid, first.userUuid);
  await meetings.leaveMeeting(false);
  await meetings.joinMeeting({ meetingNum: '8800000001', userUuid: 'guest-7', nickname: 'G' });
  assert.equal((await meetings.getMeetingInfo()).data.myUuid, 'guest-7');
});

test('the script reaches meeting listeners through the room context and the manager alike', async () => {
  ctl.configure({ meeting: { script: [
    { atMs: 5, member: 2, action: 'join' },
    { atMs: 10, member: 0, action: 'muteAudio' },
    { atMs: 10, member: 1, action: 'startShare' },
    { atMs: 15, member: 0, action: 'chat', text: 'hello' },
    { atMs: 15, member: 1, action: 'file', file: { name: 'notes.txt', size: 12 } },
    { atMs: 20, member: 'local', action: 'muteVideo' },
    { atMs: 20, member: 'Ada Lovelace', action: 'banChat', duration: 60 },
    { atMs: 25, member: 2, action: 'audioDisconnect' },
    { atMs: 30, member: 2, action: 'leave' },
    { atMs: 35, action: 'endMeeting' },
  ] } });
  const viaManager = [];
  const viaRoom = [];
  meetings.addMeetingListener(recorder(viaManager, MEETING_EVENTS));
  assert.equal(meetings.getRoomContext(), null, 'no room context outside a meeting');
  await meetings.joinMeeting({ meetingNum: '8800000001', nickname: 'Me' });
  const me = (await meetings.getMeetingInfo()).data.myUuid;
  const room = meetings.getRoomContext();
  assert.equal(room.roomUuid, 'room-8800000001');
  room.addRoomListener(recorder(viaRoom, MEETING_EVENTS));
  ctl.meetingAction({ member: 'local', action: 'unmuteVideo' }); // the host turns your camera on
  await waitFor(() => ctl.meeting === null);

  assert.deepEqual(viaRoom, viaManager);
  const names = viaManager.map((e) => e[0]);
  assert.deepEqual(names, ['onMemberVideoMuteChanged', 'onMemberJoinRoom', 'onMemberJoinChatroom',
    'onMemberAudioMuteChanged', 'onMemberScreenShareStateChanged', 'onReceiveChatroomMessages',
    'onReceiveChatroomMessages', 'onMemberVideoMuteChanged', 'onMemberChatBanStateChanged',
    'onMemberAudioConnectStateChanged', 'onMemberLeaveChatroom', 'onMemberLeaveRoom', 'onRoomEnded']);
  const byName = (n, i = 0) => viaManager.filter((e) => e[0] === n)[i];
  const host = { uuid: 'sim-member-01', name: 'Grace Hopper' };
  assert.equal(byName('onMemberJoinRoom')[1][0].uuid, 'sim-member-03');
  const [, muted, mute, op] = byName('onMemberAudioMuteChanged');
  assert.equal(muted.uuid, 'sim-member-01');
  assert.equal(muted.isAudioOn, false);
  assert.deepEqual([mute, op], [true, null]);
  const share = byName('onMemberScreenShareStateChanged');
  assert.deepEqual([share[1].uuid, share[1].isSharingScreen, share[2], share[3]], ['sim-member-02', true, true, null]);
  const [, [text]] = byName('onReceiveChatroomMessages');
  assert.equal(text.messageType, 'text');
  assert.equal(text.text, 'hello');
  assert.equal(text.fromUserUuid, 'sim-member-01');
  assert.equal(text.fromNick, 'Grace Hopper');
  assert.equal(typeof text.time, 'number');
  const [, [file]] = byName('onReceiveChatroomMessages', 1);
  assert.equal(file.messageType, 'file');
  assert.deepEqual([file.file.name, file.file.ext, file.file.size, file.displayName], ['notes.txt', 'txt', 12, 'notes.txt']);
  const camera = byName('onMemberVideoMuteChanged', 1);
  assert.equal(camera[1].uuid, me);
  assert.equal(camera[2], true);
  assert.deepEqual([camera[3].uuid, camera[3].name], [host.uuid, host.name], 'the host acts on you');
  const ban = byName('onMemberChatBanStateChanged');
  assert.deepEqual([ban[1].uuid, ban[2], ban[3], ban[4], ban[5].uuid], ['sim-member-03', true, 60, '', host.uuid]);
  assert.deepEqual(byName('onMemberAudioConnectStateChanged').slice(2), [false]);
  assert.deepEqual(byName('onRoomEnded').slice(1), ['CLOSE_BY_MEMBER', '']);
  assert.equal(ctl.meeting, null, 'the host ended it');
  assert.equal(ctl.pendingTimers, 0);
  room.removeRoomListener(viaRoom);
});

test('member operations: permission for others, self allowed, events with the operator', async () => {
  await meetings.joinMeeting({ meetingNum: '8800000001' });
  assert.equal((await members.muteMemberAudio('sim-member-02')).code, C.NO_PERMISSION);
  assert.equal((await members.muteAllAudio()).code, C.NO_PERMISSION);
  assert.equal((await members.handsDown('sim-member-02')).code, C.NO_PERMISSION);
  assert.equal((await members.unmuteVideoAndAudio('nobody')).code, C.MEMBER_NOT_FOUND);
  const me = (await meetings.getMeetingInfo()).data.myUuid;
  assert.equal((await members.unmuteMemberAudio(me)).code, 0, 'yourself needs no permission');
  assert.equal((await members.handsUp()).code, 0);
  let mine = (await members.getMemberList()).data.find((m) => m.uuid === me);
  assert.deepEqual([mine.isAudioOn, mine.isHandsUp], [true, true]);
  assert.equal((await members.handsDown()).code, 0);
  await meetings.leaveMeeting(false);
  assert.equal((await members.getMemberList()).code, C.NOT_IN_MEETING);

  await login('bob');
  ctl.enterMeeting({ asHost: true, meetingNum: '8800000001' });
  const log = [];
  meetings.addMeetingListener(recorder(log, MEETING_EVENTS));
  assert.equal((await members.muteMemberAudio('sim-member-02')).code, 0);
  assert.equal((await members.muteMemberAudio('sim-member-02')).code, 0, 'again: no change, no event');
  assert.equal((await members.muteAllVideo()).code, 0);
  assert.equal((await members.stopMemberScreenShare('sim-member-01')).code, C.INVALID_PARAM, 'not sharing');
  ctl.meetingAction({ member: 0, action: 'startShare' });
  assert.equal((await members.stopMemberScreenShare('sim-member-01')).code, 0);
  ctl.meetingAction({ member: 1, action: 'handsUp' });
  assert.equal((await members.handsDownAll()).code, 0);
  const bob = { uuid: 'user-bob-0002', name: 'Bob Baker' };
  assert.deepEqual(log.map((e) => [e[0], e[1].uuid, e[2], e[3] && e[3].uuid]), [
    ['onMemberAudioMuteChanged', 'sim-member-02', true, bob.uuid],
    ['onMemberVideoMuteChanged', 'sim-member-01', true, bob.uuid], // member 2 had video off already
    ['onMemberScreenShareStateChanged', 'sim-member-01', true, null],
    ['onMemberScreenShareStateChanged', 'sim-member-01', false, bob.uuid],
  ]);
  mine = (await members.getMemberList()).data;
  assert.ok(mine.every((m) => !m.isHandsUp));
  assert.equal(mine.find((m) => m.uuid === bob.uuid).role, 'host');
});

test('RTC stats of six kinds arrive periodically in the room, and stop on leave', async () => {
  ctl.configure({ meeting: { rtcStatsIntervalMs: 10 } });
  const log = [];
  meetings.addRtcStatsListener(recorder(log, STATS_EVENTS));
  ctl.enterMeeting();
  await members.unmuteVideoAndAudio((await meetings.getMeetingInfo()).data.myUuid);
  await waitFor(() => log.length >= 12);
  assert.deepEqual(log.slice(0, 6).map((e) => e[0]), STATS_EVENTS);
  const last = (name) => log.filter((e) => e[0] === name).pop()[1];
  for (const k of ['duration', 'txBytes', 'rxBytes', 'txAudioBytes', 'txVideoBytes', 'rxAudioBytes', 'rxVideoBytes']) {
    assert.equal(typeof last('onRtcStats')[k], 'number', k);
  }
  assert.ok(last('onRtcStats').rxBytes > 0);
  assert.deepEqual(Object.keys(last('onLocalAudioStats')), ['volume', 'numChannels', 'sentSampleRate', 'sentBitrate']);
  assert.equal(last('onLocalVideoStats').captureWidth, 1280);
  assert.deepEqual(last('onRemoteAudioStats').map((s) => s.userUuid), ['sim-member-01', 'sim-member-02']);
  assert.deepEqual(Object.keys(last('onRemoteVideoStats')[0]),
    ['userUuid', 'width', 'height', 'receivedBitrate', 'decoderOutputFrameRate', 'rendererOutputFrameRate']);
  assert.equal(last('onNetworkQuality').length, 3, 'everyone incl. you');
  assert.ok(last('onNetworkQuality').every((q) => q.uplinkQuality >= 1 && q.downlinkQuality >= 1));

  assert.equal(ctl.leaveMeetingNow(), true);
  const count = log.length;
  await sleep(40);
  assert.equal(log.length, count, 'no stats after leaving');
  assert.equal(ctl.pendingTimers, 0);
});

test('custom and session messages reach message channel listeners', async () => {
  ctl.configure({ meeting: { script: [
    { atMs: 1, member: 1, action: 'customMessage', data: { kind: 'poll' } },
    { atMs: 2, action: 'sessionMessage', sessionId: 's1', sessionType: 1, data: 'a' },
    { atMs: 3, action: 'sessionMessage', sessionId: 's1', data: 'b' },
    { atMs: 4, action: 'deleteSessionMessage', sessionId: 's1' },
    { atMs: 5, action: 'clearSession', sessionId: 's1' },
  ] } });
  const log = [];
  meetings.addMessageChannelListener(recorder(log, ['onCustomMessageReceived', 'onSessionMessageReceived',
    'onSessionMessageRecentChanged', 'onSessionMessageDeleted', 'onDeleteAllSessionMessage']));
  ctl.enterMeeting({ meetingNum: '8800000001' });
  await waitFor(() => log.length >= 9);
  assert.deepEqual(log.map((e) => e[0]), ['onCustomMessageReceived', 'onSessionMessageReceived',
    'onSessionMessageRecentChanged', 'onSessionMessageReceived', 'onSessionMessageRecentChanged',
    'onSessionMessageDeleted', 'onSessionMessageRecentChanged', 'onDeleteAllSessionMessage',
    'onSessionMessageRecentChanged']);
  const custom = log[0][1];
  assert.deepEqual([custom.roomUuid, custom.senderUuid, custom.data], ['room-8800000001', 'sim-member-02', '{"kind":"poll"}']);
  assert.equal(typeof custom.timestamp, 'number');
  assert.deepEqual(Object.keys(log[1][1]), ['sessionId', 'sessionType', 'messageId', 'data', 'time']);
  assert.deepEqual(log[4][1], [{ sessionId: 's1', sessionType: 1, unreadCount: 2 }]);
  assert.equal(log[5][1].data, 'b', 'the newest is deleted');
  assert.deepEqual(log[7].slice(1), ['s1', 1]);
  assert.deepEqual(log[8][1], []);
});

test('global listeners hear the RTC engine start and release around the room', async () => {
  const log = [];
  sdk.addGlobalEventListener(recorder(log, ['beforeRtcEngineInitialize', 'afterRtcEngineInitialize',
    'beforeRtcEngineRelease']));
  await login('alice');
  await meetings.createMeeting({ subject: 'Engines', meetingNum: '777000777' });
  assert.deepEqual(log.map((e) => [e[0], e[1]]), [
    ['beforeRtcEngineInitialize', 'room-777000777'], ['afterRtcEngineInitialize', 'room-777000777']]);
  assert.equal(typeof log[1][2], 'object', 'afterRtcEngineInitialize has an rtcWrapper');
  await meetings.endMeeting();
  assert.deepEqual(log[2].slice(0, 2), ['beforeRtcEngineRelease', 'room-777000777']);
});

test('timers of a meeting end with it: leave, reset and unInitialize', async () => {
  ctl.configure({ meeting: { rtcStatsIntervalMs: 1000, joinStepMs: 500 } });
  await login('alice');
  await meetings.createMeeting({ subject: 'T' });
  assert.ok(ctl.pendingTimers >= 3, 'stats and two arrivals');
  await meetings.leaveMeeting(false);
  assert.equal(ctl.pendingTimers, 0);
  ctl.enterMeeting();
  assert.ok(ctl.pendingTimers > 0);
  await sdk.unInitialize();
  assert.equal(ctl.pendingTimers, 0);
  assert.equal(ctl.meeting, null);
  await sdk.initialize(CONFIG);
  ctl.enterMeeting({ subject: 'again' });
  assert.equal(ctl.meeting.subject, 'again');
  ctl.reset();
  assert.equal(ctl.pendingTimers, 0);
  assert.equal(ctl.meeting, null);
});

test('meeting settings are checked; enterMeeting needs an initialized SDK', async () => {
  assert.throws(() => ctl.configure({ meeting: { memberCont: 1 } }), /unknown meeting setting "memberCont"/);
  assert.throws(() => ctl.configure({ meeting: { script: [{ atMs: 1, action: 'dance', member: 0 }] } }),
    /unknown meeting action "dance"/);
  assert.throws(() => ctl.configure({ meeting: { script: [{ atMs: 1, action: 'muteAudio' }] } }), /needs "member"/);
  assert.throws(() => ctl.configure({ meeting: { autoAdmitMs: -1 } }), /autoAdmitMs/);
  assert.throws(() => ctl.configure({ meeting: { rooms: [{ meetingNum: '1', colour: 'red' }] } }), /colour/);
  assert.throws(() => ctl.enterMeeting({ asHots: true }), /unknown enterMeeting option "asHots"/);
  ctl.configure({ meeting: { members: ['Xena', { name: 'Yuri', uuid: 'yuri', isVideoOn: true }], memberCount: 3,
    rooms: [{ meetingNum: '42', subject: 'Answer' }] } });
  const info = ctl.enterMeeting({ meetingNum: '42' });
  assert.equal(info.subject, 'Answer');
  assert.deepEqual(ctl.meeting.members.map((m) => m.name), ['Xena', 'Yuri', 'Guest 3', 'Guest']);
  assert.equal(ctl.meeting.members[1].uuid, 'yuri');
  await sdk.unInitialize();
  assert.throws(() => ctl.enterMeeting(), /initialized/);
});
