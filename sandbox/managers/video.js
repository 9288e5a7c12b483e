// --- Video -------------------------------------------------------------------
// Cameras (list, selection, preview selection), canvases and remote streams.
// A canvas is given as the native window handle in an 8-byte Buffer (or null,
// which detaches it); each canvas records the bytes it received and the handle
// they spell (little-endian, as hex). The local and preview canvases, the
// preview and the profile are local state; muting needs the meeting room and
// changes the local member's isVideoOn; remote canvases and subscriptions need
// a member of the meeting and end with it.

const CAMERAS = [
  { deviceId: 'cam-integrated', deviceName: 'Integrated Camera', defaultDevice: true },
  { deviceId: 'cam-usb-4k', deviceName: 'USB 4K Webcam', defaultDevice: false },
];
const VIEW_BYTES = 8;
// subscribeRemoteVideoStream stream types.
const VideoStreamType = Object.freeze({ HIGH: 0, LOW: 1 });

// What a canvas keeps of its view: null (detached) or the bytes and handle.
function canvasOf(view) {
  if (view === null || view === undefined) return null;
  if (!Buffer.isBuffer(view) || view.length !== VIEW_BYTES) {
    throw refuse(Codes.INVALID_PARAM, `view must be a ${VIEW_BYTES}-byte Buffer or null`);
  }
  return { bytes: Array.from(view), handle: `0x${view.readBigUInt64LE(0).toString(16)}` };
}

class VideoManager extends Manager {
  constructor(sandbox) { super(sandbox, 'video'); }

  get video() {
    return worldState(this, () => ({
      camera: new DeviceSet('camera', CAMERAS),
      localCanvas: null,
      previewCanvas: null,
      previewing: false,
      profile: null,
    }));
  }

  // Remote canvases and subscriptions of the current meeting.
  get remote() {
    const meeting = this.sandbox.meeting;
    if (!this.remoteState || this.remoteState.meeting !== meeting) {
      this.remoteState = { meeting, canvases: {}, subStreamCanvases: {}, streams: {}, subStreams: [] };
    }
    return this.remoteState;
  }

  // A copy of the video state, for tests.
  get state() {
    const v = this.video;
    const r = this.remote;
    return cloneData({
      camera: v.camera.state(), localCanvas: v.localCanvas, previewCanvas: v.previewCanvas, previewing: v.previewing,
      profile: v.profile, remoteCanvases: r.canvases, subStreamCanvases: r.subStreamCanvases, streams: r.streams,
      subStreams: r.subStreams,
    });
  }

  // A member of the meeting other than the local user.
  requireRemote(uuid) {
    const member = this.sandbox.requireMember(uuid);
    if (member === this.sandbox.localMember()) throw refuse(Codes.INVALID_PARAM, 'that is your own video');
    return member.uuid;
  }

  getCameraDeviceList() { return this.answer('getCameraDeviceList', arguments, () => this.video.camera.list()); }
  getCameraDeviceId() { return this.answer('getCameraDeviceId', arguments, () => this.video.camera.selected); }

  setCameraDevice(deviceId) {
    return this.answer('setCameraDevice', arguments, () => {
      const set = this.video.camera;
      set.selected = set.check(deviceId);
      return null;
    });
  }

  setCameraDevicePreview(deviceId) {
    return this.answer('setCameraDevicePreview', arguments, () => {
      const set = this.video.camera;
      set.preview = set.check(deviceId);
      return null;
    });
  }

  setupLocalVideoCanvas(view) {
    return this.answer('setupLocalVideoCanvas', arguments, () => { this.video.localCanvas = canvasOf(view); return null; });
  }

  removeLocalVideoCanvas() {
    return this.answer('removeLocalVideoCanvas', arguments, () => { this.video.localCanvas = null; return null; });
  }

  setupVideoPreviewCanvas(view) {
    return this.answer('setupVideoPreviewCanvas', arguments, () => {
      this.video.previewCanvas = canvasOf(view);
      return null;
    });
  }

  setupRemoteVideoCanvas(uuid, view) {
    return this.answer('setupRemoteVideoCanvas', arguments, () => {
      const canvas = canvasOf(view);
      const key = this.requireRemote(uuid);
      if (canvas) this.remote.canvases[key] = canvas;
      else delete this.remote.canvases[key];
      return null;
    });
  }

  setupRemoteVideoSubStreamCanvas(uuid, view) {
    return this.answer('setupRemoteVideoSubStreamCanvas', arguments, () => {
      const canvas = canvasOf(view);
      const key = this.requireRemote(uuid);
      if (canvas) this.remote.subStreamCanvases[key] = canvas;
      else delete this.remote.subStreamCanvases[key];
      return null;
    });
  }

  startVideoPreview() {
    return this.answer('startVideoPreview', arguments, () => { this.video.previewing = true; return null; });
  }

  stopVideoPreview() {
    return this.answer('stopVideoPreview', arguments, () => { this.video.previewing = false; return null; });
  }

  muteMyVideo() {
    return this.answer('muteMyVideo', arguments, () => {
      this.sandbox.requireInRoom();
      this.sandbox.updateMember(this.sandbox.localMember(), { isVideoOn: false });
      return null;
    });
  }

  unmuteMyVideo() {
    return this.answer('unmuteMyVideo', arguments, () => {
      this.sandbox.requireInRoom();
      this.sandbox.updateMember(this.sandbox.localMember(), { isVideoOn: true });
      return null;
    });
  }

  setVideoProfile(resolution, frameRate) {
    return this.answer('setVideoProfile', arguments, () => {
      if (!Number.isInteger(resolution) || !Number.isInteger(frameRate) || resolution < 0 || frameRate <= 0) {
        throw refuse(Codes.INVALID_PARAM, 'resolution and frame rate must be positive integers');
      }
      this.video.profile = { resolution, frameRate };
      return null;
    });
  }

  subscribeRemoteVideoStream(uuid, streamType) {
    return this.answer('subscribeRemoteVideoStream', arguments, () => {
      const key = this.requireRemote(uuid);
      if (!Object.values(VideoStreamType).includes(streamType)) {
        throw refuse(Codes.INVALID_PARAM, 'stream type must be 0 (high) or 1 (low)');
      }
      this.remote.streams[key] = streamType;
      return null;
    });
  }

  unsubscribeRemoteVideoStream(uuid, streamType) {
    return this.answer('unsubscribeRemoteVideoStream', arguments, () => {
      const key = this.requireRemote(uuid);
      if (this.remote.streams[key] === streamType) delete this.remote.streams[key];
      return null;
    });
  }

  subscribeRemoteVideoSubStream(uuid) {
    return this.answer('subscribeRemoteVideoSubStream', arguments, () => {
      const key = this.requireRemote(uuid);
      if (!this.remote.subStreams.includes(key)) this.remote.subStreams.push(key);
      return null;
    });
  }

  unsubscribeRemoteVideoSubStream(uuid) {
    return this.answer('unsubscribeRemoteVideoSubStream', arguments, () => {
      const key = this.requireRemote(uuid);
      this.remote.subStreams = this.remote.subStreams.filter((k) => k !== key);
      return null;
    });
  }
}

