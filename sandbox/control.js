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

