'use strict';
// Load-time behaviour, each case in a child node process of its own.
const test = require('node:test');
const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { spawnSync } = require('node:child_process');
const { SDK_PATH, CONFIG } = require('./support');

const dir = fs.mkdtempSync(path.join(os.tmpdir(), 'morvanta-sandbox-'));
let files = 0;
test.after(() => fs.rmSync(dir, { recursive: true, force: true }));

// Runs `body` (async, may use sdk and ctl) after loading the SDK with the given
// scenario; answers the child's exit status, its stderr and what it printed as JSON.
function runChild(scenario, body, timeoutMs = 10000) {
  const env = { ...process.env };
  delete env.MORVANTA_SANDBOX_SCENARIO;
  if (scenario !== undefined) {
    const file = path.join(dir, `scenario-${++files}.json`);
    fs.writeFileSync(file, typeof scenario === 'string' ? scenario : JSON.stringify(scenario));
    env.MORVANTA_SANDBOX_SCENARIO = file;
  }
  const script = `require(${JSON.stringify(SDK_PATH)});
    const sdk = morVantaMeeting, ctl = morVantaSandbox, CONFIG = ${JSON.stringify(CONFIG)};
    (async () => { ${body} })().then((v) => { if (v !== undefined) console.log(JSON.stringify(v)); });`;
  const child = spawnSync(process.execPath, ['-e', script], { env, encoding: 'utf8', timeout: timeoutMs });
  return { status: child.status, signal: child.signal, stderr: child.stderr,
    out: child.stdout.trim() ? JSON.parse(child.stdout.trim().split('\n').pop()) : undefined };
}

test('a scenario file configures users, overrides, shape and timeline', () => {
  const scenario = {
    defaultShape: 'nested',
    users: [{ username: 'zoe', password: 'zoe-password-1', nickname: 'Zoe' }],
    overrides: { 'account.logout': { fail: 'code', code: 4242, message: 'stuck' } },
    clock: 1234,
    timeline: [{ atMs: 1, manager: 'meeting', event: 'onRoomEnded', args: ['timeout', ''] }],
  };
  const { status, out, stderr } = runChild(scenario, `
    const seen = [];
    sdk.getMeetingManager().addMeetingListener({ onRoomEnded: (r) => seen.push(r) });
    await sdk.initialize(CONFIG);
    const login = await sdk.getAccountManager().loginByPassword({ username: 'zoe', password: 'zoe-password-1' });
    const logout = await sdk.getAccountManager().logout();
    await new Promise((r) => setTimeout(r, 20));
    ctl.reset();
    return { login, logout, seen, at: ctl.now(), keptAfterReset: ctl.settings.overrides };`);
  assert.equal(status, 0, stderr);
  assert.equal(out.login.result.code, 0);
  assert.equal(out.login.result.data.nickname, 'Zoe');
  assert.deepEqual(out.logout, { result: { code: 4242, message: 'stuck', data: null } });
  assert.deepEqual(out.seen, ['timeout']);
  assert.equal(out.at, 1234);
  assert.deepEqual(out.keptAfterReset, scenario.overrides, 'reset goes back to the scenario');
});

test('a broken scenario file stops the load with a message naming it', () => {
  for (const scenario of ['{ not json', { defaultShap: 'flat' }, { overrides: { x: { fail: 'sometimes' } } }]) {
    const { status, stderr } = runChild(scenario, 'return 1;');
    assert.notEqual(status, 0);
    assert.match(stderr, /MorvantaSandbox.*scenario/);
  }
});

test('the SDK does not keep the process alive when idle', () => {
  // A hanging call, listeners, and a timeline cancelled by unInitialize: the
  // process must still end on its own.
  const { status, signal, out, stderr } = runChild({ overrides: { 'account.getAccountInfo': { fail: 'hang' } } }, `
    await sdk.initialize(CONFIG);
    sdk.getAccountManager().getAccountInfo();
    sdk.getMeetingManager().addMeetingListener({});
    ctl.schedule([{ atMs: 60000, manager: 'meeting', event: 'onRoomEnded' }]);
    await sdk.unInitialize();
    return ctl.pendingTimers;`, 5000);
  assert.equal(signal, null, 'the child had to be killed');
  assert.equal(status, 0, stderr);
  assert.equal(out, 0);
});
