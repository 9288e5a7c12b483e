'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { CONFIG, loadSandbox } = require('./support');

const { sdk, ctl } = loadSandbox();
const { codes } = ctl;
const pre = sdk.getPreMeetingManager();
const HOUR = 3600000;
const NOW = 1700000000000;

const PASSWORDS = { alice: 'alice-password', bob: 'bob-password', carol: 'carol-initial' };
const login = (username) => sdk.getAccountManager().loginByPassword({ username, password: PASSWORDS[username] });
const schedule = async (options) => (await pre.scheduleMeeting(options)).data;
const listNums = async (params) => (await pre.getMeetingListBySize(params)).data.map((m) => m.meetingNum);

test.beforeEach(async () => {
  ctl.reset();
  ctl.configure({ clock: NOW });
  await sdk.initialize(CONFIG);
  await login('alice');
});

test('bad settings are refused and change nothing', async () => {
  const cases = [
    [pre.scheduleMeeting(), codes.INVALID_PARAM],
    [pre.scheduleMeeting({ startTime: -1 }), codes.INVALID_PARAM],
    [pre.scheduleMeeting({ startTime: NOW, endTime: NOW }), codes.INVALID_PARAM],
    [pre.scheduleMeeting({ password: '12' }), codes.INVALID_PARAM],
    [pre.scheduleMeeting({ enableWaitingRoom: 1 }), codes.INVALID_PARAM],
    [pre.scheduleMeeting({ scheduledMembers: [{ userUuid: 'x', role: 'boss' }] }), codes.INVALID_PARAM],
    [pre.getMeetingInfoByMeetingNum('404'), codes.MEETING_NOT_FOUND],
    [pre.getScheduledMembers(''), codes.INVALID_PARAM],
    [pre.getMeetingListBySize({ size: 0 }), codes.INVALID_PARAM],
    [pre.getMeetingListBySize({ states: ['1'] }), codes.INVALID_PARAM],
  ];
  for (const [promise, code] of cases) assert.equal((await promise).code, code);
  assert.deepEqual(await listNums({ states: [1, 2, 3] }), []);
});

test('only the owner edits or cancels; an edit is all or nothing', async () => {
  const m = await schedule({ subject: 'Review', startTime: NOW + HOUR });
  const editBy = async (...args) => (await pre.editMeeting(...args)).code;
  assert.equal(await editBy(m.meetingId, { subject: 'New', endTime: NOW }), codes.INVALID_PARAM);
  assert.equal(await editBy(m.meetingId + 1, {}), codes.MEETING_NOT_FOUND);
  assert.equal(await editBy(m.meetingId, {}), 0);
  assert.equal(await editBy(String(m.meetingId), { subject: 'New', startTime: NOW + 3 * HOUR }), 0);
  const read = (await pre.getMeetingInfoByMeetingNum(m.meetingNum)).data;
  assert.deepEqual([read.subject, read.startTime, read.endTime], ['New', NOW + 3 * HOUR, NOW + 4 * HOUR]);

  await login('bob');
  assert.equal(await editBy(m.meetingId, { subject: 'Mine' }), codes.NO_PERMISSION);
  assert.equal((await pre.cancelMeeting(m.meetingId)).code, codes.NO_PERMISSION);
  // bob may read it by number, but is not scheduled into it.
  assert.equal((await pre.getMeetingInfoByMeetingNum(m.meetingNum)).data.localMember, undefined);
  await login('alice');
  assert.equal((await pre.cancelMeeting(m.meetingId, 'yes')).code, codes.INVALID_PARAM);
  assert.equal((await pre.cancelMeeting(m.meetingId, false)).code, 0);
  assert.equal((await pre.getMeetingInfoByMeetingNum(m.meetingNum)).code, codes.MEETING_NOT_FOUND);
});

test('the list follows the clock, filters by state and pages', async () => {
  const past = await schedule({ subject: 'Past', startTime: NOW - 2 * HOUR });
  const now = await schedule({ subject: 'Now', startTime: NOW - 1000 });
  const later = await schedule({ subject: 'Later', startTime: NOW + HOUR });
  const early = await schedule({ subject: 'Early', startTime: NOW + 1000 });
  assert.deepEqual([past.state, now.state, later.state], [3, 2, 1]);
  const rows = [
    [undefined, [now, early, later]],
    [{}, [now, early, later]],
    [{ states: [3] }, [past]],
    [{ states: [1, 2, 3], offset: 1, size: 2 }, [now, early]],
    [{ offset: 5 }, []],
  ];
  for (const [params, want] of rows) {
    assert.deepEqual(await listNums(params), want.map((m) => m.meetingNum), JSON.stringify(params));
  }
  // Listed for scheduled members too, and not for others.
  const shared = await schedule({ scheduledMembers: [{ userUuid: 'user-bob-0002' }] });
  await login('bob');
  assert.deepEqual(await listNums(), [shared.meetingNum]);
  await login('carol');
  assert.deepEqual(await listNums(), []);
});

test('the schedule needs a login, outlives logout and is emptied by reset', async () => {
  const m = await schedule({});
  await sdk.getAccountManager().logout();
  assert.equal((await pre.getMeetingListBySize({})).code, codes.NOT_LOGGED_IN);
  await login('alice');
  assert.deepEqual(await listNums(), [m.meetingNum]);
  ctl.reset();
  ctl.configure({ clock: NOW });
  await sdk.initialize(CONFIG);
  await login('alice');
  assert.deepEqual(await listNums(), []);
  assert.equal((await schedule({})).meetingNum, m.meetingNum);
});
