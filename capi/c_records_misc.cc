// C records of the invite family (accounts found) and of screen sharing
// (capture sources).
#include "capi/c_records.h"

namespace morvanta {
namespace capi {
namespace {

bool FillSearchAccount(MorvantaSearchAccountInfo& out, const MvSearchAccountInfo& in) {
  FieldCopier copy;
  out.user_uuid = copy.Text(in.userUuid);
  out.nickname = copy.Text(in.nickname);
  out.avatar = copy.Optional(in.avatar);
  out.phone_number = copy.Optional(in.phoneNumber);
  out.dept = copy.Optional(in.dept);
  return copy.ok();
}

// An absent image leaves the block zero.
void CopyImage(FieldCopier& copy, MorvantaScreenCaptureImage& out, const std::optional<MvScreenCaptureImage>& in) {
  if (!in) return;
  out.width = in->width;
  out.height = in->height;
  out.data = copy.Bytes(in->data, out.size);
}

void ClearImage(MorvantaScreenCaptureImage& image) {
  delete[] image.data;
  image.data = nullptr;
  image.size = 0;
}

bool FillScreenCaptureSource(MorvantaScreenCaptureSource& out, const MvScreenCaptureSource& in) {
  FieldCopier copy;
  out.source_id = in.sourceId;
  out.source_name = copy.Text(in.sourceName);
  out.is_window = in.sourceType != 0 ? 1 : 0;
  out.app_name = copy.Optional(in.title);
  out.app_path = copy.Optional(in.processPath);
  out.is_primary_monitor = TriState32(in.primaryMonitor);
  CopyImage(copy, out.icon, in.icon);
  CopyImage(copy, out.thumbnail, in.thumbImage);
  return copy.ok();
}

}  // namespace

MorvantaSearchAccountInfo* BuildSearchAccountList(const std::vector<MvSearchAccountInfo>& accounts, bool& ok) {
  return BuildList(accounts, ok, FillSearchAccount, Morvanta_FreeAccountList);
}

MorvantaScreenCaptureSource* BuildScreenCaptureSourceList(const std::vector<MvScreenCaptureSource>& sources,
                                                          bool& ok) {
  return BuildList(sources, ok, FillScreenCaptureSource, Morvanta_FreeScreenCaptureSourceList);
}

void ClearSearchAccountInfo(MorvantaSearchAccountInfo& account) {
  FreeFields({&account.user_uuid, &account.nickname, &account.avatar, &account.phone_number, &account.dept});
}

void ClearScreenCaptureSource(MorvantaScreenCaptureSource& source) {
  FreeFields({&source.source_name, &source.app_name, &source.app_path});
  ClearImage(source.icon);
  ClearImage(source.thumbnail);
}

}  // namespace capi
}  // namespace morvanta

extern "C" {

MORVANTA_API void Morvanta_FreeAccountList(MorvantaSearchAccountInfo* accounts, int32_t count) {
  if (count < 1) return;
  morvanta::capi::FreeArray(accounts, count, morvanta::capi::ClearSearchAccountInfo);
}

MORVANTA_API void Morvanta_FreeScreenCaptureSourceList(MorvantaScreenCaptureSource* sources, uint32_t count) {
  morvanta::capi::FreeArray(sources, count, morvanta::capi::ClearScreenCaptureSource);
}

}  // extern "C"
