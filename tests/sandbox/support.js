'use strict';
// Shared set-up for the sandbox SDK tests (not a test file itself).
//
// The SDK under test is the joined index.js: the build's copy when
// MORVANTA_SANDBOX_SDK names it (ctest does), else the files listed in
// sandbox/parts.txt joined here, exactly as the build joins them.
const fs = require('fs');
const os = require('os');
const path = require('path');

const SANDBOX_DIR = path.resolve(__dirname, '../../sandbox');

function joinSources() {
  const parts = fs.readFileSync(path.join(SANDBOX_DIR, 'parts.txt'), 'utf8')
    .split('\n').filter((line) => line && !line.startsWith('#'));
  const out = path.join(fs.mkdtempSync(path.join(os.tmpdir(), 'morvanta-sandbox-')), 'index.js');
  fs.writeFileSync(out, parts.map((p) => fs.readFileSync(path.join(SANDBOX_DIR, p), 'utf8')).join(''));
  return out;
}

const SDK_PATH = process.env.MORVANTA_SANDBOX_SDK || joinSources();
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
