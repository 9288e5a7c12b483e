'use strict';
const test = require('node:test');
const assert = require('node:assert/strict');
const vm = require('node:vm');
const { CONFIG, loadSandbox } = require('./support');

const { sdk, ctl } = loadSandbox();
const { codes } = ctl;
const account = sdk.getAccountManager();
const login = (username, password) => account.loginByPassword({ username, password });
const byToken = (accountId, accountToken, extra) => account.loginByToken({ accountId, accountToken, ...extra });

test.beforeEach(async () => {
  ctl.reset();
  await sdk.initialize(CONFIG);
});

test('password login answers a full account record, and getAccountInfo the same', async () => {
  const answer = await login('alice', 'alice-password');
  for (const key of ['userUuid', 'userToken', 'nickname', 'privateMeetingNum']) {
    assert.ok(typeof answer.data[key] === 'string' && answer.data[key].length > 0, key);
  }
  assert.deepEqual([answer.data.email, answer.data.isInitialPassword], ['alice@sandbox.morvanta.test', false]);
  assert.deepEqual((await account.getAccountInfo()).data, answer.data);
  // bob has no email, avatar or company: the keys are absent, not empty.
  const bob = (await login('bob', 'bob-password')).data;
  assert.deepEqual(['email', 'avatar', 'corpName'].filter((k) => k in bob), []);
  assert.equal(ctl.currentUser, 'bob');
});

test('bad logins are refused with a code and a message', async () => {
  const cases = [
    [login('alice', 'wrong'), codes.BAD_CREDENTIALS],
    [login('nobody', 'alice-password'), codes.BAD_CREDENTIALS],
    [login('dave', 'dave-password'), codes.ACCOUNT_DISABLED],
    [account.loginByPassword(), codes.INVALID_PARAM],
    [account.loginBySmsCode({ phoneNumber: '13800000001', smsCode: '000000' }), codes.BAD_SMS_CODE],
    [account.loginBySmsCode({ phoneNumber: '19999999999', smsCode: '111111' }), codes.ACCOUNT_NOT_FOUND],
    [byToken('user-bob-0002', 'alice-token'), codes.BAD_TOKEN],
  ];
  for (const [pending, code] of cases) {
    const answer = await pending;
    assert.deepEqual([answer.code, answer.data], [code, null], answer.message);
    assert.ok(answer.message.length > 0);
  }
  assert.equal(ctl.currentUser, null);
});

test('SMS code and token logins; session tokens end with their session', async () => {
  assert.equal((await account.loginBySmsCode({ phoneNumber: '13800000003', smsCode: '333333' })).data.nickname,
    'Carol Chen');
  // The script text the library writes, numbers with six decimals.
  const scripted = await vm.runInThisContext('morVantaMeeting.getAccountManager().loginByToken({"accountId": ' +
    '"user-bob-0002", "accountToken": "bob-token", "authType": 1.000000, "isTemporary": true})');
  assert.deepEqual([scripted.code, scripted.data.userToken], [0, 'bob-token']);

  const issued = (await login('alice', 'alice-password')).data.userToken;
  assert.equal((await byToken('alice', issued)).code, 0);
  await account.logout();
  assert.equal((await byToken('alice', issued)).code, codes.BAD_TOKEN);
  assert.equal((await byToken('alice', 'alice-token')).code, 0, 'the account token stays valid');
});

test('nickname updates show in getAccountInfo; nothing works after logout', async () => {
  await login('alice', 'alice-password');
  assert.equal((await account.updateNickname('  Ally  ')).code, 0);
  assert.equal((await account.updateNickname('   ')).code, codes.INVALID_NICKNAME);
  assert.equal((await account.updateNickname('x'.repeat(33))).code, codes.INVALID_NICKNAME);
  ctl.configure({ users: [{ username: 'erin' }] });
  assert.equal((await account.getAccountInfo()).data.nickname, 'Ally', 'adding users keeps live changes');

  assert.equal((await account.logout()).code, 0);
  for (const call of [() => account.getAccountInfo(), () => account.logout(), () => account.updateNickname('N'),
    () => account.resetPassword({ oldPassword: 'alice-password', newPassword: 'another-pass' })]) {
    assert.equal((await call()).code, codes.NOT_LOGGED_IN);
  }
});

test('reset password checks the old one and takes effect at the next login', async () => {
  await login('carol', 'carol-initial');
  const reset = (oldPassword, newPassword) => account.resetPassword({ oldPassword, newPassword });
  assert.equal((await reset('wrong', 'long-enough-1')).code, codes.WRONG_OLD_PASSWORD);
  assert.equal((await reset('carol-initial', 'short')).code, codes.WEAK_PASSWORD);
  assert.equal((await reset('carol-initial', 'carol-new-pass')).code, 0);
  assert.equal((await account.getAccountInfo()).data.isInitialPassword, false);
  await account.logout();
  assert.equal((await login('carol', 'carol-initial')).code, codes.BAD_CREDENTIALS);
  assert.equal((await login('carol', 'carol-new-pass')).code, 0);
});
