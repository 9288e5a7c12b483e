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

