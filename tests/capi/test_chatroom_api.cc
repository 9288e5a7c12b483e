// Morvanta_Chatroom_*: refusals, the JS call each function makes, what each
// delivers for the SDK's answers, and whole flows against the sandbox's chat
// (the sent record goes back in for recall and cancel).
#include <functional>
#include <vector>

#include "capi/c_alloc.h"
#include "capi/answer_checks.h"

using namespace morvanta_test;

namespace {

constexpr char kPath[] = "chatroom.";

// A send's callback: the record is kept for the test (and freed with the slot).
struct SentSlot : CallbackSlot {
  MorvantaChatMessage* record = nullptr;
  ~SentSlot() { Morvanta_FreeChatMessage(record); }
  static void On(int code, const char* message, MorvantaChatMessage* sent, void* ud) {
    auto* slot = static_cast<SentSlot*>(ud);
    Morvanta_FreeChatMessage(slot->record);
    slot->record = sent;
    slot->Record(code, message, sent);
  }
};

std::string Text(const char* s) { return s ? s : "<null>"; }

using TextOptions = MorvantaChatroomTextMessageOptions;
using FileOptions = MorvantaChatroomSendFileMessageOptions;
using Chat = MorvantaChatroomManager_T;
using Msg = const MorvantaChatMessage*;

// The four operations on a message record, with what follows the record in the call.
struct MessageOp {
  const char* method;
  int (*call)(Chat*, Msg, CallbackSlot&);
  const char* extra;
};
const MessageOp kMessageOps[] = {
    {"recallMessage",
     [](Chat* h, Msg m, CallbackSlot& s) { return Morvanta_Chatroom_RecallMessage(h, m, CallbackSlot::OnPlain, &s); },
     ""},
    {"cancelSendFileMessage",
     [](Chat* h, Msg m, CallbackSlot& s) {
       return Morvanta_Chatroom_CancelSendFileMessage(h, m, CallbackSlot::OnPlain, &s);
     },
     ""},
    {"downloadAttachment",
     [](Chat* h, Msg m, CallbackSlot& s) {
       return Morvanta_Chatroom_DownloadAttachment(h, m, "/tmp/save dir/a.png", CallbackSlot::OnPlain, &s);
     },
     R"(,"/tmp/save dir/a.png")"},
    {"cancelDownloadAttachment",
     [](Chat* h, Msg m, CallbackSlot& s) {
       return Morvanta_Chatroom_CancelDownloadAttachment(h, m, CallbackSlot::OnPlain, &s);
     },
     ""},
};

class ChatroomApi : public InMeetingApi<MorvantaChatroomManager_T, Morvanta_GetChatroomManager,
                                        Morvanta_DestroyChatroomManagerHandle> {
 protected:
  // Sends the file options when `file`, else the text options.
  int Send(bool file, const TextOptions& t, const FileOptions& f, SentSlot& slot) {
    return file ? Morvanta_Chatroom_SendFileMessage(handle, &f, SentSlot::On, &slot)
                : Morvanta_Chatroom_SendTextMessage(handle, &t, SentSlot::On, &slot);
  }
  // Sends and expects success; the slot gets the sent record.
  void SendOk(SentSlot& slot, const TextOptions& t, const FileOptions& f = {}) {
    ExpectAnswer(Send(t.text == nullptr, t, f, slot), slot, 0, "Success");
    ASSERT_NE(slot.record, nullptr);
  }
};

// A message record as a host would keep it from a callback.
struct MessageRecord {
  const char* to[2] = {"u-2", "u-3"};
  MorvantaChatMessageFile file{const_cast<char*>("a.png"), const_cast<char*>("png"), 2048,
                               const_cast<char*>("https://x.test/a.png"), nullptr, 64, 48};
  MorvantaChatMessage m{};
  MessageRecord() {
    m.message_uuid = const_cast<char*>("msg-1");
    m.message_type = const_cast<char*>("image");
    m.from_user_uuid = const_cast<char*>("u-1");
    m.to_user_uuid_list = const_cast<char**>(to);
    m.to_user_uuid_count = 2;
    m.time = 1700000000000;
    m.is_me = 1;
    m.file = &file;
    m.chatroom_type = 1;
    m.has_temp_file = 1;
    m.temp_file = const_cast<char*>("/tmp/x");
    m.percentage = 50;
    m.total = const_cast<char*>("2048");
  }
};

}  // namespace

TEST_F(ChatroomApi, RefusedCallsStartNothing) {
  SentSlot sent;
  CallbackSlot plain;
  TextOptions text{nullptr, "hi", -1, nullptr, 0};
  TextOptions no_text{nullptr, nullptr, -1, nullptr, 0};
  FileOptions file{};
  MessageRecord rec;
  const MorvantaChatMessage* msg = &rec.m;
  auto* on = &SentSlot::On;
  auto* op = &CallbackSlot::OnPlain;
  struct Row {
    const char* what;
    const char* method;
    CallbackSlot* slot;
    std::function<int()> call;
  };
  const Row rows[] = {
      {"text: NULL handle", "sendTextMessage", &sent,
       [&] { return Morvanta_Chatroom_SendTextMessage(nullptr, &text, on, &sent); }},
      {"text: no manager", "sendTextMessage", &sent,
       [&] { return Morvanta_Chatroom_SendTextMessage(&empty, &text, on, &sent); }},
      {"text: NULL options", "sendTextMessage", &sent,
       [&] { return Morvanta_Chatroom_SendTextMessage(handle, nullptr, on, &sent); }},
      {"text: NULL text", "sendTextMessage", &sent,
       [&] { return Morvanta_Chatroom_SendTextMessage(handle, &no_text, on, &sent); }},
      {"file: NULL handle", "sendFileMessage", &sent,
       [&] { return Morvanta_Chatroom_SendFileMessage(nullptr, &file, on, &sent); }},
      {"file: no manager", "sendFileMessage", &sent,
       [&] { return Morvanta_Chatroom_SendFileMessage(&empty, &file, on, &sent); }},
      {"file: NULL options", "sendFileMessage", &sent,
       [&] { return Morvanta_Chatroom_SendFileMessage(handle, nullptr, on, &sent); }},
      {"recall: NULL handle", "recallMessage", &plain,
       [&] { return Morvanta_Chatroom_RecallMessage(nullptr, msg, op, &plain); }},
      {"recall: no manager", "recallMessage", &plain,
       [&] { return Morvanta_Chatroom_RecallMessage(&empty, msg, op, &plain); }},
      {"recall: NULL message", "recallMessage", &plain,
       [&] { return Morvanta_Chatroom_RecallMessage(handle, nullptr, op, &plain); }},
      {"cancel send: NULL handle", "cancelSendFileMessage", &plain,
       [&] { return Morvanta_Chatroom_CancelSendFileMessage(nullptr, msg, op, &plain); }},
      {"cancel send: NULL message", "cancelSendFileMessage", &plain,
       [&] { return Morvanta_Chatroom_CancelSendFileMessage(handle, nullptr, op, &plain); }},
      {"download: no manager", "downloadAttachment", &plain,
       [&] { return Morvanta_Chatroom_DownloadAttachment(&empty, msg, "/tmp/a", op, &plain); }},
      {"download: NULL message", "downloadAttachment", &plain,
       [&] { return Morvanta_Chatroom_DownloadAttachment(handle, nullptr, "/tmp/a", op, &plain); }},
      {"download: NULL save path", "downloadAttachment", &plain,
       [&] { return Morvanta_Chatroom_DownloadAttachment(handle, msg, nullptr, op, &plain); }},
      {"cancel download: no manager", "cancelDownloadAttachment", &plain,
       [&] { return Morvanta_Chatroom_CancelDownloadAttachment(&empty, msg, op, &plain); }},
      {"cancel download: NULL message", "cancelDownloadAttachment", &plain,
       [&] { return Morvanta_Chatroom_CancelDownloadAttachment(handle, nullptr, op, &plain); }},
  };
  for (const Row& row : rows) ExpectRefused(row.what, row.call(), *row.slot, std::string(kPath) + row.method);
}

TEST_F(ChatroomApi, SendsPassTheirOptionsPositionallyWithUnsetTailsUndefined) {
  const char* one[] = {"sim-member-02"};
  const char* with_null[] = {"sim-member-02", nullptr};
  struct Row {
    bool file;
    TextOptions t;
    FileOptions f;
    const char* args;
  };
  const Row rows[] = {
      {false, {"c-1", "hello", 1, one, 1}, {}, R"js([["c-1","hello",true,["sim-member-02"]]])js"},
      {false, {nullptr, "hi", -1, nullptr, 0}, {}, R"js([["","hi","(undefined)","(undefined)"]])js"},
      // A list with a count of 0 is no list; a NULL entry is "".
      {false, {"", "hi", 0, one, 0}, {}, R"js([["","hi",false,"(undefined)"]])js"},
      {false, {"", "hi", 5, with_null, 2}, {}, R"js([["","hi",true,["sim-member-02",""]]])js"},
      // base64 carries the url's text as well.
      {true, {}, {"c-2", 1, "a.png", 1000, 64, 48, -1, nullptr, 0},
       R"js([["c-2","image",{"base64":"a.png","height":48,"size":1000,"url":"a.png","width":64},"(undefined)","(undefined)"]])js"},
      {true, {}, {nullptr, 0, nullptr, 5000000000ULL, 0, 0, 1, one, 1},
       R"js([["","file",{"base64":"","height":0,"size":5000000000,"url":"","width":0},true,["sim-member-02"]]])js"},
      {true, {}, {"", 2, "v.mp4", 1, 4294967295U, 1, 0, nullptr, 0},
       R"js([["","file",{"base64":"v.mp4","height":1,"size":1,"url":"v.mp4","width":4294967295},false,"(undefined)"]])js"},
  };
  for (const Row& row : rows) {
    SandboxEval("morVantaSandbox.clearCalls()");
    SentSlot slot;
    ExpectCalledBack(Send(row.file, row.t, row.f, slot), slot, row.args);
    EXPECT_EQ(CallArgs(std::string(kPath) + (row.file ? "sendFileMessage" : "sendTextMessage")), row.args);
  }
}

TEST_F(ChatroomApi, MessageOperationsSendTheRecordAsOneObject) {
  MessageRecord full;
  MorvantaChatMessage sparse{};  // every string NULL, no nested records
  sparse.message_type = const_cast<char*>("not-a-kind");
  // Optional keys only when set; the kind as text ("text" when unknown);
  // progress always; tempFile never.
  const std::string full_js =
      R"({"chatroomType":1,"file":{"ext":"png","filePath":"","h":48,"name":"a.png","size":2048,)"
      R"("url":"https://x.test/a.png","w":64},"from":"","fromClientType":"","fromNick":"","fromUserUuid":"u-1",)"
      R"("idClient":"","isMe":true,"isPrivate":false,"messageType":"image","messageUuid":"msg-1",)"
      R"("progress":{"percentage":50,"total":"2048"},"resend":false,"status":"","text":"","time":1700000000000,)"
      R"("toUserUuidList":["u-2","u-3"],"type":""})";
  const std::string sparse_js =
      R"({"chatroomType":0,"from":"","fromClientType":"","fromNick":"","fromUserUuid":"","idClient":"",)"
      R"("isMe":false,"isPrivate":false,"messageType":"text","progress":{"percentage":0},"resend":false,)"
      R"("status":"","text":"","time":0,"type":""})";
  for (const MessageOp& op : kMessageOps) {
    for (Msg m : {static_cast<Msg>(&full.m), static_cast<Msg>(&sparse)}) {
      SandboxEval("morVantaSandbox.clearCalls()");
      CallbackSlot slot;
      ExpectCalledBack(op.call(handle, m, slot), slot, op.method);
      const std::string& object = m == &full.m ? full_js : sparse_js;
      EXPECT_EQ(CallArgs(std::string(kPath) + op.method), "[[" + object + op.extra + "]]") << op.method;
    }
  }
}

TEST_F(ChatroomApi, AnswersBecomeTheSentRecordOrAFailureAndOtherOperationsSucceedWhenFulfilled) {
  const std::string data = R"({"messageUuid":"m-9","messageType":"text","text":"t","fromUserUuid":"u"})";
  const std::string rejected = R"(Promise rejected: {"success":false,"error":"boom"})";
  constexpr int kOthersOnly = 12345;  // a row the sends are not tried with
  struct Row {
    std::string rule;
    int code;             // for a send
    std::string message;  // for a send
    bool record;          // for a send
    int other_code;       // for the operations on a record: any fulfilled call is a success
  };
  const Row rows[] = {
      {"{answer: {code: 0, data: " + data + "}}", 0, "Success", true, 0},
      {"{answer: {result: {code: 0, data: " + data + "}}}", 0, "Success", true, 0},
      {"{answer: " + data + "}", 0, "Success", true, 0},
      {"{answer: {result: {code: 0}}}", -1, "Missing data field in result", false, 0},
      {"{answer: [1, 2]}", -1, "Invalid data format for conversion", false, 0},
      {"{answer: {code: 1}}", kOthersOnly, "", false, 0},  // a code in the answer is not looked at
      {"{answer: 'anything'}", kOthersOnly, "", false, 0},
      {"{fail: 'code', code: 1234, message: 'not now'}", 1234, "not now", false, 0},
      {"{fail: 'code', code: 1234, message: 'not now', shape: 'nested'}", 1234, "not now", false, 0},
      // The bridge's words for a rejected promise and for a thrown error.
      {"{fail: 'reject', message: 'boom'}", -1, rejected, false, -1},
      {"{fail: 'throw', message: 'thrown'}", -1, "Error: thrown", false, -1},
  };
  MessageRecord rec;
  for (const Row& row : rows) {
    for (bool file : {false, true}) {
      if (row.code == kOthersOnly) break;
      const std::string method = file ? "sendFileMessage" : "sendTextMessage";
      const std::string what = method + " " + row.rule;
      Override(kPath + method, row.rule);
      SentSlot slot;
      ExpectAnswer(Send(file, {nullptr, "t", -1, nullptr, 0}, {nullptr, 0, "u", 1, 0, 0, -1, nullptr, 0}, slot), slot,
                   row.code, row.message, what);
      EXPECT_EQ(slot.record != nullptr, row.record) << what;
      if (row.record && slot.record) {
        EXPECT_STREQ(slot.record->message_uuid, "m-9") << what;
      }
    }
    for (const MessageOp& op : kMessageOps) {
      Override(std::string(kPath) + op.method, row.rule);
      CallbackSlot slot;
      ExpectAnswer(op.call(handle, &rec.m, slot), slot, row.other_code, row.other_code ? row.message : "Success",
                   std::string(op.method) + " " + row.rule);
    }
  }
}

TEST_F(ChatroomApi, SentTextComesBackAsARecordThatRecallsTheMessage) {
  SentSlot sent;
  SendOk(sent, {"client-42", "oops, wrong room", -1, nullptr, 0});
  const MorvantaChatMessage* r = sent.record;
  ASSERT_NE(r, nullptr);
  EXPECT_STREQ(r->text, "oops, wrong room");
  EXPECT_STREQ(r->id_client, "client-42");
  EXPECT_STREQ(r->message_type, "text");
  EXPECT_STREQ(r->from_user_uuid, "local-user");
  EXPECT_EQ(r->is_me, 1);
  EXPECT_EQ(r->is_private, 0);
  EXPECT_EQ(r->attach, nullptr);
  EXPECT_EQ(r->file, nullptr);
  const std::string uuid = Text(r->message_uuid);

  CallbackSlot recalled;
  ExpectAnswer(Morvanta_Chatroom_RecallMessage(handle, r, CallbackSlot::OnPlain, &recalled), recalled, 0, "Success");
  // The object the library rebuilt names the message the sandbox logged.
  EXPECT_TRUE(SandboxFlag("(function () { var a = morVantaSandbox.callsTo('chatroom.recallMessage')[0].args[0];"
                          " var m = morVantaSandbox.meeting.chat.find((x) => x.messageUuid === '" + uuid + "');"
                          " return m.status === 'recalled' && a.idClient === m.idClient && a.time === m.time"
                          " && a.fromUserUuid === m.fromUserUuid && a.text === m.text; })()"));
}

TEST_F(ChatroomApi, PrivateTextReachesOnlyItsReceiver) {
  const char* to[] = {"sim-member-02"};
  SentSlot slot;
  SendOk(slot, {nullptr, "just you", 1, to, 1});
  EXPECT_EQ(slot.record->is_private, 1);
  ASSERT_EQ(slot.record->to_user_uuid_count, 1);
  EXPECT_STREQ(slot.record->to_user_uuid_list[0], "sim-member-02");
  EXPECT_STREQ(slot.record->to_nickname, "Alan Turing");

  // The service's refusal arrives with its code and text, and no record.
  const char* stranger[] = {"nobody"};
  SentSlot refused;
  ExpectAnswer(Send(false, {nullptr, "hello?", 1, stranger, 1}, {}, refused), refused, 1104,
               "no member nobody in the meeting");
  EXPECT_EQ(refused.record, nullptr);
}

TEST_F(ChatroomApi, FileUploadIsCancelledWithTheRecordItsSendGave) {
  SentSlot sent;  // long enough to be running still
  SendOk(sent, {}, {"file-1", 0, "https://x.test/report.pdf", 80ull * 1024 * 1024, 0, 0, -1, nullptr, 0});
  const MorvantaChatMessage* r = sent.record;
  ASSERT_NE(r, nullptr);
  EXPECT_STREQ(r->message_type, "file");
  EXPECT_STREQ(r->status, "sending");
  ASSERT_NE(r->file, nullptr);
  EXPECT_STREQ(r->file->name, "report.pdf");
  EXPECT_EQ(r->file->size, 80ull * 1024 * 1024);
  EXPECT_EQ(r->percentage, 0.0);
  EXPECT_STREQ(r->total, "83886080");

  CallbackSlot cancelled, again;
  ExpectAnswer(Morvanta_Chatroom_CancelSendFileMessage(handle, r, CallbackSlot::OnPlain, &cancelled), cancelled, 0,
               "Success");
  EXPECT_TRUE(SandboxFlag("morVantaSandbox.meeting.chat.every((m) => m.messageUuid !== '" +
                          Text(r->message_uuid) + "')"));
  // The sandbox refuses a second cancel, but the call was fulfilled: success.
  ExpectAnswer(Morvanta_Chatroom_CancelSendFileMessage(handle, r, CallbackSlot::OnPlain, &again), again, 0,
               "Success");
}

TEST_F(ChatroomApi, AttachmentDownloadRunsInTheServiceAndCanBeCancelled) {
  // A member's file, as a host application would hold it from a chat event.
  SandboxEval("morVantaSandbox.meetingAction({action: 'file', member: 1, file: {name: 'huge.bin', size: 83886080}})");
  const std::string uuid = SandboxEval("morVantaSandbox.meeting.chat.at(-1).messageUuid").stringValue;
  ASSERT_FALSE(uuid.empty());
  MorvantaChatMessage m{};
  m.message_uuid = const_cast<char*>(uuid.c_str());
  m.message_type = const_cast<char*>("file");

  CallbackSlot started, cancelled;
  ExpectAnswer(Morvanta_Chatroom_DownloadAttachment(handle, &m, "/tmp/huge.bin", CallbackSlot::OnPlain, &started),
               started, 0, "Success");
  ExpectAnswer(Morvanta_Chatroom_CancelDownloadAttachment(handle, &m, CallbackSlot::OnPlain, &cancelled), cancelled,
               0, "Success");
  EXPECT_EQ(SandboxEval("morVantaSandbox.events.filter((e) => e.event === 'onAttachmentProgress')"
                        ".map((e) => e.args[1].direction + ':' + e.args[1].state + ':' + e.args[1].savePath).pop()")
                .stringValue,
            "download:cancelled:/tmp/huge.bin");
}

TEST_F(ChatroomApi, NullCallbackStillSends) {
  TextOptions o{nullptr, "fire and forget", -1, nullptr, 0};
  ASSERT_EQ(Morvanta_Chatroom_SendTextMessage(handle, &o, nullptr, nullptr), 0);
  MessageRecord rec;
  ASSERT_EQ(Morvanta_Chatroom_RecallMessage(handle, &rec.m, nullptr, nullptr), 0);
  DrainWorker();
  EXPECT_EQ(CallCount("chatroom.sendTextMessage"), 1);
  EXPECT_EQ(CallCount("chatroom.recallMessage"), 1);
  EXPECT_TRUE(SandboxFlag("morVantaSandbox.meeting.chat.some((m) => m.text === 'fire and forget')"));
}

TEST_F(ChatroomApi, UnbuildableRecordIsMinusNineWithoutRecord) {
  morvanta::capi::FailAllocationAfter(1);
  SentSlot slot;
  const int rc = Send(false, {nullptr, "hi", -1, nullptr, 0}, {}, slot);
  ASSERT_TRUE(slot.Wait());
  morvanta::capi::FailAllocationAfter(0);
  ExpectAnswer(rc, slot, -9, "Failed to allocate MorvantaChatMessage");
  EXPECT_EQ(slot.record, nullptr);
}

TEST_F(ChatroomApi, HandleKeptPastUninitializeAnswersBridgeNotInitialized) {
  Uninitialize();
  SentSlot sent;
  CallbackSlot plain;
  MessageRecord rec;
  // Reported at once, on the calling thread.
  ASSERT_EQ(Send(false, {nullptr, "late", -1, nullptr, 0}, {}, sent), 0);
  ASSERT_EQ(Morvanta_Chatroom_CancelDownloadAttachment(handle, &rec.m, CallbackSlot::OnPlain, &plain), 0);
  for (CallbackSlot* slot : {static_cast<CallbackSlot*>(&sent), &plain}) {
    EXPECT_EQ(slot->Calls(), 1);
    EXPECT_EQ(slot->code, -1);
    EXPECT_EQ(slot->message, "Bridge not initialized");
  }
  EXPECT_EQ(sent.record, nullptr);
}
