// ===========================================================================
// World report
// ===========================================================================

// With MORVANTA_SANDBOX_REPORT naming a file, the sandbox writes its world
// there as JSON whenever it changed (checked every 50 ms, on an unref'd
// timer): {currentUser, meeting (as morVantaSandbox.meeting), calls
// [{path, args}], audio, video (the managers' state)}. A host's tests read
// it to learn what the service saw, without any access to the script. The
// file is replaced whole (written aside, then renamed).
(function startReport() {
  const file = process.env.MORVANTA_SANDBOX_REPORT;
  if (!file) return;
  const fs = require('fs');
  const ctl = globalThis.morVantaSandbox;
  const sdk = globalThis.morVantaMeeting;
  let last = '';
  const write = () => {
    const text = JSON.stringify({
      currentUser: ctl.currentUser,
      meeting: ctl.meeting,
      calls: sandbox.calls.map((c) => ({ path: c.path, args: c.args })),
      audio: sdk.getAudioManager().state,
      video: sdk.getVideoManager().state,
    });
    if (text === last) return;
    last = text;
    try {
      fs.writeFileSync(`${file}.tmp`, text);
      fs.renameSync(`${file}.tmp`, file);
    } catch (e) {
      console.error(`[MorvantaSandbox] cannot write the report ${file}: ${e.message}`);
    }
  };
  write();
  setInterval(write, 50).unref();
}());
