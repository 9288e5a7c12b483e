// --- Member ------------------------------------------------------------------
// The member list and what a host does to members. Acting on others needs the
// host or co-host role (1103 otherwise); anyone may act on themselves.
class MemberManager extends Manager {
  constructor(sandbox) { super(sandbox, 'member'); }

  getMemberList() {
    return this.answer('getMemberList', arguments, () => {
      this.sandbox.requireInRoom();
      return this.sandbox.memberList();
    });
  }

  // One member's flags; the local user may change their own without the host role.
  setFlags(method, args, uuid, changes) {
    return this.answer(method, args, () => {
      const sb = this.sandbox;
      const target = sb.requireMember(uuid);
      const local = sb.localMember();
      if (target !== local && !sb.isLocalHost()) throw refuse(Codes.NO_PERMISSION, 'only the host can do this');
      if (hasOwn(changes, 'isSharingScreen') && !target.isSharingScreen) {
        throw refuse(Codes.INVALID_PARAM, `${target.uuid} is not sharing the screen`);
      }
      sb.updateMember(target, changes, { operateBy: target === local ? null : local });
      return null;
    });
  }

  // Every member but the local user; host only.
  setAll(method, args, changes) {
    return this.answer(method, args, () => {
      const sb = this.sandbox;
      sb.requireHost();
      const local = sb.localMember();
      for (const m of sb.meeting.members.slice()) {
        if (m !== local && sb.meeting.members.includes(m)) sb.updateMember(m, changes, { operateBy: local });
      }
      return null;
    });
  }

  muteMemberAudio(uuid) { return this.setFlags('muteMemberAudio', arguments, uuid, { isAudioOn: false }); }
  unmuteMemberAudio(uuid) { return this.setFlags('unmuteMemberAudio', arguments, uuid, { isAudioOn: true }); }
  muteMemberVideo(uuid) { return this.setFlags('muteMemberVideo', arguments, uuid, { isVideoOn: false }); }
  unmuteMemberVideo(uuid) { return this.setFlags('unmuteMemberVideo', arguments, uuid, { isVideoOn: true }); }
  muteVideoAndAudio(uuid) {
    return this.setFlags('muteVideoAndAudio', arguments, uuid, { isAudioOn: false, isVideoOn: false });
  }
  unmuteVideoAndAudio(uuid) {
    return this.setFlags('unmuteVideoAndAudio', arguments, uuid, { isAudioOn: true, isVideoOn: true });
  }
  stopMemberScreenShare(uuid) {
    return this.setFlags('stopMemberScreenShare', arguments, uuid, { isSharingScreen: false, isSharingSystemAudio: false });
  }
  muteAllAudio() { return this.setAll('muteAllAudio', arguments, { isAudioOn: false }); }
  unmuteAllAudio() { return this.setAll('unmuteAllAudio', arguments, { isAudioOn: true }); }
  muteAllVideo() { return this.setAll('muteAllVideo', arguments, { isVideoOn: false }); }
  unmuteAllVideo() { return this.setAll('unmuteAllVideo', arguments, { isVideoOn: true }); }

  handsUp() {
    return this.answer('handsUp', arguments, () => {
      const sb = this.sandbox;
      sb.requireInRoom();
      sb.updateMember(sb.localMember(), { isHandsUp: true });
      return null;
    });
  }

  // No uuid (or your own): your hand; another member's: host only.
  handsDown(uuid) {
    return this.answer('handsDown', arguments, () => {
      const sb = this.sandbox;
      sb.requireInRoom();
      const local = sb.localMember();
      const target = uuid === undefined || uuid === null || uuid === '' ? local : sb.requireMember(uuid);
      if (target !== local && !sb.isLocalHost()) throw refuse(Codes.NO_PERMISSION, 'only the host can lower hands');
      sb.updateMember(target, { isHandsUp: false });
      return null;
    });
  }

  handsDownAll() { return this.setAll('handsDownAll', arguments, { isHandsUp: false }); }
}

