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

