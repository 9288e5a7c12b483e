// --- Audio -------------------------------------------------------------------
// The local speakers and microphones: device lists with one default device,
// selection (separately for the pre-meeting preview), volumes 0-100, a
// microphone test whose level getMicrophoneVolumePreview reads, a speaker
// test, audio effects and the AI noise filter. Muting needs the meeting room:
// it changes the local member's isAudioOn and fires onMemberAudioMuteChanged.
// The two microphone volume getters answer the bare number, as the service
// does; the other methods answer in the configured shape.

const SPEAKERS = [
  { deviceId: 'spk-builtin', deviceName: 'Built-in Speakers', defaultDevice: true },
  { deviceId: 'spk-usb-headset', deviceName: 'USB Headset', defaultDevice: false },
  { deviceId: 'spk-hdmi', deviceName: 'HDMI Display Audio', defaultDevice: false },
];
const MICROPHONES = [
  { deviceId: 'mic-builtin', deviceName: 'Built-in Microphone', defaultDevice: true },
  { deviceId: 'mic-usb-headset', deviceName: 'USB Headset Microphone', defaultDevice: false },
];
const REVERB_KEYS = ['wetGain', 'dryGain', 'damping', 'roomSize', 'decayTime', 'preDelay'];

// The devices of one kind: the list, the one in use and the one the preview
// uses (both start at the default device).
class DeviceSet {
  constructor(kind, devices) {
    this.kind = kind;
    this.devices = devices;
    const fallback = devices.find((d) => d.defaultDevice) || devices[0];
    this.selected = fallback.deviceId;
    this.preview = fallback.deviceId;
  }

  list() { return cloneData(this.devices); }

  // Refuses anything but the id of a listed device.
  check(deviceId) {
    if (!isNonEmptyString(deviceId)) throw refuse(Codes.INVALID_PARAM, 'deviceId is required');
    if (!this.devices.some((d) => d.deviceId === deviceId)) {
      throw refuse(Codes.INVALID_PARAM, `no ${this.kind} with id ${deviceId}`);
    }
    return deviceId;
  }

  state() { return { selected: this.selected, preview: this.preview }; }
}

function requireVolume(volume) {
  if (!(Number.isInteger(volume) && volume >= 0 && volume <= 100)) {
    throw refuse(Codes.INVALID_PARAM, 'volume must be an integer from 0 to 100');
  }
  return volume;
}

function requireEffectValue(value) {
  if (Number.isFinite(value)) return value;
  if (Array.isArray(value) && value.every(Number.isFinite)) return value.slice();
  if (isPlainObject(value) && REVERB_KEYS.every((k) => Number.isFinite(value[k]))) return cloneData(value);
  throw refuse(Codes.INVALID_PARAM, 'effect value must be a number, an array of numbers or a reverb object');
}

// Local device state belongs to the service world: reset() rebuilds that world
// (a new directory), and with it this state. Meetings and unInitialize() keep it.
function worldState(manager, make) {
  const world = manager.sandbox.directory;
  if (!manager.deviceState || manager.deviceState.world !== world) {
    manager.deviceState = Object.assign({ world }, make());
  }
  return manager.deviceState;
}

class AudioManager extends Manager {
  constructor(sandbox) { super(sandbox, 'audio'); }

  get audio() {
    return worldState(this, () => ({
      speaker: new DeviceSet('speaker', SPEAKERS),
      microphone: new DeviceSet('microphone', MICROPHONES),
      speakerVolume: 80,
      microphoneVolume: 60,
      microphoneTest: false,
      speakerTest: null,
      effectsEnabled: false,
      effects: {},
      aiDenoise: false,
    }));
  }

  // A copy of the audio state, for tests.
  get state() {
    const a = this.audio;
    return cloneData({
      speaker: a.speaker.state(), microphone: a.microphone.state(), speakerVolume: a.speakerVolume,
      microphoneVolume: a.microphoneVolume, microphoneTest: a.microphoneTest, speakerTest: a.speakerTest,
      effectsEnabled: a.effectsEnabled, effects: a.effects, aiDenoise: a.aiDenoise,
    });
  }

  // Answers what `logic` returns as it is, unshaped; failures and overrides
  // keep their usual form.
  answerBare(method, args, logic) {
    let produced = null;
    const answer = this.answer(method, args, () => {
      produced = { value: logic() };
      return produced.value;
    });
    return answer.then((shaped) => (produced ? produced.value : shaped));
  }

  getSpeakerDeviceList() { return this.answer('getSpeakerDeviceList', arguments, () => this.audio.speaker.list()); }
  getSpeakerDeviceId() { return this.answer('getSpeakerDeviceId', arguments, () => this.audio.speaker.selected); }

  setSpeakerDevice(deviceId) {
    return this.answer('setSpeakerDevice', arguments, () => {
      const set = this.audio.speaker;
      set.selected = set.check(deviceId);
      return null;
    });
  }

  setSpeakerDevicePreview(deviceId) {
    return this.answer('setSpeakerDevicePreview', arguments, () => {
      const set = this.audio.speaker;
      set.preview = set.check(deviceId);
      return null;
    });
  }

  getSpeakerVolume() { return this.answer('getSpeakerVolume', arguments, () => this.audio.speakerVolume); }

  setSpeakerVolume(volume) {
    return this.answer('setSpeakerVolume', arguments, () => {
      this.audio.speakerVolume = requireVolume(volume);
      return null;
    });
  }

  getMicrophoneDeviceList() {
    return this.answer('getMicrophoneDeviceList', arguments, () => this.audio.microphone.list());
  }

  getMicrophoneDeviceId() {
    return this.answer('getMicrophoneDeviceId', arguments, () => this.audio.microphone.selected);
  }

  setMicrophoneDevice(deviceId) {
    return this.answer('setMicrophoneDevice', arguments, () => {
      const set = this.audio.microphone;
      set.selected = set.check(deviceId);
      return null;
    });
  }

  setMicrophoneDevicePreview(deviceId) {
    return this.answer('setMicrophoneDevicePreview', arguments, () => {
      const set = this.audio.microphone;
      set.preview = set.check(deviceId);
      return null;
    });
  }

  getMicrophoneVolume() {
    return this.answerBare('getMicrophoneVolume', arguments, () => this.audio.microphoneVolume);
  }

  // The level the microphone test captures: the microphone volume while the
  // test runs, 0 otherwise.
  getMicrophoneVolumePreview() {
    return this.answerBare('getMicrophoneVolumePreview', arguments,
      () => (this.audio.microphoneTest ? this.audio.microphoneVolume : 0));
  }

  setMicrophoneVolume(volume) {
    return this.answer('setMicrophoneVolume', arguments, () => {
      this.audio.microphoneVolume = requireVolume(volume);
      return null;
    });
  }

  muteMyAudio() {
    return this.answer('muteMyAudio', arguments, () => {
      this.sandbox.requireInRoom();
      this.sandbox.updateMember(this.sandbox.localMember(), { isAudioOn: false });
      return null;
    });
  }

  unmuteMyAudio(need) {
    return this.answer('unmuteMyAudio', arguments, () => {
      this.sandbox.requireInRoom();
      if (need !== undefined && typeof need !== 'boolean') throw refuse(Codes.INVALID_PARAM, 'need must be a boolean');
      this.sandbox.updateMember(this.sandbox.localMember(), { isAudioOn: true });
      return null;
    });
  }

  startMicrophoneDeviceTest() {
    return this.answer('startMicrophoneDeviceTest', arguments, () => { this.audio.microphoneTest = true; return null; });
  }

  stopMicrophoneDeviceTest() {
    return this.answer('stopMicrophoneDeviceTest', arguments, () => { this.audio.microphoneTest = false; return null; });
  }

  startSpeakerDeviceTest(audioResource) {
    return this.answer('startSpeakerDeviceTest', arguments, () => {
      if (!isNonEmptyString(audioResource)) throw refuse(Codes.INVALID_PARAM, 'audio resource is required');
      this.audio.speakerTest = audioResource;
      return null;
    });
  }

  stopSpeakerDeviceTest() {
    return this.answer('stopSpeakerDeviceTest', arguments, () => { this.audio.speakerTest = null; return null; });
  }

  enableAudioEffect() {
    return this.answer('enableAudioEffect', arguments, () => { this.audio.effectsEnabled = true; return null; });
  }

  setAudioEffect(type, value) {
    return this.answer('setAudioEffect', arguments, () => {
      if (!Number.isInteger(type)) throw refuse(Codes.INVALID_PARAM, 'effect type must be an integer');
      this.audio.effects[type] = requireEffectValue(value);
      return null;
    });
  }

  enableAIDenoise() {
    return this.answer('enableAIDenoise', arguments, () => { this.audio.aiDenoise = true; return null; });
  }

  disableAIDenoise() {
    return this.answer('disableAIDenoise', arguments, () => { this.audio.aiDenoise = false; return null; });
  }
}

