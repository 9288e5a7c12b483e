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

