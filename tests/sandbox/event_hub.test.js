'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { CONFIG, loadSandbox, sleep } = require('./support');

const { sdk, ctl } = loadSandbox();
const meeting = sdk.getMeetingManager();

// A listener whose named handlers append [tag, name, ...args] to log.
function recorder(log, tag, names) {
  return Object.fromEntries(names.map((name) => [name, (...args) => log.push([tag, name, ...args])]));
}

test.beforeEach(async () => {
  ctl.reset();
  await sdk.initialize(CONFIG);
});

test('the timeline delivers by time, ties in the order given, to the matching handlers', async () => {
  const log = [];
  meeting.addMeetingListener(recorder(log, 'meeting', ['onMemberJoinRoom', 'onRoomEnded']));
  meeting.addRtcStatsListener(recorder(log, 'stats', ['onRtcStats']));
  sdk.getWaitingRoomManager().addListener(recorder(log, 'waiting', ['onMemberJoin']));
  ctl.schedule([
    { atMs: 30, manager: 'meeting', event: 'onRoomEnded', args: ['ended', 'by host'] },
    { atMs: 1, manager: 'meeting', event: 'onMemberJoinRoom', data: [{ uuid: 'u1' }] },
    { atMs: 0, manager: 'meeting', event: 'onRtcStats', data: { rtt: 10 } },
    { atMs: 1, manager: 'waitingRoom', event: 'onMemberJoin', data: 'u2' },
  ]);
  assert.equal(log.length, 0, 'nothing is delivered during schedule()');
  await sleep(60);
  assert.deepEqual(log, [
    ['stats', 'onRtcStats', { rtt: 10 }],
    ['meeting', 'onMemberJoinRoom', [{ uuid: 'u1' }]],
    ['waiting', 'onMemberJoin', 'u2'],
    ['meeting', 'onRoomEnded', 'ended', 'by host'],
  ]);
  assert.deepEqual(ctl.events.map((e) => e.delivered), [1, 1, 1, 1]);
  assert.equal(ctl.pendingTimers, 0);
});

test('emit honours channels and removal, survives a throwing listener, and reaches global listeners', (t) => {
  const log = [];
  const thrower = { onMemberLeaveRoom() { throw new Error('listener fault'); } };
  const kept = recorder(log, 'kept', ['onMemberLeaveRoom']);
  meeting.addMeetingListener(thrower);
  meeting.addMeetingListener(kept);
  meeting.addMessageChannelListener(recorder(log, 'channel', ['onMemberLeaveRoom']));
  t.mock.method(console, 'error', () => {});
  assert.equal(ctl.emit({ manager: 'meeting', channel: 'meeting', event: 'onMemberLeaveRoom', data: [] }), 2);
  assert.deepEqual(log.splice(0), [['kept', 'onMemberLeaveRoom', []]]);
  meeting.removeMeetingListener(thrower);
  meeting.removeMeetingListener(kept);
  assert.equal(ctl.emit({ manager: 'meeting', event: 'onMemberLeaveRoom' }), 1, 'no channel: every channel');

  const global = recorder(log, 'global', ['beforeRtcEngineInitialize']);
  sdk.addGlobalEventListener(global);
  ctl.emit({ manager: 'global', event: 'beforeRtcEngineInitialize', data: 'room-1' });
  sdk.removeGlobalEventListener(global);
  ctl.emit({ manager: 'global', event: 'beforeRtcEngineInitialize', data: 'room-2' });
  assert.deepEqual(log, [['channel', 'onMemberLeaveRoom'], ['global', 'beforeRtcEngineInitialize', 'room-1']]);
});

test('a configured timeline starts at initialize and stops at unInitialize', async () => {
  const log = [];
  ctl.reset();
  ctl.configure({ timeline: [{ atMs: 5, manager: 'waitingRoom', event: 'onMemberJoin', data: 'w1' },
    { atMs: 40, manager: 'waitingRoom', event: 'onMemberJoin', data: 'w2' }] });
  sdk.getWaitingRoomManager().addListener(recorder(log, 'waiting', ['onMemberJoin']));
  await sleep(20);
  assert.equal(log.length, 0, 'nothing before initialize');
  await sdk.initialize(CONFIG);
  await sleep(20);
  await sdk.unInitialize();
  await sleep(40);
  assert.deepEqual(log, [['waiting', 'onMemberJoin', 'w1']]);
});
