'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const { CONFIG, loadSandbox, settlesWithin } = require('./support');

const { sdk, ctl } = loadSandbox();
const { codes } = ctl;
const account = sdk.getAccountManager();
const ALICE = { username: 'alice', password: 'alice-password' };

test.beforeEach(async () => {
  ctl.reset();
  await sdk.initialize(CONFIG);
});

test('fail modes: throw, reject, hang, code and literal answers', async () => {
  ctl.override('account.loginByPassword', { fail: 'throw', message: 'boom' });
  assert.throws(() => account.loginByPassword(ALICE), { message: 'boom' }, 'thrown, not a rejected promise');
  ctl.override('meeting.addMeetingListener', { fail: 'throw' });
  assert.throws(() => sdk.getMeetingManager().addMeetingListener({}));
  assert.equal(ctl.listenerCount('meeting'), 0);

  const rejects = [['error', (e) => e instanceof Error && e.message === 'gone'], ['string', (e) => e === 'gone'],
    ['object', (e) => !(e instanceof Error) && e.code === 77 && e.message === 'gone']];
  for (const [rejectWith, check] of rejects) {
    ctl.override('account.getAccountInfo', { fail: 'reject', rejectWith, code: 77, message: 'gone' });
    await assert.rejects(account.getAccountInfo(), check, rejectWith);
  }

  ctl.override('initialize', { fail: 'hang' });
  assert.equal(await settlesWithin(sdk.initialize(CONFIG), 50), false);
  assert.equal(ctl.pendingTimers, 0, 'a hang needs no timer');

  ctl.override('account.loginByPassword', { fail: 'code' });
  assert.deepEqual(await account.loginByPassword(ALICE),
    { code: codes.INJECTED_FAILURE, message: 'sandbox: injected failure of account.loginByPassword', data: null });
  ctl.override('account.loginByPassword', { fail: 'code', code: -5, message: 'busy', shape: 'nested' });
  assert.deepEqual(await account.loginByPassword(ALICE), { result: { code: -5, message: 'busy', data: null } });
  assert.equal(ctl.currentUser, null, 'an injected failure changes no state');

  for (const literal of ['PROMISE_PENDING', { code: 0 }]) {
    ctl.override('account.logout', { answer: literal });
    assert.deepEqual(await account.logout(), literal);
  }
});

test('overrides: times, wildcards and precedence', async () => {
  ctl.configure({ overrides: { 'account.*': { fail: 'code', code: 5 },
    'account.loginByPassword': { fail: 'code', code: 6, times: 1 } } });
  assert.equal((await account.loginByPassword(ALICE)).code, 6);
  assert.equal((await account.loginByPassword(ALICE)).code, 5, 'used up; the wildcard applies');
  assert.equal((await sdk.unInitialize()).code, 0, 'a manager wildcard leaves top-level calls alone');
  ctl.override('*', { fail: 'code', code: 9 });
  assert.equal((await sdk.initialize(CONFIG)).code, 9);
  ctl.configure({ overrides: { '*': null, 'account.*': null } });
  assert.deepEqual(ctl.settings.overrides, {});
});

test('answer shapes for success and failure', async () => {
  // A token login keeps its token, so every answer carries the same record.
  const relogin = () => account.loginByToken({ accountId: 'alice', accountToken: 'alice-token' });
  const record = (await relogin()).data;
  const fail = { code: codes.BAD_CREDENTIALS, message: 'incorrect username or password', data: null };
  const expected = {
    flat: [{ code: 0, message: 'success', data: record }, fail],
    nested: [{ result: { code: 0, message: 'success', data: record } }, { result: fail }],
    result: [{ result: record }, { result: fail }],
    bare: [record, fail],
    json: [JSON.stringify({ code: 0, message: 'success', data: record }), JSON.stringify(fail)],
  };
  for (const [shape, [good, bad]] of Object.entries(expected)) {
    ctl.configure({ defaultShape: shape });
    assert.deepEqual(await account.getAccountInfo(), good, shape);
    assert.deepEqual(await account.loginByPassword({ username: 'alice', password: 'no' }), bad, shape);
    await relogin();
  }
  ctl.override('account.logout', { shape: 'bare' });
  assert.equal(await account.logout(), null, 'a void success is bare null');
});

test('delays: answers wait, see the state of their moment, and reset clears them', async () => {
  await account.loginByPassword(ALICE);
  ctl.override('account.getAccountInfo', { delayMs: 60 });
  const slow = account.getAccountInfo();
  await account.updateNickname('Later');
  assert.equal(await settlesWithin(slow, 10), false);
  assert.equal((await slow).data.nickname, 'Later');

  ctl.configure({ defaultDelayMs: 40, overrides: { 'account.getAccountInfo': null } });
  const pending = account.getAccountInfo();
  assert.equal(ctl.pendingTimers, 1);
  ctl.reset();
  assert.equal(ctl.pendingTimers, 0);
  assert.equal(await settlesWithin(pending, 80), false);
});

test('the call log keeps paths and arguments in order, failures included', async () => {
  ctl.clearCalls();
  ctl.override('account.updateNickname', { fail: 'throw' });
  await account.loginByPassword(ALICE);
  assert.throws(() => account.updateNickname('N'));
  await account.loginByToken({ accountId: 'x', accountToken: 'y', authType: 2 });
  sdk.getWaitingRoomManager().addListener({});
  assert.deepEqual(ctl.calls.map((c) => [c.path, c.args]), [
    ['account.loginByPassword', [ALICE]],
    ['account.updateNickname', ['N']],
    ['account.loginByToken', [{ accountId: 'x', accountToken: 'y', authType: 2 }]],
    ['waitingRoom.addListener', [{}]],
  ]);
  assert.deepEqual(ctl.callsTo('account.updateNickname').map((c) => c.seq), [ctl.calls[1].seq]);
});

test('configure refuses unknown keys and bad values, and then changes nothing', () => {
  for (const options of [{ defaultDelay: 5 }, { overrides: { a: { fial: 'throw' } } },
    { timeline: [{ atMs: 1, manager: 'nope', event: 'e' }] }, { defaultShape: 'nested', clock: 'tomorrow' }]) {
    assert.throws(() => ctl.configure(options), /MorvantaSandbox/, JSON.stringify(options));
  }
  assert.equal(ctl.settings.defaultShape, 'flat');
});
