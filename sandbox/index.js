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
      default:
        throw badSetting(`unknown setting "${key}"`);
    }
  }
  return settings;
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
// Local microphone and speaker control; no methods yet.
class AudioManager extends Manager {
  constructor(sandbox) { super(sandbox, 'audio'); }
}

// --- Chatroom ----------------------------------------------------------------
// In-meeting chat; no methods yet.
class ChatroomManager extends Manager {
  constructor(sandbox) { super(sandbox, 'chatroom'); }
}

// --- Invite ------------------------------------------------------------------
// Invitations and account search; no methods yet.
class InviteManager extends Manager {
  constructor(sandbox) { super(sandbox, 'invite'); }
}

// --- Meeting -----------------------------------------------------------------
// Meeting operations come later. The listener pairs the library registers on
// are here already, one channel each, so scheduled events reach them.
class MeetingManager extends Manager {
  constructor(sandbox) { super(sandbox, 'meeting'); }

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
// Member list and member control; no methods yet.
class MemberManager extends Manager {
  constructor(sandbox) { super(sandbox, 'member'); }
}

// --- Pre-meeting -------------------------------------------------------------
// Scheduling and meeting history; no methods yet.
class PreMeetingManager extends Manager {
  constructor(sandbox) { super(sandbox, 'preMeeting'); }
}

// --- Screen share ------------------------------------------------------------
class ScreenShareManager extends Manager {
  constructor(sandbox) { super(sandbox, 'screenShare'); }
}

// --- Security ----------------------------------------------------------------
// Meeting lock, chat permissions; no methods yet.
class SecurityManager extends Manager {
  constructor(sandbox) { super(sandbox, 'security'); }
}

// --- Video -------------------------------------------------------------------
class VideoManager extends Manager {
  constructor(sandbox) { super(sandbox, 'video'); }
}

// --- Waiting room ------------------------------------------------------------
// Operations come later; its listeners use the generic addListener/removeListener.
class WaitingRoomManager extends Manager {
  constructor(sandbox) { super(sandbox, 'waitingRoom'); }
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
