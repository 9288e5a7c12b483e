// ===========================================================================
// Managers
// ===========================================================================

// Shared by every manager: its name (what its method paths begin with), the
// answer helper bound to that name, and a generic listener channel.
class Manager {
  constructor(sandbox, name) {
    this.sandbox = sandbox;
    this.name = name;
  }

  // Answers a manager method: the SDK must be initialized first.
  answer(method, args, logic) {
    return this.sandbox.answer(`${this.name}.${method}`, args, () => {
      this.sandbox.requireInitialized();
      return logic();
    });
  }

  listenOn(channel, method, args, listener, adding) {
    const hub = this.sandbox.hubs.get(this.name);
    return this.sandbox.hook(`${this.name}.${method}`, args, () => {
      if (adding) hub.add(channel, listener);
      else hub.remove(channel, listener);
    });
  }

  addListener(listener) { return this.listenOn('default', 'addListener', arguments, listener, true); }
  removeListener(listener) { return this.listenOn('default', 'removeListener', arguments, listener, false); }
}

