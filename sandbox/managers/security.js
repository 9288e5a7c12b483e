// --- Security ----------------------------------------------------------------
// Who may chat in the meeting. Two permissions, by the service's own names:
//   crPerm   (meeting room)  "freeChat" (default), "publicChatOnly",
//                            "privateChatHostOnly", "noChat"
//   wtPrChat (waiting room)  "noChat" (default), "privateChatHostOnly"
// They bind members, not hosts; the chatroom manager applies crPerm. They
// belong to the room: a room starts with the defaults and keeps what its host
// set for as long as it runs, across the local user's comings and goings.
const CHAT_PERMISSIONS = Object.freeze({
  crPerm: ['freeChat', 'publicChatOnly', 'privateChatHostOnly', 'noChat'],
  wtPrChat: ['noChat', 'privateChatHostOnly'],
});

function chatPermissionOf(meeting) {
  const room = meeting.room;
  if (!room.chatPermission) {
    room.chatPermission = { crPerm: CHAT_PERMISSIONS.crPerm[0], wtPrChat: CHAT_PERMISSIONS.wtPrChat[0] };
  }
  return room.chatPermission;
}

class SecurityManager extends Manager {
  constructor(sandbox) { super(sandbox, 'security'); }

  // Host only; the keys given change, the others stay. An empty object is a
  // valid request that changes nothing.
  changeChatroomPermission(options) {
    return this.answer('changeChatroomPermission', arguments, () => {
      const meeting = this.sandbox.requireHost();
      const opts = requireOptions(options);
      for (const key of Object.keys(CHAT_PERMISSIONS)) {
        if (hasOwn(opts, key) && !CHAT_PERMISSIONS[key].includes(opts[key])) {
          throw refuse(Codes.INVALID_PARAM, `${key} must be one of ${CHAT_PERMISSIONS[key].join(', ')}`);
        }
      }
      const permission = chatPermissionOf(meeting);
      for (const key of Object.keys(CHAT_PERMISSIONS)) if (hasOwn(opts, key)) permission[key] = opts[key];
      return null;
    });
  }

  // Anyone in the meeting, the waiting room included.
  getChatroomPermission() {
    return this.answer('getChatroomPermission', arguments,
      () => Object.assign({}, chatPermissionOf(this.sandbox.requireMeeting())));
  }
}

