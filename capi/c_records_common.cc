// What the record builders share: the field copier and the record texts.
#include <cstdlib>

#include "capi/c_alloc.h"
#include "capi/c_records.h"

namespace morvanta {
namespace capi {

char* FieldCopier::Text(const std::string& text) { return Check(ok_ ? DupString(text) : nullptr); }

char* FieldCopier::Optional(const std::optional<std::string>& text) { return text ? Text(*text) : nullptr; }

char* FieldCopier::NonEmpty(const std::string& text) { return text.empty() ? nullptr : Text(text); }

char* FieldCopier::NonEmpty(const std::optional<std::string>& text) {
  return text ? NonEmpty(*text) : nullptr;
}

char** FieldCopier::TextList(const std::vector<std::string>& texts, int32_t& count) {
  count = 0;
  if (texts.empty()) return nullptr;
  char** out = Check(ok_ ? NewArray<char*>(texts.size()) : nullptr);
  if (!out) return nullptr;
  count = static_cast<int32_t>(texts.size());
  for (size_t i = 0; i < texts.size() && ok_; ++i) out[i] = Text(texts[i]);
  return out;
}

uint8_t* FieldCopier::Bytes(const std::vector<uint8_t>& bytes, uint32_t& size) {
  size = 0;
  if (bytes.empty()) return nullptr;
  uint8_t* out = Check(ok_ ? NewArray<uint8_t>(bytes.size()) : nullptr);
  if (!out) return nullptr;
  memcpy(out, bytes.data(), bytes.size());
  size = static_cast<uint32_t>(bytes.size());
  return out;
}

void FreeTextList(char**& texts, int32_t& count) {
  if (texts) {
    for (int32_t i = 0; i < count; ++i) FreeField(texts[i]);
    delete[] texts;
  }
  texts = nullptr;
  count = 0;
}

const char* RoleText(MvMemberRole role) {
  switch (role) {
    case MvMemberRole::Evaluator:
      return "evaluator";
    case MvMemberRole::Bidder:
      return "bidder";
    case MvMemberRole::Supervise:
      return "supervise";
    case MvMemberRole::Host:
      break;
  }
  return "host";
}

const char* ChatMessageTypeText(int32_t message_type) { return ChatMessageKindText(message_type); }

}  // namespace capi
}  // namespace morvanta
