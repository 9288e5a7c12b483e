// Script actions for long-running demos: the host opens or closes the
// waiting room mid-meeting ({action: 'waitingRoom', enabled}), and the whole
// script starts over from now ({action: 'repeatScript'}), so a scenario whose
// last entry repeats it keeps its meeting alive for as long as it runs.
MEETING_ACTIONS.push('waitingRoom', 'repeatScript');
HOST_ACTIONS.push('waitingRoom', 'repeatScript');

Object.assign(Sandbox.prototype, {
  runMeetingAction: (function extend(base) {
    return function runMeetingAction(entry) {
      if (!entry || (entry.action !== 'waitingRoom' && entry.action !== 'repeatScript')) {
        return base.call(this, entry);
      }
      checkMeetingAction(entry, false);
      const meeting = this.meeting;
      if (!meeting) return false;
      if (entry.action === 'waitingRoom') {
        if (typeof entry.enabled !== 'boolean') throw badSetting('meeting action "waitingRoom" needs "enabled": boolean');
        if (meeting.waitingRoom.enabled === entry.enabled) return false;
        this.setWaitingRoomEnabled(entry.enabled);
        return true;
      }
      const script = this.settings.meeting.script.map((e, i) => ({ e, i }))
        .sort((a, b) => a.e.atMs - b.e.atMs || a.i - b.i);
      for (const { e } of script) this.meetingAfter(e.atMs, () => this.runMeetingAction(e));
      return true;
    };
  }(Sandbox.prototype.runMeetingAction)),
});
