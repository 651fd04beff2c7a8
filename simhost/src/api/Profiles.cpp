// Exported functions of stream profiles.
#include <fmt/core.h>

#include "api/Call.h"
#include "core/Frame.h"
#include "core/StreamProfile.h"

using tavrix::arg;
using tavrix::call;
using tavrix::guarded;
using tavrix::ProfileHandle;
using tavrix::Ref;
using tavrix::StreamProfile;

namespace {

StreamProfile& resolveProfile(const vy_stream_profile_t* profile) {
  return *tavrix::resolve<ProfileHandle>(profile, "profile").profile;
}

}  // namespace

extern "C" {

vy_stream_profile_t* vy_frame_get_stream_profile(const vy_frame_t* frame, vy_error** error) {
  return call(
      __func__, error,
      [=] { return Ref<ProfileHandle>::make(tavrix::resolve<tavrix::Frame>(frame, "frame").profile()).detach(); },
      arg("frame", frame));
}

VYCameraIntrinsic vy_video_stream_profile_get_intrinsic(const vy_stream_profile_t* profile, vy_error** error) {
  return call(
      __func__, error, [=] { return resolveProfile(profile).intrinsic(); }, arg("profile", profile));
}

void vy_video_stream_profile_set_intrinsic(vy_stream_profile_t* profile, VYCameraIntrinsic intrinsic,
                                           vy_error** error) {
  call(
      __func__, error, [=] { resolveProfile(profile).setIntrinsic(intrinsic); }, arg("profile", profile),
      arg("intrinsic", intrinsic));
}

void vy_video_stream_profile_set_distortion(vy_stream_profile_t* profile, VYCameraDistortion distortion,
                                            vy_error** error) {
  call(
      __func__, error, [=] { resolveProfile(profile).setDistortion(distortion); }, arg("profile", profile),
      arg("distortion", distortion));
}

void vy_stream_profile_set_extrinsic_to_type(vy_stream_profile_t* profile, VYStreamType type, VYExtrinsic extrinsic,
                                             vy_error** error) {
  call(
      __func__, error, [=] { resolveProfile(profile).setExtrinsic(type, extrinsic); }, arg("profile", profile),
      arg("type", type), arg("extrinsic", extrinsic));
}

void vy_delete_stream_profile(const vy_stream_profile_t* profile, vy_error** error) {
  call(
      __func__, error, [=] { Ref<ProfileHandle>::release(profile, "profile"); }, arg("profile", profile));
}

VYCameraDistortion vysim_profile_get_distortion(const vy_stream_profile_t* profile, vy_error** error) {
  return guarded(
      __func__, error, [=] { return resolveProfile(profile).distortion(); }, arg("profile", profile));
}

VYExtrinsic vysim_profile_get_extrinsic(const vy_stream_profile_t* profile, VYStreamType type, vy_error** error) {
  return guarded(
      __func__, error,
      [=] {
        const auto extrinsic = resolveProfile(profile).extrinsic(type);
        if (extrinsic) return *extrinsic;
        throw tavrix::Failure(tavrix::ExceptionType::notFound,
                              fmt::format("no extrinsic to stream type {} was set", static_cast<int>(type)));
      },
      arg("profile", profile), arg("type", type));
}

}  // extern "C"
