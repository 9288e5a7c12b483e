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

