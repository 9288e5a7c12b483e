// ===========================================================================
// Load
// ===========================================================================

function loadScenario() {
  const settings = defaultSettings();
  const file = process.env.MORVANTA_SANDBOX_SCENARIO;
  if (!file) return settings;
  let scenario;
  try {
    // Required only here: a first require('fs') also loads fs.promises and
    // its helpers, some milliseconds of every start-up that most runs, with
    // no scenario file, do not need.
    scenario = JSON.parse(require('fs').readFileSync(file, 'utf8'));
  } catch (e) {
    throw badSetting(`cannot load scenario file ${file}: ${e.message}`);
  }
  try {
    return applySettings(settings, scenario);
  } catch (e) {
    throw new Error(`${e.message} (scenario file ${file})`);
  }
}

const sandbox = new Sandbox(loadScenario());
globalThis.morVantaMeeting = createSdk(sandbox);
globalThis.morVantaSandbox = createControl(sandbox);

module.exports = { morVantaMeeting: globalThis.morVantaMeeting, morVantaSandbox: globalThis.morVantaSandbox };
