// The SDK of the hostile-host probe: the sandbox SDK (MORVANTA_PROBE_SANDBOX
// names its file), with the audio manager's muteMyAudio replaced by the
// misbehaviour that MORVANTA_HOSTILE names. getSpeakerDeviceId answers what
// setSpeakerDevice was last given, so a host string can be followed through.
'use strict';
require(process.env.MORVANTA_PROBE_SANDBOX);
const { EventEmitter } = require('events');

const audio = globalThis.morVantaMeeting.getAudioManager();
const ok = () => Promise.resolve({ code: 0, message: 'success', data: null });
const events = new EventEmitter();
let lastDevice = null;

const behaviours = {
  // Exits inside the method, before answering.
  'exit-in-method': () => { process.exit(3); return ok(); },
  'really-exit': () => { process.reallyExit(4); return ok(); },
  // Exits from a timer while the call waits on its promise.
  'exit-from-timer': () => {
    setTimeout(() => process.exit(5), 20);
    return new Promise(() => {});
  },
  // Answers, then exits from an event handler while the bridge is idle.
  'exit-from-event': () => {
    events.once('tick', () => process.exit(6));
    setTimeout(() => events.emit('tick'), 20);
    return ok();
  },
  // JavaScript that never yields.
  'busy': () => { for (;;) {} },
  // A promise that never settles.
  'hang': () => new Promise(() => {}),
  // Rejections the usual description cannot handle.
  'reject-throwing-message': () =>
    Promise.reject({ get message() { throw new Error('no message for you'); } }),
  'reject-null-prototype': () => Promise.reject(Object.create(null)),
  // Fires a global event that the host's listener receives.
  'global-event': () => {
    globalThis.morVantaSandbox.schedule([
      { atMs: 20, manager: 'global', event: 'beforeRtcEngineInitialize', args: ['room-probe'] },
    ]);
    return ok();
  },
};

const behaviour = behaviours[process.env.MORVANTA_HOSTILE];
if (behaviour) audio.muteMyAudio = behaviour;
audio.setSpeakerDevice = (id) => { lastDevice = id; return ok(); };
// A device id that looks like JSON text is answered as the whole answer.
audio.getSpeakerDeviceId = () => {
  if (lastDevice !== null && lastDevice.startsWith('[')) return Promise.resolve(lastDevice);
  return Promise.resolve({ code: 0, message: 'success', data: lastDevice === null ? 'a\uD800b' : lastDevice });
};
