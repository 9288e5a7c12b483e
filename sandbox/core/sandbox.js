// ===========================================================================
// Sandbox core: state, call log, overrides, timers, answers
// ===========================================================================

class Sandbox {
  constructor(loadSettings) {
    this.loadSettings = loadSettings; // what reset() returns to
    this.hubs = new Map(EVENT_SOURCES.map((name) => [name, new EventHub()]));
    this.timers = new Set();
    this.reset();
  }

  reset() {
    this.clearTimers();
    for (const hub of this.hubs.values()) hub.clear();
    this.settings = cloneData(this.loadSettings);
    this.calls = [];
    this.events = [];
    this.seq = 0;
    this.initialized = false;
    this.initConfig = null;
    this.rebuildWorld();
  }

  // Service-side state: directory, session and the token generator.
  rebuildWorld() {
    this.directory = new Directory(this.settings.users);
    this.session = null;
    this.random = makeRandom(this.settings.randomBase);
    this.resetMeetingWorld();
  }

  configure(options) {
    const next = applySettings(cloneData(this.settings), options);
    this.settings = next;
    // The live directory changes in place: earlier nicknames, passwords and
    // the session survive a configure().
    if (options.builtInUsers === false) this.directory.removeBuiltIns();
    if (options.builtInUsers === true) {
      this.directory.upsert(BUILT_IN_USERS.filter((u) => !this.directory.byUsername(u.username)));
    }
    if (hasOwn(options, 'users')) this.directory.upsert(options.users);
    if (this.session && !this.directory.byUsername(this.session.user.username)) this.session = null;
    if (hasOwn(options, 'randomBase')) this.random = makeRandom(next.randomBase);
    if (hasOwn(options, 'timeline') && this.initialized) this.schedule(next.timeline);
  }

  now() {
    const clock = this.settings.clock;
    if (typeof clock === 'function') return clock();
    if (typeof clock === 'number') return clock;
    return Date.now();
  }

  log(...items) {
    if (this.settings.verbose) console.log('[MorvantaSandbox]', ...items);
  }

  // --- timers -------------------------------------------------------------

  // Runs fn after ms; tracked so that reset() and unInitialize() can clear it.
  after(ms, fn) {
    const handle = setTimeout(() => { this.timers.delete(handle); fn(); }, ms);
    this.timers.add(handle);
  }

  clearTimers() {
    for (const handle of this.timers) clearTimeout(handle);
    this.timers.clear();
  }

  // --- calls and overrides -------------------------------------------------

  record(path, args) {
    const entry = { seq: ++this.seq, path, args: Array.from(args), at: this.now() };
    this.calls.push(entry);
    return entry;
  }

  // The override for a path: exact, then "<manager>.*", then "*" (the last
  // two not for listener hooks). One with `times` is used up after that many
  // calls.
  takeOverride(path, exactOnly) {
    const overrides = this.settings.overrides;
    const dot = path.indexOf('.');
    const keys = exactOnly ? [path] : [path, dot > 0 ? `${path.slice(0, dot)}.*` : null, '*'];
    const key = keys.find((k) => k !== null && hasOwn(overrides, k));
    if (key === undefined) return null;
    const rule = overrides[key];
    if (rule.times !== undefined) {
      rule.times -= 1;
      if (rule.times <= 0) delete overrides[key];
    }
    return rule;
  }

  // The one door of every answering SDK method: logs the call, applies the
  // override for its path, and otherwise answers with what `logic` returns,
  // or with the code of the ServiceError it throws. `logic` runs when the
  // answer is due, so a delayed call sees the state of that moment.
  answer(path, args, logic) {
    this.record(path, args);
    const ov = this.takeOverride(path) || {};
    const failMessage = ov.message !== undefined ? ov.message : `sandbox: injected failure of ${path}`;
    if (ov.fail === 'throw') throw new Error(failMessage);
    if (ov.fail === 'hang') return new Promise(() => {});
    const delay = ov.delayMs !== undefined ? ov.delayMs : this.settings.defaultDelayMs;
    const shape = ov.shape || this.settings.defaultShape;

    return new Promise((resolve, reject) => {
      const settle = () => {
        if (ov.fail === 'reject') {
          const code = ov.code !== undefined ? ov.code : Codes.INJECTED_FAILURE;
          if (ov.rejectWith === 'string') reject(failMessage);
          else if (ov.rejectWith === 'object') reject({ code, message: failMessage });
          else reject(new Error(failMessage));
          return;
        }
        if (hasOwn(ov, 'answer')) { resolve(ov.answer); return; }
        let outcome;
        if (ov.fail === 'code') {
          outcome = { code: ov.code !== undefined ? ov.code : Codes.INJECTED_FAILURE, message: failMessage };
        } else {
          try {
            outcome = { code: Codes.SUCCESS, message: 'success', data: logic() };
          } catch (e) {
            if (!(e instanceof ServiceError)) { reject(e); return; }
            outcome = { code: e.code, message: e.message };
          }
        }
        this.log(`${path} -> ${outcome.code} ${outcome.message}`);
        resolve(shapeAnswer(outcome, shape));
      };
      if (delay > 0) this.after(delay, settle);
      else Promise.resolve().then(settle);
    });
  }

  // Listener add/remove calls answer synchronously; they are logged, and only
  // a "throw" override of their exact path applies to them.
  hook(path, args, fn) {
    this.record(path, args);
    const ov = this.takeOverride(path, true);
    if (ov && ov.fail === 'throw') {
      throw new Error(ov.message !== undefined ? ov.message : `sandbox: injected failure of ${path}`);
    }
    return fn();
  }

  requireInitialized() {
    if (!this.initialized) throw refuse(Codes.NOT_INITIALIZED, 'SDK not initialized');
  }

  requireSession() {
    this.requireInitialized();
    if (!this.session) throw refuse(Codes.NOT_LOGGED_IN, 'not logged in');
    return this.session;
  }

  // --- events --------------------------------------------------------------

  emit(entry) {
    checkTimelineEntry(entry, false);
    const args = entry.args ? entry.args : (hasOwn(entry, 'data') ? [entry.data] : []);
    const delivered = this.hubs.get(entry.manager).emit(entry.channel, entry.event, args);
    this.events.push({
      seq: ++this.seq, manager: entry.manager, channel: entry.channel, event: entry.event,
      args, delivered, at: this.now(),
    });
    this.log(`event ${entry.manager}.${entry.event} -> ${delivered} listener(s)`);
    return delivered;
  }

  // Timeline: each entry is delivered atMs after this call, entries with the
  // same time in the order given.
  schedule(entries) {
    if (!Array.isArray(entries)) throw badSetting('schedule() takes an array of entries');
    entries.forEach((e) => checkTimelineEntry(e, true));
    const ordered = entries.map((e, i) => ({ e: cloneData(e), i }))
      .sort((a, b) => a.e.atMs - b.e.atMs || a.i - b.i);
    for (const { e } of ordered) this.after(e.atMs, () => this.emit(e));
    return ordered.length;
  }
}

