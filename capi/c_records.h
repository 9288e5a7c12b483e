// Builders of the C records handed to callbacks. Each returns null when an
// allocation failed, having released everything it had built; the release
// functions are the exported Morvanta_Free* functions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "capi/c_alloc.h"
#include "core/manager_records.h"
#include "core/records.h"
#include "morvanta.h"

namespace morvanta {
namespace capi {

MorvantaAccountInfo* BuildAccountInfo(const MvAccountInfo& info);

// Lists: an empty native list gives a null array with a count of 0 and is
// not a failure (`ok` stays true).
MorvantaDeviceInfo* BuildDeviceList(const std::vector<MvDeviceBaseInfo>& devices, bool& ok);

// Single records; null when an allocation failed.
MorvantaChatroomPermission* BuildChatroomPermission(const MvChatroomPermission& permission);
MorvantaMeetingInfo* BuildMeetingInfo(const MvMeetingInfo& meeting);
MorvantaMeetingSDKInfo* BuildMeetingSDKInfo(const MvMeetingSDKInfo& info);
MorvantaChatMessage* BuildChatMessage(const MvChatMessage& message);

// Lists, with the rules of BuildDeviceList. The count to hand on is the
// native list's size.
MorvantaSearchAccountInfo* BuildSearchAccountList(const std::vector<MvSearchAccountInfo>& accounts, bool& ok);
MorvantaScheduledMember* BuildScheduledMemberList(const std::vector<MvScheduledMember>& members, bool& ok);
MorvantaWaitingRoomMember* BuildWaitingRoomMemberList(const std::vector<MvWaitingRoomMember>& members, bool& ok);
MorvantaMember* BuildMemberList(const std::vector<MvMember>& members, bool& ok);
MorvantaScreenCaptureSource* BuildScreenCaptureSourceList(const std::vector<MvScreenCaptureSource>& sources,
                                                          bool& ok);
MorvantaMeetingInfo* BuildMeetingList(const std::vector<MvMeetingInfo>& meetings, bool& ok);

// A C member record over a native member's strings, allocating nothing: valid
// while `member` lives and is not changed. For listener calls.
MorvantaMember MemberView(const MvMember& member);

// Texts of the C records: "host", "evaluator", "bidder", "supervise" ("host"
// for any other value); the chat message kinds 0-8 ("text" for any other).
const char* RoleText(MvMemberRole role);
const char* ChatMessageTypeText(int32_t message_type);

// Release of one record's contents: frees every pointer field (nested
// records and arrays included), clears it and zeroes the counts beside it,
// so that a second pass finds nothing to free. The record itself stays.
void ClearSearchAccountInfo(MorvantaSearchAccountInfo& account);
void ClearChatroomPermission(MorvantaChatroomPermission& permission);
void ClearScheduledMember(MorvantaScheduledMember& member);
void ClearWaitingRoomMember(MorvantaWaitingRoomMember& member);
void ClearMember(MorvantaMember& member);
void ClearScreenCaptureSource(MorvantaScreenCaptureSource& source);
void ClearMeetingInfo(MorvantaMeetingInfo& meeting);
void ClearMeetingSDKInfo(MorvantaMeetingSDKInfo& info);
void ClearChatMessage(MorvantaChatMessage& message);

// ---- Building blocks of the builders and release functions ----

// Copies native values into the fields of a C record under construction and
// remembers whether every copy was made. After the first failure it
// allocates nothing more, so the record holds only what its release frees.
class FieldCopier {
 public:
  // A copy, "" for an empty text.
  char* Text(const std::string& text);
  // NULL when not engaged; an engaged "" is copied.
  char* Optional(const std::optional<std::string>& text);
  // NULL when empty or not engaged.
  char* NonEmpty(const std::string& text);
  char* NonEmpty(const std::optional<std::string>& text);
  // An array of copies, NULL (count 0) for an empty list. `count` is set as
  // soon as the array exists, so a partly filled one is released whole.
  char** TextList(const std::vector<std::string>& texts, int32_t& count);
  // A copy of the bytes, NULL (size 0) when there are none.
  uint8_t* Bytes(const std::vector<uint8_t>& bytes, uint32_t& size);

  // A zero-filled record.
  template <typename T>
  T* Record() {
    return Check(ok_ ? NewRecord<T>() : nullptr);
  }

  // A nested list, by one of the list builders above; its failure is ours.
  template <typename C, typename Native>
  C* List(const std::vector<Native>& items, C* (*build)(const std::vector<Native>&, bool&)) {
    if (!ok_) return nullptr;
    bool built_ok = true;
    C* built = build(items, built_ok);
    if (!built_ok) ok_ = false;
    return built;
  }

  bool ok() const { return ok_; }

 private:
  template <typename T>
  T* Check(T* allocated) {
    if (!allocated) ok_ = false;
    return allocated;
  }

  bool ok_ = true;
};

// A plain bool as a 0/1 flag of a C record.
inline int32_t Flag01(bool value) { return value ? 1 : 0; }

// Frees and clears string fields.
inline void FreeFields(std::initializer_list<char**> fields) {
  for (char** field : fields) FreeField(*field);
}
void FreeTextList(char**& texts, int32_t& count);

// One record from a native record: `fill` copies the fields; when it fails,
// `release` (the record's Morvanta_Free* function) takes back what was built.
template <typename C, typename Native>
C* BuildRecord(const Native& item, bool (*fill)(C&, const Native&), void (*release)(C*)) {
  C* out = NewRecord<C>();
  if (!out) return nullptr;
  if (!fill(*out, item)) {
    release(out);
    return nullptr;
  }
  return out;
}

// A list: an empty native list gives null with `ok` true; otherwise a
// zero-filled array filled element by element. When one element fails, the
// array goes back whole through `release` (the list's Morvanta_Free*
// function) and the result is null with `ok` false.
template <typename C, typename Native, typename Count>
C* BuildList(const std::vector<Native>& items, bool& ok, bool (*fill)(C&, const Native&),
             void (*release)(C*, Count)) {
  ok = true;
  if (items.empty()) return nullptr;
  C* out = NewArray<C>(items.size());
  if (!out) {
    ok = false;
    return nullptr;
  }
  for (size_t i = 0; i < items.size(); ++i) {
    if (!fill(out[i], items[i])) {
      release(out, static_cast<Count>(items.size()));
      ok = false;
      return nullptr;
    }
  }
  return out;
}

// The body of a list release: clears `count` elements (none when the count
// is 0 or below) and deletes the array. A NULL array is left alone.
template <typename C, typename Count>
void FreeArray(C* items, Count count, void (*clear)(C&)) {
  if (!items) return;
  for (Count i = 0; i < count; ++i) clear(items[i]);
  delete[] items;
}

// The body of a single record's release.
template <typename C>
void FreeRecord(C* record, void (*clear)(C&)) {
  if (!record) return;
  clear(*record);
  delete record;
}

}  // namespace capi
}  // namespace morvanta
