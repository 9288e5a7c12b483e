// --- Chatroom ----------------------------------------------------------------
// In-meeting chat of the local user: text and file messages to everyone or
// privately to some members, recall, and attachment transfers.
//
// Messages go into the meeting's chat log (sandbox.meeting.chat) in the shape
// chatMessage() gives them; the sender's own messages are not echoed back to
// the sender's listeners. A file message answers at once with status
// "sending" and uploads in the background; downloads likewise start at once.
// Each step of a transfer reaches the chatroom's listeners (addListener) as
// onAttachmentProgress(message, transfer), with `transfer` =
// {direction: "upload"|"download", state: "running"|"done"|"cancelled",
// loaded, total, savePath?}, so a transfer can be cancelled while it runs.

// Codes of the chat, security and screen share families (1130-1149).
const ChatCodes = Object.freeze({
  CHAT_DISABLED: 1130,
  CHAT_BANNED: 1131,
  MESSAGE_NOT_FOUND: 1132,
  RECALL_EXPIRED: 1133,
  NO_ATTACHMENT: 1134,
  NO_TRANSFER: 1135,
  TRANSFER_RUNNING: 1136,
  CHAT_NOT_PERMITTED: 1137,
});

const MAX_CHAT_TEXT = 5000;
const RECALL_LIMIT_MS = 2 * 60 * 1000;
// A transfer moves TRANSFER_CHUNK bytes every TRANSFER_STEP_MS (at least one
// step, at most TRANSFER_MAX_STEPS).
const TRANSFER_STEP_MS = 100;
const TRANSFER_CHUNK = 1024 * 1024;
const TRANSFER_MAX_STEPS = 100;

function baseName(path) {
  const clean = path.split(/[?#]/)[0];
  const name = clean.slice(clean.lastIndexOf('/') + 1);
  return name || 'file';
}

function progressOf(loaded, total) {
  const percentage = total > 0 ? Math.floor((loaded * 100) / total) : 100;
  return { total: String(total), loaded: String(loaded), percentage, percentageText: `${percentage}%` };
}

class ChatroomManager extends Manager {
  constructor(sandbox) { super(sandbox, 'chatroom'); }

  // The running transfers of the current meeting, by message uuid.
  transfers(meeting) {
    if (!meeting.chatTransfers) meeting.chatTransfers = { upload: new Map(), download: new Map() };
    return meeting.chatTransfers;
  }

  // May the local user send this message? The meeting's own switch, a chat
  // ban and, for members, the chat permission (see SecurityManager).
  checkMayChat(meeting, receivers) {
    if (meeting.noChat) throw refuse(ChatCodes.CHAT_DISABLED, 'chat is disabled in this meeting');
    if (meeting.local.isChatBanned) throw refuse(ChatCodes.CHAT_BANNED, 'you are banned from chatting');
    if (HOST_ROLES.includes(meeting.local.role)) return;
    const { crPerm } = chatPermissionOf(meeting);
    const toHostsOnly = receivers.length > 0
      && receivers.every((uuid) => HOST_ROLES.includes((this.sandbox.findMember(uuid) || {}).role));
    if (crPerm === 'noChat') throw refuse(ChatCodes.CHAT_DISABLED, 'only hosts may chat now');
    if (crPerm === 'publicChatOnly' && receivers.length > 0) {
      throw refuse(ChatCodes.CHAT_NOT_PERMITTED, 'private messages are not allowed');
    }
    if (crPerm === 'privateChatHostOnly' && !toHostsOnly) {
      throw refuse(ChatCodes.CHAT_NOT_PERMITTED, 'you may only write privately to the host');
    }
  }

  // The receivers of a send: none for a public message; a private one needs
  // in-room members other than the sender.
  audience(meeting, isPrivate, toUserUuidList) {
    if (isPrivate !== undefined && typeof isPrivate !== 'boolean') {
      throw refuse(Codes.INVALID_PARAM, 'isPrivate must be a boolean');
    }
    if (toUserUuidList !== undefined && !(Array.isArray(toUserUuidList) && toUserUuidList.every(isNonEmptyString))) {
      throw refuse(Codes.INVALID_PARAM, 'toUserUuidList must be an array of user uuids');
    }
    const receivers = toUserUuidList || [];
    if (isPrivate === true && receivers.length === 0) {
      throw refuse(Codes.INVALID_PARAM, 'a private message needs receivers');
    }
    for (const uuid of receivers) {
      if (uuid === meeting.local.uuid) throw refuse(Codes.INVALID_PARAM, 'you cannot write to yourself');
      if (!this.sandbox.findMember(uuid)) throw refuse(Codes.MEMBER_NOT_FOUND, `no member ${uuid} in the meeting`);
    }
    this.checkMayChat(meeting, receivers);
    return receivers;
  }

  // Appends the local user's message to the chat log and answers the live record.
  post(meeting, idClient, form) {
    const msg = this.sandbox.chatMessage(meeting.local, form);
    if (isNonEmptyString(idClient)) msg.idClient = idClient;
    this.sandbox.deliverChat([msg], false);
    return meeting.chat[meeting.chat.length - 1];
  }

  // The live chat log record a message object from the caller names.
  loggedMessage(meeting, message) {
    if (!isPlainObject(message)) throw refuse(Codes.INVALID_PARAM, 'message must be an object');
    if (!isNonEmptyString(message.messageUuid)) throw refuse(Codes.INVALID_PARAM, 'messageUuid is required');
    const record = meeting.chat.find((m) => m.messageUuid === message.messageUuid);
    if (!record || record.status === 'recalled') {
      throw refuse(ChatCodes.MESSAGE_NOT_FOUND, `no message ${message.messageUuid} in this meeting`);
    }
    return record;
  }

  // Runs a transfer of `total` bytes in steps, reporting each one; `finish`
  // runs after the last.
  startTransfer(meeting, direction, record, extra, finish) {
    const total = record.file ? record.file.size : 0;
    const steps = Math.min(TRANSFER_MAX_STEPS, Math.max(1, Math.ceil(total / TRANSFER_CHUNK)));
    const transfer = Object.assign({ direction, state: 'running', loaded: 0, total, step: 0, timer: null }, extra);
    const map = this.transfers(meeting)[direction];
    const tick = () => {
      transfer.step += 1;
      transfer.loaded = transfer.step >= steps ? total : Math.floor((total * transfer.step) / steps);
      if (transfer.step >= steps) {
        transfer.state = 'done';
        map.delete(record.messageUuid);
        finish();
      } else {
        transfer.timer = this.sandbox.meetingAfter(TRANSFER_STEP_MS, tick);
      }
      this.report(record, transfer);
    };
    map.set(record.messageUuid, transfer);
    transfer.timer = this.sandbox.meetingAfter(TRANSFER_STEP_MS, tick);
    return transfer;
  }

  // Stops the running transfer of a logged message and reports it; answers
  // false when none runs.
  cancelTransfer(meeting, direction, record) {
    const map = this.transfers(meeting)[direction];
    const transfer = map.get(record.messageUuid);
    if (!transfer) return false;
    this.sandbox.cancelMeetingTimer(transfer.timer);
    map.delete(record.messageUuid);
    transfer.state = 'cancelled';
    this.report(record, transfer);
    return true;
  }

  // The cancel methods: the message must have a transfer running.
  cancelRequested(meeting, direction, message, beforeReport = () => {}) {
    const record = this.loggedMessage(meeting, message);
    if (!this.transfers(meeting)[direction].has(record.messageUuid)) {
      throw refuse(ChatCodes.NO_TRANSFER, `no ${direction} of ${record.messageUuid} is running`);
    }
    beforeReport(record);
    this.cancelTransfer(meeting, direction, record);
    return null;
  }

  report(record, transfer) {
    const message = cloneData(record);
    message.progress = progressOf(transfer.loaded, transfer.total);
    const info = { direction: transfer.direction, state: transfer.state, loaded: transfer.loaded, total: transfer.total };
    if (transfer.savePath !== undefined) info.savePath = transfer.savePath;
    this.sandbox.emit({ manager: 'chatroom', channel: 'default', event: 'onAttachmentProgress', args: [message, info] });
  }

  sendTextMessage(idClient, text, isPrivate, toUserUuidList) {
    return this.answer('sendTextMessage', arguments, () => {
      const meeting = this.sandbox.requireInRoom();
      if (!isNonEmptyString(text) || text.trim().length === 0) throw refuse(Codes.INVALID_PARAM, 'text is required');
      if (text.length > MAX_CHAT_TEXT) {
        throw refuse(Codes.INVALID_PARAM, `text is longer than ${MAX_CHAT_TEXT} characters`);
      }
      const receivers = this.audience(meeting, isPrivate, toUserUuidList);
      return cloneData(this.post(meeting, idClient, { text, toUserUuidList: receivers }));
    });
  }

  // type "image" or "file"; file {url, size, width, height, base64}.
  sendFileMessage(idClient, type, file, isPrivate, toUserUuidList) {
    return this.answer('sendFileMessage', arguments, () => {
      const meeting = this.sandbox.requireInRoom();
      if (type !== 'image' && type !== 'file') throw refuse(Codes.INVALID_PARAM, 'type must be "image" or "file"');
      const opts = requireOptions(file);
      const url = requireString(opts, 'url');
      for (const key of ['size', 'width', 'height']) {
        if (!(Number.isFinite(opts[key]) && opts[key] >= 0)) throw refuse(Codes.INVALID_PARAM, `${key} must be a number`);
      }
      const receivers = this.audience(meeting, isPrivate, toUserUuidList);
      const record = this.post(meeting, idClient, { file: { name: baseName(url), size: opts.size, url },
        toUserUuidList: receivers });
      record.messageType = type;
      record.type = type;
      if (type === 'image') Object.assign(record.file, { w: opts.width, h: opts.height });
      record.status = 'sending';
      const transfer = this.startTransfer(meeting, 'upload', record, {}, () => { record.status = 'success'; });
      return Object.assign(cloneData(record), { progress: progressOf(transfer.loaded, transfer.total) });
    });
  }

  // The sender may recall a message within two minutes; hosts any message.
  recallMessage(message) {
    return this.answer('recallMessage', arguments, () => {
      const meeting = this.sandbox.requireInRoom();
      const record = this.loggedMessage(meeting, message);
      const own = record.fromUserUuid === meeting.local.uuid;
      if (!own && !HOST_ROLES.includes(meeting.local.role)) {
        throw refuse(Codes.NO_PERMISSION, "only the host can recall others' messages");
      }
      if (own && this.sandbox.now() - record.time > RECALL_LIMIT_MS) {
        throw refuse(ChatCodes.RECALL_EXPIRED, 'messages can only be recalled within two minutes');
      }
      record.status = 'recalled';
      this.cancelTransfer(meeting, 'upload', record);
      return null;
    });
  }

  cancelSendFileMessage(message) {
    return this.answer('cancelSendFileMessage', arguments, () => {
      const meeting = this.sandbox.requireInRoom();
      // A cancelled upload was never delivered: it leaves the chat log.
      return this.cancelRequested(meeting, 'upload', message, (record) => {
        meeting.chat.splice(meeting.chat.indexOf(record), 1);
        record.status = 'cancelled';
      });
    });
  }

  downloadAttachment(message, savePath) {
    return this.answer('downloadAttachment', arguments, () => {
      const meeting = this.sandbox.requireInRoom();
      const record = this.loggedMessage(meeting, message);
      if (!record.file) throw refuse(ChatCodes.NO_ATTACHMENT, 'the message has no attachment');
      if (record.status === 'sending') throw refuse(ChatCodes.NO_ATTACHMENT, 'the attachment is still being sent');
      if (!isNonEmptyString(savePath)) throw refuse(Codes.INVALID_PARAM, 'savePath is required');
      if (this.transfers(meeting).download.has(record.messageUuid)) {
        throw refuse(ChatCodes.TRANSFER_RUNNING, 'the attachment is already being downloaded');
      }
      this.startTransfer(meeting, 'download', record, { savePath }, () => {});
      return null;
    });
  }

  cancelDownloadAttachment(message) {
    return this.answer('cancelDownloadAttachment', arguments, () => {
      return this.cancelRequested(this.sandbox.requireInRoom(), 'download', message);
    });
  }
}

