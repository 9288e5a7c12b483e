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

