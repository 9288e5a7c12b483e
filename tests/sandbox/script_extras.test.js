'use strict';
// Script actions for long demos: the waiting room opened mid-meeting, and a
// script that repeats itself.
const test = require('node:test');
const assert = require('node:assert/strict');
const { CONFIG, loadSandbox, sleep } = require('./support');

const { sdk, ctl } = loadSandbox();
const meetings = sdk.getMeetingManager();

async function waitFor(pred, ms = 3000) {
  for (const end = Date.now() + ms; !pred(); await sleep(5)) {
    if (Date.now() > end) throw new Error('condition not reached in time');
  }
}

test.beforeEach(async () => {
  ctl.reset();
  await sdk.initialize(CONFIG);
  await sdk.getAccountManager().loginByPassword({ username: 'alice', password: 'alice-password' });
});
test.after(() => ctl.reset());

test('opening the waiting room mid-meeting makes later arrivals knock', async () => {
  ctl.configure({ meeting: { memberCount: 1, joinStepMs: 0, rtcStatsIntervalMs: 0, members: ['Ann', 'Ben'], script: [
    { atMs: 20, action: 'waitingRoom', enabled: true },
    { atMs: 40, member: 1, action: 'join' },
  ] } });
  assert.equal((await meetings.createMeeting({ subject: 'Knock' })).code, 0);
  await waitFor(() => ctl.meeting.waitingRoom.members.length === 1);
  const m = ctl.meeting;
  assert.deepEqual(m.members.map((x) => x.uuid).sort(), ['sim-member-01', 'user-alice-0001']);
  assert.equal(m.waitingRoom.members[0].name, 'Ben');
  assert.equal(m.waitingRoom.isEnabledOnEntry, true);
  assert.equal(ctl.meetingAction({ action: 'waitingRoom', enabled: true }), false, 'already open: nothing to do');
  assert.throws(() => ctl.meetingAction({ action: 'waitingRoom' }), /needs "enabled"/);
});

test('a script that repeats itself runs its entries again', async () => {
  ctl.configure({ meeting: { memberCount: 1, joinStepMs: 0, rtcStatsIntervalMs: 0, members: ['Ann'], script: [
    { atMs: 10, member: 0, action: 'chat', text: 'tick' },
    { atMs: 30, action: 'repeatScript' },
  ] } });
  assert.equal((await meetings.createMeeting({ subject: 'Loop' })).code, 0);
  await waitFor(() => ctl.meeting.chat.length >= 3);
  assert.ok(ctl.meeting.chat.every((c) => c.text === 'tick'));
  assert.equal(ctl.leaveMeetingNow(), true);
  assert.equal(ctl.pendingTimers, 0, 'leaving clears the repeated entries too');
});
