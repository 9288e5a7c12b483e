'use strict';
// Shared set-up for the sandbox SDK tests (not a test file itself).
const path = require('path');

const SDK_PATH = path.resolve(__dirname, '../../sandbox/index.js');
const CONFIG = Object.freeze({ appKey: 'test-app-key', logPath: '/tmp/morvanta-test' });

// Loads the SDK in this process without any scenario from the environment.
function loadSandbox() {
  delete process.env.MORVANTA_SANDBOX_SCENARIO;
  require(SDK_PATH);
  return { sdk: globalThis.morVantaMeeting, ctl: globalThis.morVantaSandbox };
}

const sleep = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

// True when the promise settles (either way) within ms.
function settlesWithin(promise, ms) {
  return Promise.race([promise.then(() => true, () => true), sleep(ms).then(() => false)]);
}

module.exports = { SDK_PATH, CONFIG, loadSandbox, sleep, settlesWithin };
