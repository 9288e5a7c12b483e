'use strict';
// The sandbox's chat, chat permissions and screen share: what each method
// refuses, what it changes in the meeting, and the transfers that run on.
const test = require('node:test');
const assert = require('node:assert/strict');
const { CONFIG, loadSandbox, sleep } = require('./support');

const { sdk, ctl } = loadSandbox();
const chat = sdk.getChatroomManager();
const security = sdk.getSecurityManager();
const share = sdk.getScreenShareManager();
const C = ctl.codes;

const ME = 'local-user';
const GRACE = 'sim-member-01'; // the simulated host when the local user is not
const ALAN = 'sim-member-02';

async function waitFor(pred, ms = 3000) {
  for (const end = Date.now() + ms; !pred(); await sleep(5)) {
    if (Date.now() > end) throw new Error('condition not reached in time');
  }
}
const progressEvents = () => ctl.events.filter((e) => e.event === 'onAttachmentProgress').map((e) => e.args);
const logged = (uuid) => ctl.meeting.chat.find((m) => m.messageUuid === uuid);

test.beforeEach(async () => {
  ctl.reset();
  ctl.configure({ meeting: { script: [], rtcStatsIntervalMs: 0, joinStepMs: 0, memberCount: 2 } });
  await sdk.initialize(CONFIG);
});
test.after(() => ctl.reset());

test('text messages: public and private, with the idClient given and the refusals', async () => {
  assert.equal((await chat.sendTextMessage('', 'hi')).code, C.NOT_IN_MEETING);
  ctl.enterMeeting({ userUuid: ME, asHost: true });

  const sent = await chat.sendTextMessage('client-1', 'hello all', undefined, undefined);
  assert.equal(sent.code, 0);
  assert.equal(sent.data.idClient, 'client-1');
  assert.equal(sent.data.text, 'hello all');
  assert.equal(sent.data.messageType, 'text');
  assert.equal(sent.data.isPrivate, false);
  assert.equal(sent.data.isMe, true);
  assert.deepEqual(logged(sent.data.messageUuid).text, 'hello all');

  const dm = (await chat.sendTextMessage('', 'psst', true, [ALAN])).data;
  assert.equal(dm.isPrivate, true);
  assert.deepEqual(dm.toUserUuidList, [ALAN]);
  assert.equal(dm.toNickname, 'Alan Turing');
  assert.notEqual(dm.idClient, '', 'an id is made when none is given');

  for (const [args, code] of [
    [['', ''], C.INVALID_PARAM],
    [['', '   '], C.INVALID_PARAM],
    [['', 'x'.repeat(5001)], C.INVALID_PARAM],
    [['', 'x', true], C.INVALID_PARAM],               // private without receivers
    [['', 'x', 'yes'], C.INVALID_PARAM],
    [['', 'x', true, [ME]], C.INVALID_PARAM],         // to oneself
    [['', 'x', true, ['nobody']], C.MEMBER_NOT_FOUND],
  ]) {
    assert.equal((await chat.sendTextMessage(...args)).code, code, JSON.stringify(args));
  }
  assert.equal(ctl.meeting.chat.length, 2, 'refused sends leave no trace');
});

test('chat permissions read back, bind members only, and only hosts change them', async () => {
  assert.equal((await security.getChatroomPermission()).code, C.NOT_IN_MEETING);
  ctl.configure({ meeting: { members: [{ name: 'Boss', uuid: 'boss' }, { name: 'Alan Turing', uuid: ALAN }] } });
  ctl.enterMeeting({ userUuid: 'boss', asHost: true });
  assert.deepEqual((await security.getChatroomPermission()).data, { crPerm: 'freeChat', wtPrChat: 'noChat' });
  assert.equal((await security.changeChatroomPermission({ crPerm: 'publicChatOnly' })).code, 0);
  assert.equal((await security.changeChatroomPermission({})).code, 0, 'an empty change is valid');
  assert.equal((await security.changeChatroomPermission({ wtPrChat: 'privateChatHostOnly' })).code, 0);
  assert.deepEqual((await security.getChatroomPermission()).data,
    { crPerm: 'publicChatOnly', wtPrChat: 'privateChatHostOnly' });
  assert.equal((await security.changeChatroomPermission({ crPerm: 'everyone' })).code, C.INVALID_PARAM);
  assert.equal((await security.changeChatroomPermission({ wtPrChat: 7 })).code, C.INVALID_PARAM);
  assert.equal((await security.changeChatroomPermission()).code, C.INVALID_PARAM);
  assert.equal((await chat.sendTextMessage('', 'hosts may', true, [ALAN])).code, 0, 'hosts are not bound');

  // The room keeps them; another room starts from the defaults.
  ctl.enterMeeting({ userUuid: 'boss', meetingNum: '7700000001', asHost: true });
  assert.equal((await security.getChatroomPermission()).data.crPerm, 'freeChat');
  ctl.enterMeeting({ userUuid: 'boss', asHost: true });
  assert.equal((await security.getChatroomPermission()).data.crPerm, 'publicChatOnly');

  // Each room permission as it binds a member: "boss" hosts, the local user
  // joins as a member and finds the host in the room.
  const cases = [
    ['freeChat', [[undefined, 0], [[ALAN], 0]]],
    ['publicChatOnly', [[undefined, 0], [[ALAN], 1137]]],
    ['privateChatHostOnly', [[undefined, 1137], [[ALAN], 1137], [['boss'], 0]]],
    ['noChat', [[undefined, 1130], [['boss'], 1130]]],
  ];
  for (const [crPerm, sends] of cases) {
    ctl.enterMeeting({ userUuid: 'boss', asHost: true });
    assert.equal((await security.changeChatroomPermission({ crPerm })).code, 0);
    ctl.enterMeeting({ userUuid: ME });
    assert.equal(ctl.meeting.localMember.role, 'member');
    assert.equal((await security.changeChatroomPermission({ crPerm: 'freeChat' })).code, C.NO_PERMISSION);
    for (const [to, code] of sends) {
      const r = await chat.sendTextMessage('', `under ${crPerm}`, to ? true : undefined, to);
      assert.equal(r.code, code, `${crPerm} to ${to}`);
    }
  }
});

test('chat stops for a meeting without chat and for a banned member', async () => {
  ctl.enterMeeting({ userUuid: ME, noChat: true });
  assert.equal((await chat.sendTextMessage('', 'x')).code, 1130);
  ctl.enterMeeting({ userUuid: ME, noChat: false });
  ctl.meetingAction({ action: 'banChat', member: 'local' });
  assert.equal((await chat.sendTextMessage('', 'x')).code, 1131);
});

test('recall: own messages within two minutes, any message for hosts, once', async () => {
  let now = 1700000000000;
  ctl.configure({ clock: () => now });
  ctl.enterMeeting({ userUuid: ME });
  const mine = (await chat.sendTextMessage('', 'oops')).data;
  ctl.meetingAction({ action: 'chat', member: 1, text: 'from Alan' });
  const theirs = ctl.meeting.chat.find((m) => m.fromUserUuid === ALAN);

  assert.equal((await chat.recallMessage(theirs)).code, C.NO_PERMISSION);
  assert.equal((await chat.recallMessage({})).code, C.INVALID_PARAM);
  assert.equal((await chat.recallMessage({ messageUuid: 'msg-none' })).code, 1132);
  assert.equal((await chat.recallMessage(mine)).code, 0);
  assert.equal(logged(mine.messageUuid).status, 'recalled');
  assert.equal((await chat.recallMessage(mine)).code, 1132, 'a recalled message is gone');

  const late = (await chat.sendTextMessage('', 'late')).data;
  now += 2 * 60 * 1000 + 1;
  assert.equal((await chat.recallMessage(late)).code, 1133);

  ctl.enterMeeting({ userUuid: ME, asHost: true });
  ctl.meetingAction({ action: 'chat', member: 1, text: 'again' });
  const other = ctl.meeting.chat.find((m) => m.fromUserUuid === ALAN);
  assert.equal((await chat.recallMessage(other)).code, 0, 'the host recalls anyone');
});

test('file messages upload in steps and can be cancelled while they run', async () => {
  ctl.enterMeeting({ userUuid: ME, asHost: true });
  const small = await chat.sendFileMessage('c-1', 'image', { url: 'https://x.test/a/pic.png', size: 1000, width: 64,
    height: 48, base64: 'https://x.test/a/pic.png' });
  assert.equal(small.code, 0);
  const pic = small.data;
  assert.equal(pic.messageType, 'image');
  assert.equal(pic.status, 'sending');
  assert.deepEqual(pic.file, { name: 'pic.png', ext: 'png', size: 1000, url: 'https://x.test/a/pic.png', filePath: '',
    w: 64, h: 48 });
  assert.deepEqual(pic.progress, { total: '1000', loaded: '0', percentage: 0, percentageText: '0%' });
  await waitFor(() => logged(pic.messageUuid).status === 'success');
  const last = progressEvents().at(-1);
  assert.equal(last[0].progress.percentage, 100);
  assert.deepEqual(last[1], { direction: 'upload', state: 'done', loaded: 1000, total: 1000 });
  assert.equal((await chat.cancelSendFileMessage(pic)).code, 1135, 'nothing left to cancel');

  const big = (await chat.sendFileMessage('', 'file', { url: 'big.iso', size: 50 * 1024 * 1024, width: 0,
    height: 0 })).data;
  assert.equal(big.messageType, 'file');
  assert.equal((await chat.downloadAttachment(big, '/tmp/big.iso')).code, 1134, 'not uploaded yet');
  assert.equal((await chat.cancelSendFileMessage(big)).code, 0);
  assert.equal(logged(big.messageUuid), undefined, 'a cancelled upload leaves the log');
  assert.equal(progressEvents().at(-1)[1].state, 'cancelled');

  for (const [args, code] of [
    [['', 'video', { url: 'u', size: 1, width: 0, height: 0 }], C.INVALID_PARAM],
    [['', 'file', { url: '', size: 1, width: 0, height: 0 }], C.INVALID_PARAM],
    [['', 'file', { url: 'u', size: -1, width: 0, height: 0 }], C.INVALID_PARAM],
    [['', 'file', null], C.INVALID_PARAM],
  ]) {
    assert.equal((await chat.sendFileMessage(...args)).code, code, JSON.stringify(args));
  }
});

test('attachment downloads report progress to chatroom listeners and can be cancelled', async () => {
  ctl.enterMeeting({ userUuid: ME });
  const seen = [];
  chat.addListener({ onAttachmentProgress: (message, transfer) => seen.push([message.messageUuid, transfer]) });
  ctl.meetingAction({ action: 'file', member: 1, file: { name: 'notes.txt', size: 3 * 1024 * 1024 } });
  const file = ctl.meeting.chat.at(-1);
  ctl.meetingAction({ action: 'chat', member: 1, text: 'no file here' });
  const text = ctl.meeting.chat.at(-1);

  assert.equal((await chat.downloadAttachment(text, '/tmp/x')).code, 1134);
  assert.equal((await chat.downloadAttachment(file, '')).code, C.INVALID_PARAM);
  assert.equal((await chat.cancelDownloadAttachment(file)).code, 1135);
  assert.equal((await chat.downloadAttachment(file, '/tmp/notes.txt')).code, 0);
  assert.equal((await chat.downloadAttachment(file, '/tmp/notes.txt')).code, 1136);
  await waitFor(() => seen.some(([, t]) => t.state === 'done'));
  assert.deepEqual(seen.map(([uuid, t]) => [uuid, t.loaded, t.state]), [
    [file.messageUuid, 1024 * 1024, 'running'], [file.messageUuid, 2 * 1024 * 1024, 'running'],
    [file.messageUuid, 3 * 1024 * 1024, 'done']]);
  assert.equal(seen[0][1].savePath, '/tmp/notes.txt');

  ctl.meetingAction({ action: 'file', member: 1, file: { name: 'huge.bin', size: 80 * 1024 * 1024 } });
  const huge = ctl.meeting.chat.at(-1);
  assert.equal((await chat.downloadAttachment(huge, '/tmp/huge.bin')).code, 0);
  assert.equal((await chat.cancelDownloadAttachment(huge)).code, 0);
  assert.equal(seen.at(-1)[1].state, 'cancelled');
  const count = seen.length;
  await sleep(250);
  assert.equal(seen.length, count, 'a cancelled download reports nothing more');
});

test('capture sources carry thumbnails and icons as buffers', async () => {
  const r = await share.getScreenCaptureSourceList();
  assert.equal(r.code, 0);
  assert.deepEqual(r.data.map((s) => [s.sourceId, s.sourceType]), [[1, 0], [2, 0], [101, 1], [102, 1], [103, 1]]);
  for (const s of r.data) {
    assert.ok(Buffer.isBuffer(s.thumbImage.data));
    assert.equal(s.thumbImage.data.length, s.thumbImage.size.width * s.thumbImage.size.height * 4);
    assert.equal(s.icon === undefined, s.sourceType === 0, 'windows have icons, screens none');
  }
  assert.notDeepEqual(r.data[0].thumbImage.data, r.data[1].thumbImage.data);
});

test('sharing: one sharer at a time, system audio needs the driver, the share message follows', async () => {
  assert.equal((await share.getScreenShareMessage()).code, C.NOT_IN_MEETING, 'refusals keep the common form');
  ctl.enterMeeting({ userUuid: ME });
  const shareEvents = () => ctl.events.filter((e) => e.event === 'onMemberScreenShareStateChanged')
    .map((e) => [e.args[0].uuid, e.args[1]]);
  assert.equal(await share.getScreenShareMessage(), '', 'the bare text');
  assert.equal((await share.stopScreenShare()).code, 1142);
  assert.equal((await share.startScreenShare({ sourceId: '999' })).code, 1141);
  assert.equal((await share.startScreenShare({ sourceId: 101 })).code, C.INVALID_PARAM);
  assert.equal((await share.startScreenShare()).code, C.INVALID_PARAM);

  assert.equal((await share.startScreenShare({ sourceId: '101', frameRate: 15, isLinux: true })).code, 0);
  assert.deepEqual(ctl.meeting.members.find((m) => m.uuid === ME).isSharingScreen, true);
  assert.equal(await share.getScreenShareMessage(), 'You are sharing Quarterly review - Slides');
  assert.equal((await share.startShareSystemAudio(true)).code, 1143);
  assert.equal((await share.installAudioCaptureDriver()).code, 0);
  assert.equal((await share.startShareSystemAudio('yes')).code, C.INVALID_PARAM);
  assert.equal((await share.startShareSystemAudio(true)).code, 0);
  assert.equal(await share.getScreenShareMessage(), 'You are sharing Quarterly review - Slides with sound');
  assert.equal((await share.stopScreenShare({})).code, 0);
  assert.equal(ctl.meeting.members.find((m) => m.uuid === ME).isSharingSystemAudio, false);

  ctl.meetingAction({ action: 'startShare', member: 1 });
  assert.equal((await share.startScreenShare({})).code, 1140);
  assert.equal(await share.getScreenShareMessage(), 'Alan Turing is sharing the screen');
  assert.deepEqual(shareEvents(), [[ME, true], [ME, false], [ALAN, true]]);
});
