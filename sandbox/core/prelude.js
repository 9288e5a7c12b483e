'use strict';
/*
 * Morvanta sandbox SDK.
 *
 * An in-memory stand-in for the meeting service's JavaScript SDK. The library
 * loads it as `index.js` beside the host executable, exactly like the real
 * SDK, and it answers every call from local state: no network, no threads, no
 * timers unless an answer is delayed or an event is scheduled.
 *
 *   globalThis.morVantaMeeting  the SDK surface the library calls
 *   globalThis.morVantaSandbox  the control object for tests and demos
 *
 * Behaviour can be changed without editing the SDK: through a JSON scenario
 * file named by MORVANTA_SANDBOX_SCENARIO (read once at load time) and through
 * morVantaSandbox.configure(). See sandbox/README.md in the library's sources.
 *
 * The library embeds Node 18, so the SDK sticks to what Node 18 offers. It is
 * one script, joined at build time from the files listed in sandbox/parts.txt.
 */

const SDK_VERSION = '1.0.0-sandbox';
const DEFAULT_SERVER_URL = 'https://sandbox.morvanta.test';

