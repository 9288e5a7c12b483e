// ===========================================================================
// Event hub: listener objects per manager, in named channels
// ===========================================================================

// A listener is a plain object whose methods are named after the events it
// wants (e.g. { onMemberJoinRoom(members) {...} }). Managers keep their
// listeners in channels ("meeting", "rtcStats", ...) so that each add/remove
// pair of the SDK surface works on its own set.
class EventHub {
  constructor() { this.channels = new Map(); }

  add(channel, listener) {
    if (listener === null || (typeof listener !== 'object' && typeof listener !== 'function')) {
      throw new TypeError('listener must be an object');
    }
    if (!this.channels.has(channel)) this.channels.set(channel, new Set());
    this.channels.get(channel).add(listener);
  }

  remove(channel, listener) {
    const set = this.channels.get(channel);
    return Boolean(set && set.delete(listener));
  }

  count(channel) {
    if (channel !== undefined) return this.channels.has(channel) ? this.channels.get(channel).size : 0;
    let n = 0;
    for (const set of this.channels.values()) n += set.size;
    return n;
  }

  // Calls listener[event](...args) on every listener of the channel (or of all
  // channels) that has such a method; a listener that throws is reported and
  // does not stop the others. Returns how many listeners were called.
  emit(channel, event, args) {
    const sets = channel === undefined ? Array.from(this.channels.values())
      : [this.channels.get(channel) || new Set()];
    let delivered = 0;
    for (const set of sets) {
      for (const listener of Array.from(set)) {
        if (typeof listener[event] !== 'function') continue;
        delivered += 1;
        try {
          listener[event](...args);
        } catch (e) {
          console.error(`[MorvantaSandbox] listener for ${event} threw:`, e && e.message ? e.message : e);
        }
      }
    }
    return delivered;
  }

  clear() { this.channels.clear(); }
}

