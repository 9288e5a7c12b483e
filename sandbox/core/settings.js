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

