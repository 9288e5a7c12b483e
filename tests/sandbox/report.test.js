'use strict';
// The world report: with MORVANTA_SANDBOX_REPORT set when the SDK loads, the
// sandbox keeps that file up to date with what it saw.
const test = require('node:test');
const assert = require('node:assert/strict');
const fs = require('fs');
const os = require('os');
const path = require('path');
const { CONFIG, loadSandbox, sleep } = require('./support');

const file = path.join(fs.mkdtempSync(path.join(os.tmpdir(), 'morvanta-report-')), 'world.json');
process.env.MORVANTA_SANDBOX_REPORT = file;
const { sdk, ctl } = loadSandbox();
delete process.env.MORVANTA_SANDBOX_REPORT;

async function reportWhere(pred, ms = 3000) {
  for (const end = Date.now() + ms; Date.now() < end; await sleep(10)) {
    try {
      const r = JSON.parse(fs.readFileSync(file, 'utf8'));
      if (pred(r)) return r;
    } catch (e) { /* not written yet, or being replaced */ }
  }
  throw new Error('the report never showed it');
}

test.after(() => ctl.reset());

test('the report follows logins, calls, the meeting and the devices', async () => {
  const first = await reportWhere(() => true);
  assert.equal(first.currentUser, null);
  assert.equal(first.meeting, null);
  await sdk.initialize(CONFIG);
  await sdk.getAccountManager().loginByPassword({ username: 'alice', password: 'alice-password' });
  ctl.configure({ meeting: { script: [], memberCount: 1, joinStepMs: 0, rtcStatsIntervalMs: 0 } });
  await sdk.getMeetingManager().createMeeting({ subject: 'Reported' });
  await sdk.getAudioManager().setMicrophoneDevice('mic-usb-headset');
  const r = await reportWhere((x) => x.meeting && x.meeting.members.length === 2
    && x.audio.microphone.selected === 'mic-usb-headset');
  assert.equal(r.currentUser, 'alice');
  assert.equal(r.meeting.subject, 'Reported');
  assert.deepEqual(r.calls.filter((c) => c.path === 'account.loginByPassword').map((c) => c.args[0].username), ['alice']);
  await sdk.getMeetingManager().leaveMeeting(false);
  assert.equal((await reportWhere((x) => x.meeting === null)).meeting, null);
});
