// Small deterministic variation for simulated numbers (no Math.random).
function wobble(tick, salt, range) {
  return ((Math.imul(tick + 1, 2654435761) ^ Math.imul(salt + 7, 40503)) >>> 0) % range;
}

// The simulated members a meeting can have, from settings.meeting.
function rosterOf(ms, excludeUuid) {
  const list = ms.members.map((m, i) => {
    const o = typeof m === 'string' ? { name: m } : m;
    return {
      uuid: o.uuid || `sim-member-${String(i + 1).padStart(2, '0')}`, name: o.name, avatar: o.avatar,
      isAudioOn: o.isAudioOn !== undefined ? Boolean(o.isAudioOn) : true,
      isVideoOn: o.isVideoOn !== undefined ? Boolean(o.isVideoOn) : i % 2 === 0,
    };
  });
  for (let i = list.length; i < ms.memberCount; i += 1) {
    list.push({ uuid: `sim-member-${String(i + 1).padStart(2, '0')}`, name: `Guest ${i + 1}`,
      isAudioOn: true, isVideoOn: i % 2 === 0 });
  }
  return list.filter((d) => d.uuid !== excludeUuid);
}

Object.assign(Sandbox.prototype, {
  // --- entering and leaving ---------------------------------------------------

  // Opens the meeting of `room` for the local identity {uuid, name, avatar?,
  // role?}. mode "create": simulated members arrive after the start (joinStepMs
  // apart); "join"/"enter": the first memberCount are there already. Answers
  // the meeting info record.
  openMeeting(room, identity, mode, options = {}) {
    const ms = this.settings.meeting;
    const now = this.now();
    const roster = rosterOf(ms, identity.uuid);
    if (!room.ownerUserUuid) {
      const host = roster[0] || { uuid: 'sim-host', name: 'Sandbox Host' };
      room.ownerUserUuid = host.uuid;
      room.ownerNickname = host.name;
    }
    if (!room.startTime) room.startTime = now;
    const hostUuid = room.ownerUserUuid;
    const local = newMember({
      uuid: identity.uuid, name: identity.name,
      role: identity.uuid === hostUuid ? 'host' : (identity.role || 'member'),
      isAudioOn: false, isVideoOn: false, isInChatroom: !room.noChat,
    });
    if (identity.avatar) local.avatar = identity.avatar;
    const meeting = {
      meetingId: room.meetingId, meetingNum: room.meetingNum, roomUuid: room.roomUuid, subject: room.subject,
      password: room.password || '', type: room.type, ownerUserUuid: room.ownerUserUuid,
      ownerNickname: room.ownerNickname, hostUuid, startTime: room.startTime, endTime: room.endTime || 0,
      joinMeetingTime: now, rtcStartTime: 0, noChat: Boolean(room.noChat), room,
      local, members: [], localStatus: 'none', roster,
      waitingRoom: { enabled: Boolean(room.enableWaitingRoom), members: [], backgroundImageUrl: '',
        autoAdmit: new Set(), blocked: room.blocked || (room.blocked = new Set()) },
      chat: [], timers: new Set(), statsTimer: null, stats: null,
    };
    this.meeting = meeting;
    if (mode !== 'create') {
      for (const def of roster.slice(0, ms.memberCount)) meeting.members.push(this.simMemberFrom(def));
    }
    const mustWait = options.inWaitingRoom === true || (options.inWaitingRoom === undefined && mode === 'join'
      && meeting.waitingRoom.enabled && !HOST_ROLES.includes(local.role));
    if (mustWait) this.localToWaitingRoom(WaitingReason.JOINED);
    else this.enterRoom();
    if (mode === 'create') {
      roster.slice(0, ms.memberCount).forEach((def, i) => {
        this.meetingAfter(ms.joinStepMs * (i + 1), () => this.simJoin(def));
      });
    }
    const script = ms.script.map((e, i) => ({ e, i })).sort((a, b) => a.e.atMs - b.e.atMs || a.i - b.i);
    for (const { e } of script) this.meetingAfter(e.atMs, () => this.runMeetingAction(e));
    this.log(`meeting ${meeting.meetingNum} opened (${mode}) as ${local.uuid} [${local.role}]`);
    return this.meetingInfo();
  },

  // The local user enters the room itself: RTC engine events, stats start.
  enterRoom() {
    const meeting = this.meeting;
    meeting.localStatus = 'inRoom';
    if (!meeting.members.includes(meeting.local)) meeting.members.push(meeting.local);
    meeting.rtcStartTime = this.now();
    const rtc = { roomUuid: meeting.roomUuid, sandbox: true };
    this.emitGlobal('beforeRtcEngineInitialize', meeting.roomUuid);
    this.emitGlobal('afterRtcEngineInitialize', meeting.roomUuid, rtc);
    this.startRtcStats();
  },

  // The local user leaves the room (not necessarily the meeting).
  exitRoom() {
    const meeting = this.meeting;
    if (meeting.localStatus !== 'inRoom') return;
    this.cancelMeetingTimer(meeting.statsTimer);
    meeting.statsTimer = null;
    this.emitGlobal('beforeRtcEngineRelease', meeting.roomUuid, { roomUuid: meeting.roomUuid, sandbox: true });
    meeting.members = meeting.members.filter((m) => m !== meeting.local);
    meeting.localStatus = 'none';
  },

  // Ends the local user's part in the meeting. reason: onRoomEnded's reason
  // (null: no onRoomEnded). ended: the meeting itself is over (the room is
  // unregistered; a waiting local user hears REMOVED / MEETING_ENDED).
  closeMeeting(reason, ended = false) {
    const meeting = this.meeting;
    if (!meeting) return false;
    if (meeting.localStatus === 'inRoom') {
      if (reason) this.emitMeeting('onRoomEnded', reason, '');
      this.exitRoom();
    } else if (ended) {
      this.emitWaitingRoom('onMyWaitingRoomStatusChanged', WaitingStatus.REMOVED, WaitingReason.MEETING_ENDED);
    }
    if (ended) this.rooms.delete(meeting.meetingNum);
    this.dropMeeting();
    return true;
  },

  // Forgets the meeting without any event; clears its timers.
  dropMeeting() {
    const meeting = this.meeting;
    if (!meeting) return;
    for (const handle of meeting.timers) { clearTimeout(handle); this.timers.delete(handle); }
    meeting.timers.clear();
    this.meeting = null;
  },

  // The record getMeetingInfo answers (MvMeetingSDKInfo and MvMeetingInfo keys).
  meetingInfo() {
    const m = this.meeting;
    const host = this.findMember(m.hostUuid);
    return {
      meetingId: m.meetingId, meetingNum: m.meetingNum, roomUuid: m.roomUuid, subject: m.subject,
      type: m.type, state: m.localStatus === 'inRoom' ? 2 : 1,
      startTime: m.startTime, endTime: m.endTime, rtcStartTime: m.rtcStartTime, joinMeetingTime: m.joinMeetingTime,
      ownerUserUuid: m.ownerUserUuid, ownerNickname: m.ownerNickname,
      hostUuid: m.hostUuid, hostName: host ? host.name : m.ownerNickname,
      myUuid: m.local.uuid,
      localMember: { userUuid: m.local.uuid, uuid: m.local.uuid, name: m.local.name, role: m.local.role },
      activeSpeakerUuid: this.activeSpeaker(), roomArchiveId: `archive-${m.meetingId}`,
      isSupportChatroom: !m.noChat, noChat: m.noChat, isCloudRecording: false, noCloudRecord: true,
      enableWaitingRoom: m.waitingRoom.enabled, isWaitingRoomEnabled: m.waitingRoom.enabled,
      inWaitingRoom: m.localStatus !== 'inRoom', maxMembers: 300, isBreakoutRoom: false,
      password: m.password, memberCount: m.members.length,
    };
  },

  activeSpeaker() {
    const m = this.meeting;
    const talking = m.members.filter((x) => x.isAudioOn && x !== m.local);
    if (talking.length === 0) return '';
    const tick = m.stats ? m.stats.tick : 0;
    return talking[Math.floor(tick / 3) % talking.length].uuid;
  },

  // --- simulated members --------------------------------------------------------

  simMemberFrom(def) {
    const m = newMember({ uuid: def.uuid, name: def.name, isAudioOn: def.isAudioOn, isVideoOn: def.isVideoOn,
      role: def.uuid === this.meeting.hostUuid ? 'host' : 'member', isInChatroom: !this.meeting.noChat });
    if (def.avatar) m.avatar = def.avatar;
    return m;
  },

  // A roster entry by index, name or uuid, or an in-room member; "local" is you.
  resolveMember(ref) {
    const meeting = this.meeting;
    if (ref === 'local') return meeting.local;
    const def = Number.isInteger(ref) ? meeting.roster[ref]
      : meeting.roster.find((d) => d.uuid === ref || d.name === ref);
    if (def) return def;
    return meeting.members.find((m) => m.uuid === ref || m.name === ref)
      || meeting.waitingRoom.members.find((w) => w.uuid === ref || w.name === ref) || null;
  },

  // The simulated host, as an operateBy record (null if the local user hosts).
  simHost() {
    const m = this.meeting;
    if (m.local.uuid === m.hostUuid) return null;
    const present = this.findMember(m.hostUuid);
    return present ? memberView(present) : { uuid: m.hostUuid, name: m.ownerNickname, role: 'host' };
  },

  // A simulated member arrives: into the room, or the waiting room when it is on.
  simJoin(def) {
    const wr = this.meeting.waitingRoom;
    if (this.findMember(def.uuid) || wr.members.some((w) => w.uuid === def.uuid)) return;
    if (wr.blocked.has(def.uuid)) return;
    if (wr.enabled && def.uuid !== this.meeting.hostUuid && !wr.autoAdmit.has(def.uuid)) {
      this.addWaiting(def, WaitingReason.JOINED);
    } else {
      this.addMember(this.simMemberFrom(def));
    }
  },

  addMember(member) {
    this.meeting.members.push(member);
    this.emitMeeting('onMemberJoinRoom', [memberView(member)]);
    if (member.isInChatroom) this.emitMeeting('onMemberJoinChatroom', [memberView(member)]);
    return member;
  },

  removeMember(uuid) {
    const meeting = this.meeting;
    const member = this.findMember(uuid);
    if (!member || member === meeting.local) return null;
    meeting.members = meeting.members.filter((m) => m !== member);
    if (member.isInChatroom) this.emitMeeting('onMemberLeaveChatroom', [memberView(member)]);
    this.emitMeeting('onMemberLeaveRoom', [memberView(member)]);
    return member;
  },

  // --- waiting room -------------------------------------------------------------

  waitingRoomInfo() {
    const wr = this.meeting.waitingRoom;
    return { memberCount: wr.members.length, isEnabledOnEntry: wr.enabled, backgroundImageUrl: wr.backgroundImageUrl };
  },

  notifyWaitingRoomInfo() { return this.emitWaitingRoom('onWaitingRoomInfoUpdated', this.waitingRoomInfo()); },

  // Waiting-room events meant for the hosts: only while the local user hosts in the room.
  emitToWaitingRoomHosts(event, ...args) {
    if (!this.meeting || this.meeting.localStatus !== 'inRoom' || !this.isLocalHost()) return 0;
    return this.emitWaitingRoom(event, ...args);
  },

  // For the security manager and the like: turns the waiting room on or off.
  // With admitAll, turning it off admits everybody waiting.
  setWaitingRoomEnabled(enabled, { admitAll = false } = {}) {
    const wr = this.requireMeeting().waitingRoom;
    wr.enabled = Boolean(enabled);
    if (!wr.enabled && admitAll) {
      for (const w of wr.members.slice()) this.admitWaiting(w.uuid, true);
    }
    this.notifyWaitingRoomInfo();
  },

  addWaiting(def, reason) {
    const meeting = this.meeting;
    const w = { uuid: def.uuid, name: def.name, joinTime: this.now(), status: WaitingStatus.WAITING, def };
    if (def.avatar) w.avatar = def.avatar;
    meeting.waitingRoom.members.push(w);
    this.emitToWaitingRoomHosts('onMemberJoin', waitingView(w), reason);
    this.notifyWaitingRoomInfo();
    this.scheduleAutoAdmit(w.uuid);
    return w;
  },

  // The simulated host admits whoever waits, autoAdmitMs later, unless you host.
  scheduleAutoAdmit(uuid) {
    const ms = this.settings.meeting.autoAdmitMs;
    if (ms === null || this.meeting.local.role === 'host') return;
    this.meetingAfter(ms, () => {
      if (this.meeting.waitingRoom.members.some((w) => w.uuid === uuid)) this.admitWaiting(uuid);
    });
  },

  // The local user goes to the waiting room (on join or put back by the host).
  localToWaitingRoom(reason) {
    const meeting = this.meeting;
    this.exitRoom();
    meeting.localStatus = 'waiting';
    const local = meeting.local;
    meeting.waitingRoom.members.push({ uuid: local.uuid, name: local.name, joinTime: this.now(),
      status: WaitingStatus.WAITING, def: null });
    this.emitWaitingRoom('onMyWaitingRoomStatusChanged', WaitingStatus.WAITING, reason);
    const managers = meeting.members.filter((m) => HOST_ROLES.includes(m.role));
    const list = managers.length ? managers.map(memberView) : [this.simHost()].filter(Boolean);
    this.emitWaitingRoom('onManagersUpdated', list.map((m) => ({ uuid: m.uuid, userUuid: m.uuid, name: m.name,
      userName: m.name, role: m.role || 'host' })));
    this.notifyWaitingRoomInfo();
    this.scheduleAutoAdmit(local.uuid);
  },

  takeWaiting(uuid) {
    const wr = this.meeting.waitingRoom;
    const w = wr.members.find((x) => x.uuid === uuid);
    if (w) wr.members = wr.members.filter((x) => x !== w);
    return w || null;
  },

  // Admits one waiting member; the local user becomes "admitted" and enters
  // with rejoinAfterAdmittedToRoom(). Answers false if nobody waits with uuid.
  admitWaiting(uuid, quietInfo = false) {
    const meeting = this.meeting;
    const w = this.takeWaiting(uuid);
    if (!w) return false;
    if (uuid === meeting.local.uuid) {
      meeting.localStatus = 'admitted';
      this.emitWaitingRoom('onMyWaitingRoomStatusChanged', WaitingStatus.ADMITTED, WaitingReason.ADMITTED);
      if (!quietInfo) this.notifyWaitingRoomInfo();
      return true;
    }
    this.emitToWaitingRoomHosts('onMemberAdmitted', uuid);
    if (!quietInfo) this.notifyWaitingRoomInfo();
    const def = w.def || { uuid: w.uuid, name: w.name, avatar: w.avatar, isAudioOn: true, isVideoOn: false };
    const member = this.simMemberFrom(def);
    if (w.name !== def.name) member.name = w.name;
    this.addMember(member);
    return true;
  },

  // Sends a waiting member away; notAllowRejoin keeps them out of this meeting.
  expelWaiting(uuid, notAllowRejoin, reason = WaitingReason.EXPELLED) {
    const meeting = this.meeting;
    const w = this.takeWaiting(uuid);
    if (!w) return false;
    if (notAllowRejoin) meeting.waitingRoom.blocked.add(uuid);
    if (uuid === meeting.local.uuid) {
      this.emitWaitingRoom('onMyWaitingRoomStatusChanged', WaitingStatus.REMOVED, reason);
      this.dropMeeting();
      return true;
    }
    this.emitToWaitingRoomHosts('onMemberLeave', uuid, reason);
    this.notifyWaitingRoomInfo();
    return true;
  },

  // Moves an in-room member (the local user too) back to the waiting room.
  putBackToWaitingRoom(uuid) {
    const meeting = this.meeting;
    if (uuid === meeting.local.uuid) { this.localToWaitingRoom(WaitingReason.PUT_BACK); return true; }
    const member = this.removeMember(uuid);
    if (!member) return false;
    const def = meeting.roster.find((d) => d.uuid === uuid)
      || { uuid, name: member.name, avatar: member.avatar, isAudioOn: member.isAudioOn, isVideoOn: member.isVideoOn };
    this.addWaiting(Object.assign({}, def, { name: member.name }), WaitingReason.PUT_BACK);
    return true;
  },

  // --- RTC statistics ---------------------------------------------------------------

  startRtcStats() {
    const meeting = this.meeting;
    const period = this.settings.meeting.rtcStatsIntervalMs;
    meeting.stats = meeting.stats || { tick: 0, txAudio: 0, txVideo: 0, rxAudio: 0, rxVideo: 0 };
    if (period > 0) meeting.statsTimer = this.meetingEvery(period, () => this.rtcStatsTick(period));
  },

  // One round of the six kinds: onRtcStats, onLocalAudioStats, onRemoteAudioStats,
  // onLocalVideoStats, onRemoteVideoStats, onNetworkQuality.
  rtcStatsTick(period) {
    const m = this.meeting;
    const s = m.stats;
    s.tick += 1;
    const t = s.tick;
    const secs = period / 1000;
    const remotes = m.members.filter((x) => x !== m.local);
    const local = m.local;
    const aKbps = local.isAudioOn ? 24 + wobble(t, 1, 9) : 0;
    const vKbps = local.isVideoOn ? 850 + wobble(t, 2, 150) : 0;
    const remoteAudio = remotes.filter((r) => r.isAudioOn && r.isAudioConnected);
    const remoteVideo = remotes.filter((r) => r.isVideoOn || r.isSharingScreen);
    s.txAudio += Math.round(aKbps * 125 * secs);
    s.txVideo += Math.round(vKbps * 125 * secs);
    s.rxAudio += Math.round(remoteAudio.length * 32 * 125 * secs);
    s.rxVideo += Math.round(remoteVideo.length * 600 * 125 * secs);
    const overhead = Math.round(2 * 125 * secs);
    this.emitRtcStats('onRtcStats', {
      duration: Math.floor((t * period) / 1000),
      txBytes: s.txAudio + s.txVideo + overhead * t, rxBytes: s.rxAudio + s.rxVideo + overhead * t,
      txAudioBytes: s.txAudio, txVideoBytes: s.txVideo, rxAudioBytes: s.rxAudio, rxVideoBytes: s.rxVideo,
    });
    this.emitRtcStats('onLocalAudioStats', {
      volume: local.isAudioOn ? 20 + wobble(t, 3, 60) : 0, numChannels: 1, sentSampleRate: 48000, sentBitrate: aKbps,
    });
    this.emitRtcStats('onRemoteAudioStats', remoteAudio.map((r, i) => ({
      userUuid: r.uuid, volume: r.uuid === this.activeSpeaker() ? 60 + wobble(t, 10 + i, 30) : wobble(t, 20 + i, 15),
      receivedBitrate: 28 + wobble(t, 30 + i, 8),
    })));
    const [w, h] = local.isVideoOn ? [1280, 720] : [0, 0];
    const fps = local.isVideoOn ? 28 + wobble(t, 4, 3) : 0;
    this.emitRtcStats('onLocalVideoStats', {
      captureWidth: w, captureHeight: h, encodedFrameWidth: w, encodedFrameHeight: h,
      encoderOutputFrameRate: fps, sentFrameRate: fps, sentBitrate: vKbps,
    });
    this.emitRtcStats('onRemoteVideoStats', remoteVideo.map((r, i) => {
      const share = r.isSharingScreen;
      const rate = share ? 10 + wobble(t, 40 + i, 5) : 24 + wobble(t, 40 + i, 7);
      return { userUuid: r.uuid, width: share ? 1920 : 640, height: share ? 1080 : 360,
        receivedBitrate: (share ? 1200 : 550) + wobble(t, 50 + i, 100),
        decoderOutputFrameRate: rate, rendererOutputFrameRate: rate };
    }));
    this.emitRtcStats('onNetworkQuality', m.members.map((x, i) => ({
      userUuid: x.uuid, uplinkQuality: 1 + wobble(t, 60 + i, 3), downlinkQuality: 1 + wobble(t, 70 + i, 2),
    })));
  },

  // --- message channel ----------------------------------------------------------------

  sessionRecents() {
    return Array.from(this.messageSessions.values()).map((s) => ({
      sessionId: s.sessionId, sessionType: s.sessionType, unreadCount: s.unreadCount,
    }));
  },

  receiveSessionMessage(sessionId, sessionType, data) {
    let session = this.messageSessions.get(sessionId);
    if (!session) {
      session = { sessionId, sessionType, unreadCount: 0, messages: [], seq: 0 };
      this.messageSessions.set(sessionId, session);
    }
    session.seq += 1;
    const msg = { sessionId, sessionType: session.sessionType, messageId: `${sessionId}-msg-${session.seq}`,
      data: typeof data === 'string' ? data : JSON.stringify(data === undefined ? {} : data), time: this.now() };
    session.messages.push(msg);
    session.unreadCount += 1;
    this.emitMessageChannel('onSessionMessageReceived', msg);
    this.emitMessageChannel('onSessionMessageRecentChanged', this.sessionRecents());
    return msg;
  },

  deleteSessionMessage(sessionId, messageId) {
    const session = this.messageSessions.get(sessionId);
    if (!session || session.messages.length === 0) return null;
    const msg = messageId ? session.messages.find((x) => x.messageId === messageId)
      : session.messages[session.messages.length - 1];
    if (!msg) return null;
    session.messages = session.messages.filter((x) => x !== msg);
    session.unreadCount = Math.min(session.unreadCount, session.messages.length);
    this.emitMessageChannel('onSessionMessageDeleted', msg);
    this.emitMessageChannel('onSessionMessageRecentChanged', this.sessionRecents());
    return msg;
  },

  clearSession(sessionId, sessionType) {
    const session = this.messageSessions.get(sessionId);
    const type = session ? session.sessionType : (sessionType || 0);
    this.messageSessions.delete(sessionId);
    this.emitMessageChannel('onDeleteAllSessionMessage', sessionId, type);
    this.emitMessageChannel('onSessionMessageRecentChanged', this.sessionRecents());
  },

  // --- the script ------------------------------------------------------------------------

  // Runs one script action now (see README "Meeting script"). Answers false
  // when it does not apply (member absent, already in that state, ...).
  runMeetingAction(entry) {
    checkMeetingAction(entry, false);
    const meeting = this.meeting;
    if (!meeting) return false;
    const ref = this.resolveMember(entry.member);
    const host = this.simHost();
    const live = ref && (ref.uuid ? this.findMember(ref.uuid) : null);
    const isLocal = live === meeting.local;
    const opFor = isLocal ? host : null; // the host acts on you; members act on themselves
    const set = (changes, extra = {}) => {
      if (!live) return false;
      const before = JSON.stringify(memberView(live));
      this.updateMember(live, changes, Object.assign({ operateBy: opFor }, extra));
      return before !== JSON.stringify(memberView(live));
    };
    switch (entry.action) {
      case 'join':
        if (!ref || live || isLocal) return false;
        this.simJoin(meeting.roster.find((d) => d.uuid === ref.uuid) || ref);
        return true;
      case 'leave':
        if (ref && !live && this.takeWaiting(ref.uuid)) {
          this.emitToWaitingRoomHosts('onMemberLeave', ref.uuid, WaitingReason.LEFT);
          this.notifyWaitingRoomInfo();
          return true;
        }
        return Boolean(live && !isLocal && this.removeMember(live.uuid));
      case 'muteAudio': return set({ isAudioOn: false });
      case 'unmuteAudio': return set({ isAudioOn: true });
      case 'muteVideo': return set({ isVideoOn: false });
      case 'unmuteVideo': return set({ isVideoOn: true });
      case 'startShare':
        if (!live || meeting.members.some((m) => m.isSharingScreen && m !== live)) return false;
        return set({ isSharingScreen: true });
      case 'stopShare': return set({ isSharingScreen: false, isSharingSystemAudio: false });
      case 'audioDisconnect': return set({ isAudioConnected: false });
      case 'audioConnect': return set({ isAudioConnected: true });
      case 'handsUp': return set({ isHandsUp: true });
      case 'handsDown': return set({ isHandsUp: false });
      case 'banChat':
        if (!live) return false;
        this.updateMember(live, { isChatBanned: true }, { operateBy: host, duration: entry.duration || 0,
          notifyExt: entry.notifyExt || '' });
        return true;
      case 'unbanChat':
        if (!live) return false;
        this.updateMember(live, { isChatBanned: false }, { operateBy: host, notifyExt: entry.notifyExt || '' });
        return true;
      case 'chat':
      case 'file': {
        if (!live || isLocal || meeting.noChat) return false;
        const to = entry.to === 'local' ? [meeting.local.uuid] : entry.to ? [].concat(entry.to) : undefined;
        const form = entry.action === 'file' ? { file: entry.file, toUserUuidList: to }
          : { text: entry.text || '', toUserUuidList: to };
        this.deliverChat([this.chatMessage(live, form)]);
        return true;
      }
      case 'rename': {
        if (!ref) return false;
        const waiting = meeting.waitingRoom.members.find((w) => w.uuid === ref.uuid);
        if (waiting) {
          waiting.name = entry.name;
          this.emitToWaitingRoomHosts('onMemberNameChanged', waiting.uuid, entry.name, null);
          return true;
        }
        return set({ name: entry.name });
      }
      case 'customMessage':
        if (!ref) return false;
        this.emitMessageChannel('onCustomMessageReceived', { roomUuid: meeting.roomUuid, senderUuid: ref.uuid,
          data: typeof entry.data === 'string' ? entry.data : JSON.stringify(entry.data || {}), timestamp: this.now() });
        return true;
      case 'sessionMessage':
        this.receiveSessionMessage(entry.sessionId || 'sandbox-session', entry.sessionType || 0, entry.data);
        return true;
      case 'deleteSessionMessage':
        return Boolean(this.deleteSessionMessage(entry.sessionId || 'sandbox-session', entry.messageId));
      case 'clearSession':
        this.clearSession(entry.sessionId || 'sandbox-session', entry.sessionType);
        return true;
      case 'admitLocal':
        return this.admitWaiting(meeting.local.uuid);
      case 'putLocalInWaitingRoom':
        if (meeting.localStatus !== 'inRoom' || meeting.local.role === 'host') return false;
        this.localToWaitingRoom(WaitingReason.PUT_BACK);
        return true;
      case 'kickLocal':
        return this.closeMeeting(EndReason.KICK_OUT);
      case 'endMeeting':
        return this.closeMeeting(entry.reason || EndReason.CLOSE_BY_MEMBER, true);
      default:
        return false;
    }
  },

  // --- control-object entry --------------------------------------------------------------

  // morVantaSandbox.enterMeeting(): the logged-in (or an anonymous) user is put
  // straight into a running meeting; answers the meeting info record.
  enterMeeting(options) {
    if (!isPlainObject(options)) throw badSetting('enterMeeting() takes an object');
    const known = ['meetingNum', 'subject', 'nickname', 'userUuid', 'asHost', 'enableWaitingRoom', 'inWaitingRoom',
      'noChat'];
    const bad = Object.keys(options).find((k) => !known.includes(k));
    if (bad) throw badSetting(`unknown enterMeeting option "${bad}" (one of ${known.join(', ')})`);
    if (!this.initialized) throw badSetting('enterMeeting() needs an initialized SDK');
    this.closeMeeting(EndReason.LEAVE_BY_SELF);
    const identity = this.localIdentity(options);
    const meetingNum = isNonEmptyString(options.meetingNum) ? options.meetingNum : '8800000001';
    let room = this.findRoom(meetingNum);
    if (!room) room = this.registerRoom({ meetingNum, subject: options.subject || `Meeting ${meetingNum}` });
    if (options.subject) room.subject = options.subject;
    if (options.enableWaitingRoom !== undefined) room.enableWaitingRoom = Boolean(options.enableWaitingRoom);
    if (options.noChat !== undefined) room.noChat = Boolean(options.noChat);
    if (options.asHost) { room.ownerUserUuid = identity.uuid; room.ownerNickname = identity.name; }
    return this.openMeeting(room, identity, 'enter',
      { inWaitingRoom: options.inWaitingRoom === undefined ? false : Boolean(options.inWaitingRoom) });
  },

  // Who the local user is: the session's user, else an anonymous guest.
  localIdentity(options) {
    if (this.session) {
      const user = this.session.user;
      return { uuid: user.userUuid, name: isNonEmptyString(options.nickname) ? options.nickname : user.nickname,
        avatar: user.avatar };
    }
    return { uuid: isNonEmptyString(options.userUuid) ? options.userUuid : `anon-${randomHex(this.random, 8)}`,
      name: isNonEmptyString(options.nickname) ? options.nickname : 'Guest' };
  },

  // A copy of the meeting state for tests and demos (null outside a meeting).
  meetingSnapshot() {
    const m = this.meeting;
    if (!m) return null;
    return Object.assign(this.meetingInfo(), {
      localStatus: m.localStatus,
      members: this.memberList(),
      waitingRoom: Object.assign(this.waitingRoomInfo(), { members: m.waitingRoom.members.map(waitingView) }),
      chat: cloneData(m.chat),
    });
  },
});

