'use strict';
/*
 * Morvanta sandbox SDK.
 *
 * An in-memory stand-in for the meeting service's JavaScript SDK. The library
 * loads it as `index.js` beside the host executable, exactly like the real
 * SDK, and it answers every call from local state: no network, no threads, no
 * timers unless an answer is delayed or an event is scheduled.
 *
 *   globalThis.morVantaMeeting  the SDK surface the library calls
 *   globalThis.morVantaSandbox  the control object for tests and demos
 *
 * Behaviour can be changed without editing this file: through a JSON scenario
 * file named by MORVANTA_SANDBOX_SCENARIO (read once at load time) and through
 * morVantaSandbox.configure(). See README.md beside this file.
 *
 * The library embeds Node 18, so this file sticks to what Node 18 offers.
 */

const fs = require('fs');

const SDK_VERSION = '1.0.0-sandbox';
const DEFAULT_SERVER_URL = 'https://sandbox.morvanta.test';

// ===========================================================================
// Service codes and errors
// ===========================================================================

const Codes = Object.freeze({
  SUCCESS: 0,
  INVALID_PARAM: 1000,
  NOT_INITIALIZED: 1001,
  ALREADY_INITIALIZED: 1002,
  INVALID_APP_KEY: 1003,
  INVALID_CONFIG: 1004,
  NOT_LOGGED_IN: 1010,
  BAD_CREDENTIALS: 1011,
  BAD_SMS_CODE: 1012,
  BAD_TOKEN: 1013,
  ACCOUNT_NOT_FOUND: 1014,
  ACCOUNT_DISABLED: 1015,
  WRONG_OLD_PASSWORD: 1020,
  WEAK_PASSWORD: 1021,
  SAME_PASSWORD: 1022,
  INVALID_NICKNAME: 1023,
  // Meeting world (1100-1129): meetings, members, waiting room.
  NOT_IN_MEETING: 1100,
  ALREADY_IN_MEETING: 1101,
  MEETING_NOT_FOUND: 1102,
  NO_PERMISSION: 1103,
  MEMBER_NOT_FOUND: 1104,
  NOT_ADMITTED: 1105,
  IN_WAITING_ROOM: 1106,
  MEETING_EXISTS: 1107,
  CANNOT_MOVE_HOST: 1108,
  REJOIN_NOT_ALLOWED: 1109,
  INJECTED_FAILURE: 9000,
});

// A refusal by the service: becomes a non-zero code in the answer.
class ServiceError extends Error {
  constructor(code, message) {
    super(message);
    this.name = 'ServiceError';
    this.code = code;
  }
}

function refuse(code, message) {
  return new ServiceError(code, message);
}

// A mistake in the sandbox's own settings (scenario file, configure()): thrown
// to the caller, never turned into an answer.
function badSetting(message) {
  return new Error(`[MorvantaSandbox] ${message}`);
}

// ===========================================================================
// Small helpers
// ===========================================================================

const SHAPES = ['flat', 'nested', 'result', 'bare', 'json'];
const FAIL_MODES = ['throw', 'reject', 'hang', 'code'];
const REJECT_KINDS = ['error', 'string', 'object'];
const OVERRIDE_KEYS = ['delayMs', 'fail', 'shape', 'answer', 'code', 'message', 'rejectWith', 'times'];
const MANAGER_NAMES = ['account', 'audio', 'chatroom', 'invite', 'meeting', 'member', 'preMeeting',
  'screenShare', 'security', 'video', 'waitingRoom'];
const EVENT_SOURCES = MANAGER_NAMES.concat(['global']);

const hasOwn = (obj, key) => Object.prototype.hasOwnProperty.call(obj, key);

function isPlainObject(v) {
  return v !== null && typeof v === 'object' && !Array.isArray(v) && !Buffer.isBuffer(v);
}

function isNonEmptyString(v) {
  return typeof v === 'string' && v.length > 0;
}

// Deep copy of JSON-like data; functions and other objects are kept by reference.
function cloneData(v) {
  if (Array.isArray(v)) return v.map(cloneData);
  if (isPlainObject(v) && Object.getPrototypeOf(v) === Object.prototype) {
    const out = {};
    for (const k of Object.keys(v)) out[k] = cloneData(v[k]);
    return out;
  }
  return v;
}

// Deterministic generator (mulberry32): tokens are the same on every run with the same randomBase.
function makeRandom(randomBase) {
  let state = randomBase >>> 0;
  return function next() {
    state = (state + 0x6d2b79f5) >>> 0;
    let t = state;
    t = Math.imul(t ^ (t >>> 15), t | 1);
    t ^= t + Math.imul(t ^ (t >>> 7), t | 61);
    return ((t ^ (t >>> 14)) >>> 0) / 4294967296;
  };
}

function randomHex(random, length) {
  let out = '';
  while (out.length < length) out += Math.floor(random() * 0x100000000).toString(16).padStart(8, '0');
  return out.slice(0, length);
}

// Options objects of the SDK calls. A missing object is a parameter error.
function requireOptions(options) {
  if (!isPlainObject(options)) throw refuse(Codes.INVALID_PARAM, 'options must be an object');
  return options;
}

function requireString(options, key) {
  if (!isNonEmptyString(options[key])) throw refuse(Codes.INVALID_PARAM, `${key} is required`);
  return options[key];
}

// ===========================================================================
// Answer shapes
// ===========================================================================

// Puts an outcome ({code, message, data}) into one of the answer forms the
// library accepts. A failure always carries `data: null` in the flat form so
// that its code survives conversion; the payload-only forms cannot express a
// failure, so "result" falls back to the nested form and "bare" to the flat.
function shapeAnswer(outcome, shape) {
  const data = outcome.data === undefined ? null : outcome.data;
  const flat = { code: outcome.code, message: outcome.message, data: outcome.code === 0 ? data : null };
  switch (shape) {
    case 'nested': return { result: flat };
    case 'result': return outcome.code === 0 ? { result: data } : { result: flat };
    case 'bare': return outcome.code === 0 ? data : flat;
    case 'json': return JSON.stringify(flat);
    default: return flat;
  }
}

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

// ===========================================================================
// Settings (what configure() and the scenario file change)
// ===========================================================================

function defaultSettings() {
  return {
    defaultDelayMs: 0,
    defaultShape: 'flat',
    overrides: {},
    users: BUILT_IN_USERS.map((u) => Object.assign({}, u)),
    clock: null,
    randomBase: 1,
    appKeys: null,
    revokedAppKeys: ['sandbox-revoked-key'],
    timeline: [],
    verbose: false,
    meeting: defaultMeetingSettings(),
  };
}

function checkOverride(path, rule) {
  if (!isPlainObject(rule)) throw badSetting(`override for "${path}" must be an object`);
  for (const key of Object.keys(rule)) {
    if (!OVERRIDE_KEYS.includes(key)) throw badSetting(`unknown override field "${key}" for "${path}"`);
  }
  if (hasOwn(rule, 'fail') && !FAIL_MODES.includes(rule.fail)) {
    throw badSetting(`fail must be one of ${FAIL_MODES.join(', ')} (override "${path}")`);
  }
  if (hasOwn(rule, 'shape') && !SHAPES.includes(rule.shape)) {
    throw badSetting(`shape must be one of ${SHAPES.join(', ')} (override "${path}")`);
  }
  if (hasOwn(rule, 'rejectWith') && !REJECT_KINDS.includes(rule.rejectWith)) {
    throw badSetting(`rejectWith must be one of ${REJECT_KINDS.join(', ')} (override "${path}")`);
  }
  if (hasOwn(rule, 'delayMs') && !(typeof rule.delayMs === 'number' && rule.delayMs >= 0)) {
    throw badSetting(`delayMs must be a number >= 0 (override "${path}")`);
  }
  if (hasOwn(rule, 'code') && !(Number.isInteger(rule.code) && rule.code !== 0)) {
    throw badSetting(`code must be a non-zero integer (override "${path}")`);
  }
  if (hasOwn(rule, 'times') && !(Number.isInteger(rule.times) && rule.times > 0)) {
    throw badSetting(`times must be a positive integer (override "${path}")`);
  }
}

function checkTimelineEntry(entry, needsTime) {
  if (!isPlainObject(entry)) throw badSetting('a timeline entry must be an object');
  if (needsTime && !(typeof entry.atMs === 'number' && entry.atMs >= 0)) {
    throw badSetting('a timeline entry needs "atMs" >= 0');
  }
  if (!EVENT_SOURCES.includes(entry.manager)) {
    throw badSetting(`unknown manager "${entry.manager}" (one of ${EVENT_SOURCES.join(', ')})`);
  }
  if (!isNonEmptyString(entry.event)) throw badSetting('a timeline entry needs an "event" name');
  if (hasOwn(entry, 'args') && !Array.isArray(entry.args)) throw badSetting('"args" must be an array');
}

// Applies one configure() object to a settings record, checking every key so
// that a typo in a scenario file fails loudly instead of being ignored.
function applySettings(settings, options) {
  if (!isPlainObject(options)) throw badSetting('configure() takes an object');
  for (const key of Object.keys(options)) {
    const value = options[key];
    switch (key) {
      case 'defaultDelayMs':
        if (!(typeof value === 'number' && value >= 0)) throw badSetting('defaultDelayMs must be a number >= 0');
        settings.defaultDelayMs = value;
        break;
      case 'defaultShape':
        if (!SHAPES.includes(value)) throw badSetting(`defaultShape must be one of ${SHAPES.join(', ')}`);
        settings.defaultShape = value;
        break;
      case 'overrides':
        if (!isPlainObject(value)) throw badSetting('overrides must be an object keyed by method path');
        for (const path of Object.keys(value)) {
          if (value[path] === null) { delete settings.overrides[path]; continue; }
          checkOverride(path, value[path]);
          settings.overrides[path] = cloneData(value[path]);
        }
        break;
      case 'builtInUsers':
        if (typeof value !== 'boolean') throw badSetting('builtInUsers must be a boolean');
        settings.users = value ? mergeUsers(BUILT_IN_USERS, settings.users) : settings.users.filter(
          (u) => !BUILT_IN_USERS.some((b) => b.username === u.username));
        break;
      case 'users':
        if (!Array.isArray(value)) throw badSetting('users must be an array');
        settings.users = mergeUsers(settings.users, value);
        break;
      case 'clock':
        if (!(value === null || value === 'real' || typeof value === 'function' || Number.isFinite(value))) {
          throw badSetting('clock must be a number (fixed epoch ms), a function, "real" or null');
        }
        settings.clock = value === 'real' ? null : value;
        break;
      case 'randomBase':
        if (!Number.isInteger(value)) throw badSetting('randomBase must be an integer');
        settings.randomBase = value;
        break;
      case 'appKeys':
        if (!(value === null || (Array.isArray(value) && value.every(isNonEmptyString)))) {
          throw badSetting('appKeys must be an array of strings or null');
        }
        settings.appKeys = value && value.slice();
        break;
      case 'revokedAppKeys':
        if (!(Array.isArray(value) && value.every(isNonEmptyString))) {
          throw badSetting('revokedAppKeys must be an array of strings');
        }
        settings.revokedAppKeys = value.slice();
        break;
      case 'timeline':
        if (!Array.isArray(value)) throw badSetting('timeline must be an array');
        value.forEach((e) => checkTimelineEntry(e, true));
        settings.timeline = cloneData(value);
        break;
      case 'verbose':
        if (typeof value !== 'boolean') throw badSetting('verbose must be a boolean');
        settings.verbose = value;
        break;
      case 'meeting':
        applyMeetingSettings(settings.meeting, value);
        break;
      default:
        throw badSetting(`unknown setting "${key}"`);
    }
  }
  return settings;
}

// --- meeting world settings (configure({meeting: {...}})) -------------------

const MEETING_ACTIONS = ['join', 'leave', 'muteAudio', 'unmuteAudio', 'muteVideo', 'unmuteVideo', 'startShare',
  'stopShare', 'audioDisconnect', 'audioConnect', 'handsUp', 'handsDown', 'chat', 'file', 'rename', 'banChat',
  'unbanChat', 'customMessage', 'sessionMessage', 'deleteSessionMessage', 'clearSession', 'admitLocal',
  'putLocalInWaitingRoom', 'kickLocal', 'endMeeting'];
// Actions that need no `member` (the simulated host or the service acts).
const HOST_ACTIONS = ['admitLocal', 'putLocalInWaitingRoom', 'kickLocal', 'endMeeting', 'sessionMessage',
  'deleteSessionMessage', 'clearSession'];
const MEETING_SETTING_KEYS = ['members', 'memberCount', 'joinStepMs', 'script', 'waitingRoomByDefault', 'autoAdmitMs',
  'rtcStatsIntervalMs', 'rooms'];
const ROOM_KEYS = ['meetingNum', 'subject', 'ownerUserUuid', 'ownerNickname', 'enableWaitingRoom', 'password',
  'noChat', 'type', 'startTime', 'endTime', 'meetingId', 'roomUuid'];

function defaultMeetingSettings() {
  return {
    members: ['Grace Hopper', 'Alan Turing', 'Ada Lovelace', 'Linus Torvalds', 'Margaret Hamilton'],
    memberCount: 3,
    joinStepMs: 300,
    waitingRoomByDefault: false,
    autoAdmitMs: 2000,
    rtcStatsIntervalMs: 1000,
    rooms: [
      { meetingNum: '8800000001', subject: 'Sandbox Daily Standup', enableWaitingRoom: false },
      { meetingNum: '8800000002', subject: 'Sandbox Design Review', enableWaitingRoom: true },
    ],
    script: [
      { atMs: 1500, member: 1, action: 'muteAudio' },
      { atMs: 2500, member: 0, action: 'chat', text: 'Hi everyone, can you hear me?' },
      { atMs: 3500, member: 2, action: 'handsUp' },
      { atMs: 4500, member: 1, action: 'startShare' },
      { atMs: 5000, member: 0, action: 'customMessage', data: '{"kind":"poll","question":"Lunch at noon?"}' },
      { atMs: 6000, member: 3, action: 'join' },
      { atMs: 7000, member: 0, action: 'file', file: { name: 'agenda.pdf', size: 48213 } },
      { atMs: 8000, member: 2, action: 'handsDown' },
      { atMs: 9000, member: 1, action: 'stopShare' },
      { atMs: 9500, member: 1, action: 'unmuteAudio' },
      { atMs: 10000, action: 'sessionMessage', sessionId: 'meeting-assistant', sessionType: 0,
        data: '{"text":"Your meeting is being summarised"}' },
      { atMs: 12000, member: 3, action: 'muteVideo' },
      { atMs: 15000, member: 3, action: 'leave' },
    ],
  };
}

function checkMeetingAction(entry, needsTime) {
  if (!isPlainObject(entry)) throw badSetting('a meeting script entry must be an object');
  if (needsTime && !(typeof entry.atMs === 'number' && entry.atMs >= 0)) {
    throw badSetting('a meeting script entry needs "atMs" >= 0');
  }
  if (!MEETING_ACTIONS.includes(entry.action)) {
    throw badSetting(`unknown meeting action "${entry.action}" (one of ${MEETING_ACTIONS.join(', ')})`);
  }
  const m = entry.member;
  if (!HOST_ACTIONS.includes(entry.action) && !(Number.isInteger(m) && m >= 0) && !isNonEmptyString(m)) {
    throw badSetting(`meeting action "${entry.action}" needs "member" (roster index, name, uuid or "local")`);
  }
  if (entry.action === 'file' && !(isPlainObject(entry.file) && isNonEmptyString(entry.file.name))) {
    throw badSetting('meeting action "file" needs "file": {name, size?}');
  }
  if (entry.action === 'rename' && !isNonEmptyString(entry.name)) throw badSetting('meeting action "rename" needs "name"');
}

function applyMeetingSettings(target, value) {
  if (!isPlainObject(value)) throw badSetting('meeting must be an object');
  for (const key of Object.keys(value)) {
    const v = value[key];
    switch (key) {
      case 'members':
        if (!Array.isArray(v) || !v.every((m) => isNonEmptyString(m) || (isPlainObject(m) && isNonEmptyString(m.name)))) {
          throw badSetting('meeting.members must be an array of names or of objects with a "name"');
        }
        break;
      case 'memberCount':
        if (!(Number.isInteger(v) && v >= 0)) throw badSetting('meeting.memberCount must be an integer >= 0');
        break;
      case 'joinStepMs':
        if (!(typeof v === 'number' && v >= 0)) throw badSetting('meeting.joinStepMs must be a number >= 0');
        break;
      case 'autoAdmitMs':
        if (!(v === null || (typeof v === 'number' && v >= 0))) {
          throw badSetting('meeting.autoAdmitMs must be a number >= 0 or null (never)');
        }
        break;
      case 'rtcStatsIntervalMs':
        if (!(typeof v === 'number' && v >= 0)) throw badSetting('meeting.rtcStatsIntervalMs must be a number >= 0');
        break;
      case 'waitingRoomByDefault':
        if (typeof v !== 'boolean') throw badSetting('meeting.waitingRoomByDefault must be a boolean');
        break;
      case 'script':
        if (!Array.isArray(v)) throw badSetting('meeting.script must be an array');
        v.forEach((e) => checkMeetingAction(e, true));
        break;
      case 'rooms':
        if (!Array.isArray(v)) throw badSetting('meeting.rooms must be an array');
        for (const room of v) {
          if (!isPlainObject(room) || !isNonEmptyString(room.meetingNum)) {
            throw badSetting('every meeting room needs a non-empty "meetingNum" string');
          }
          const bad = Object.keys(room).find((k) => !ROOM_KEYS.includes(k));
          if (bad) throw badSetting(`unknown meeting room field "${bad}"`);
        }
        break;
      default:
        throw badSetting(`unknown meeting setting "${key}" (one of ${MEETING_SETTING_KEYS.join(', ')})`);
    }
    target[key] = cloneData(v);
  }
  return target;
}

// ===========================================================================
// Event hub: listener objects per manager, in named channels
// ===========================================================================

// A listener is a plain object whose methods are named after the events it
// wants (e.g. { onMemberJoinRoom(members) {...} }). Managers keep their
// listeners in channels ("meeting", "rtcStats", ...) so that each add/remove
// pair of the SDK surface works on its own set.
class EventHub {
  constructor() { this.channels = new Map(); }

  add(channel, listener) {
    if (listener === null || (typeof listener !== 'object' && typeof listener !== 'function')) {
      throw new TypeError('listener must be an object');
    }
    if (!this.channels.has(channel)) this.channels.set(channel, new Set());
    this.channels.get(channel).add(listener);
  }

  remove(channel, listener) {
    const set = this.channels.get(channel);
    return Boolean(set && set.delete(listener));
  }

  count(channel) {
    if (channel !== undefined) return this.channels.has(channel) ? this.channels.get(channel).size : 0;
    let n = 0;
    for (const set of this.channels.values()) n += set.size;
    return n;
  }

  // Calls listener[event](...args) on every listener of the channel (or of all
  // channels) that has such a method; a listener that throws is reported and
  // does not stop the others. Returns how many listeners were called.
  emit(channel, event, args) {
    const sets = channel === undefined ? Array.from(this.channels.values())
      : [this.channels.get(channel) || new Set()];
    let delivered = 0;
    for (const set of sets) {
      for (const listener of Array.from(set)) {
        if (typeof listener[event] !== 'function') continue;
        delivered += 1;
        try {
          listener[event](...args);
        } catch (e) {
          console.error(`[MorvantaSandbox] listener for ${event} threw:`, e && e.message ? e.message : e);
        }
      }
    }
    return delivered;
  }

  clear() { this.channels.clear(); }
}

// ===========================================================================
// Sandbox core: state, call log, overrides, timers, answers
// ===========================================================================

class Sandbox {
  constructor(loadSettings) {
    this.loadSettings = loadSettings; // what reset() returns to
    this.hubs = new Map(EVENT_SOURCES.map((name) => [name, new EventHub()]));
    this.timers = new Set();
    this.reset();
  }

  reset() {
    this.clearTimers();
    for (const hub of this.hubs.values()) hub.clear();
    this.settings = cloneData(this.loadSettings);
    this.calls = [];
    this.events = [];
    this.seq = 0;
    this.initialized = false;
    this.initConfig = null;
    this.rebuildWorld();
  }

  // Service-side state: directory, session and the token generator.
  rebuildWorld() {
    this.directory = new Directory(this.settings.users);
    this.session = null;
    this.random = makeRandom(this.settings.randomBase);
    this.resetMeetingWorld();
  }

  configure(options) {
    const next = applySettings(cloneData(this.settings), options);
    this.settings = next;
    // The live directory changes in place: earlier nicknames, passwords and
    // the session survive a configure().
    if (options.builtInUsers === false) this.directory.removeBuiltIns();
    if (options.builtInUsers === true) {
      this.directory.upsert(BUILT_IN_USERS.filter((u) => !this.directory.byUsername(u.username)));
    }
    if (hasOwn(options, 'users')) this.directory.upsert(options.users);
    if (this.session && !this.directory.byUsername(this.session.user.username)) this.session = null;
    if (hasOwn(options, 'randomBase')) this.random = makeRandom(next.randomBase);
    if (hasOwn(options, 'timeline') && this.initialized) this.schedule(next.timeline);
  }

  now() {
    const clock = this.settings.clock;
    if (typeof clock === 'function') return clock();
    if (typeof clock === 'number') return clock;
    return Date.now();
  }

  log(...items) {
    if (this.settings.verbose) console.log('[MorvantaSandbox]', ...items);
  }

  // --- timers -------------------------------------------------------------

  // Runs fn after ms; tracked so that reset() and unInitialize() can clear it.
  after(ms, fn) {
    const handle = setTimeout(() => { this.timers.delete(handle); fn(); }, ms);
    this.timers.add(handle);
  }

  clearTimers() {
    for (const handle of this.timers) clearTimeout(handle);
    this.timers.clear();
  }

  // --- calls and overrides -------------------------------------------------

  record(path, args) {
    const entry = { seq: ++this.seq, path, args: Array.from(args), at: this.now() };
    this.calls.push(entry);
    return entry;
  }

  // The override for a path: exact, then "<manager>.*", then "*" (the last
  // two not for listener hooks). One with `times` is used up after that many
  // calls.
  takeOverride(path, exactOnly) {
    const overrides = this.settings.overrides;
    const dot = path.indexOf('.');
    const keys = exactOnly ? [path] : [path, dot > 0 ? `${path.slice(0, dot)}.*` : null, '*'];
    const key = keys.find((k) => k !== null && hasOwn(overrides, k));
    if (key === undefined) return null;
    const rule = overrides[key];
    if (rule.times !== undefined) {
      rule.times -= 1;
      if (rule.times <= 0) delete overrides[key];
    }
    return rule;
  }

  // The one door of every answering SDK method: logs the call, applies the
  // override for its path, and otherwise answers with what `logic` returns,
  // or with the code of the ServiceError it throws. `logic` runs when the
  // answer is due, so a delayed call sees the state of that moment.
  answer(path, args, logic) {
    this.record(path, args);
    const ov = this.takeOverride(path) || {};
    const failMessage = ov.message !== undefined ? ov.message : `sandbox: injected failure of ${path}`;
    if (ov.fail === 'throw') throw new Error(failMessage);
    if (ov.fail === 'hang') return new Promise(() => {});
    const delay = ov.delayMs !== undefined ? ov.delayMs : this.settings.defaultDelayMs;
    const shape = ov.shape || this.settings.defaultShape;

    return new Promise((resolve, reject) => {
      const settle = () => {
        if (ov.fail === 'reject') {
          const code = ov.code !== undefined ? ov.code : Codes.INJECTED_FAILURE;
          if (ov.rejectWith === 'string') reject(failMessage);
          else if (ov.rejectWith === 'object') reject({ code, message: failMessage });
          else reject(new Error(failMessage));
          return;
        }
        if (hasOwn(ov, 'answer')) { resolve(ov.answer); return; }
        let outcome;
        if (ov.fail === 'code') {
          outcome = { code: ov.code !== undefined ? ov.code : Codes.INJECTED_FAILURE, message: failMessage };
        } else {
          try {
            outcome = { code: Codes.SUCCESS, message: 'success', data: logic() };
          } catch (e) {
            if (!(e instanceof ServiceError)) { reject(e); return; }
            outcome = { code: e.code, message: e.message };
          }
        }
        this.log(`${path} -> ${outcome.code} ${outcome.message}`);
        resolve(shapeAnswer(outcome, shape));
      };
      if (delay > 0) this.after(delay, settle);
      else Promise.resolve().then(settle);
    });
  }

  // Listener add/remove calls answer synchronously; they are logged, and only
  // a "throw" override of their exact path applies to them.
  hook(path, args, fn) {
    this.record(path, args);
    const ov = this.takeOverride(path, true);
    if (ov && ov.fail === 'throw') {
      throw new Error(ov.message !== undefined ? ov.message : `sandbox: injected failure of ${path}`);
    }
    return fn();
  }

  requireInitialized() {
    if (!this.initialized) throw refuse(Codes.NOT_INITIALIZED, 'SDK not initialized');
  }

  requireSession() {
    this.requireInitialized();
    if (!this.session) throw refuse(Codes.NOT_LOGGED_IN, 'not logged in');
    return this.session;
  }

  // --- events --------------------------------------------------------------

  emit(entry) {
    checkTimelineEntry(entry, false);
    const args = entry.args ? entry.args : (hasOwn(entry, 'data') ? [entry.data] : []);
    const delivered = this.hubs.get(entry.manager).emit(entry.channel, entry.event, args);
    this.events.push({
      seq: ++this.seq, manager: entry.manager, channel: entry.channel, event: entry.event,
      args, delivered, at: this.now(),
    });
    this.log(`event ${entry.manager}.${entry.event} -> ${delivered} listener(s)`);
    return delivered;
  }

  // Timeline: each entry is delivered atMs after this call, entries with the
  // same time in the order given.
  schedule(entries) {
    if (!Array.isArray(entries)) throw badSetting('schedule() takes an array of entries');
    entries.forEach((e) => checkTimelineEntry(e, true));
    const ordered = entries.map((e, i) => ({ e: cloneData(e), i }))
      .sort((a, b) => a.e.atMs - b.e.atMs || a.i - b.i);
    for (const { e } of ordered) this.after(e.atMs, () => this.emit(e));
    return ordered.length;
  }
}

// ===========================================================================
// Meeting world: the meeting the local user is in, its members, waiting room
// ===========================================================================
//
// `sandbox.meeting` is null outside a meeting. Members are plain objects with
// the JS keys of MvMember; managers change them through updateMember() so that
// the matching events fire. README.md ("Meeting state for managers") lists
// the helpers; keep their names stable, other managers build on them.

// onMyWaitingRoomStatusChanged(status, reason) and the status of a waiting member.
const WaitingStatus = Object.freeze({ WAITING: 1, ADMITTED: 2, REMOVED: 3 });
// reason of onMemberJoin, onMemberLeave and onMyWaitingRoomStatusChanged.
const WaitingReason = Object.freeze({
  JOINED: 0, PUT_BACK: 1, LEFT: 2, ADMITTED: 3, EXPELLED: 4, MEETING_ENDED: 5, ALL_EXPELLED: 6,
});
// reason of onRoomEnded.
const EndReason = Object.freeze({
  LEAVE_BY_SELF: 'LEAVE_BY_SELF', CLOSE_BY_MEMBER: 'CLOSE_BY_MEMBER', KICK_OUT: 'KICK_OUT',
  MOVED_TO_WAITING_ROOM: 'MOVED_TO_WAITING_ROOM',
});
const HOST_ROLES = ['host', 'cohost'];

// The MvMember keys every member carries; anything else on a record is private.
const MEMBER_KEYS = ['uuid', 'name', 'role', 'avatar', 'isAudioOn', 'isVideoOn', 'isAudioConnected', 'isInChatroom',
  'isInRtcChannel', 'isSharingScreen', 'isSharingSystemAudio', 'isSharingWhiteboard', 'isHandsUp', 'isChatBanned',
  'clientType', 'inviteState'];

function newMember(fields) {
  return Object.assign({
    uuid: '', name: '', role: 'member', isAudioOn: true, isVideoOn: true, isAudioConnected: true,
    isInChatroom: true, isInRtcChannel: true, isSharingScreen: false, isSharingSystemAudio: false,
    isSharingWhiteboard: false, isHandsUp: false, isChatBanned: false, clientType: 3, inviteState: 0,
  }, fields);
}

// The copy of a member that leaves the sandbox (answers, events).
function memberView(member) {
  if (!member) return null;
  const out = {};
  for (const key of MEMBER_KEYS) if (member[key] !== undefined) out[key] = member[key];
  return out;
}

function waitingView(w) {
  const out = { uuid: w.uuid, name: w.name, joinTime: w.joinTime, status: w.status };
  if (w.avatar !== undefined) out.avatar = w.avatar;
  return out;
}

// Which member flag fires which meeting event (args after the member view).
const FLAG_EVENTS = {
  isAudioOn: (view, on, op) => ['onMemberAudioMuteChanged', view, !on, op],
  isVideoOn: (view, on, op) => ['onMemberVideoMuteChanged', view, !on, op],
  isSharingScreen: (view, on, op) => ['onMemberScreenShareStateChanged', view, on, op],
  isAudioConnected: (view, on) => ['onMemberAudioConnectStateChanged', view, on],
  isChatBanned: (view, on, op, extra) => ['onMemberChatBanStateChanged', view, on,
    on ? (extra.duration || 0) : 0, extra.notifyExt || '', op],
};

const MeetingWorld = {
  // Called by rebuildWorld(): no meeting, the service's rooms from the settings.
  resetMeetingWorld() {
    this.meeting = null;
    this.rooms = new Map();
    this.meetingSeq = 0;
    this.messageSessions = new Map();
    for (const room of this.settings.meeting.rooms) this.registerRoom(room);
  },

  // --- guards (throw ServiceErrors, so they become answers) -----------------

  requireMeeting() {
    this.requireInitialized();
    if (!this.meeting) throw refuse(Codes.NOT_IN_MEETING, 'not in a meeting');
    return this.meeting;
  },

  // In the meeting and not in its waiting room.
  requireInRoom() {
    const meeting = this.requireMeeting();
    if (meeting.localStatus !== 'inRoom') throw refuse(Codes.IN_WAITING_ROOM, 'you are in the waiting room');
    return meeting;
  },

  // In the room as host or co-host.
  requireHost() {
    const meeting = this.requireInRoom();
    if (!HOST_ROLES.includes(meeting.local.role)) throw refuse(Codes.NO_PERMISSION, 'only the host can do this');
    return meeting;
  },

  isLocalHost() {
    return Boolean(this.meeting && HOST_ROLES.includes(this.meeting.local.role));
  },

  // --- members ----------------------------------------------------------------

  // The live record of an in-room member (null if absent). Use memberView() for copies.
  findMember(uuid) {
    if (!this.meeting) return null;
    return this.meeting.members.find((m) => m.uuid === uuid) || null;
  },

  // Like findMember, but refuses an unknown uuid.
  requireMember(uuid) {
    const meeting = this.requireInRoom();
    if (typeof uuid !== 'string') throw refuse(Codes.INVALID_PARAM, 'userUuid must be a string');
    const member = meeting.members.find((m) => m.uuid === uuid);
    if (!member) throw refuse(Codes.MEMBER_NOT_FOUND, `no member ${uuid} in the meeting`);
    return member;
  },

  localMember() { return this.meeting ? this.meeting.local : null; },

  memberList() { return this.meeting ? this.meeting.members.map(memberView) : []; },

  // Changes member flags; each flag that really changes fires its meeting event
  // (see FLAG_EVENTS) with operateBy, a member or uuid, or null for the member
  // itself. options: { operateBy, duration, notifyExt, silent }. Other keys
  // (name, role, isHandsUp, ...) change without an event. Answers the record.
  updateMember(uuid, changes, options = {}) {
    const member = typeof uuid === 'object' && uuid !== null ? uuid : this.findMember(uuid);
    if (!member) return null;
    const op = typeof options.operateBy === 'string' ? this.findMember(options.operateBy) : options.operateBy;
    const fired = [];
    for (const key of Object.keys(changes)) {
      if (member[key] === changes[key]) continue;
      member[key] = changes[key];
      if (FLAG_EVENTS[key]) fired.push(key);
    }
    if (!options.silent) {
      for (const key of fired) {
        const [event, ...args] = FLAG_EVENTS[key](memberView(member), member[key], memberView(op) || null, options);
        this.emitMeeting(event, ...args);
      }
    }
    return member;
  },

  // --- events -------------------------------------------------------------

  // To meeting listeners (addMeetingListener and room context alike), only
  // while the local user is in the room. Answers the number of listeners called.
  emitMeeting(event, ...args) {
    if (!this.meeting || this.meeting.localStatus !== 'inRoom') return 0;
    return this.emit({ manager: 'meeting', channel: 'meeting', event, args: cloneData(args) });
  },
  emitRtcStats(event, data) {
    return this.emit({ manager: 'meeting', channel: 'rtcStats', event, args: [cloneData(data)] });
  },
  emitMessageChannel(event, ...args) {
    return this.emit({ manager: 'meeting', channel: 'messageChannel', event, args: cloneData(args) });
  },
  emitWaitingRoom(event, ...args) {
    return this.emit({ manager: 'waitingRoom', channel: 'default', event, args: cloneData(args) });
  },
  emitGlobal(event, ...args) {
    return this.emit({ manager: 'global', channel: 'global', event, args });
  },

  // --- chat log ---------------------------------------------------------------

  // A chat message record (MvChatMessage keys) from a member. form: { text }
  // for text, { file: {name, size, ext?, url?} } for a file, and optionally
  // { toUserUuidList: [...] } for a private message.
  chatMessage(sender, form = {}) {
    const meeting = this.meeting;
    const n = meeting ? meeting.chat.length + 1 : 0;
    const msg = {
      messageUuid: `msg-${meeting ? meeting.meetingId : 0}-${n}`,
      idClient: `cli-${meeting ? meeting.meetingId : 0}-${n}`,
      fromUserUuid: sender.uuid, fromNick: sender.name, from: sender.uuid, fromClientType: 'pc',
      time: this.now(), status: 'success', chatroomType: 0, isMe: Boolean(meeting && sender.uuid === meeting.local.uuid),
      resend: false,
    };
    if (sender.avatar) msg.fromAvatar = sender.avatar;
    if (form.file) {
      const f = form.file;
      const ext = f.ext || (f.name.includes('.') ? f.name.slice(f.name.lastIndexOf('.') + 1) : '');
      const url = f.url || `${DEFAULT_SERVER_URL}/files/${encodeURIComponent(f.name)}`;
      Object.assign(msg, {
        messageType: 'file', type: 'file', text: '',
        displayName: f.name, extension: ext, size: f.size || 0, url, md5: f.md5 || '', path: '',
        file: { name: f.name, ext, size: f.size || 0, url, filePath: '', w: 0, h: 0 },
      });
    } else {
      Object.assign(msg, { messageType: 'text', type: 'text', text: String(form.text || '') });
    }
    const to = form.toUserUuidList;
    msg.isPrivate = Array.isArray(to) && to.length > 0;
    if (msg.isPrivate) {
      msg.toUserUuidList = to.slice();
      const target = this.findMember(to[0]);
      if (target) msg.toNickname = target.name;
    }
    return msg;
  },

  // Appends messages to the chat log; with emit (default) they also reach the
  // meeting listeners as onReceiveChatroomMessages(messages).
  deliverChat(messages, emit = true) {
    const list = Array.isArray(messages) ? messages : [messages];
    if (!this.meeting) return 0;
    this.meeting.chat.push(...cloneData(list));
    return emit ? this.emitMeeting('onReceiveChatroomMessages', list) : 0;
  },

  // --- rooms on the service ---------------------------------------------------

  // Makes a meeting number joinable (used for configured rooms, created
  // meetings and, e.g., scheduled ones). Answers the (live) room descriptor.
  registerRoom(fields) {
    const meetingNum = String(fields.meetingNum);
    const existing = this.rooms.get(meetingNum);
    if (existing) return Object.assign(existing, cloneData(fields), { meetingNum });
    this.meetingSeq += 1;
    const room = Object.assign({
      meetingId: 5000 + this.meetingSeq,
      roomUuid: `room-${meetingNum}`,
      subject: `Meeting ${meetingNum}`,
      ownerUserUuid: '', ownerNickname: '',
      enableWaitingRoom: this.settings.meeting.waitingRoomByDefault,
      type: 1, password: '', noChat: false, startTime: 0, endTime: 0,
    }, cloneData(fields), { meetingNum });
    this.rooms.set(meetingNum, room);
    return room;
  },

  // A running room by number; configured rooms (settings.meeting.rooms) are
  // always running, also after configure() or an endMeeting.
  findRoom(meetingNum) {
    const num = String(meetingNum);
    if (this.rooms.has(num)) return this.rooms.get(num);
    const configured = this.settings.meeting.rooms.find((r) => r.meetingNum === num);
    return configured ? this.registerRoom(configured) : null;
  },

  // --- timers bound to the meeting --------------------------------------------

  // Like after(), but cleared when the meeting ends and skipped if it has.
  meetingAfter(ms, fn) {
    const meeting = this.meeting;
    if (!meeting) return null;
    const handle = setTimeout(() => {
      this.timers.delete(handle);
      meeting.timers.delete(handle);
      if (this.meeting === meeting) fn();
    }, ms);
    this.timers.add(handle);
    meeting.timers.add(handle);
    return handle;
  },

  meetingEvery(ms, fn) {
    const meeting = this.meeting;
    if (!meeting) return null;
    const handle = setInterval(() => { if (this.meeting === meeting) fn(); }, ms);
    if (handle.unref) handle.unref();
    this.timers.add(handle);
    meeting.timers.add(handle);
    return handle;
  },

  cancelMeetingTimer(handle) {
    if (!handle) return;
    clearTimeout(handle);
    this.timers.delete(handle);
    if (this.meeting) this.meeting.timers.delete(handle);
  },
};

Object.assign(Sandbox.prototype, MeetingWorld);

// Small deterministic variation for simulated numbers (no Math.random).
function wobble(tick, salt, range) {
  return ((Math.imul(tick + 1, 2654435761) ^ Math.imul(salt + 7, 40503)) >>> 0) % range;
}

// The simulated members a meeting can have, from settings.meeting.
function rosterOf(ms, excludeUuid) {
  const list = ms.members.map((m, i) => {
    const o = typeof m === 'string' ? { name: m } : m;
    return {
      uuid: o.uuid || `sim-member-${String(i + 1).padStart(2, '0')}`, name: o.name, avatar: o.avatar,
      isAudioOn: o.isAudioOn !== undefined ? Boolean(o.isAudioOn) : true,
      isVideoOn: o.isVideoOn !== undefined ? Boolean(o.isVideoOn) : i % 2 === 0,
    };
  });
  for (let i = list.length; i < ms.memberCount; i += 1) {
    list.push({ uuid: `sim-member-${String(i + 1).padStart(2, '0')}`, name: `Guest ${i + 1}`,
      isAudioOn: true, isVideoOn: i % 2 === 0 });
  }
  return list.filter((d) => d.uuid !== excludeUuid);
}

Object.assign(Sandbox.prototype, {
  // --- entering and leaving ---------------------------------------------------

  // Opens the meeting of `room` for the local identity {uuid, name, avatar?,
  // role?}. mode "create": simulated members arrive after the start (joinStepMs
  // apart); "join"/"enter": the first memberCount are there already. Answers
  // the meeting info record.
  openMeeting(room, identity, mode, options = {}) {
    const ms = this.settings.meeting;
    const now = this.now();
    const roster = rosterOf(ms, identity.uuid);
    if (!room.ownerUserUuid) {
      const host = roster[0] || { uuid: 'sim-host', name: 'Sandbox Host' };
      room.ownerUserUuid = host.uuid;
      room.ownerNickname = host.name;
    }
    if (!room.startTime) room.startTime = now;
    const hostUuid = room.ownerUserUuid;
    const local = newMember({
      uuid: identity.uuid, name: identity.name,
      role: identity.uuid === hostUuid ? 'host' : (identity.role || 'member'),
      isAudioOn: false, isVideoOn: false, isInChatroom: !room.noChat,
    });
    if (identity.avatar) local.avatar = identity.avatar;
    const meeting = {
      meetingId: room.meetingId, meetingNum: room.meetingNum, roomUuid: room.roomUuid, subject: room.subject,
      password: room.password || '', type: room.type, ownerUserUuid: room.ownerUserUuid,
      ownerNickname: room.ownerNickname, hostUuid, startTime: room.startTime, endTime: room.endTime || 0,
      joinMeetingTime: now, rtcStartTime: 0, noChat: Boolean(room.noChat), room,
      local, members: [], localStatus: 'none', roster,
      waitingRoom: { enabled: Boolean(room.enableWaitingRoom), members: [], backgroundImageUrl: '',
        autoAdmit: new Set(), blocked: room.blocked || (room.blocked = new Set()) },
      chat: [], timers: new Set(), statsTimer: null, stats: null,
    };
    this.meeting = meeting;
    if (mode !== 'create') {
      for (const def of roster.slice(0, ms.memberCount)) meeting.members.push(this.simMemberFrom(def));
    }
    const mustWait = options.inWaitingRoom === true || (options.inWaitingRoom === undefined && mode === 'join'
      && meeting.waitingRoom.enabled && !HOST_ROLES.includes(local.role));
    if (mustWait) this.localToWaitingRoom(WaitingReason.JOINED);
    else this.enterRoom();
    if (mode === 'create') {
      roster.slice(0, ms.memberCount).forEach((def, i) => {
        this.meetingAfter(ms.joinStepMs * (i + 1), () => this.simJoin(def));
      });
    }
    const script = ms.script.map((e, i) => ({ e, i })).sort((a, b) => a.e.atMs - b.e.atMs || a.i - b.i);
    for (const { e } of script) this.meetingAfter(e.atMs, () => this.runMeetingAction(e));
    this.log(`meeting ${meeting.meetingNum} opened (${mode}) as ${local.uuid} [${local.role}]`);
    return this.meetingInfo();
  },

  // The local user enters the room itself: RTC engine events, stats start.
  enterRoom() {
    const meeting = this.meeting;
    meeting.localStatus = 'inRoom';
    if (!meeting.members.includes(meeting.local)) meeting.members.push(meeting.local);
    meeting.rtcStartTime = this.now();
    const rtc = { roomUuid: meeting.roomUuid, sandbox: true };
    this.emitGlobal('beforeRtcEngineInitialize', meeting.roomUuid);
    this.emitGlobal('afterRtcEngineInitialize', meeting.roomUuid, rtc);
    this.startRtcStats();
  },

  // The local user leaves the room (not necessarily the meeting).
  exitRoom() {
    const meeting = this.meeting;
    if (meeting.localStatus !== 'inRoom') return;
    this.cancelMeetingTimer(meeting.statsTimer);
    meeting.statsTimer = null;
    this.emitGlobal('beforeRtcEngineRelease', meeting.roomUuid, { roomUuid: meeting.roomUuid, sandbox: true });
    meeting.members = meeting.members.filter((m) => m !== meeting.local);
    meeting.localStatus = 'none';
  },

  // Ends the local user's part in the meeting. reason: onRoomEnded's reason
  // (null: no onRoomEnded). ended: the meeting itself is over (the room is
  // unregistered; a waiting local user hears REMOVED / MEETING_ENDED).
  closeMeeting(reason, ended = false) {
    const meeting = this.meeting;
    if (!meeting) return false;
    if (meeting.localStatus === 'inRoom') {
      if (reason) this.emitMeeting('onRoomEnded', reason, '');
      this.exitRoom();
    } else if (ended) {
      this.emitWaitingRoom('onMyWaitingRoomStatusChanged', WaitingStatus.REMOVED, WaitingReason.MEETING_ENDED);
    }
    if (ended) this.rooms.delete(meeting.meetingNum);
    this.dropMeeting();
    return true;
  },

  // Forgets the meeting without any event; clears its timers.
  dropMeeting() {
    const meeting = this.meeting;
    if (!meeting) return;
    for (const handle of meeting.timers) { clearTimeout(handle); this.timers.delete(handle); }
    meeting.timers.clear();
    this.meeting = null;
  },

  // The record getMeetingInfo answers (MvMeetingSDKInfo and MvMeetingInfo keys).
  meetingInfo() {
    const m = this.meeting;
    const host = this.findMember(m.hostUuid);
    return {
      meetingId: m.meetingId, meetingNum: m.meetingNum, roomUuid: m.roomUuid, subject: m.subject,
      type: m.type, state: m.localStatus === 'inRoom' ? 2 : 1,
      startTime: m.startTime, endTime: m.endTime, rtcStartTime: m.rtcStartTime, joinMeetingTime: m.joinMeetingTime,
      ownerUserUuid: m.ownerUserUuid, ownerNickname: m.ownerNickname,
      hostUuid: m.hostUuid, hostName: host ? host.name : m.ownerNickname,
      myUuid: m.local.uuid,
      localMember: { userUuid: m.local.uuid, uuid: m.local.uuid, name: m.local.name, role: m.local.role },
      activeSpeakerUuid: this.activeSpeaker(), roomArchiveId: `archive-${m.meetingId}`,
      isSupportChatroom: !m.noChat, noChat: m.noChat, isCloudRecording: false, noCloudRecord: true,
      enableWaitingRoom: m.waitingRoom.enabled, isWaitingRoomEnabled: m.waitingRoom.enabled,
      inWaitingRoom: m.localStatus !== 'inRoom', maxMembers: 300, isBreakoutRoom: false,
      password: m.password, memberCount: m.members.length,
    };
  },

  activeSpeaker() {
    const m = this.meeting;
    const talking = m.members.filter((x) => x.isAudioOn && x !== m.local);
    if (talking.length === 0) return '';
    const tick = m.stats ? m.stats.tick : 0;
    return talking[Math.floor(tick / 3) % talking.length].uuid;
  },

  // --- simulated members --------------------------------------------------------

  simMemberFrom(def) {
    const m = newMember({ uuid: def.uuid, name: def.name, isAudioOn: def.isAudioOn, isVideoOn: def.isVideoOn,
      role: def.uuid === this.meeting.hostUuid ? 'host' : 'member', isInChatroom: !this.meeting.noChat });
    if (def.avatar) m.avatar = def.avatar;
    return m;
  },

  // A roster entry by index, name or uuid, or an in-room member; "local" is you.
  resolveMember(ref) {
    const meeting = this.meeting;
    if (ref === 'local') return meeting.local;
    const def = Number.isInteger(ref) ? meeting.roster[ref]
      : meeting.roster.find((d) => d.uuid === ref || d.name === ref);
    if (def) return def;
    return meeting.members.find((m) => m.uuid === ref || m.name === ref)
      || meeting.waitingRoom.members.find((w) => w.uuid === ref || w.name === ref) || null;
  },

  // The simulated host, as an operateBy record (null if the local user hosts).
  simHost() {
    const m = this.meeting;
    if (m.local.uuid === m.hostUuid) return null;
    const present = this.findMember(m.hostUuid);
    return present ? memberView(present) : { uuid: m.hostUuid, name: m.ownerNickname, role: 'host' };
  },

  // A simulated member arrives: into the room, or the waiting room when it is on.
  simJoin(def) {
    const wr = this.meeting.waitingRoom;
    if (this.findMember(def.uuid) || wr.members.some((w) => w.uuid === def.uuid)) return;
    if (wr.blocked.has(def.uuid)) return;
    if (wr.enabled && def.uuid !== this.meeting.hostUuid && !wr.autoAdmit.has(def.uuid)) {
      this.addWaiting(def, WaitingReason.JOINED);
    } else {
      this.addMember(this.simMemberFrom(def));
    }
  },

  addMember(member) {
    this.meeting.members.push(member);
    this.emitMeeting('onMemberJoinRoom', [memberView(member)]);
    if (member.isInChatroom) this.emitMeeting('onMemberJoinChatroom', [memberView(member)]);
    return member;
  },

  removeMember(uuid) {
    const meeting = this.meeting;
    const member = this.findMember(uuid);
    if (!member || member === meeting.local) return null;
    meeting.members = meeting.members.filter((m) => m !== member);
    if (member.isInChatroom) this.emitMeeting('onMemberLeaveChatroom', [memberView(member)]);
    this.emitMeeting('onMemberLeaveRoom', [memberView(member)]);
    return member;
  },

  // --- waiting room -------------------------------------------------------------

  waitingRoomInfo() {
    const wr = this.meeting.waitingRoom;
    return { memberCount: wr.members.length, isEnabledOnEntry: wr.enabled, backgroundImageUrl: wr.backgroundImageUrl };
  },

  notifyWaitingRoomInfo() { return this.emitWaitingRoom('onWaitingRoomInfoUpdated', this.waitingRoomInfo()); },

  // Waiting-room events meant for the hosts: only while the local user hosts in the room.
  emitToWaitingRoomHosts(event, ...args) {
    if (!this.meeting || this.meeting.localStatus !== 'inRoom' || !this.isLocalHost()) return 0;
    return this.emitWaitingRoom(event, ...args);
  },

  // For the security manager and the like: turns the waiting room on or off.
  // With admitAll, turning it off admits everybody waiting.
  setWaitingRoomEnabled(enabled, { admitAll = false } = {}) {
    const wr = this.requireMeeting().waitingRoom;
    wr.enabled = Boolean(enabled);
    if (!wr.enabled && admitAll) {
      for (const w of wr.members.slice()) this.admitWaiting(w.uuid, true);
    }
    this.notifyWaitingRoomInfo();
  },

  addWaiting(def, reason) {
    const meeting = this.meeting;
    const w = { uuid: def.uuid, name: def.name, joinTime: this.now(), status: WaitingStatus.WAITING, def };
    if (def.avatar) w.avatar = def.avatar;
    meeting.waitingRoom.members.push(w);
    this.emitToWaitingRoomHosts('onMemberJoin', waitingView(w), reason);
    this.notifyWaitingRoomInfo();
    this.scheduleAutoAdmit(w.uuid);
    return w;
  },

  // The simulated host admits whoever waits, autoAdmitMs later, unless you host.
  scheduleAutoAdmit(uuid) {
    const ms = this.settings.meeting.autoAdmitMs;
    if (ms === null || this.meeting.local.role === 'host') return;
    this.meetingAfter(ms, () => {
      if (this.meeting.waitingRoom.members.some((w) => w.uuid === uuid)) this.admitWaiting(uuid);
    });
  },

  // The local user goes to the waiting room (on join or put back by the host).
  localToWaitingRoom(reason) {
    const meeting = this.meeting;
    this.exitRoom();
    meeting.localStatus = 'waiting';
    const local = meeting.local;
    meeting.waitingRoom.members.push({ uuid: local.uuid, name: local.name, joinTime: this.now(),
      status: WaitingStatus.WAITING, def: null });
    this.emitWaitingRoom('onMyWaitingRoomStatusChanged', WaitingStatus.WAITING, reason);
    const managers = meeting.members.filter((m) => HOST_ROLES.includes(m.role));
    const list = managers.length ? managers.map(memberView) : [this.simHost()].filter(Boolean);
    this.emitWaitingRoom('onManagersUpdated', list.map((m) => ({ uuid: m.uuid, userUuid: m.uuid, name: m.name,
      userName: m.name, role: m.role || 'host' })));
    this.notifyWaitingRoomInfo();
    this.scheduleAutoAdmit(local.uuid);
  },

  takeWaiting(uuid) {
    const wr = this.meeting.waitingRoom;
    const w = wr.members.find((x) => x.uuid === uuid);
    if (w) wr.members = wr.members.filter((x) => x !== w);
    return w || null;
  },

  // Admits one waiting member; the local user becomes "admitted" and enters
  // with rejoinAfterAdmittedToRoom(). Answers false if nobody waits with uuid.
  admitWaiting(uuid, quietInfo = false) {
    const meeting = this.meeting;
    const w = this.takeWaiting(uuid);
    if (!w) return false;
    if (uuid === meeting.local.uuid) {
      meeting.localStatus = 'admitted';
      this.emitWaitingRoom('onMyWaitingRoomStatusChanged', WaitingStatus.ADMITTED, WaitingReason.ADMITTED);
      if (!quietInfo) this.notifyWaitingRoomInfo();
      return true;
    }
    this.emitToWaitingRoomHosts('onMemberAdmitted', uuid);
    if (!quietInfo) this.notifyWaitingRoomInfo();
    const def = w.def || { uuid: w.uuid, name: w.name, avatar: w.avatar, isAudioOn: true, isVideoOn: false };
    const member = this.simMemberFrom(def);
    if (w.name !== def.name) member.name = w.name;
    this.addMember(member);
    return true;
  },

  // Sends a waiting member away; notAllowRejoin keeps them out of this meeting.
  expelWaiting(uuid, notAllowRejoin, reason = WaitingReason.EXPELLED) {
    const meeting = this.meeting;
    const w = this.takeWaiting(uuid);
    if (!w) return false;
    if (notAllowRejoin) meeting.waitingRoom.blocked.add(uuid);
    if (uuid === meeting.local.uuid) {
      this.emitWaitingRoom('onMyWaitingRoomStatusChanged', WaitingStatus.REMOVED, reason);
      this.dropMeeting();
      return true;
    }
    this.emitToWaitingRoomHosts('onMemberLeave', uuid, reason);
    this.notifyWaitingRoomInfo();
    return true;
  },

  // Moves an in-room member (the local user too) back to the waiting room.
  putBackToWaitingRoom(uuid) {
    const meeting = this.meeting;
    if (uuid === meeting.local.uuid) { this.localToWaitingRoom(WaitingReason.PUT_BACK); return true; }
    const member = this.removeMember(uuid);
    if (!member) return false;
    const def = meeting.roster.find((d) => d.uuid === uuid)
      || { uuid, name: member.name, avatar: member.avatar, isAudioOn: member.isAudioOn, isVideoOn: member.isVideoOn };
    this.addWaiting(Object.assign({}, def, { name: member.name }), WaitingReason.PUT_BACK);
    return true;
  },

  // --- RTC statistics ---------------------------------------------------------------

  startRtcStats() {
    const meeting = this.meeting;
    const period = this.settings.meeting.rtcStatsIntervalMs;
    meeting.stats = meeting.stats || { tick: 0, txAudio: 0, txVideo: 0, rxAudio: 0, rxVideo: 0 };
    if (period > 0) meeting.statsTimer = this.meetingEvery(period, () => this.rtcStatsTick(period));
  },

  // One round of the six kinds: onRtcStats, onLocalAudioStats, onRemoteAudioStats,
  // onLocalVideoStats, onRemoteVideoStats, onNetworkQuality.
  rtcStatsTick(period) {
    const m = this.meeting;
    const s = m.stats;
    s.tick += 1;
    const t = s.tick;
    const secs = period / 1000;
    const remotes = m.members.filter((x) => x !== m.local);
    const local = m.local;
    const aKbps = local.isAudioOn ? 24 + wobble(t, 1, 9) : 0;
    const vKbps = local.isVideoOn ? 850 + wobble(t, 2, 150) : 0;
    const remoteAudio = remotes.filter((r) => r.isAudioOn && r.isAudioConnected);
    const remoteVideo = remotes.filter((r) => r.isVideoOn || r.isSharingScreen);
    s.txAudio += Math.round(aKbps * 125 * secs);
    s.txVideo += Math.round(vKbps * 125 * secs);
    s.rxAudio += Math.round(remoteAudio.length * 32 * 125 * secs);
    s.rxVideo += Math.round(remoteVideo.length * 600 * 125 * secs);
    const overhead = Math.round(2 * 125 * secs);
    this.emitRtcStats('onRtcStats', {
      duration: Math.floor((t * period) / 1000),
      txBytes: s.txAudio + s.txVideo + overhead * t, rxBytes: s.rxAudio + s.rxVideo + overhead * t,
      txAudioBytes: s.txAudio, txVideoBytes: s.txVideo, rxAudioBytes: s.rxAudio, rxVideoBytes: s.rxVideo,
    });
    this.emitRtcStats('onLocalAudioStats', {
      volume: local.isAudioOn ? 20 + wobble(t, 3, 60) : 0, numChannels: 1, sentSampleRate: 48000, sentBitrate: aKbps,
    });
    this.emitRtcStats('onRemoteAudioStats', remoteAudio.map((r, i) => ({
      userUuid: r.uuid, volume: r.uuid === this.activeSpeaker() ? 60 + wobble(t, 10 + i, 30) : wobble(t, 20 + i, 15),
      receivedBitrate: 28 + wobble(t, 30 + i, 8),
    })));
    const [w, h] = local.isVideoOn ? [1280, 720] : [0, 0];
    const fps = local.isVideoOn ? 28 + wobble(t, 4, 3) : 0;
    this.emitRtcStats('onLocalVideoStats', {
      captureWidth: w, captureHeight: h, encodedFrameWidth: w, encodedFrameHeight: h,
      encoderOutputFrameRate: fps, sentFrameRate: fps, sentBitrate: vKbps,
    });
    this.emitRtcStats('onRemoteVideoStats', remoteVideo.map((r, i) => {
      const share = r.isSharingScreen;
      const rate = share ? 10 + wobble(t, 40 + i, 5) : 24 + wobble(t, 40 + i, 7);
      return { userUuid: r.uuid, width: share ? 1920 : 640, height: share ? 1080 : 360,
        receivedBitrate: (share ? 1200 : 550) + wobble(t, 50 + i, 100),
        decoderOutputFrameRate: rate, rendererOutputFrameRate: rate };
    }));
    this.emitRtcStats('onNetworkQuality', m.members.map((x, i) => ({
      userUuid: x.uuid, uplinkQuality: 1 + wobble(t, 60 + i, 3), downlinkQuality: 1 + wobble(t, 70 + i, 2),
    })));
  },

  // --- message channel ----------------------------------------------------------------

  sessionRecents() {
    return Array.from(this.messageSessions.values()).map((s) => ({
      sessionId: s.sessionId, sessionType: s.sessionType, unreadCount: s.unreadCount,
    }));
  },

  receiveSessionMessage(sessionId, sessionType, data) {
    let session = this.messageSessions.get(sessionId);
    if (!session) {
      session = { sessionId, sessionType, unreadCount: 0, messages: [], seq: 0 };
      this.messageSessions.set(sessionId, session);
    }
    session.seq += 1;
    const msg = { sessionId, sessionType: session.sessionType, messageId: `${sessionId}-msg-${session.seq}`,
      data: typeof data === 'string' ? data : JSON.stringify(data === undefined ? {} : data), time: this.now() };
    session.messages.push(msg);
    session.unreadCount += 1;
    this.emitMessageChannel('onSessionMessageReceived', msg);
    this.emitMessageChannel('onSessionMessageRecentChanged', this.sessionRecents());
    return msg;
  },

  deleteSessionMessage(sessionId, messageId) {
    const session = this.messageSessions.get(sessionId);
    if (!session || session.messages.length === 0) return null;
    const msg = messageId ? session.messages.find((x) => x.messageId === messageId)
      : session.messages[session.messages.length - 1];
    if (!msg) return null;
    session.messages = session.messages.filter((x) => x !== msg);
    session.unreadCount = Math.min(session.unreadCount, session.messages.length);
    this.emitMessageChannel('onSessionMessageDeleted', msg);
    this.emitMessageChannel('onSessionMessageRecentChanged', this.sessionRecents());
    return msg;
  },

  clearSession(sessionId, sessionType) {
    const session = this.messageSessions.get(sessionId);
    const type = session ? session.sessionType : (sessionType || 0);
    this.messageSessions.delete(sessionId);
    this.emitMessageChannel('onDeleteAllSessionMessage', sessionId, type);
    this.emitMessageChannel('onSessionMessageRecentChanged', this.sessionRecents());
  },

  // --- the script ------------------------------------------------------------------------

  // Runs one script action now (see README "Meeting script"). Answers false
  // when it does not apply (member absent, already in that state, ...).
  runMeetingAction(entry) {
    checkMeetingAction(entry, false);
    const meeting = this.meeting;
    if (!meeting) return false;
    const ref = this.resolveMember(entry.member);
    const host = this.simHost();
    const live = ref && (ref.uuid ? this.findMember(ref.uuid) : null);
    const isLocal = live === meeting.local;
    const opFor = isLocal ? host : null; // the host acts on you; members act on themselves
    const set = (changes, extra = {}) => {
      if (!live) return false;
      const before = JSON.stringify(memberView(live));
      this.updateMember(live, changes, Object.assign({ operateBy: opFor }, extra));
      return before !== JSON.stringify(memberView(live));
    };
    switch (entry.action) {
      case 'join':
        if (!ref || live || isLocal) return false;
        this.simJoin(meeting.roster.find((d) => d.uuid === ref.uuid) || ref);
        return true;
      case 'leave':
        if (ref && !live && this.takeWaiting(ref.uuid)) {
          this.emitToWaitingRoomHosts('onMemberLeave', ref.uuid, WaitingReason.LEFT);
          this.notifyWaitingRoomInfo();
          return true;
        }
        return Boolean(live && !isLocal && this.removeMember(live.uuid));
      case 'muteAudio': return set({ isAudioOn: false });
      case 'unmuteAudio': return set({ isAudioOn: true });
      case 'muteVideo': return set({ isVideoOn: false });
      case 'unmuteVideo': return set({ isVideoOn: true });
      case 'startShare':
        if (!live || meeting.members.some((m) => m.isSharingScreen && m !== live)) return false;
        return set({ isSharingScreen: true });
      case 'stopShare': return set({ isSharingScreen: false, isSharingSystemAudio: false });
      case 'audioDisconnect': return set({ isAudioConnected: false });
      case 'audioConnect': return set({ isAudioConnected: true });
      case 'handsUp': return set({ isHandsUp: true });
      case 'handsDown': return set({ isHandsUp: false });
      case 'banChat':
        if (!live) return false;
        this.updateMember(live, { isChatBanned: true }, { operateBy: host, duration: entry.duration || 0,
          notifyExt: entry.notifyExt || '' });
        return true;
      case 'unbanChat':
        if (!live) return false;
        this.updateMember(live, { isChatBanned: false }, { operateBy: host, notifyExt: entry.notifyExt || '' });
        return true;
      case 'chat':
      case 'file': {
        if (!live || isLocal || meeting.noChat) return false;
        const to = entry.to === 'local' ? [meeting.local.uuid] : entry.to ? [].concat(entry.to) : undefined;
        const form = entry.action === 'file' ? { file: entry.file, toUserUuidList: to }
          : { text: entry.text || '', toUserUuidList: to };
        this.deliverChat([this.chatMessage(live, form)]);
        return true;
      }
      case 'rename': {
        if (!ref) return false;
        const waiting = meeting.waitingRoom.members.find((w) => w.uuid === ref.uuid);
        if (waiting) {
          waiting.name = entry.name;
          this.emitToWaitingRoomHosts('onMemberNameChanged', waiting.uuid, entry.name, null);
          return true;
        }
        return set({ name: entry.name });
      }
      case 'customMessage':
        if (!ref) return false;
        this.emitMessageChannel('onCustomMessageReceived', { roomUuid: meeting.roomUuid, senderUuid: ref.uuid,
          data: typeof entry.data === 'string' ? entry.data : JSON.stringify(entry.data || {}), timestamp: this.now() });
        return true;
      case 'sessionMessage':
        this.receiveSessionMessage(entry.sessionId || 'sandbox-session', entry.sessionType || 0, entry.data);
        return true;
      case 'deleteSessionMessage':
        return Boolean(this.deleteSessionMessage(entry.sessionId || 'sandbox-session', entry.messageId));
      case 'clearSession':
        this.clearSession(entry.sessionId || 'sandbox-session', entry.sessionType);
        return true;
      case 'admitLocal':
        return this.admitWaiting(meeting.local.uuid);
      case 'putLocalInWaitingRoom':
        if (meeting.localStatus !== 'inRoom' || meeting.local.role === 'host') return false;
        this.localToWaitingRoom(WaitingReason.PUT_BACK);
        return true;
      case 'kickLocal':
        return this.closeMeeting(EndReason.KICK_OUT);
      case 'endMeeting':
        return this.closeMeeting(entry.reason || EndReason.CLOSE_BY_MEMBER, true);
      default:
        return false;
    }
  },

  // --- control-object entry --------------------------------------------------------------

  // morVantaSandbox.enterMeeting(): the logged-in (or an anonymous) user is put
  // straight into a running meeting; answers the meeting info record.
  enterMeeting(options) {
    if (!isPlainObject(options)) throw badSetting('enterMeeting() takes an object');
    const known = ['meetingNum', 'subject', 'nickname', 'userUuid', 'asHost', 'enableWaitingRoom', 'inWaitingRoom',
      'noChat'];
    const bad = Object.keys(options).find((k) => !known.includes(k));
    if (bad) throw badSetting(`unknown enterMeeting option "${bad}" (one of ${known.join(', ')})`);
    if (!this.initialized) throw badSetting('enterMeeting() needs an initialized SDK');
    this.closeMeeting(EndReason.LEAVE_BY_SELF);
    const identity = this.localIdentity(options);
    const meetingNum = isNonEmptyString(options.meetingNum) ? options.meetingNum : '8800000001';
    let room = this.findRoom(meetingNum);
    if (!room) room = this.registerRoom({ meetingNum, subject: options.subject || `Meeting ${meetingNum}` });
    if (options.subject) room.subject = options.subject;
    if (options.enableWaitingRoom !== undefined) room.enableWaitingRoom = Boolean(options.enableWaitingRoom);
    if (options.noChat !== undefined) room.noChat = Boolean(options.noChat);
    if (options.asHost) { room.ownerUserUuid = identity.uuid; room.ownerNickname = identity.name; }
    return this.openMeeting(room, identity, 'enter',
      { inWaitingRoom: options.inWaitingRoom === undefined ? false : Boolean(options.inWaitingRoom) });
  },

  // Who the local user is: the session's user, else an anonymous guest.
  localIdentity(options) {
    if (this.session) {
      const user = this.session.user;
      return { uuid: user.userUuid, name: isNonEmptyString(options.nickname) ? options.nickname : user.nickname,
        avatar: user.avatar };
    }
    return { uuid: isNonEmptyString(options.userUuid) ? options.userUuid : `anon-${randomHex(this.random, 8)}`,
      name: isNonEmptyString(options.nickname) ? options.nickname : 'Guest' };
  },

  // A copy of the meeting state for tests and demos (null outside a meeting).
  meetingSnapshot() {
    const m = this.meeting;
    if (!m) return null;
    return Object.assign(this.meetingInfo(), {
      localStatus: m.localStatus,
      members: this.memberList(),
      waitingRoom: Object.assign(this.waitingRoomInfo(), { members: m.waitingRoom.members.map(waitingView) }),
      chat: cloneData(m.chat),
    });
  },
});

// ===========================================================================
// Managers
// ===========================================================================

// Shared by every manager: its name (what its method paths begin with), the
// answer helper bound to that name, and a generic listener channel.
class Manager {
  constructor(sandbox, name) {
    this.sandbox = sandbox;
    this.name = name;
  }

  // Answers a manager method: the SDK must be initialized first.
  answer(method, args, logic) {
    return this.sandbox.answer(`${this.name}.${method}`, args, () => {
      this.sandbox.requireInitialized();
      return logic();
    });
  }

  listenOn(channel, method, args, listener, adding) {
    const hub = this.sandbox.hubs.get(this.name);
    return this.sandbox.hook(`${this.name}.${method}`, args, () => {
      if (adding) hub.add(channel, listener);
      else hub.remove(channel, listener);
    });
  }

  addListener(listener) { return this.listenOn('default', 'addListener', arguments, listener, true); }
  removeListener(listener) { return this.listenOn('default', 'removeListener', arguments, listener, false); }
}

// --- Account ---------------------------------------------------------------

class AccountManager extends Manager {
  constructor(sandbox) { super(sandbox, 'account'); }

  get directory() { return this.sandbox.directory; }

  // Starts a session for the user and answers its account record. A new login
  // replaces any session in place.
  openSession(user, userToken) {
    if (user.disabled) throw refuse(Codes.ACCOUNT_DISABLED, 'account is disabled');
    const token = userToken || `ut-${randomHex(this.sandbox.random, 24)}`;
    this.directory.issuedTokens.set(token, user.username);
    this.sandbox.session = { user, userToken: token };
    return accountRecord(user, token);
  }

  loginByPassword(options) {
    return this.answer('loginByPassword', arguments, () => {
      const opts = requireOptions(options);
      const username = requireString(opts, 'username');
      const password = requireString(opts, 'password');
      const user = this.directory.byUsername(username);
      if (!user || user.password !== password) throw refuse(Codes.BAD_CREDENTIALS, 'incorrect username or password');
      return this.openSession(user);
    });
  }

  loginBySmsCode(options) {
    return this.answer('loginBySmsCode', arguments, () => {
      const opts = requireOptions(options);
      const phoneNumber = requireString(opts, 'phoneNumber');
      const smsCode = requireString(opts, 'smsCode');
      const user = this.directory.byPhone(phoneNumber);
      if (!user) throw refuse(Codes.ACCOUNT_NOT_FOUND, 'no account is registered with this phone number');
      if (user.smsCode !== smsCode) throw refuse(Codes.BAD_SMS_CODE, 'incorrect or expired verification code');
      return this.openSession(user);
    });
  }

  loginByToken(options) {
    return this.answer('loginByToken', arguments, () => {
      const opts = requireOptions(options);
      const accountId = requireString(opts, 'accountId');
      const accountToken = requireString(opts, 'accountToken');
      if (hasOwn(opts, 'authType') && !Number.isFinite(opts.authType)) {
        throw refuse(Codes.INVALID_PARAM, 'authType must be a number');
      }
      if (hasOwn(opts, 'isTemporary') && !['boolean', 'number'].includes(typeof opts.isTemporary)) {
        throw refuse(Codes.INVALID_PARAM, 'isTemporary must be a boolean');
      }
      const user = this.directory.byAccountId(accountId);
      if (!user || !this.directory.tokenValid(user, accountToken)) {
        throw refuse(Codes.BAD_TOKEN, 'token is invalid or expired');
      }
      return this.openSession(user, accountToken);
    });
  }

  getAccountInfo() {
    return this.answer('getAccountInfo', arguments, () => {
      const session = this.sandbox.requireSession();
      return accountRecord(session.user, session.userToken);
    });
  }

  logout() {
    return this.answer('logout', arguments, () => {
      const session = this.sandbox.requireSession();
      // A long-lived account token stays valid; a session token ends here.
      if (session.userToken !== session.user.accountToken) this.directory.issuedTokens.delete(session.userToken);
      this.sandbox.session = null;
      return null;
    });
  }

  resetPassword(options) {
    return this.answer('resetPassword', arguments, () => {
      const { user } = this.sandbox.requireSession();
      const opts = requireOptions(options);
      const oldPassword = requireString(opts, 'oldPassword');
      const newPassword = requireString(opts, 'newPassword');
      if (oldPassword !== user.password) throw refuse(Codes.WRONG_OLD_PASSWORD, 'old password is incorrect');
      if (newPassword.length < 8) throw refuse(Codes.WEAK_PASSWORD, 'new password must have at least 8 characters');
      if (newPassword === oldPassword) throw refuse(Codes.SAME_PASSWORD, 'new password must differ from the old one');
      user.password = newPassword;
      user.isInitialPassword = false;
      return null;
    });
  }

  updateNickname(nickname) {
    return this.answer('updateNickname', arguments, () => {
      const { user } = this.sandbox.requireSession();
      if (typeof nickname !== 'string') throw refuse(Codes.INVALID_PARAM, 'nickname must be a string');
      const trimmed = nickname.trim();
      if (trimmed.length === 0) throw refuse(Codes.INVALID_NICKNAME, 'nickname cannot be empty');
      if (Array.from(trimmed).length > 32) {
        throw refuse(Codes.INVALID_NICKNAME, 'nickname is longer than 32 characters');
      }
      user.nickname = trimmed;
      return null;
    });
  }
}

// --- Audio -------------------------------------------------------------------
// The local speakers and microphones: device lists with one default device,
// selection (separately for the pre-meeting preview), volumes 0-100, a
// microphone test whose level getMicrophoneVolumePreview reads, a speaker
// test, audio effects and the AI noise filter. Muting needs the meeting room:
// it changes the local member's isAudioOn and fires onMemberAudioMuteChanged.
// The two microphone volume getters answer the bare number, as the service
// does; the other methods answer in the configured shape.

const SPEAKERS = [
  { deviceId: 'spk-builtin', deviceName: 'Built-in Speakers', defaultDevice: true },
  { deviceId: 'spk-usb-headset', deviceName: 'USB Headset', defaultDevice: false },
  { deviceId: 'spk-hdmi', deviceName: 'HDMI Display Audio', defaultDevice: false },
];
const MICROPHONES = [
  { deviceId: 'mic-builtin', deviceName: 'Built-in Microphone', defaultDevice: true },
  { deviceId: 'mic-usb-headset', deviceName: 'USB Headset Microphone', defaultDevice: false },
];
const REVERB_KEYS = ['wetGain', 'dryGain', 'damping', 'roomSize', 'decayTime', 'preDelay'];

// The devices of one kind: the list, the one in use and the one the preview
// uses (both start at the default device).
class DeviceSet {
  constructor(kind, devices) {
    this.kind = kind;
    this.devices = devices;
    const fallback = devices.find((d) => d.defaultDevice) || devices[0];
    this.selected = fallback.deviceId;
    this.preview = fallback.deviceId;
  }

  list() { return cloneData(this.devices); }

  // Refuses anything but the id of a listed device.
  check(deviceId) {
    if (!isNonEmptyString(deviceId)) throw refuse(Codes.INVALID_PARAM, 'deviceId is required');
    if (!this.devices.some((d) => d.deviceId === deviceId)) {
      throw refuse(Codes.INVALID_PARAM, `no ${this.kind} with id ${deviceId}`);
    }
    return deviceId;
  }

  state() { return { selected: this.selected, preview: this.preview }; }
}

function requireVolume(volume) {
  if (!(Number.isInteger(volume) && volume >= 0 && volume <= 100)) {
    throw refuse(Codes.INVALID_PARAM, 'volume must be an integer from 0 to 100');
  }
  return volume;
}

function requireEffectValue(value) {
  if (Number.isFinite(value)) return value;
  if (Array.isArray(value) && value.every(Number.isFinite)) return value.slice();
  if (isPlainObject(value) && REVERB_KEYS.every((k) => Number.isFinite(value[k]))) return cloneData(value);
  throw refuse(Codes.INVALID_PARAM, 'effect value must be a number, an array of numbers or a reverb object');
}

// Local device state belongs to the service world: reset() rebuilds that world
// (a new directory), and with it this state. Meetings and unInitialize() keep it.
function worldState(manager, make) {
  const world = manager.sandbox.directory;
  if (!manager.deviceState || manager.deviceState.world !== world) {
    manager.deviceState = Object.assign({ world }, make());
  }
  return manager.deviceState;
}

class AudioManager extends Manager {
  constructor(sandbox) { super(sandbox, 'audio'); }

  get audio() {
    return worldState(this, () => ({
      speaker: new DeviceSet('speaker', SPEAKERS),
      microphone: new DeviceSet('microphone', MICROPHONES),
      speakerVolume: 80,
      microphoneVolume: 60,
      microphoneTest: false,
      speakerTest: null,
      effectsEnabled: false,
      effects: {},
      aiDenoise: false,
    }));
  }

  // A copy of the audio state, for tests.
  get state() {
    const a = this.audio;
    return cloneData({
      speaker: a.speaker.state(), microphone: a.microphone.state(), speakerVolume: a.speakerVolume,
      microphoneVolume: a.microphoneVolume, microphoneTest: a.microphoneTest, speakerTest: a.speakerTest,
      effectsEnabled: a.effectsEnabled, effects: a.effects, aiDenoise: a.aiDenoise,
    });
  }

  // Answers what `logic` returns as it is, unshaped; failures and overrides
  // keep their usual form.
  answerBare(method, args, logic) {
    let produced = null;
    const answer = this.answer(method, args, () => {
      produced = { value: logic() };
      return produced.value;
    });
    return answer.then((shaped) => (produced ? produced.value : shaped));
  }

  getSpeakerDeviceList() { return this.answer('getSpeakerDeviceList', arguments, () => this.audio.speaker.list()); }
  getSpeakerDeviceId() { return this.answer('getSpeakerDeviceId', arguments, () => this.audio.speaker.selected); }

  setSpeakerDevice(deviceId) {
    return this.answer('setSpeakerDevice', arguments, () => {
      const set = this.audio.speaker;
      set.selected = set.check(deviceId);
      return null;
    });
  }

  setSpeakerDevicePreview(deviceId) {
    return this.answer('setSpeakerDevicePreview', arguments, () => {
      const set = this.audio.speaker;
      set.preview = set.check(deviceId);
      return null;
    });
  }

  getSpeakerVolume() { return this.answer('getSpeakerVolume', arguments, () => this.audio.speakerVolume); }

  setSpeakerVolume(volume) {
    return this.answer('setSpeakerVolume', arguments, () => {
      this.audio.speakerVolume = requireVolume(volume);
      return null;
    });
  }

  getMicrophoneDeviceList() {
    return this.answer('getMicrophoneDeviceList', arguments, () => this.audio.microphone.list());
  }

  getMicrophoneDeviceId() {
    return this.answer('getMicrophoneDeviceId', arguments, () => this.audio.microphone.selected);
  }

  setMicrophoneDevice(deviceId) {
    return this.answer('setMicrophoneDevice', arguments, () => {
      const set = this.audio.microphone;
      set.selected = set.check(deviceId);
      return null;
    });
  }

  setMicrophoneDevicePreview(deviceId) {
    return this.answer('setMicrophoneDevicePreview', arguments, () => {
      const set = this.audio.microphone;
      set.preview = set.check(deviceId);
      return null;
    });
  }

  getMicrophoneVolume() {
    return this.answerBare('getMicrophoneVolume', arguments, () => this.audio.microphoneVolume);
  }

  // The level the microphone test captures: the microphone volume while the
  // test runs, 0 otherwise.
  getMicrophoneVolumePreview() {
    return this.answerBare('getMicrophoneVolumePreview', arguments,
      () => (this.audio.microphoneTest ? this.audio.microphoneVolume : 0));
  }

  setMicrophoneVolume(volume) {
    return this.answer('setMicrophoneVolume', arguments, () => {
      this.audio.microphoneVolume = requireVolume(volume);
      return null;
    });
  }

  muteMyAudio() {
    return this.answer('muteMyAudio', arguments, () => {
      this.sandbox.requireInRoom();
      this.sandbox.updateMember(this.sandbox.localMember(), { isAudioOn: false });
      return null;
    });
  }

  unmuteMyAudio(need) {
    return this.answer('unmuteMyAudio', arguments, () => {
      this.sandbox.requireInRoom();
      if (need !== undefined && typeof need !== 'boolean') throw refuse(Codes.INVALID_PARAM, 'need must be a boolean');
      this.sandbox.updateMember(this.sandbox.localMember(), { isAudioOn: true });
      return null;
    });
  }

  startMicrophoneDeviceTest() {
    return this.answer('startMicrophoneDeviceTest', arguments, () => { this.audio.microphoneTest = true; return null; });
  }

  stopMicrophoneDeviceTest() {
    return this.answer('stopMicrophoneDeviceTest', arguments, () => { this.audio.microphoneTest = false; return null; });
  }

  startSpeakerDeviceTest(audioResource) {
    return this.answer('startSpeakerDeviceTest', arguments, () => {
      if (!isNonEmptyString(audioResource)) throw refuse(Codes.INVALID_PARAM, 'audio resource is required');
      this.audio.speakerTest = audioResource;
      return null;
    });
  }

  stopSpeakerDeviceTest() {
    return this.answer('stopSpeakerDeviceTest', arguments, () => { this.audio.speakerTest = null; return null; });
  }

  enableAudioEffect() {
    return this.answer('enableAudioEffect', arguments, () => { this.audio.effectsEnabled = true; return null; });
  }

  setAudioEffect(type, value) {
    return this.answer('setAudioEffect', arguments, () => {
      if (!Number.isInteger(type)) throw refuse(Codes.INVALID_PARAM, 'effect type must be an integer');
      this.audio.effects[type] = requireEffectValue(value);
      return null;
    });
  }

  enableAIDenoise() {
    return this.answer('enableAIDenoise', arguments, () => { this.audio.aiDenoise = true; return null; });
  }

  disableAIDenoise() {
    return this.answer('disableAIDenoise', arguments, () => { this.audio.aiDenoise = false; return null; });
  }
}

// --- Chatroom ----------------------------------------------------------------
// In-meeting chat of the local user: text and file messages to everyone or
// privately to some members, recall, and attachment transfers.
//
// Messages go into the meeting's chat log (sandbox.meeting.chat) in the shape
// chatMessage() gives them; the sender's own messages are not echoed back to
// the sender's listeners. A file message answers at once with status
// "sending" and uploads in the background; downloads likewise start at once.
// Each step of a transfer reaches the chatroom's listeners (addListener) as
// onAttachmentProgress(message, transfer), with `transfer` =
// {direction: "upload"|"download", state: "running"|"done"|"cancelled",
// loaded, total, savePath?}, so a transfer can be cancelled while it runs.

// Codes of the chat, security and screen share families (1130-1149).
const ChatCodes = Object.freeze({
  CHAT_DISABLED: 1130,
  CHAT_BANNED: 1131,
  MESSAGE_NOT_FOUND: 1132,
  RECALL_EXPIRED: 1133,
  NO_ATTACHMENT: 1134,
  NO_TRANSFER: 1135,
  TRANSFER_RUNNING: 1136,
  CHAT_NOT_PERMITTED: 1137,
});

const MAX_CHAT_TEXT = 5000;
const RECALL_LIMIT_MS = 2 * 60 * 1000;
// A transfer moves TRANSFER_CHUNK bytes every TRANSFER_STEP_MS (at least one
// step, at most TRANSFER_MAX_STEPS).
const TRANSFER_STEP_MS = 100;
const TRANSFER_CHUNK = 1024 * 1024;
const TRANSFER_MAX_STEPS = 100;

function baseName(path) {
  const clean = path.split(/[?#]/)[0];
  const name = clean.slice(clean.lastIndexOf('/') + 1);
  return name || 'file';
}

function progressOf(loaded, total) {
  const percentage = total > 0 ? Math.floor((loaded * 100) / total) : 100;
  return { total: String(total), loaded: String(loaded), percentage, percentageText: `${percentage}%` };
}

class ChatroomManager extends Manager {
  constructor(sandbox) { super(sandbox, 'chatroom'); }

  // The running transfers of the current meeting, by message uuid.
  transfers(meeting) {
    if (!meeting.chatTransfers) meeting.chatTransfers = { upload: new Map(), download: new Map() };
    return meeting.chatTransfers;
  }

  // May the local user send this message? The meeting's own switch, a chat
  // ban and, for members, the chat permission (see SecurityManager).
  checkMayChat(meeting, receivers) {
    if (meeting.noChat) throw refuse(ChatCodes.CHAT_DISABLED, 'chat is disabled in this meeting');
    if (meeting.local.isChatBanned) throw refuse(ChatCodes.CHAT_BANNED, 'you are banned from chatting');
    if (HOST_ROLES.includes(meeting.local.role)) return;
    const { crPerm } = chatPermissionOf(meeting);
    const toHostsOnly = receivers.length > 0
      && receivers.every((uuid) => HOST_ROLES.includes((this.sandbox.findMember(uuid) || {}).role));
    if (crPerm === 'noChat') throw refuse(ChatCodes.CHAT_DISABLED, 'only hosts may chat now');
    if (crPerm === 'publicChatOnly' && receivers.length > 0) {
      throw refuse(ChatCodes.CHAT_NOT_PERMITTED, 'private messages are not allowed');
    }
    if (crPerm === 'privateChatHostOnly' && !toHostsOnly) {
      throw refuse(ChatCodes.CHAT_NOT_PERMITTED, 'you may only write privately to the host');
    }
  }

  // The receivers of a send: none for a public message; a private one needs
  // in-room members other than the sender.
  audience(meeting, isPrivate, toUserUuidList) {
    if (isPrivate !== undefined && typeof isPrivate !== 'boolean') {
      throw refuse(Codes.INVALID_PARAM, 'isPrivate must be a boolean');
    }
    if (toUserUuidList !== undefined && !(Array.isArray(toUserUuidList) && toUserUuidList.every(isNonEmptyString))) {
      throw refuse(Codes.INVALID_PARAM, 'toUserUuidList must be an array of user uuids');
    }
    const receivers = toUserUuidList || [];
    if (isPrivate === true && receivers.length === 0) {
      throw refuse(Codes.INVALID_PARAM, 'a private message needs receivers');
    }
    for (const uuid of receivers) {
      if (uuid === meeting.local.uuid) throw refuse(Codes.INVALID_PARAM, 'you cannot write to yourself');
      if (!this.sandbox.findMember(uuid)) throw refuse(Codes.MEMBER_NOT_FOUND, `no member ${uuid} in the meeting`);
    }
    this.checkMayChat(meeting, receivers);
    return receivers;
  }

  // Appends the local user's message to the chat log and answers the live record.
  post(meeting, idClient, form) {
    const msg = this.sandbox.chatMessage(meeting.local, form);
    if (isNonEmptyString(idClient)) msg.idClient = idClient;
    this.sandbox.deliverChat([msg], false);
    return meeting.chat[meeting.chat.length - 1];
  }

  // The live chat log record a message object from the caller names.
  loggedMessage(meeting, message) {
    if (!isPlainObject(message)) throw refuse(Codes.INVALID_PARAM, 'message must be an object');
    if (!isNonEmptyString(message.messageUuid)) throw refuse(Codes.INVALID_PARAM, 'messageUuid is required');
    const record = meeting.chat.find((m) => m.messageUuid === message.messageUuid);
    if (!record || record.status === 'recalled') {
      throw refuse(ChatCodes.MESSAGE_NOT_FOUND, `no message ${message.messageUuid} in this meeting`);
    }
    return record;
  }

  // Runs a transfer of `total` bytes in steps, reporting each one; `finish`
  // runs after the last.
  startTransfer(meeting, direction, record, extra, finish) {
    const total = record.file ? record.file.size : 0;
    const steps = Math.min(TRANSFER_MAX_STEPS, Math.max(1, Math.ceil(total / TRANSFER_CHUNK)));
    const transfer = Object.assign({ direction, state: 'running', loaded: 0, total, step: 0, timer: null }, extra);
    const map = this.transfers(meeting)[direction];
    const tick = () => {
      transfer.step += 1;
      transfer.loaded = transfer.step >= steps ? total : Math.floor((total * transfer.step) / steps);
      if (transfer.step >= steps) {
        transfer.state = 'done';
        map.delete(record.messageUuid);
        finish();
      } else {
        transfer.timer = this.sandbox.meetingAfter(TRANSFER_STEP_MS, tick);
      }
      this.report(record, transfer);
    };
    map.set(record.messageUuid, transfer);
    transfer.timer = this.sandbox.meetingAfter(TRANSFER_STEP_MS, tick);
    return transfer;
  }

  // Stops the running transfer of a logged message and reports it; answers
  // false when none runs.
  cancelTransfer(meeting, direction, record) {
    const map = this.transfers(meeting)[direction];
    const transfer = map.get(record.messageUuid);
    if (!transfer) return false;
    this.sandbox.cancelMeetingTimer(transfer.timer);
    map.delete(record.messageUuid);
    transfer.state = 'cancelled';
    this.report(record, transfer);
    return true;
  }

  // The cancel methods: the message must have a transfer running.
  cancelRequested(meeting, direction, message, beforeReport = () => {}) {
    const record = this.loggedMessage(meeting, message);
    if (!this.transfers(meeting)[direction].has(record.messageUuid)) {
      throw refuse(ChatCodes.NO_TRANSFER, `no ${direction} of ${record.messageUuid} is running`);
    }
    beforeReport(record);
    this.cancelTransfer(meeting, direction, record);
    return null;
  }

  report(record, transfer) {
    const message = cloneData(record);
    message.progress = progressOf(transfer.loaded, transfer.total);
    const info = { direction: transfer.direction, state: transfer.state, loaded: transfer.loaded, total: transfer.total };
    if (transfer.savePath !== undefined) info.savePath = transfer.savePath;
    this.sandbox.emit({ manager: 'chatroom', channel: 'default', event: 'onAttachmentProgress', args: [message, info] });
  }

  sendTextMessage(idClient, text, isPrivate, toUserUuidList) {
    return this.answer('sendTextMessage', arguments, () => {
      const meeting = this.sandbox.requireInRoom();
      if (!isNonEmptyString(text) || text.trim().length === 0) throw refuse(Codes.INVALID_PARAM, 'text is required');
      if (text.length > MAX_CHAT_TEXT) {
        throw refuse(Codes.INVALID_PARAM, `text is longer than ${MAX_CHAT_TEXT} characters`);
      }
      const receivers = this.audience(meeting, isPrivate, toUserUuidList);
      return cloneData(this.post(meeting, idClient, { text, toUserUuidList: receivers }));
    });
  }

  // type "image" or "file"; file {url, size, width, height, base64}.
  sendFileMessage(idClient, type, file, isPrivate, toUserUuidList) {
    return this.answer('sendFileMessage', arguments, () => {
      const meeting = this.sandbox.requireInRoom();
      if (type !== 'image' && type !== 'file') throw refuse(Codes.INVALID_PARAM, 'type must be "image" or "file"');
      const opts = requireOptions(file);
      const url = requireString(opts, 'url');
      for (const key of ['size', 'width', 'height']) {
        if (!(Number.isFinite(opts[key]) && opts[key] >= 0)) throw refuse(Codes.INVALID_PARAM, `${key} must be a number`);
      }
      const receivers = this.audience(meeting, isPrivate, toUserUuidList);
      const record = this.post(meeting, idClient, { file: { name: baseName(url), size: opts.size, url },
        toUserUuidList: receivers });
      record.messageType = type;
      record.type = type;
      if (type === 'image') Object.assign(record.file, { w: opts.width, h: opts.height });
      record.status = 'sending';
      const transfer = this.startTransfer(meeting, 'upload', record, {}, () => { record.status = 'success'; });
      return Object.assign(cloneData(record), { progress: progressOf(transfer.loaded, transfer.total) });
    });
  }

  // The sender may recall a message within two minutes; hosts any message.
  recallMessage(message) {
    return this.answer('recallMessage', arguments, () => {
      const meeting = this.sandbox.requireInRoom();
      const record = this.loggedMessage(meeting, message);
      const own = record.fromUserUuid === meeting.local.uuid;
      if (!own && !HOST_ROLES.includes(meeting.local.role)) {
        throw refuse(Codes.NO_PERMISSION, "only the host can recall others' messages");
      }
      if (own && this.sandbox.now() - record.time > RECALL_LIMIT_MS) {
        throw refuse(ChatCodes.RECALL_EXPIRED, 'messages can only be recalled within two minutes');
      }
      record.status = 'recalled';
      this.cancelTransfer(meeting, 'upload', record);
      return null;
    });
  }

  cancelSendFileMessage(message) {
    return this.answer('cancelSendFileMessage', arguments, () => {
      const meeting = this.sandbox.requireInRoom();
      // A cancelled upload was never delivered: it leaves the chat log.
      return this.cancelRequested(meeting, 'upload', message, (record) => {
        meeting.chat.splice(meeting.chat.indexOf(record), 1);
        record.status = 'cancelled';
      });
    });
  }

  downloadAttachment(message, savePath) {
    return this.answer('downloadAttachment', arguments, () => {
      const meeting = this.sandbox.requireInRoom();
      const record = this.loggedMessage(meeting, message);
      if (!record.file) throw refuse(ChatCodes.NO_ATTACHMENT, 'the message has no attachment');
      if (record.status === 'sending') throw refuse(ChatCodes.NO_ATTACHMENT, 'the attachment is still being sent');
      if (!isNonEmptyString(savePath)) throw refuse(Codes.INVALID_PARAM, 'savePath is required');
      if (this.transfers(meeting).download.has(record.messageUuid)) {
        throw refuse(ChatCodes.TRANSFER_RUNNING, 'the attachment is already being downloaded');
      }
      this.startTransfer(meeting, 'download', record, { savePath }, () => {});
      return null;
    });
  }

  cancelDownloadAttachment(message) {
    return this.answer('cancelDownloadAttachment', arguments, () => {
      return this.cancelRequested(this.sandbox.requireInRoom(), 'download', message);
    });
  }
}

// --- Invite ------------------------------------------------------------------
// Account look-ups for invitations, answered from the user directory; both
// need a logged-in user. An account found is {userUuid, name, avatar?,
// phoneNumber?, dept?}: `name` is the nickname and `dept` the user's company.
//
// The service answers these two in forms of its own rather than the common
// answer shapes. getAccountInfoList puts its list under the key
// `meetingAccountListResp`; per shape, a success is
//   flat    {code: 0, message: "success", result: {meetingAccountListResp}}
//   nested  {result: {code: 0, message: "success", meetingAccountListResp}}
//   result  {result: {meetingAccountListResp}}
//   bare    {meetingAccountListResp}
//   json    the flat form as JSON text
// and failures keep the common shapes. searchAccountInfoByPhone answers a
// bare array of accounts on success whatever the shape.
function inviteAccountRecord(user) {
  const rec = { userUuid: user.userUuid, name: user.nickname };
  if (isNonEmptyString(user.avatar)) rec.avatar = user.avatar;
  if (isNonEmptyString(user.phoneNumber)) rec.phoneNumber = user.phoneNumber;
  if (isNonEmptyString(user.corpName)) rec.dept = user.corpName;
  return rec;
}

class InviteManager extends Manager {
  constructor(sandbox) { super(sandbox, 'invite'); }

  // Unknown ids are left out; each account appears once, in the order asked.
  getAccountInfoList(userUuids) {
    let payload; // set only when the logic made the answer
    return this.answer('getAccountInfoList', arguments, () => {
      this.sandbox.requireSession();
      if (!Array.isArray(userUuids) || !userUuids.every((id) => typeof id === 'string')) {
        throw refuse(Codes.INVALID_PARAM, 'userUuids must be an array of strings');
      }
      const users = this.sandbox.directory.users;
      const found = Array.from(new Set(userUuids)).map((id) => users.find((u) => u.userUuid === id)).filter(Boolean);
      payload = { meetingAccountListResp: found.map(inviteAccountRecord) };
      return payload;
    }).then((answer) => InviteManager.listForm(answer, payload));
  }

  searchAccountInfoByPhone(phoneNumber) {
    let accounts;
    return this.answer('searchAccountInfoByPhone', arguments, () => {
      this.sandbox.requireSession();
      if (!isNonEmptyString(phoneNumber)) throw refuse(Codes.INVALID_PARAM, 'phoneNumber is required');
      accounts = this.sandbox.directory.users.filter((u) => u.phoneNumber === phoneNumber).map(inviteAccountRecord);
      return accounts;
    }).then((answer) => (accounts === undefined ? answer : accounts));
  }

  // Recasts a shaped success of getAccountInfoList into the service's form
  // (see above). The shaped answer holds `payload` itself, so the shape is
  // told by where it sits; answers not made from it (failures, `answer`
  // overrides) pass unchanged.
  static listForm(answer, payload) {
    if (payload === undefined || answer === payload) return answer;
    if (typeof answer === 'string') {
      const flat = JSON.parse(answer);
      return JSON.stringify({ code: flat.code, message: flat.message, result: payload });
    }
    if (answer.data === payload) return { code: answer.code, message: answer.message, result: payload };
    const inner = answer.result;
    if (inner === payload) return answer;
    if (inner && inner.data === payload) {
      return { result: Object.assign({ code: inner.code, message: inner.message }, payload) };
    }
    return answer;
  }
}

// --- Meeting -----------------------------------------------------------------
// Create, join, rejoin, leave, end and query the meeting (the state lives on
// the Sandbox, see "Meeting world"), and the listener pairs of its three
// channels. A room context exists while the local user is in the room; its
// listeners share the meeting channel and stay attached across meetings.
class MeetingManager extends Manager {
  constructor(sandbox) {
    super(sandbox, 'meeting');
    this.roomContexts = new WeakMap(); // meeting -> its room context
  }

  createMeeting(options) {
    return this.answer('createMeeting', arguments, () => {
      const sb = this.sandbox;
      const { user } = sb.requireSession();
      const opts = requireOptions(options);
      const subject = requireString(opts, 'subject');
      for (const key of ['enableWaitingRoom', 'noChat']) {
        if (hasOwn(opts, key) && typeof opts[key] !== 'boolean') throw refuse(Codes.INVALID_PARAM, `${key} must be a boolean`);
      }
      if (sb.meeting) throw refuse(Codes.ALREADY_IN_MEETING, 'already in a meeting');
      let meetingNum = isNonEmptyString(opts.meetingNum) ? opts.meetingNum : '';
      while (!meetingNum || (!isNonEmptyString(opts.meetingNum) && sb.findRoom(meetingNum))) {
        meetingNum = String(100000000 + Math.floor(sb.random() * 900000000));
      }
      const existing = sb.findRoom(meetingNum);
      if (existing && existing.ownerUserUuid && existing.ownerUserUuid !== user.userUuid) {
        throw refuse(Codes.MEETING_EXISTS, `meeting ${meetingNum} belongs to another user`);
      }
      const identity = sb.localIdentity(opts);
      const room = sb.registerRoom({
        meetingNum, subject, ownerUserUuid: user.userUuid, ownerNickname: identity.name,
        enableWaitingRoom: hasOwn(opts, 'enableWaitingRoom') ? opts.enableWaitingRoom
          : (existing ? existing.enableWaitingRoom : sb.settings.meeting.waitingRoomByDefault),
        password: typeof opts.password === 'string' ? opts.password : (existing ? existing.password : ''),
        noChat: hasOwn(opts, 'noChat') ? opts.noChat : Boolean(existing && existing.noChat),
        type: meetingNum === user.privateMeetingNum ? 2 : (existing ? existing.type : 1),
        startTime: Number.isFinite(opts.startTime) && opts.startTime > 0 ? opts.startTime : 0,
        endTime: Number.isFinite(opts.endTime) && opts.endTime > 0 ? opts.endTime : (existing ? existing.endTime : 0),
      });
      return sb.openMeeting(room, identity, 'create');
    });
  }

  joinMeeting(options) {
    return this.answer('joinMeeting', arguments, () => {
      const sb = this.sandbox;
      const opts = requireOptions(options);
      const meetingNum = requireString(opts, 'meetingNum');
      if (sb.meeting) throw refuse(Codes.ALREADY_IN_MEETING, 'already in a meeting');
      const room = sb.findRoom(meetingNum);
      if (!room) throw refuse(Codes.MEETING_NOT_FOUND, `meeting ${meetingNum} does not exist or has ended`);
      const identity = sb.localIdentity(opts);
      if (room.blocked && room.blocked.has(identity.uuid)) {
        throw refuse(Codes.REJOIN_NOT_ALLOWED, 'you were removed from this meeting');
      }
      return sb.openMeeting(room, identity, 'join');
    });
  }

  rejoinAfterAdmittedToRoom() {
    return this.answer('rejoinAfterAdmittedToRoom', arguments, () => {
      const sb = this.sandbox;
      const meeting = sb.requireMeeting();
      if (meeting.localStatus === 'inRoom') throw refuse(Codes.ALREADY_IN_MEETING, 'already in the meeting room');
      if (meeting.localStatus !== 'admitted') throw refuse(Codes.NOT_ADMITTED, 'not admitted by the host yet');
      sb.enterRoom();
      return sb.meetingInfo();
    });
  }

  // endIfHost: true ends the meeting for everybody when the local user hosts it.
  leaveMeeting(endIfHost) {
    return this.answer('leaveMeeting', arguments, () => {
      const sb = this.sandbox;
      const meeting = sb.requireMeeting();
      if (endIfHost === true && meeting.local.role === 'host') sb.closeMeeting(EndReason.CLOSE_BY_MEMBER, true);
      else sb.closeMeeting(EndReason.LEAVE_BY_SELF);
      return null;
    });
  }

  endMeeting() {
    return this.answer('endMeeting', arguments, () => {
      const sb = this.sandbox;
      const meeting = sb.requireInRoom();
      if (meeting.local.role !== 'host') throw refuse(Codes.NO_PERMISSION, 'only the host can end the meeting');
      sb.closeMeeting(EndReason.CLOSE_BY_MEMBER, true);
      return null;
    });
  }

  getMeetingInfo() {
    return this.answer('getMeetingInfo', arguments, () => {
      this.sandbox.requireMeeting();
      return this.sandbox.meetingInfo();
    });
  }

  // Frees the meeting module: leaves a meeting silently if there is one.
  releaseMeeting() {
    return this.answer('releaseMeeting', arguments, () => {
      this.sandbox.dropMeeting();
      return null;
    });
  }

  // The room context of the current meeting, or null outside the room.
  getRoomContext() {
    return this.sandbox.hook('meeting.getRoomContext', arguments, () => {
      const meeting = this.sandbox.meeting;
      if (!meeting || meeting.localStatus !== 'inRoom') return null;
      if (!this.roomContexts.has(meeting)) {
        const mgr = this;
        this.roomContexts.set(meeting, {
          roomUuid: meeting.roomUuid,
          meetingNum: meeting.meetingNum,
          addRoomListener(l) { return mgr.listenOn('meeting', 'addRoomListener', arguments, l, true); },
          removeRoomListener(l) { return mgr.listenOn('meeting', 'removeRoomListener', arguments, l, false); },
        });
      }
      return this.roomContexts.get(meeting);
    });
  }

  addMeetingListener(l) { return this.listenOn('meeting', 'addMeetingListener', arguments, l, true); }
  removeMeetingListener(l) { return this.listenOn('meeting', 'removeMeetingListener', arguments, l, false); }
  addRtcStatsListener(l) { return this.listenOn('rtcStats', 'addRtcStatsListener', arguments, l, true); }
  removeRtcStatsListener(l) { return this.listenOn('rtcStats', 'removeRtcStatsListener', arguments, l, false); }
  addMessageChannelListener(l) {
    return this.listenOn('messageChannel', 'addMessageChannelListener', arguments, l, true);
  }
  removeMessageChannelListener(l) {
    return this.listenOn('messageChannel', 'removeMessageChannelListener', arguments, l, false);
  }
}

// --- Member ------------------------------------------------------------------
// The member list and what a host does to members. Acting on others needs the
// host or co-host role (1103 otherwise); anyone may act on themselves.
class MemberManager extends Manager {
  constructor(sandbox) { super(sandbox, 'member'); }

  getMemberList() {
    return this.answer('getMemberList', arguments, () => {
      this.sandbox.requireInRoom();
      return this.sandbox.memberList();
    });
  }

  // One member's flags; the local user may change their own without the host role.
  setFlags(method, args, uuid, changes) {
    return this.answer(method, args, () => {
      const sb = this.sandbox;
      const target = sb.requireMember(uuid);
      const local = sb.localMember();
      if (target !== local && !sb.isLocalHost()) throw refuse(Codes.NO_PERMISSION, 'only the host can do this');
      if (hasOwn(changes, 'isSharingScreen') && !target.isSharingScreen) {
        throw refuse(Codes.INVALID_PARAM, `${target.uuid} is not sharing the screen`);
      }
      sb.updateMember(target, changes, { operateBy: target === local ? null : local });
      return null;
    });
  }

  // Every member but the local user; host only.
  setAll(method, args, changes) {
    return this.answer(method, args, () => {
      const sb = this.sandbox;
      sb.requireHost();
      const local = sb.localMember();
      for (const m of sb.meeting.members.slice()) {
        if (m !== local && sb.meeting.members.includes(m)) sb.updateMember(m, changes, { operateBy: local });
      }
      return null;
    });
  }

  muteMemberAudio(uuid) { return this.setFlags('muteMemberAudio', arguments, uuid, { isAudioOn: false }); }
  unmuteMemberAudio(uuid) { return this.setFlags('unmuteMemberAudio', arguments, uuid, { isAudioOn: true }); }
  muteMemberVideo(uuid) { return this.setFlags('muteMemberVideo', arguments, uuid, { isVideoOn: false }); }
  unmuteMemberVideo(uuid) { return this.setFlags('unmuteMemberVideo', arguments, uuid, { isVideoOn: true }); }
  muteVideoAndAudio(uuid) {
    return this.setFlags('muteVideoAndAudio', arguments, uuid, { isAudioOn: false, isVideoOn: false });
  }
  unmuteVideoAndAudio(uuid) {
    return this.setFlags('unmuteVideoAndAudio', arguments, uuid, { isAudioOn: true, isVideoOn: true });
  }
  stopMemberScreenShare(uuid) {
    return this.setFlags('stopMemberScreenShare', arguments, uuid, { isSharingScreen: false, isSharingSystemAudio: false });
  }
  muteAllAudio() { return this.setAll('muteAllAudio', arguments, { isAudioOn: false }); }
  unmuteAllAudio() { return this.setAll('unmuteAllAudio', arguments, { isAudioOn: true }); }
  muteAllVideo() { return this.setAll('muteAllVideo', arguments, { isVideoOn: false }); }
  unmuteAllVideo() { return this.setAll('unmuteAllVideo', arguments, { isVideoOn: true }); }

  handsUp() {
    return this.answer('handsUp', arguments, () => {
      const sb = this.sandbox;
      sb.requireInRoom();
      sb.updateMember(sb.localMember(), { isHandsUp: true });
      return null;
    });
  }

  // No uuid (or your own): your hand; another member's: host only.
  handsDown(uuid) {
    return this.answer('handsDown', arguments, () => {
      const sb = this.sandbox;
      sb.requireInRoom();
      const local = sb.localMember();
      const target = uuid === undefined || uuid === null || uuid === '' ? local : sb.requireMember(uuid);
      if (target !== local && !sb.isLocalHost()) throw refuse(Codes.NO_PERMISSION, 'only the host can lower hands');
      sb.updateMember(target, { isHandsUp: false });
      return null;
    });
  }

  handsDownAll() { return this.setAll('handsDownAll', arguments, { isHandsUp: false }); }
}

// --- Pre-meeting -------------------------------------------------------------
// Meetings scheduled ahead of time. Every method needs a logged-in user. A
// meeting is listed for its owner and for the members scheduled into it;
// only the owner may edit or cancel it, and a cancelled meeting is gone.
// Its state follows the sandbox clock: 1 before startTime, 2 until endTime,
// 3 after. The schedule belongs to the service, so it outlives logout and
// unInitialize; reset() empties it. A scheduled meeting is also a room of the
// meeting world that can be joined by its number.
//
// scheduleMeeting(options) takes subject, startTime, endTime (epoch ms),
// password, enableWaitingRoom, noChat, noCloudRecord and scheduledMembers
// ([{userUuid, role}]; the owner is always in it as "host") and answers the
// meeting record. editMeeting(meetingId, options) changes the keys given
// (enableJoinBeforeHost too). Meeting ids may come as numbers or as text.
const PRE_MEETING_ROLES = ['host', 'cohost', 'member', 'evaluator', 'bidder', 'supervise'];
const PRE_MEETING_DEFAULT_LENGTH_MS = 60 * 60 * 1000;

class PreMeetingManager extends Manager {
  constructor(sandbox) { super(sandbox, 'preMeeting'); }

  // The schedule of the current service world; a world rebuilt by reset()
  // (a new directory) starts with an empty one.
  get schedule() {
    if (this.world !== this.sandbox.directory) {
      this.world = this.sandbox.directory;
      this.book = { meetings: [], seq: 0 };
    }
    return this.book;
  }

  scheduleMeeting(options) {
    return this.answer('scheduleMeeting', arguments, () => {
      const { user } = this.sandbox.requireSession();
      const opts = requireOptions(options);
      const book = this.schedule;
      const startTime = this.sandbox.now();
      const meeting = {
        meetingId: 4300000000 + book.seq + 1,
        meetingNum: String(9100000001 + book.seq),
        subject: `${user.nickname}'s meeting`,
        ownerUserUuid: user.userUuid,
        startTime,
        endTime: startTime + PRE_MEETING_DEFAULT_LENGTH_MS,
        password: '',
        enableWaitingRoom: false,
        enableJoinBeforeHost: true,
        members: [{ userUuid: user.userUuid, role: 'host' }],
      };
      meeting.roomUuid = `room-${meeting.meetingNum}`;
      PreMeetingManager.apply(meeting, opts);
      if (hasOwn(opts, 'scheduledMembers')) meeting.members = PreMeetingManager.members(opts.scheduledMembers, user);
      book.seq += 1;
      book.meetings.push(meeting);
      this.openRoom(meeting);
      return this.record(meeting, user);
    });
  }

  editMeeting(meetingId, options) {
    return this.answer('editMeeting', arguments, () => {
      const { user } = this.sandbox.requireSession();
      const meeting = this.owned(meetingId, user);
      const opts = requireOptions(options);
      const changed = Object.assign({}, meeting);
      PreMeetingManager.apply(changed, opts);
      if (hasOwn(opts, 'enableJoinBeforeHost')) {
        changed.enableJoinBeforeHost = PreMeetingManager.flag(opts, 'enableJoinBeforeHost');
      }
      Object.assign(meeting, changed);
      this.openRoom(meeting);
      return null;
    });
  }

  // Recurring series are not kept; the flag is checked and otherwise unused.
  cancelMeeting(meetingId, cancelRecurringMeeting) {
    return this.answer('cancelMeeting', arguments, () => {
      const { user } = this.sandbox.requireSession();
      const meeting = this.owned(meetingId, user);
      if (cancelRecurringMeeting !== undefined && typeof cancelRecurringMeeting !== 'boolean') {
        throw refuse(Codes.INVALID_PARAM, 'cancelRecurringMeeting must be a boolean');
      }
      const book = this.schedule;
      book.meetings = book.meetings.filter((m) => m !== meeting);
      return null;
    });
  }

  // The user's meetings by startTime, then id: those in `states` (default
  // [1, 2]), from `offset` (default 0), at most `size` (1-100, default 20).
  getMeetingListBySize(params) {
    return this.answer('getMeetingListBySize', arguments, () => {
      const { user } = this.sandbox.requireSession();
      const opts = params === undefined ? {} : requireOptions(params);
      const count = (key, min, max, fallback) => {
        if (!hasOwn(opts, key)) return fallback;
        const v = opts[key];
        if (!Number.isInteger(v) || v < min || v > max) {
          throw refuse(Codes.INVALID_PARAM, `${key} must be an integer from ${min} to ${max}`);
        }
        return v;
      };
      const size = count('size', 1, 100, 20);
      const offset = count('offset', 0, Number.MAX_SAFE_INTEGER, 0);
      let states = [1, 2];
      if (hasOwn(opts, 'states')) {
        if (!Array.isArray(opts.states) || !opts.states.every(Number.isInteger)) {
          throw refuse(Codes.INVALID_PARAM, 'states must be an array of integers');
        }
        states = opts.states;
      }
      return this.schedule.meetings
        .filter((m) => m.members.some((s) => s.userUuid === user.userUuid) && states.includes(this.state(m)))
        .sort((a, b) => a.startTime - b.startTime || a.meetingId - b.meetingId)
        .slice(offset, offset + size)
        .map((m) => this.record(m, user));
    });
  }

  // Anyone logged in may read a meeting by its number.
  getMeetingInfoByMeetingNum(meetingNum) {
    return this.answer('getMeetingInfoByMeetingNum', arguments, () => {
      const { user } = this.sandbox.requireSession();
      return this.record(this.byNumber(meetingNum), user);
    });
  }

  getScheduledMembers(meetingNum) {
    return this.answer('getScheduledMembers', arguments, () => {
      this.sandbox.requireSession();
      return this.memberRecords(this.byNumber(meetingNum));
    });
  }

  // --- helpers ---------------------------------------------------------------

  state(meeting) {
    const now = this.sandbox.now();
    if (now < meeting.startTime) return 1;
    return now < meeting.endTime ? 2 : 3;
  }

  byNumber(meetingNum) {
    if (!isNonEmptyString(meetingNum)) throw refuse(Codes.INVALID_PARAM, 'meetingNum is required');
    const meeting = this.schedule.meetings.find((m) => m.meetingNum === meetingNum);
    if (!meeting) throw refuse(Codes.MEETING_NOT_FOUND, `no scheduled meeting ${meetingNum}`);
    return meeting;
  }

  // The meeting with this id (a number or its text), which the user must own.
  owned(meetingId, user) {
    const id = typeof meetingId === 'string' && /^[0-9]+$/.test(meetingId) ? Number(meetingId) : meetingId;
    if (!Number.isInteger(id)) throw refuse(Codes.INVALID_PARAM, 'meetingId must be a number');
    const meeting = this.schedule.meetings.find((m) => m.meetingId === id);
    if (!meeting) throw refuse(Codes.MEETING_NOT_FOUND, `no scheduled meeting with id ${meetingId}`);
    if (meeting.ownerUserUuid !== user.userUuid) {
      throw refuse(Codes.NO_PERMISSION, 'only the owner can change a scheduled meeting');
    }
    return meeting;
  }

  // Makes the meeting number joinable in the meeting world, where it exists.
  openRoom(meeting) {
    if (typeof this.sandbox.registerRoom !== 'function') return;
    const owner = this.sandbox.directory.users.find((u) => u.userUuid === meeting.ownerUserUuid);
    this.sandbox.registerRoom({
      meetingNum: meeting.meetingNum, meetingId: meeting.meetingId, roomUuid: meeting.roomUuid,
      subject: meeting.subject, ownerUserUuid: meeting.ownerUserUuid, ownerNickname: owner ? owner.nickname : '',
      enableWaitingRoom: meeting.enableWaitingRoom, password: meeting.password, noChat: Boolean(meeting.noChat),
      startTime: meeting.startTime, endTime: meeting.endTime,
    });
  }

  memberRecords(meeting) {
    return meeting.members.map((s) => {
      const rec = { userUuid: s.userUuid, role: s.role };
      const known = this.sandbox.directory.users.find((u) => u.userUuid === s.userUuid);
      if (known) {
        rec.nickname = known.nickname;
        if (isNonEmptyString(known.avatar)) rec.avatar = known.avatar;
        if (isNonEmptyString(known.email)) rec.email = known.email;
      }
      return rec;
    });
  }

  // The meeting as the service describes it to `user`; localMember only for
  // a user scheduled into it.
  record(meeting, user) {
    const owner = this.sandbox.directory.users.find((u) => u.userUuid === meeting.ownerUserUuid);
    const rec = {
      meetingId: meeting.meetingId,
      meetingNum: meeting.meetingNum,
      roomUuid: meeting.roomUuid,
      state: this.state(meeting),
      startTime: meeting.startTime,
      endTime: meeting.endTime,
      subject: meeting.subject,
      ownerUserUuid: meeting.ownerUserUuid,
      ownerNickname: owner ? owner.nickname : '',
      enableWaitingRoom: meeting.enableWaitingRoom,
      scheduledMembers: this.memberRecords(meeting),
    };
    const mine = meeting.members.find((s) => s.userUuid === user.userUuid);
    if (mine) rec.localMember = { userUuid: user.userUuid, name: user.nickname, role: mine.role };
    if (meeting.noChat !== undefined) rec.noChat = meeting.noChat;
    if (meeting.noCloudRecord !== undefined) rec.noCloudRecord = meeting.noCloudRecord;
    return rec;
  }

  // Copies the settings given in `opts` onto `meeting`, checking each; the
  // times are checked together once applied.
  static apply(meeting, opts) {
    if (hasOwn(opts, 'subject')) {
      if (typeof opts.subject !== 'string') throw refuse(Codes.INVALID_PARAM, 'subject must be a string');
      const subject = opts.subject.trim();
      if (subject.length > 0) meeting.subject = subject;
    }
    if (hasOwn(opts, 'startTime')) {
      const length = meeting.endTime - meeting.startTime;
      meeting.startTime = PreMeetingManager.time(opts, 'startTime');
      if (!hasOwn(opts, 'endTime')) meeting.endTime = meeting.startTime + length;
    }
    if (hasOwn(opts, 'endTime')) meeting.endTime = PreMeetingManager.time(opts, 'endTime');
    if (meeting.endTime <= meeting.startTime) throw refuse(Codes.INVALID_PARAM, 'endTime must be after startTime');
    if (hasOwn(opts, 'password')) {
      if (typeof opts.password !== 'string' || opts.password.length < 4 || opts.password.length > 20) {
        throw refuse(Codes.INVALID_PARAM, 'password must have 4 to 20 characters');
      }
      meeting.password = opts.password;
    }
    for (const key of ['enableWaitingRoom', 'noChat', 'noCloudRecord']) {
      if (hasOwn(opts, key)) meeting[key] = PreMeetingManager.flag(opts, key);
    }
  }

  static time(opts, key) {
    const v = opts[key];
    if (!Number.isInteger(v) || v < 0) throw refuse(Codes.INVALID_PARAM, `${key} must be a time in epoch ms`);
    return v;
  }

  static flag(opts, key) {
    if (typeof opts[key] !== 'boolean') throw refuse(Codes.INVALID_PARAM, `${key} must be a boolean`);
    return opts[key];
  }

  // The scheduled members given, with the owner first as host.
  static members(list, owner) {
    if (!Array.isArray(list)) throw refuse(Codes.INVALID_PARAM, 'scheduledMembers must be an array');
    const members = [{ userUuid: owner.userUuid, role: 'host' }];
    for (const entry of list) {
      if (!isPlainObject(entry) || !isNonEmptyString(entry.userUuid)) {
        throw refuse(Codes.INVALID_PARAM, 'every scheduled member needs a userUuid');
      }
      const role = entry.role === undefined ? 'member' : entry.role;
      if (!PRE_MEETING_ROLES.includes(role)) throw refuse(Codes.INVALID_PARAM, `unknown role "${role}"`);
      if (!members.some((m) => m.userUuid === entry.userUuid)) members.push({ userUuid: entry.userUuid, role });
    }
    return members;
  }
}

// --- Screen share ------------------------------------------------------------
// The local machine's capture sources (two screens and three windows, with
// icons and thumbnails as Buffers of RGBA bytes) and the local user's share
// in the meeting. One member shares at a time. Sharing the system's sound
// needs the audio capture driver, installed once per service world.
//
// Buffers do not survive the library's JSON answer path as bytes; the sizes do.
const ScreenCodes = Object.freeze({
  SHARE_BUSY: 1140,
  SOURCE_NOT_FOUND: 1141,
  NOT_SHARING: 1142,
  DRIVER_MISSING: 1143,
});

const CAPTURE_SOURCES = [
  { sourceId: 1, sourceName: 'Screen 1', sourceType: 0, primaryMonitor: true },
  { sourceId: 2, sourceName: 'Screen 2', sourceType: 0, primaryMonitor: false },
  { sourceId: 101, sourceName: 'Quarterly review - Slides', sourceType: 1, title: 'Quarterly review',
    processPath: '/usr/bin/sandbox-slides' },
  { sourceId: 102, sourceName: 'Terminal', sourceType: 1, title: 'Terminal', processPath: '/usr/bin/sandbox-term' },
  { sourceId: 103, sourceName: 'Notes (minimised)', sourceType: 1, title: 'Notes',
    processPath: '/usr/bin/sandbox-notes' },
];
const THUMB_SIZE = { width: 32, height: 18 };
const ICON_SIZE = { width: 16, height: 16 };
// Options of startScreenShare by the kind of their value.
const SHARE_OPTION_KINDS = {
  needRequestMeetingServerScreenShare: 'boolean', sourceId: 'string', resolution: 'number', frameRate: 'number',
  limitFrameRate: 'number', videoProfile: 'string', isApp: 'boolean', forceDisplaySurface: 'string',
  preferMotion: 'boolean', isLinux: 'boolean',
};

// A deterministic RGBA picture: `salt` tells the sources apart.
function pictureOf(size, salt) {
  const data = Buffer.alloc(size.width * size.height * 4);
  for (let i = 0; i < data.length; i += 1) data[i] = (i * 7 + salt * 31) & 0xff;
  return { size: Object.assign({}, size), data };
}

class ScreenShareManager extends Manager {
  constructor(sandbox) { super(sandbox, 'screenShare'); }

  get machine() { return worldState(this, () => ({ driverInstalled: false })); }

  getScreenCaptureSourceList() {
    return this.answer('getScreenCaptureSourceList', arguments, () => CAPTURE_SOURCES.map((s) => {
      const source = Object.assign({}, s, { thumbImage: pictureOf(THUMB_SIZE, s.sourceId) });
      if (s.sourceType !== 0) source.icon = pictureOf(ICON_SIZE, s.sourceId + 1);
      return source;
    }));
  }

  // Shares the source named by `sourceId` (the primary screen without one).
  startScreenShare(options) {
    return this.answer('startScreenShare', arguments, () => {
      const meeting = this.sandbox.requireInRoom();
      const opts = requireOptions(options);
      for (const key of Object.keys(opts)) {
        if (SHARE_OPTION_KINDS[key] && typeof opts[key] !== SHARE_OPTION_KINDS[key]) {
          throw refuse(Codes.INVALID_PARAM, `${key} must be a ${SHARE_OPTION_KINDS[key]}`);
        }
      }
      const source = hasOwn(opts, 'sourceId') ? CAPTURE_SOURCES.find((s) => String(s.sourceId) === opts.sourceId)
        : CAPTURE_SOURCES[0];
      if (!source) throw refuse(ScreenCodes.SOURCE_NOT_FOUND, `no capture source ${opts.sourceId}`);
      const sharer = meeting.members.find((m) => m.isSharingScreen && m !== meeting.local);
      if (sharer) throw refuse(ScreenCodes.SHARE_BUSY, `${sharer.name} is sharing already`);
      meeting.localShare = { sourceId: source.sourceId, options: cloneData(opts) };
      this.sandbox.updateMember(meeting.local, { isSharingScreen: true });
      return null;
    });
  }

  stopScreenShare(options) {
    return this.answer('stopScreenShare', arguments, () => {
      const meeting = this.sandbox.requireInRoom();
      if (options !== undefined) requireOptions(options);
      if (!meeting.local.isSharingScreen) throw refuse(ScreenCodes.NOT_SHARING, 'you are not sharing');
      meeting.localShare = null;
      this.sandbox.updateMember(meeting.local, { isSharingScreen: false, isSharingSystemAudio: false });
      return null;
    });
  }

  // With a share running: true adds the system's sound, false takes it away.
  startShareSystemAudio(needAudio) {
    return this.answer('startShareSystemAudio', arguments, () => {
      const meeting = this.sandbox.requireInRoom();
      if (typeof needAudio !== 'boolean') throw refuse(Codes.INVALID_PARAM, 'needAudio must be a boolean');
      if (!meeting.local.isSharingScreen) throw refuse(ScreenCodes.NOT_SHARING, 'you are not sharing');
      if (needAudio && !this.machine.driverInstalled) {
        throw refuse(ScreenCodes.DRIVER_MISSING, 'install the audio capture driver first');
      }
      this.sandbox.updateMember(meeting.local, { isSharingSystemAudio: needAudio });
      return null;
    });
  }

  installAudioCaptureDriver() {
    return this.answer('installAudioCaptureDriver', arguments, () => {
      this.machine.driverInstalled = true;
      return null;
    });
  }

  // What the share looks like to the service: a line of text, "" when no one
  // shares. The service answers it as the bare text whatever the shape;
  // refusals keep the common forms.
  getScreenShareMessage() {
    let text;
    return this.answer('getScreenShareMessage', arguments, () => {
      const meeting = this.sandbox.requireInRoom();
      const sharer = meeting.members.find((m) => m.isSharingScreen);
      if (!sharer) text = '';
      else if (sharer !== meeting.local) text = `${sharer.name} is sharing the screen`;
      else {
        const source = CAPTURE_SOURCES.find((s) => s.sourceId === meeting.localShare.sourceId);
        text = `You are sharing ${source.sourceName}${meeting.local.isSharingSystemAudio ? ' with sound' : ''}`;
      }
      return text;
    }).then((answer) => (text === undefined ? answer : text));
  }
}

// --- Security ----------------------------------------------------------------
// Who may chat in the meeting. Two permissions, by the service's own names:
//   crPerm   (meeting room)  "freeChat" (default), "publicChatOnly",
//                            "privateChatHostOnly", "noChat"
//   wtPrChat (waiting room)  "noChat" (default), "privateChatHostOnly"
// They bind members, not hosts; the chatroom manager applies crPerm. They
// belong to the room: a room starts with the defaults and keeps what its host
// set for as long as it runs, across the local user's comings and goings.
const CHAT_PERMISSIONS = Object.freeze({
  crPerm: ['freeChat', 'publicChatOnly', 'privateChatHostOnly', 'noChat'],
  wtPrChat: ['noChat', 'privateChatHostOnly'],
});

function chatPermissionOf(meeting) {
  const room = meeting.room;
  if (!room.chatPermission) {
    room.chatPermission = { crPerm: CHAT_PERMISSIONS.crPerm[0], wtPrChat: CHAT_PERMISSIONS.wtPrChat[0] };
  }
  return room.chatPermission;
}

class SecurityManager extends Manager {
  constructor(sandbox) { super(sandbox, 'security'); }

  // Host only; the keys given change, the others stay. An empty object is a
  // valid request that changes nothing.
  changeChatroomPermission(options) {
    return this.answer('changeChatroomPermission', arguments, () => {
      const meeting = this.sandbox.requireHost();
      const opts = requireOptions(options);
      for (const key of Object.keys(CHAT_PERMISSIONS)) {
        if (hasOwn(opts, key) && !CHAT_PERMISSIONS[key].includes(opts[key])) {
          throw refuse(Codes.INVALID_PARAM, `${key} must be one of ${CHAT_PERMISSIONS[key].join(', ')}`);
        }
      }
      const permission = chatPermissionOf(meeting);
      for (const key of Object.keys(CHAT_PERMISSIONS)) if (hasOwn(opts, key)) permission[key] = opts[key];
      return null;
    });
  }

  // Anyone in the meeting, the waiting room included.
  getChatroomPermission() {
    return this.answer('getChatroomPermission', arguments,
      () => Object.assign({}, chatPermissionOf(this.sandbox.requireMeeting())));
  }
}

// --- Video -------------------------------------------------------------------
// Cameras (list, selection, preview selection), canvases and remote streams.
// A canvas is given as the native window handle in an 8-byte Buffer (or null,
// which detaches it); each canvas records the bytes it received and the handle
// they spell (little-endian, as hex). The local and preview canvases, the
// preview and the profile are local state; muting needs the meeting room and
// changes the local member's isVideoOn; remote canvases and subscriptions need
// a member of the meeting and end with it.

const CAMERAS = [
  { deviceId: 'cam-integrated', deviceName: 'Integrated Camera', defaultDevice: true },
  { deviceId: 'cam-usb-4k', deviceName: 'USB 4K Webcam', defaultDevice: false },
];
const VIEW_BYTES = 8;
// subscribeRemoteVideoStream stream types.
const VideoStreamType = Object.freeze({ HIGH: 0, LOW: 1 });

// What a canvas keeps of its view: null (detached) or the bytes and handle.
function canvasOf(view) {
  if (view === null || view === undefined) return null;
  if (!Buffer.isBuffer(view) || view.length !== VIEW_BYTES) {
    throw refuse(Codes.INVALID_PARAM, `view must be a ${VIEW_BYTES}-byte Buffer or null`);
  }
  return { bytes: Array.from(view), handle: `0x${view.readBigUInt64LE(0).toString(16)}` };
}

class VideoManager extends Manager {
  constructor(sandbox) { super(sandbox, 'video'); }

  get video() {
    return worldState(this, () => ({
      camera: new DeviceSet('camera', CAMERAS),
      localCanvas: null,
      previewCanvas: null,
      previewing: false,
      profile: null,
    }));
  }

  // Remote canvases and subscriptions of the current meeting.
  get remote() {
    const meeting = this.sandbox.meeting;
    if (!this.remoteState || this.remoteState.meeting !== meeting) {
      this.remoteState = { meeting, canvases: {}, subStreamCanvases: {}, streams: {}, subStreams: [] };
    }
    return this.remoteState;
  }

  // A copy of the video state, for tests.
  get state() {
    const v = this.video;
    const r = this.remote;
    return cloneData({
      camera: v.camera.state(), localCanvas: v.localCanvas, previewCanvas: v.previewCanvas, previewing: v.previewing,
      profile: v.profile, remoteCanvases: r.canvases, subStreamCanvases: r.subStreamCanvases, streams: r.streams,
      subStreams: r.subStreams,
    });
  }

  // A member of the meeting other than the local user.
  requireRemote(uuid) {
    const member = this.sandbox.requireMember(uuid);
    if (member === this.sandbox.localMember()) throw refuse(Codes.INVALID_PARAM, 'that is your own video');
    return member.uuid;
  }

  getCameraDeviceList() { return this.answer('getCameraDeviceList', arguments, () => this.video.camera.list()); }
  getCameraDeviceId() { return this.answer('getCameraDeviceId', arguments, () => this.video.camera.selected); }

  setCameraDevice(deviceId) {
    return this.answer('setCameraDevice', arguments, () => {
      const set = this.video.camera;
      set.selected = set.check(deviceId);
      return null;
    });
  }

  setCameraDevicePreview(deviceId) {
    return this.answer('setCameraDevicePreview', arguments, () => {
      const set = this.video.camera;
      set.preview = set.check(deviceId);
      return null;
    });
  }

  setupLocalVideoCanvas(view) {
    return this.answer('setupLocalVideoCanvas', arguments, () => { this.video.localCanvas = canvasOf(view); return null; });
  }

  removeLocalVideoCanvas() {
    return this.answer('removeLocalVideoCanvas', arguments, () => { this.video.localCanvas = null; return null; });
  }

  setupVideoPreviewCanvas(view) {
    return this.answer('setupVideoPreviewCanvas', arguments, () => {
      this.video.previewCanvas = canvasOf(view);
      return null;
    });
  }

  setupRemoteVideoCanvas(uuid, view) {
    return this.answer('setupRemoteVideoCanvas', arguments, () => {
      const canvas = canvasOf(view);
      const key = this.requireRemote(uuid);
      if (canvas) this.remote.canvases[key] = canvas;
      else delete this.remote.canvases[key];
      return null;
    });
  }

  setupRemoteVideoSubStreamCanvas(uuid, view) {
    return this.answer('setupRemoteVideoSubStreamCanvas', arguments, () => {
      const canvas = canvasOf(view);
      const key = this.requireRemote(uuid);
      if (canvas) this.remote.subStreamCanvases[key] = canvas;
      else delete this.remote.subStreamCanvases[key];
      return null;
    });
  }

  startVideoPreview() {
    return this.answer('startVideoPreview', arguments, () => { this.video.previewing = true; return null; });
  }

  stopVideoPreview() {
    return this.answer('stopVideoPreview', arguments, () => { this.video.previewing = false; return null; });
  }

  muteMyVideo() {
    return this.answer('muteMyVideo', arguments, () => {
      this.sandbox.requireInRoom();
      this.sandbox.updateMember(this.sandbox.localMember(), { isVideoOn: false });
      return null;
    });
  }

  unmuteMyVideo() {
    return this.answer('unmuteMyVideo', arguments, () => {
      this.sandbox.requireInRoom();
      this.sandbox.updateMember(this.sandbox.localMember(), { isVideoOn: true });
      return null;
    });
  }

  setVideoProfile(resolution, frameRate) {
    return this.answer('setVideoProfile', arguments, () => {
      if (!Number.isInteger(resolution) || !Number.isInteger(frameRate) || resolution < 0 || frameRate <= 0) {
        throw refuse(Codes.INVALID_PARAM, 'resolution and frame rate must be positive integers');
      }
      this.video.profile = { resolution, frameRate };
      return null;
    });
  }

  subscribeRemoteVideoStream(uuid, streamType) {
    return this.answer('subscribeRemoteVideoStream', arguments, () => {
      const key = this.requireRemote(uuid);
      if (!Object.values(VideoStreamType).includes(streamType)) {
        throw refuse(Codes.INVALID_PARAM, 'stream type must be 0 (high) or 1 (low)');
      }
      this.remote.streams[key] = streamType;
      return null;
    });
  }

  unsubscribeRemoteVideoStream(uuid, streamType) {
    return this.answer('unsubscribeRemoteVideoStream', arguments, () => {
      const key = this.requireRemote(uuid);
      if (this.remote.streams[key] === streamType) delete this.remote.streams[key];
      return null;
    });
  }

  subscribeRemoteVideoSubStream(uuid) {
    return this.answer('subscribeRemoteVideoSubStream', arguments, () => {
      const key = this.requireRemote(uuid);
      if (!this.remote.subStreams.includes(key)) this.remote.subStreams.push(key);
      return null;
    });
  }

  unsubscribeRemoteVideoSubStream(uuid) {
    return this.answer('unsubscribeRemoteVideoSubStream', arguments, () => {
      const key = this.requireRemote(uuid);
      this.remote.subStreams = this.remote.subStreams.filter((k) => k !== key);
      return null;
    });
  }
}

// --- Waiting room ------------------------------------------------------------
// Host operations on the waiting room of the current meeting. Its listeners use
// the generic addListener/removeListener. A refused command rejects (an Error
// with the service's `code`): the library takes any resolved command as done.
class WaitingRoomManager extends Manager {
  constructor(sandbox) { super(sandbox, 'waitingRoom'); }

  command(method, args, logic) {
    return this.answer(method, args, () => {
      try {
        return logic();
      } catch (e) {
        if (!(e instanceof ServiceError)) throw e;
        const failure = new Error(`${e.message} (code ${e.code})`);
        failure.code = e.code;
        throw failure;
      }
    });
  }

  requireWaiting(uuid) {
    if (typeof uuid !== 'string') throw refuse(Codes.INVALID_PARAM, 'userUuid must be a string');
    const w = this.sandbox.meeting.waitingRoom.members.find((x) => x.uuid === uuid);
    if (!w) throw refuse(Codes.MEMBER_NOT_FOUND, `${uuid} is not in the waiting room`);
    return w;
  }

  // autoAdmit: later arrivals of this member skip the waiting room.
  admitMember(uuid, autoAdmit) {
    return this.command('admitMember', arguments, () => {
      const sb = this.sandbox;
      sb.requireHost();
      this.requireWaiting(uuid);
      if (autoAdmit === true) sb.meeting.waitingRoom.autoAdmit.add(uuid);
      sb.admitWaiting(uuid);
      return null;
    });
  }

  admitAllMembers() {
    return this.command('admitAllMembers', arguments, () => {
      const sb = this.sandbox;
      sb.requireHost();
      const waiting = sb.meeting.waitingRoom.members.slice();
      for (const w of waiting) sb.admitWaiting(w.uuid, true);
      if (waiting.length) sb.notifyWaitingRoomInfo();
      return null;
    });
  }

  // notAllowRejoin: the member cannot come back to this meeting.
  expelMember(uuid, notAllowRejoin) {
    return this.command('expelMember', arguments, () => {
      const sb = this.sandbox;
      sb.requireHost();
      this.requireWaiting(uuid);
      sb.expelWaiting(uuid, notAllowRejoin === true);
      return null;
    });
  }

  expelAllMembers(notAllowRejoin) {
    return this.command('expelAllMembers', arguments, () => {
      const sb = this.sandbox;
      sb.requireHost();
      const wr = sb.meeting.waitingRoom;
      if (notAllowRejoin === true) for (const w of wr.members) wr.blocked.add(w.uuid);
      wr.members = [];
      sb.emitToWaitingRoomHosts('onAllMembersKicked');
      sb.notifyWaitingRoomInfo();
      return null;
    });
  }

  putInWaitingRoom(uuid) {
    return this.command('putInWaitingRoom', arguments, () => {
      const sb = this.sandbox;
      const meeting = sb.requireHost();
      const target = sb.requireMember(uuid);
      if (target.uuid === meeting.hostUuid || target.role === 'host') {
        throw refuse(Codes.CANNOT_MOVE_HOST, 'the host cannot be moved to the waiting room');
      }
      if (!meeting.waitingRoom.enabled) {
        meeting.waitingRoom.enabled = true; // moving someone there turns it on, as the service does
      }
      sb.putBackToWaitingRoom(target.uuid);
      return null;
    });
  }

  // fromJoinTime: 0 for the start, else a cursor (exclusive); count: 0 for all;
  // asc: oldest first (the default), else newest first.
  getWaitingRoomMemberList(fromJoinTime, count, asc) {
    return this.answer('getWaitingRoomMemberList', arguments, () => {
      const sb = this.sandbox;
      const meeting = sb.requireHost();
      const ascending = asc !== false;
      const from = Number.isFinite(fromJoinTime) ? fromJoinTime : 0;
      let list = meeting.waitingRoom.members.slice().sort((a, b) => a.joinTime - b.joinTime);
      if (!ascending) list.reverse();
      if (from > 0) list = list.filter((w) => (ascending ? w.joinTime > from : w.joinTime < from));
      if (Number.isFinite(count) && count > 0) list = list.slice(0, count);
      return list.map(waitingView);
    });
  }

  getWaitingRoomInfo() {
    return this.answer('getWaitingRoomInfo', arguments, () => {
      this.sandbox.requireMeeting();
      return this.sandbox.waitingRoomInfo();
    });
  }
}

// ===========================================================================
// The SDK object: lifecycle, global events, manager getters
// ===========================================================================

const APP_KEY_PATTERN = /^[A-Za-z0-9][A-Za-z0-9_.-]{3,127}$/;
const URL_PATTERN = /^https?:\/\/[\w.-]+(:[0-9]+)?(\/.*)?$/;
const LOCALE_PATTERN = /^[a-z]{2}-[A-Z]{2}$/;

// Checks the configuration the way the service would; throws a ServiceError.
function validateInitConfig(config, settings) {
  if (!isPlainObject(config)) throw refuse(Codes.INVALID_CONFIG, 'config must be an object');
  const appKey = config.appKey;
  if (!isNonEmptyString(appKey)) throw refuse(Codes.INVALID_APP_KEY, 'appKey is required');
  if (!APP_KEY_PATTERN.test(appKey)) throw refuse(Codes.INVALID_APP_KEY, 'appKey is malformed');
  if (settings.revokedAppKeys.includes(appKey)) throw refuse(Codes.INVALID_APP_KEY, 'appKey has been revoked');
  if (settings.appKeys && !settings.appKeys.includes(appKey)) {
    throw refuse(Codes.INVALID_APP_KEY, 'appKey is not registered');
  }
  if (!isNonEmptyString(config.logPath)) throw refuse(Codes.INVALID_CONFIG, 'logPath is required');
  for (const key of ['debug', 'eventTracking', 'useAssetServerConfig']) {
    if (hasOwn(config, key) && typeof config[key] !== 'boolean') {
      throw refuse(Codes.INVALID_CONFIG, `${key} must be a boolean`);
    }
  }
  if (hasOwn(config, 'serverUrl') && !(typeof config.serverUrl === 'string' && URL_PATTERN.test(config.serverUrl))) {
    throw refuse(Codes.INVALID_CONFIG, 'serverUrl must be an http or https URL');
  }
  if (hasOwn(config, 'locale') && !(typeof config.locale === 'string' && LOCALE_PATTERN.test(config.locale))) {
    throw refuse(Codes.INVALID_CONFIG, 'locale must look like en-US');
  }
  for (const key of ['imPrivateConf', 'mvRtcServerAddresses', 'whiteboardConfig', 'extras']) {
    if (!hasOwn(config, key)) continue;
    const block = config[key];
    if (!isPlainObject(block) || !Object.keys(block).every((k) => typeof block[k] === 'string')) {
      throw refuse(Codes.INVALID_CONFIG, `${key} must be an object of strings`);
    }
  }
}

function createSdk(sandbox) {
  const managers = {
    account: new AccountManager(sandbox),
    audio: new AudioManager(sandbox),
    chatroom: new ChatroomManager(sandbox),
    invite: new InviteManager(sandbox),
    meeting: new MeetingManager(sandbox),
    member: new MemberManager(sandbox),
    preMeeting: new PreMeetingManager(sandbox),
    screenShare: new ScreenShareManager(sandbox),
    security: new SecurityManager(sandbox),
    video: new VideoManager(sandbox),
    waitingRoom: new WaitingRoomManager(sandbox),
  };
  const globalHub = sandbox.hubs.get('global');

  return {
    // A refused initialize rejects (an Error with the service's `code`), as
    // the SDK's lifecycle calls do: hosts learn of the failure from the
    // rejection, not from the resolved value.
    initialize(config) {
      return sandbox.answer('initialize', arguments, () => {
        try {
          if (sandbox.initialized) throw refuse(Codes.ALREADY_INITIALIZED, 'SDK already initialized');
          validateInitConfig(config, sandbox.settings);
        } catch (e) {
          if (!(e instanceof ServiceError)) throw e;
          const failure = new Error(`${e.message} (code ${e.code})`);
          failure.code = e.code;
          throw failure;
        }
        sandbox.initialized = true;
        sandbox.initConfig = cloneData(config);
        if (config.debug === true) sandbox.settings.verbose = true;
        sandbox.schedule(sandbox.settings.timeline);
        return {
          sdkVersion: SDK_VERSION,
          appKey: config.appKey,
          serverUrl: config.serverUrl || DEFAULT_SERVER_URL,
          locale: config.locale || 'en-US',
          serverTime: sandbox.now(),
          sandbox: true,
        };
      });
    },

    // Always succeeds: ends the session, drops listeners and pending timers.
    unInitialize() {
      return sandbox.answer('unInitialize', arguments, () => {
        sandbox.dropMeeting();
        sandbox.clearTimers();
        for (const hub of sandbox.hubs.values()) hub.clear();
        sandbox.session = null;
        sandbox.initialized = false;
        return null;
      });
    },

    addGlobalEventListener(listener) {
      return sandbox.hook('addGlobalEventListener', arguments, () => globalHub.add('global', listener));
    },
    removeGlobalEventListener(listener) {
      return sandbox.hook('removeGlobalEventListener', arguments, () => { globalHub.remove('global', listener); });
    },

    getAccountManager: () => managers.account,
    getAudioManager: () => managers.audio,
    getChatroomManager: () => managers.chatroom,
    getInviteManager: () => managers.invite,
    getMeetingManager: () => managers.meeting,
    getMemberManager: () => managers.member,
    getPreMeetingManager: () => managers.preMeeting,
    getScreenShareManager: () => managers.screenShare,
    getSecurityManager: () => managers.security,
    getVideoManager: () => managers.video,
    getWaitingRoomManager: () => managers.waitingRoom,
  };
}

// ===========================================================================
// Control object
// ===========================================================================

function createControl(sandbox) {
  return {
    version: SDK_VERSION,
    codes: Codes,

    configure(options) { sandbox.configure(options); },
    // Sets (or, with null, removes) the override of one method path.
    override(path, rule) { sandbox.configure({ overrides: { [path]: rule } }); },
    // Back to the state right after loading: scenario settings, not
    // initialized, logged out, no listeners, no timers, empty logs.
    reset() { sandbox.reset(); },

    get calls() { return sandbox.calls; },
    callsTo(path) { return sandbox.calls.filter((c) => c.path === path); },
    clearCalls() { sandbox.calls = []; },
    get events() { return sandbox.events; },

    schedule(entries) { return sandbox.schedule(entries); },
    emit(entry) { return sandbox.emit(entry); },
    listenerCount(manager, channel) {
      if (!sandbox.hubs.has(manager)) throw badSetting(`unknown manager "${manager}"`);
      return sandbox.hubs.get(manager).count(channel);
    },
    get pendingTimers() { return sandbox.timers.size; },

    get initialized() { return sandbox.initialized; },
    get initConfig() { return cloneData(sandbox.initConfig); },
    get currentUser() { return sandbox.session ? sandbox.session.user.username : null; },
    get users() { return cloneData(sandbox.directory.users); },
    get settings() { return cloneData(sandbox.settings); },
    now() { return sandbox.now(); },

    // Meeting world: put the local user straight into a meeting (answers its
    // info record), take them out, run one script action now, look at it all.
    enterMeeting(options) { return sandbox.enterMeeting(options === undefined ? {} : options); },
    leaveMeetingNow(reason) { return sandbox.closeMeeting(reason === undefined ? EndReason.LEAVE_BY_SELF : reason); },
    meetingAction(entry) { return sandbox.runMeetingAction(entry); },
    get meeting() { return sandbox.meetingSnapshot(); },
    waitingRoomStatus: WaitingStatus,
    waitingRoomReasons: WaitingReason,
    roomEndReasons: EndReason,
  };
}

// ===========================================================================
// Load
// ===========================================================================

function loadScenario() {
  const settings = defaultSettings();
  const file = process.env.MORVANTA_SANDBOX_SCENARIO;
  if (!file) return settings;
  let scenario;
  try {
    scenario = JSON.parse(fs.readFileSync(file, 'utf8'));
  } catch (e) {
    throw badSetting(`cannot load scenario file ${file}: ${e.message}`);
  }
  try {
    return applySettings(settings, scenario);
  } catch (e) {
    throw new Error(`${e.message} (scenario file ${file})`);
  }
}

const sandbox = new Sandbox(loadScenario());
globalThis.morVantaMeeting = createSdk(sandbox);
globalThis.morVantaSandbox = createControl(sandbox);

module.exports = { morVantaMeeting: globalThis.morVantaMeeting, morVantaSandbox: globalThis.morVantaSandbox };
