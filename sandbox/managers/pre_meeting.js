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

