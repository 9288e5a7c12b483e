// --- Screen share ------------------------------------------------------------
// The local machine's capture sources (two screens and three windows, with
// icons and thumbnails as Buffers of RGBA bytes) and the local user's share
// in the meeting. One member shares at a time. Sharing the system's sound
// needs the audio capture driver, installed once per service world.
//
// Buffers do not survive the library's JSON answer path as bytes; the sizes do.
const ScreenCodes = Object.freeze({
  SHARE_BUSY: 1140,
  SOURCE_NOT_FOUND: 1141,
  NOT_SHARING: 1142,
  DRIVER_MISSING: 1143,
});

const CAPTURE_SOURCES = [
  { sourceId: 1, sourceName: 'Screen 1', sourceType: 0, primaryMonitor: true },
  { sourceId: 2, sourceName: 'Screen 2', sourceType: 0, primaryMonitor: false },
  { sourceId: 101, sourceName: 'Quarterly review - Slides', sourceType: 1, title: 'Quarterly review',
    processPath: '/usr/bin/sandbox-slides' },
  { sourceId: 102, sourceName: 'Terminal', sourceType: 1, title: 'Terminal', processPath: '/usr/bin/sandbox-term' },
  { sourceId: 103, sourceName: 'Notes (minimised)', sourceType: 1, title: 'Notes',
    processPath: '/usr/bin/sandbox-notes' },
];
const THUMB_SIZE = { width: 32, height: 18 };
const ICON_SIZE = { width: 16, height: 16 };
// Options of startScreenShare by the kind of their value.
const SHARE_OPTION_KINDS = {
  needRequestMeetingServerScreenShare: 'boolean', sourceId: 'string', resolution: 'number', frameRate: 'number',
  limitFrameRate: 'number', videoProfile: 'string', isApp: 'boolean', forceDisplaySurface: 'string',
  preferMotion: 'boolean', isLinux: 'boolean',
};

// A deterministic RGBA picture: `salt` tells the sources apart.
function pictureOf(size, salt) {
  const data = Buffer.alloc(size.width * size.height * 4);
  for (let i = 0; i < data.length; i += 1) data[i] = (i * 7 + salt * 31) & 0xff;
  return { size: Object.assign({}, size), data };
}

class ScreenShareManager extends Manager {
  constructor(sandbox) { super(sandbox, 'screenShare'); }

  get machine() { return worldState(this, () => ({ driverInstalled: false })); }

  getScreenCaptureSourceList() {
    return this.answer('getScreenCaptureSourceList', arguments, () => CAPTURE_SOURCES.map((s) => {
      const source = Object.assign({}, s, { thumbImage: pictureOf(THUMB_SIZE, s.sourceId) });
      if (s.sourceType !== 0) source.icon = pictureOf(ICON_SIZE, s.sourceId + 1);
      return source;
    }));
  }

  // Shares the source named by `sourceId` (the primary screen without one).
  startScreenShare(options) {
    return this.answer('startScreenShare', arguments, () => {
      const meeting = this.sandbox.requireInRoom();
      const opts = requireOptions(options);
      for (const key of Object.keys(opts)) {
        if (SHARE_OPTION_KINDS[key] && typeof opts[key] !== SHARE_OPTION_KINDS[key]) {
          throw refuse(Codes.INVALID_PARAM, `${key} must be a ${SHARE_OPTION_KINDS[key]}`);
        }
      }
      const source = hasOwn(opts, 'sourceId') ? CAPTURE_SOURCES.find((s) => String(s.sourceId) === opts.sourceId)
        : CAPTURE_SOURCES[0];
      if (!source) throw refuse(ScreenCodes.SOURCE_NOT_FOUND, `no capture source ${opts.sourceId}`);
      const sharer = meeting.members.find((m) => m.isSharingScreen && m !== meeting.local);
      if (sharer) throw refuse(ScreenCodes.SHARE_BUSY, `${sharer.name} is sharing already`);
      meeting.localShare = { sourceId: source.sourceId, options: cloneData(opts) };
      this.sandbox.updateMember(meeting.local, { isSharingScreen: true });
      return null;
    });
  }

  stopScreenShare(options) {
    return this.answer('stopScreenShare', arguments, () => {
      const meeting = this.sandbox.requireInRoom();
      if (options !== undefined) requireOptions(options);
      if (!meeting.local.isSharingScreen) throw refuse(ScreenCodes.NOT_SHARING, 'you are not sharing');
      meeting.localShare = null;
      this.sandbox.updateMember(meeting.local, { isSharingScreen: false, isSharingSystemAudio: false });
      return null;
    });
  }

  // With a share running: true adds the system's sound, false takes it away.
  startShareSystemAudio(needAudio) {
    return this.answer('startShareSystemAudio', arguments, () => {
      const meeting = this.sandbox.requireInRoom();
      if (typeof needAudio !== 'boolean') throw refuse(Codes.INVALID_PARAM, 'needAudio must be a boolean');
      if (!meeting.local.isSharingScreen) throw refuse(ScreenCodes.NOT_SHARING, 'you are not sharing');
      if (needAudio && !this.machine.driverInstalled) {
        throw refuse(ScreenCodes.DRIVER_MISSING, 'install the audio capture driver first');
      }
      this.sandbox.updateMember(meeting.local, { isSharingSystemAudio: needAudio });
      return null;
    });
  }

  installAudioCaptureDriver() {
    return this.answer('installAudioCaptureDriver', arguments, () => {
      this.machine.driverInstalled = true;
      return null;
    });
  }

  // What the share looks like to the service: a line of text, "" when no one
  // shares. The service answers it as the bare text whatever the shape;
  // refusals keep the common forms.
  getScreenShareMessage() {
    let text;
    return this.answer('getScreenShareMessage', arguments, () => {
      const meeting = this.sandbox.requireInRoom();
      const sharer = meeting.members.find((m) => m.isSharingScreen);
      if (!sharer) text = '';
      else if (sharer !== meeting.local) text = `${sharer.name} is sharing the screen`;
      else {
        const source = CAPTURE_SOURCES.find((s) => s.sourceId === meeting.localShare.sourceId);
        text = `You are sharing ${source.sourceName}${meeting.local.isSharingSystemAudio ? ' with sound' : ''}`;
      }
      return text;
    }).then((answer) => (text === undefined ? answer : text));
  }
}

