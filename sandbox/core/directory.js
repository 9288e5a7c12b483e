// ===========================================================================
// Built-in user directory
// ===========================================================================

const BUILT_IN_USERS = [
  {
    username: 'alice', password: 'alice-password', phoneNumber: '13800000001', smsCode: '111111',
    accountToken: 'alice-token', userUuid: 'user-alice-0001', nickname: 'Alice Archer',
    privateMeetingNum: '6200000001', privateShortMeetingNum: '10001', corpName: 'Morvanta Sandbox',
    email: 'alice@sandbox.morvanta.test', avatar: 'https://sandbox.morvanta.test/avatars/alice.png',
  },
  {
    username: 'bob', password: 'bob-password', phoneNumber: '13800000002', smsCode: '222222',
    accountToken: 'bob-token', userUuid: 'user-bob-0002', nickname: 'Bob Baker',
    privateMeetingNum: '6200000002',
  },
  {
    username: 'carol', password: 'carol-initial', phoneNumber: '13800000003', smsCode: '333333',
    accountToken: 'carol-token', userUuid: 'user-carol-0003', nickname: 'Carol Chen',
    privateMeetingNum: '6200000003', privateShortMeetingNum: '10003', corpName: 'Morvanta Sandbox',
    isInitialPassword: true,
  },
  {
    username: 'dave', password: 'dave-password', phoneNumber: '13800000004', smsCode: '444444',
    accountToken: 'dave-token', userUuid: 'user-dave-0004', nickname: 'Dave Disabled',
    privateMeetingNum: '6200000004', disabled: true,
  },
];

const USER_KEYS = ['username', 'password', 'phoneNumber', 'smsCode', 'accountToken', 'userUuid', 'nickname',
  'privateMeetingNum', 'privateShortMeetingNum', 'corpName', 'email', 'avatar', 'isInitialPassword',
  'isAnonymous', 'disabled'];

function checkUser(user) {
  if (!isPlainObject(user) || !isNonEmptyString(user.username)) {
    throw badSetting('every user needs a non-empty "username"');
  }
  for (const key of Object.keys(user)) {
    if (!USER_KEYS.includes(key)) throw badSetting(`unknown user field "${key}"`);
  }
}

// Merges user entries into a list by username; later entries win field by field.
function mergeUsers(list, entries) {
  const out = list.map((u) => Object.assign({}, u));
  for (const entry of entries) {
    checkUser(entry);
    const found = out.find((u) => u.username === entry.username);
    if (found) Object.assign(found, cloneData(entry));
    else out.push(cloneData(entry));
  }
  return out;
}

// The service side of the accounts: users by name, phone and uuid, and the
// session tokens it has handed out.
class Directory {
  constructor(users) {
    this.users = [];
    this.issuedTokens = new Map(); // token -> username
    this.upsert(users);
  }

  // Adds users or changes the given fields of existing ones, in place, so a
  // live session keeps its user.
  upsert(entries) {
    for (const entry of entries) {
      const found = this.byUsername(entry.username);
      if (found) { Object.assign(found, cloneData(entry)); continue; }
      this.users.push(Object.assign({
        password: `${entry.username}-password`,
        userUuid: `user-${entry.username}`,
        nickname: entry.username,
        privateMeetingNum: String(6200000001 + this.users.length),
        isInitialPassword: false,
        isAnonymous: false,
        disabled: false,
      }, cloneData(entry)));
    }
  }

  removeBuiltIns() {
    this.users = this.users.filter((u) => !BUILT_IN_USERS.some((b) => b.username === u.username));
  }

  byUsername(name) { return this.users.find((u) => u.username === name); }
  byPhone(phone) { return this.users.find((u) => u.phoneNumber === phone); }
  byAccountId(id) { return this.users.find((u) => u.userUuid === id || u.username === id); }

  tokenValid(user, token) {
    return token === user.accountToken || this.issuedTokens.get(token) === user.username;
  }
}

// The record answered for the logged-in account, with the keys the library reads.
function accountRecord(user, userToken) {
  const rec = {
    userUuid: user.userUuid,
    userToken,
    nickname: user.nickname,
    privateMeetingNum: user.privateMeetingNum,
    account: user.username,
  };
  for (const key of ['corpName', 'avatar', 'phoneNumber', 'email', 'privateShortMeetingNum']) {
    if (isNonEmptyString(user[key])) rec[key] = user[key];
  }
  rec.isInitialPassword = Boolean(user.isInitialPassword);
  rec.isAnonymous = Boolean(user.isAnonymous);
  return rec;
}

