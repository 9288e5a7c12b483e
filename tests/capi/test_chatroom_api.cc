// Morvanta_Chatroom_*: refusals, the JS call each function makes, what each
// delivers for the SDK's answers, and whole flows against the sandbox's chat
// (the sent record goes back in for recall and cancel).
#include <functional>
#include <vector>

#include "capi/c_alloc.h"
#include "capi/in_meeting_harness.h"

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

class ChatroomApi : public InMeetingApi<MorvantaChatroomManager_T, Morvanta_GetChatroomManager,
                                        Morvanta_DestroyChatroomManagerHandle> {
 protected:
  // A text message to everyone; the slot gets the sent record.
  void SendText(SentSlot& slot, const char* text, const char* id_client = nullptr) {
    MorvantaChatroomTextMessageOptions o{id_client, text, -1, nullptr, 0};
    ASSERT_EQ(Morvanta_Chatroom_SendTextMessage(handle, &o, SentSlot::On, &slot), 0);
    ExpectOneCallback(slot);
    ASSERT_EQ(slot.code, 0) << slot.message;
  }
  // A file message of `size` bytes; its upload runs on in the sandbox.
  void SendFile(SentSlot& slot, uint64_t size) {
    MorvantaChatroomSendFileMessageOptions o{"file-1", 0, "https://x.test/report.pdf", size, 0, 0, -1, nullptr, 0};
    ASSERT_EQ(Morvanta_Chatroom_SendFileMessage(handle, &o, SentSlot::On, &slot), 0);
    ExpectOneCallback(slot);
    ASSERT_EQ(slot.code, 0) << slot.message;
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
  MorvantaChatroomTextMessageOptions text{nullptr, "hi", -1, nullptr, 0};
  MorvantaChatroomTextMessageOptions no_text{nullptr, nullptr, -1, nullptr, 0};
  MorvantaChatroomSendFileMessageOptions file{};
  MessageRecord rec;
  const MorvantaChatMessage* msg = &rec.m;
  struct Row {
    const char* what;
    const char* method;
    std::function<int()> call;
  };
  const Row rows[] = {
      {"text: NULL handle", "sendTextMessage",
       [&] { return Morvanta_Chatroom_SendTextMessage(nullptr, &text, SentSlot::On, &sent); }},
      {"text: no manager", "sendTextMessage",
       [&] { return Morvanta_Chatroom_SendTextMessage(&empty, &text, SentSlot::On, &sent); }},
      {"text: NULL options", "sendTextMessage",
       [&] { return Morvanta_Chatroom_SendTextMessage(handle, nullptr, SentSlot::On, &sent); }},
      {"text: NULL text", "sendTextMessage",
       [&] { return Morvanta_Chatroom_SendTextMessage(handle, &no_text, SentSlot::On, &sent); }},
      {"file: NULL handle", "sendFileMessage",
       [&] { return Morvanta_Chatroom_SendFileMessage(nullptr, &file, SentSlot::On, &sent); }},
      {"file: no manager", "sendFileMessage",
       [&] { return Morvanta_Chatroom_SendFileMessage(&empty, &file, SentSlot::On, &sent); }},
      {"file: NULL options", "sendFileMessage",
       [&] { return Morvanta_Chatroom_SendFileMessage(handle, nullptr, SentSlot::On, &sent); }},
      {"recall: NULL handle", "recallMessage",
       [&] { return Morvanta_Chatroom_RecallMessage(nullptr, msg, CallbackSlot::OnPlain, &plain); }},
      {"recall: no manager", "recallMessage",
       [&] { return Morvanta_Chatroom_RecallMessage(&empty, msg, CallbackSlot::OnPlain, &plain); }},
      {"recall: NULL message", "recallMessage",
       [&] { return Morvanta_Chatroom_RecallMessage(handle, nullptr, CallbackSlot::OnPlain, &plain); }},
      {"cancel send: NULL handle", "cancelSendFileMessage",
       [&] { return Morvanta_Chatroom_CancelSendFileMessage(nullptr, msg, CallbackSlot::OnPlain, &plain); }},
      {"cancel send: NULL message", "cancelSendFileMessage",
       [&] { return Morvanta_Chatroom_CancelSendFileMessage(handle, nullptr, CallbackSlot::OnPlain, &plain); }},
      {"download: no manager", "downloadAttachment",
       [&] { return Morvanta_Chatroom_DownloadAttachment(&empty, msg, "/tmp/a", CallbackSlot::OnPlain, &plain); }},
      {"download: NULL message", "downloadAttachment",
       [&] { return Morvanta_Chatroom_DownloadAttachment(handle, nullptr, "/tmp/a", CallbackSlot::OnPlain, &plain); }},
      {"download: NULL save path", "downloadAttachment",
       [&] { return Morvanta_Chatroom_DownloadAttachment(handle, msg, nullptr, CallbackSlot::OnPlain, &plain); }},
      {"cancel download: no manager", "cancelDownloadAttachment",
       [&] { return Morvanta_Chatroom_CancelDownloadAttachment(&empty, msg, CallbackSlot::OnPlain, &plain); }},
      {"cancel download: NULL message", "cancelDownloadAttachment",
       [&] { return Morvanta_Chatroom_CancelDownloadAttachment(handle, nullptr, CallbackSlot::OnPlain, &plain); }},
  };
  for (const Row& row : rows) ExpectRefused(row.what, row.call(), row.method == std::string("sendTextMessage") ||
                                                                          row.method == std::string("sendFileMessage")
                                                                      ? static_cast<CallbackSlot&>(sent)
                                                                      : plain,
                                            std::string(kPath) + row.method);
}

TEST_F(ChatroomApi, SendsPassTheirOptionsPositionallyWithUnsetTailsUndefined) {
  const char* one[] = {"sim-member-02"};
  const char* with_null[] = {"sim-member-02", nullptr};
  struct Row {
    std::function<int(SentSlot&)> send;
    const char* method;
    const char* args;
  };
  const Row rows[] = {
      {[&](SentSlot& s) {
         MorvantaChatroomTextMessageOptions o{"c-1", "hello", 1, one, 1};
         return Morvanta_Chatroom_SendTextMessage(handle, &o, SentSlot::On, &s);
       },
       "sendTextMessage", R"js([["c-1","hello",true,["sim-member-02"]]])js"},
      {[&](SentSlot& s) {
         MorvantaChatroomTextMessageOptions o{nullptr, "hi", -1, nullptr, 0};
         return Morvanta_Chatroom_SendTextMessage(handle, &o, SentSlot::On, &s);
       },
       "sendTextMessage", R"js([["","hi","(undefined)","(undefined)"]])js"},
      {// A list with a count of 0 is no list; a NULL entry is "".
       [&](SentSlot& s) {
         MorvantaChatroomTextMessageOptions o{"", "hi", 0, one, 0};
         return Morvanta_Chatroom_SendTextMessage(handle, &o, SentSlot::On, &s);
       },
       "sendTextMessage", R"js([["","hi",false,"(undefined)"]])js"},
      {[&](SentSlot& s) {
         MorvantaChatroomTextMessageOptions o{"", "hi", 5, with_null, 2};
         return Morvanta_Chatroom_SendTextMessage(handle, &o, SentSlot::On, &s);
       },
       "sendTextMessage", R"js([["","hi",true,["sim-member-02",""]]])js"},
      {// base64 carries the url's text as well.
       [&](SentSlot& s) {
         MorvantaChatroomSendFileMessageOptions o{"c-2", 1, "a.png", 1000, 64, 48, -1, nullptr, 0};
         return Morvanta_Chatroom_SendFileMessage(handle, &o, SentSlot::On, &s);
       },
       "sendFileMessage",
       R"js([["c-2","image",{"base64":"a.png","height":48,"size":1000,"url":"a.png","width":64},"(undefined)","(undefined)"]])js"},
      {[&](SentSlot& s) {
         MorvantaChatroomSendFileMessageOptions o{nullptr, 0, nullptr, 5000000000ULL, 0, 0, 1, one, 1};
         return Morvanta_Chatroom_SendFileMessage(handle, &o, SentSlot::On, &s);
       },
       "sendFileMessage",
       R"js([["","file",{"base64":"","height":0,"size":5000000000,"url":"","width":0},true,["sim-member-02"]]])js"},
      {[&](SentSlot& s) {
         MorvantaChatroomSendFileMessageOptions o{"", 2, "v.mp4", 1, 4294967295U, 1, 0, nullptr, 0};
         return Morvanta_Chatroom_SendFileMessage(handle, &o, SentSlot::On, &s);
       },
       "sendFileMessage",
       R"js([["","file",{"base64":"v.mp4","height":1,"size":1,"url":"v.mp4","width":4294967295},false,"(undefined)"]])js"},
  };
  for (const Row& row : rows) {
    SandboxEval("morVantaSandbox.clearCalls()");
    SentSlot slot;
    ASSERT_EQ(row.send(slot), 0) << row.args;
    ExpectOneCallback(slot, row.args);
    EXPECT_EQ(CallArgs(std::string(kPath) + row.method), row.args);
  }
}

TEST_F(ChatroomApi, MessageOperationsSendTheRecordAsOneObject) {
  MessageRecord full;
  MorvantaChatMessage sparse_record{};  // every string NULL, no nested records
  const MorvantaChatMessage& sparse = sparse_record;
  sparse_record.message_type = const_cast<char*>("not-a-kind");
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
  struct Row {
    const char* method;
    std::function<int(const MorvantaChatMessage*, CallbackSlot&)> call;
    const char* extra;  // what follows the message object
  };
  const Row rows[] = {
      {"recallMessage",
       [&](const MorvantaChatMessage* m, CallbackSlot& s) {
         return Morvanta_Chatroom_RecallMessage(handle, m, CallbackSlot::OnPlain, &s);
       },
       ""},
      {"cancelSendFileMessage",
       [&](const MorvantaChatMessage* m, CallbackSlot& s) {
         return Morvanta_Chatroom_CancelSendFileMessage(handle, m, CallbackSlot::OnPlain, &s);
       },
       ""},
      {"downloadAttachment",
       [&](const MorvantaChatMessage* m, CallbackSlot& s) {
         return Morvanta_Chatroom_DownloadAttachment(handle, m, "/tmp/save dir/a.png", CallbackSlot::OnPlain, &s);
       },
       R"(,"/tmp/save dir/a.png")"},
      {"cancelDownloadAttachment",
       [&](const MorvantaChatMessage* m, CallbackSlot& s) {
         return Morvanta_Chatroom_CancelDownloadAttachment(handle, m, CallbackSlot::OnPlain, &s);
       },
       ""},
  };
  for (const Row& row : rows) {
    for (const MorvantaChatMessage* m : {static_cast<const MorvantaChatMessage*>(&full.m), &sparse}) {
      SandboxEval("morVantaSandbox.clearCalls()");
      CallbackSlot slot;
      ASSERT_EQ(row.call(m, slot), 0) << row.method;
      ExpectOneCallback(slot, row.method);
      const std::string& object = m == &full.m ? full_js : sparse_js;
      EXPECT_EQ(CallArgs(std::string(kPath) + row.method), "[[" + object + row.extra + "]]") << row.method;
    }
  }
}

TEST_F(ChatroomApi, SendAnswersBecomeTheSentRecordOrAFailureWithout) {
  const std::string data = R"({"messageUuid":"m-9","messageType":"text","text":"t","fromUserUuid":"u"})";
  struct Row {
    std::string rule;
    int code;
    std::string message;
    bool record;
  };
  const Row rows[] = {
      {"{answer: {code: 0, data: " + data + "}}", 0, "Success", true},
      {"{answer: {result: {code: 0, data: " + data + "}}}", 0, "Success", true},
      {"{answer: " + data + "}", 0, "Success", true},
      {"{answer: {result: {code: 0}}}", -1, "Missing data field in result", false},
      {"{answer: [1, 2]}", -1, "Invalid data format for conversion", false},
      {"{fail: 'code', code: 1234, message: 'not now'}", 1234, "not now", false},
      {"{fail: 'code', code: 1234, message: 'not now', shape: 'nested'}", 1234, "not now", false},
      // The bridge's words for a rejected promise and for a thrown error.
      {"{fail: 'reject', message: 'boom'}", -1, R"(Promise rejected: {"success":false,"error":"boom"})", false},
      {"{fail: 'throw', message: 'thrown'}", -1, "Error: thrown", false},
  };
  for (const char* method : {"sendTextMessage", "sendFileMessage"}) {
    for (const Row& row : rows) {
      Override(std::string(kPath) + method, row.rule);
      SentSlot slot;
      MorvantaChatroomTextMessageOptions t{nullptr, "t", -1, nullptr, 0};
      MorvantaChatroomSendFileMessageOptions f{nullptr, 0, "u", 1, 0, 0, -1, nullptr, 0};
      int rc = method == std::string("sendTextMessage") ? Morvanta_Chatroom_SendTextMessage(handle, &t, SentSlot::On, &slot)
                                                        : Morvanta_Chatroom_SendFileMessage(handle, &f, SentSlot::On, &slot);
      ASSERT_EQ(rc, 0);
      ExpectOneCallback(slot, row.rule);
      EXPECT_EQ(slot.code, row.code) << method << " " << row.rule;
      EXPECT_EQ(slot.message, row.message) << method << " " << row.rule;
      EXPECT_EQ(slot.record != nullptr, row.record) << method << " " << row.rule;
      if (row.record) EXPECT_STREQ(slot.record->message_uuid, "m-9");
    }
  }
}

TEST_F(ChatroomApi, OtherOperationsReportSuccessForAnyFulfilledCall) {
  MessageRecord rec;
  struct Row {
    const char* rule;
    int code;
    const char* message;
  };
  const Row rows[] = {
      {"{answer: {code: 1}}", 0, "Success"},  // a code in the answer is not looked at
      {"{fail: 'code', code: 77, message: 'no'}", 0, "Success"},
      {"{answer: 'anything'}", 0, "Success"},
      {"{fail: 'reject', message: 'boom'}", -1, R"(Promise rejected: {"success":false,"error":"boom"})"},
      {"{fail: 'throw', message: 'thrown'}", -1, "Error: thrown"},
  };
  const std::pair<const char*, std::function<int(CallbackSlot&)>> calls[] = {
      {"recallMessage",
       [&](CallbackSlot& s) { return Morvanta_Chatroom_RecallMessage(handle, &rec.m, CallbackSlot::OnPlain, &s); }},
      {"cancelSendFileMessage",
       [&](CallbackSlot& s) {
         return Morvanta_Chatroom_CancelSendFileMessage(handle, &rec.m, CallbackSlot::OnPlain, &s);
       }},
      {"downloadAttachment",
       [&](CallbackSlot& s) {
         return Morvanta_Chatroom_DownloadAttachment(handle, &rec.m, "/tmp/a", CallbackSlot::OnPlain, &s);
       }},
      {"cancelDownloadAttachment",
       [&](CallbackSlot& s) {
         return Morvanta_Chatroom_CancelDownloadAttachment(handle, &rec.m, CallbackSlot::OnPlain, &s);
       }},
  };
  for (const auto& [method, call] : calls) {
    for (const Row& row : rows) {
      Override(std::string(kPath) + method, row.rule);
      CallbackSlot slot;
      ASSERT_EQ(call(slot), 0);
      ExpectOneCallback(slot, row.rule);
      EXPECT_EQ(slot.code, row.code) << method << " " << row.rule;
      EXPECT_EQ(slot.message, row.message) << method << " " << row.rule;
    }
  }
}

TEST_F(ChatroomApi, SentTextComesBackAsARecordThatRecallsTheMessage) {
  SentSlot sent;
  SendText(sent, "oops, wrong room", "client-42");
  EXPECT_EQ(sent.message, "Success");
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
  ASSERT_EQ(Morvanta_Chatroom_RecallMessage(handle, r, CallbackSlot::OnPlain, &recalled), 0);
  ExpectOneCallback(recalled);
  EXPECT_EQ(recalled.code, 0);
  EXPECT_EQ(recalled.message, "Success");
  // The object the library rebuilt names the message the sandbox logged.
  EXPECT_TRUE(SandboxFlag("(function () { var a = morVantaSandbox.callsTo('chatroom.recallMessage')[0].args[0];"
                          " var m = morVantaSandbox.meeting.chat.find((x) => x.messageUuid === '" + uuid + "');"
                          " return m.status === 'recalled' && a.idClient === m.idClient && a.time === m.time"
                          " && a.fromUserUuid === m.fromUserUuid && a.text === m.text; })()"));
}

TEST_F(ChatroomApi, PrivateTextReachesOnlyItsReceiver) {
  const char* to[] = {"sim-member-02"};
  MorvantaChatroomTextMessageOptions o{nullptr, "just you", 1, to, 1};
  SentSlot slot;
  ASSERT_EQ(Morvanta_Chatroom_SendTextMessage(handle, &o, SentSlot::On, &slot), 0);
  ExpectOneCallback(slot);
  ASSERT_EQ(slot.code, 0) << slot.message;
  EXPECT_EQ(slot.record->is_private, 1);
  ASSERT_EQ(slot.record->to_user_uuid_count, 1);
  EXPECT_STREQ(slot.record->to_user_uuid_list[0], "sim-member-02");
  EXPECT_STREQ(slot.record->to_nickname, "Alan Turing");

  // The service's refusal arrives with its code and text, and no record.
  const char* stranger[] = {"nobody"};
  MorvantaChatroomTextMessageOptions bad{nullptr, "hello?", 1, stranger, 1};
  SentSlot refused;
  ASSERT_EQ(Morvanta_Chatroom_SendTextMessage(handle, &bad, SentSlot::On, &refused), 0);
  ExpectOneCallback(refused);
  EXPECT_EQ(refused.code, 1104);
  EXPECT_EQ(refused.message, "no member nobody in the meeting");
  EXPECT_EQ(refused.record, nullptr);
}

TEST_F(ChatroomApi, FileUploadIsCancelledWithTheRecordItsSendGave) {
  SentSlot sent;
  SendFile(sent, 80ull * 1024 * 1024);  // long enough to be running still
  const MorvantaChatMessage* r = sent.record;
  ASSERT_NE(r, nullptr);
  EXPECT_STREQ(r->message_type, "file");
  EXPECT_STREQ(r->status, "sending");
  ASSERT_NE(r->file, nullptr);
  EXPECT_STREQ(r->file->name, "report.pdf");
  EXPECT_EQ(r->file->size, 80ull * 1024 * 1024);
  EXPECT_EQ(r->percentage, 0.0);
  EXPECT_STREQ(r->total, "83886080");

  CallbackSlot cancelled;
  ASSERT_EQ(Morvanta_Chatroom_CancelSendFileMessage(handle, r, CallbackSlot::OnPlain, &cancelled), 0);
  ExpectOneCallback(cancelled);
  EXPECT_EQ(cancelled.code, 0);
  EXPECT_EQ(cancelled.message, "Success");
  EXPECT_TRUE(SandboxFlag("morVantaSandbox.meeting.chat.every((m) => m.messageUuid !== '" +
                          Text(r->message_uuid) + "')"));
  // The sandbox refuses a second cancel, but the call was fulfilled: success.
  CallbackSlot again;
  ASSERT_EQ(Morvanta_Chatroom_CancelSendFileMessage(handle, r, CallbackSlot::OnPlain, &again), 0);
  ExpectOneCallback(again);
  EXPECT_EQ(again.code, 0);
}

TEST_F(ChatroomApi, AttachmentDownloadRunsInTheServiceAndCanBeCancelled) {
  // A member's file, as a host application would hold it from a chat event.
  SandboxEval("morVantaSandbox.meetingAction({action: 'file', member: 1, file: {name: 'huge.bin', size: 83886080}})");
  const std::string uuid = SandboxEval("morVantaSandbox.meeting.chat.at(-1).messageUuid").stringValue;
  ASSERT_FALSE(uuid.empty());
  MorvantaChatMessage m{};
  m.message_uuid = const_cast<char*>(uuid.c_str());
  m.message_type = const_cast<char*>("file");

  CallbackSlot started;
  ASSERT_EQ(Morvanta_Chatroom_DownloadAttachment(handle, &m, "/tmp/huge.bin", CallbackSlot::OnPlain, &started), 0);
  ExpectOneCallback(started);
  EXPECT_EQ(started.code, 0);
  EXPECT_EQ(started.message, "Success");
  CallbackSlot cancelled;
  ASSERT_EQ(Morvanta_Chatroom_CancelDownloadAttachment(handle, &m, CallbackSlot::OnPlain, &cancelled), 0);
  ExpectOneCallback(cancelled);
  EXPECT_EQ(cancelled.code, 0);
  EXPECT_EQ(SandboxEval("morVantaSandbox.events.filter((e) => e.event === 'onAttachmentProgress')"
                        ".map((e) => e.args[1].direction + ':' + e.args[1].state + ':' + e.args[1].savePath).pop()")
                .stringValue,
            "download:cancelled:/tmp/huge.bin");
}

TEST_F(ChatroomApi, NullCallbackStillSends) {
  MorvantaChatroomTextMessageOptions o{nullptr, "fire and forget", -1, nullptr, 0};
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
  MorvantaChatroomTextMessageOptions o{nullptr, "hi", -1, nullptr, 0};
  ASSERT_EQ(Morvanta_Chatroom_SendTextMessage(handle, &o, SentSlot::On, &slot), 0);
  ExpectOneCallback(slot);
  morvanta::capi::FailAllocationAfter(0);
  EXPECT_EQ(slot.code, -9);
  EXPECT_EQ(slot.message, "Failed to allocate MorvantaChatMessage");
  EXPECT_EQ(slot.record, nullptr);
}

TEST_F(ChatroomApi, HandleKeptPastUninitializeAnswersBridgeNotInitialized) {
  Uninitialize();
  SentSlot sent;
  MorvantaChatroomTextMessageOptions o{nullptr, "late", -1, nullptr, 0};
  ASSERT_EQ(Morvanta_Chatroom_SendTextMessage(handle, &o, SentSlot::On, &sent), 0);
  CallbackSlot plain;
  MessageRecord rec;
  ASSERT_EQ(Morvanta_Chatroom_CancelDownloadAttachment(handle, &rec.m, CallbackSlot::OnPlain, &plain), 0);
  // Reported at once, on the calling thread.
  EXPECT_EQ(sent.Calls(), 1);
  EXPECT_EQ(sent.code, -1);
  EXPECT_EQ(sent.message, "Bridge not initialized");
  EXPECT_EQ(sent.record, nullptr);
  EXPECT_EQ(plain.Calls(), 1);
  EXPECT_EQ(plain.code, -1);
  EXPECT_EQ(plain.message, "Bridge not initialized");
}
