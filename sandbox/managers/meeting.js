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

