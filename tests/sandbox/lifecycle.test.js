'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { CONFIG, loadSandbox } = require('./support');

const { sdk, ctl } = loadSandbox();
const { codes } = ctl;
const account = sdk.getAccountManager();

test.beforeEach(() => ctl.reset());

const rejectsWith = (promise, code) =>
  assert.rejects(promise, (e) => e instanceof Error && e.code === code && e.message.includes(`(code ${code})`));

test('initialize rejects a bad configuration with an Error carrying the code', async () => {
  for (const [config, code] of [[{ logPath: '/tmp' }, codes.INVALID_APP_KEY],
    [{ ...CONFIG, appKey: 'sandbox-revoked-key' }, codes.INVALID_APP_KEY], [{ appKey: 'k-1234' }, codes.INVALID_CONFIG],
    [{ ...CONFIG, serverUrl: 'ftp://host' }, codes.INVALID_CONFIG], ['appKey', codes.INVALID_CONFIG]]) {
    await rejectsWith(sdk.initialize(config), code);
  }
  ctl.configure({ appKeys: ['only-this-key'] });
  await rejectsWith(sdk.initialize(CONFIG), codes.INVALID_APP_KEY);
  assert.equal(ctl.initialized, false);
});

test('managers are stable objects that refuse calls until initialize succeeds, once', async () => {
  const getters = Object.keys(sdk).filter((k) => /^get\w+Manager$/.test(k));
  assert.equal(getters.length, 11);
  for (const g of getters) assert.equal(sdk[g](), sdk[g](), g);
  assert.equal((await account.loginByPassword({ username: 'alice', password: 'alice-password' })).code,
    codes.NOT_INITIALIZED);

  const full = { ...CONFIG, serverUrl: 'https://meet.example.test:8443/api', locale: 'de-DE', extras: {} };
  const answer = await sdk.initialize(full);
  assert.deepEqual([answer.code, answer.message, answer.data.serverUrl, answer.data.locale],
    [0, 'success', full.serverUrl, 'de-DE']);
  assert.deepEqual(ctl.initConfig, full);
  await rejectsWith(sdk.initialize(CONFIG), codes.ALREADY_INITIALIZED);
  assert.equal((await account.getAccountInfo()).code, codes.NOT_LOGGED_IN);
});

test('unInitialize ends the session and drops listeners; it always succeeds', async () => {
  await sdk.initialize(CONFIG);
  await account.loginByPassword({ username: 'bob', password: 'bob-password' });
  sdk.getMeetingManager().addMeetingListener({ onRoomEnded() {} });
  assert.deepEqual(await sdk.unInitialize(), { code: 0, message: 'success', data: null });
  assert.equal(ctl.listenerCount('meeting'), 0);
  await sdk.initialize(CONFIG);
  assert.equal((await account.getAccountInfo()).code, codes.NOT_LOGGED_IN);
  await sdk.unInitialize();
  assert.equal((await sdk.unInitialize()).code, 0);
});

test('reset returns to the loaded state, tokens included', async () => {
  ctl.configure({ defaultShape: 'nested', overrides: { 'account.logout': { fail: 'hang' } } });
  await sdk.initialize(CONFIG);
  const first = await account.loginByPassword({ username: 'alice', password: 'alice-password' });
  await account.updateNickname('Changed');
  account.logout();
  ctl.schedule([{ atMs: 10000, manager: 'meeting', event: 'x' }]);

  ctl.reset();
  assert.deepEqual([ctl.initialized, ctl.calls.length, ctl.pendingTimers, ctl.settings.overrides], [false, 0, 0, {}]);
  assert.equal(ctl.users.find((u) => u.username === 'alice').nickname, 'Alice Archer');
  await sdk.initialize(CONFIG);
  const again = await account.loginByPassword({ username: 'alice', password: 'alice-password' });
  assert.equal(again.data.userToken, first.result.data.userToken, 'same randomBase, same token, flat shape');
  assert.equal((await account.logout()).code, 0);
});
