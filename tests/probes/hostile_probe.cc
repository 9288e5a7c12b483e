// A host of the public interface alone (morvanta.h and libmorvanta.so) for
// the tests of a misbehaving SDK or host, which run it as a child process and
// check its exit status, its time and its output. The SDK is
// tests/probes/hostile_sdk.js (MORVANTA_SDK_PATH), whose misbehaviour the
// test picks with MORVANTA_HOSTILE.
//
//   hostile_probe sdk-exit            the SDK exits inside a call; then the
//                                     host goes on, uninitializes and starts
//                                     again
//   hostile_probe exit-in-callback    exit(0) inside a completion callback
//   hostile_probe exit-in-listener    exit(0) inside a global listener
//   hostile_probe return-during-call  return from main while a call runs
//   hostile_probe return-with-pending return from main with 20 calls in
//                                     flight (concurrent mode)
//   hostile_probe answers             odd answers and odd host strings
//
// Its own lines start with "PROBE:" and go to standard error.
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>

#include "morvanta.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Slot {
  std::mutex mutex;
  std::condition_variable cv;
  bool done = false;
  int code = 0;
  std::string message;
  std::string text;
  unsigned number = 0;

  void Fill(int c, const char* m) {
    std::lock_guard<std::mutex> lock(mutex);
    code = c;
    message = m ? m : "";
    done = true;
    cv.notify_all();
  }
  bool Wait(std::chrono::seconds limit = std::chrono::seconds(20)) {
    std::unique_lock<std::mutex> lock(mutex);
    return cv.wait_for(lock, limit, [&] { return done; });
  }
};

void OnDone(int code, const char* message, void* user) { static_cast<Slot*>(user)->Fill(code, message); }

void OnNumber(int code, const char* message, uint32_t value, void* user) {
  static_cast<Slot*>(user)->number = value;
  static_cast<Slot*>(user)->Fill(code, message);
}

void OnText(int code, const char* message, char* value, void* user) {
  if (value) static_cast<Slot*>(user)->text = value;
  Morvanta_FreeString(value);
  static_cast<Slot*>(user)->Fill(code, message);
}

void ExitFromCallback(int, const char*, uint32_t, void*) {
  std::fprintf(stderr, "PROBE: calling exit(0) from a completion callback\n");
  std::exit(0);
}

void ExitFromListener(const char* room, void*) {
  std::fprintf(stderr, "PROBE: calling exit(0) from a listener for %s\n", room);
  std::exit(0);
}

// A callback that must not come: says so when it does.
void OnUnexpected(int code, const char* message, void* user) {
  std::fprintf(stderr, "PROBE: callback code=%d message=%s\n", code, message ? message : "");
  static_cast<Slot*>(user)->Fill(code, message);
}

void Say(const std::string& line) { std::fprintf(stderr, "PROBE: %s\n", line.c_str()); }

std::string Hex(const std::string& text) {
  std::string out;
  char buf[4];
  for (unsigned char c : text) {
    std::snprintf(buf, sizeof(buf), "%02X", c);
    if (!out.empty()) out += ' ';
    out += buf;
  }
  return out;
}

long long MsSince(Clock::time_point start) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

MorvantaAudioManager_T* Start() {
  MorvantaInitConfig config{};
  config.app_key = "test-app-key-0001";
  config.log_path = "/tmp";
  config.use_asset_server_config = -1;
  config.debug = -1;
  MorvantaSDK_T* sdk = nullptr;
  int rc = Morvanta_Initialize(&config, &sdk);
  if (rc != 0 || !sdk) {
    Say("initialize failed: " + std::to_string(rc));
    std::exit(3);
  }
  return Morvanta_GetAudioManager(sdk);
}

// Calls muteMyAudio and reports "<label> rc=.. code=.. ms=.. message=..".
void Mute(MorvantaAudioManager_T* audio, const char* label) {
  Slot slot;
  const auto start = Clock::now();
  int rc = Morvanta_Audio_MuteMyAudio(audio, &OnDone, &slot);
  bool answered = rc == 0 && slot.Wait();
  std::fprintf(stderr, "PROBE: %s rc=%d answered=%d code=%d ms=%lld message=%s\n", label, rc, answered ? 1 : 0,
               slot.code, MsSince(start), slot.message.c_str());
}

void Volume(MorvantaAudioManager_T* audio, const char* label) {
  Slot slot;
  int rc = Morvanta_Audio_GetSpeakerVolume(audio, &OnNumber, &slot);
  bool answered = rc == 0 && slot.Wait();
  std::fprintf(stderr, "PROBE: %s rc=%d answered=%d code=%d value=%u message=%s\n", label, rc, answered ? 1 : 0,
               slot.code, slot.number, slot.message.c_str());
}

std::string DeviceId(MorvantaAudioManager_T* audio, std::string* message = nullptr) {
  Slot slot;
  if (Morvanta_Audio_GetSpeakerDeviceId(audio, &OnText, &slot) != 0 || !slot.Wait()) return "<no answer>";
  if (message) *message = "code=" + std::to_string(slot.code) + " message=" + slot.message;
  return slot.text;
}

bool SetDevice(MorvantaAudioManager_T* audio, const std::string& id) {
  Slot slot;
  return Morvanta_Audio_SetSpeakerDevice(audio, id.c_str(), &OnDone, &slot) == 0 && slot.Wait() && slot.code == 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "";
  if (mode == "sdk-exit") {
    MorvantaAudioManager_T* audio = Start();
    Mute(audio, "first");
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    Mute(audio, "second");
    Volume(audio, "third");
    Morvanta_DestroyAudioManagerHandle(audio);
    Say("uninitialize rc=" + std::to_string(Morvanta_Uninitialize()));
    // The next SDK load behaves.
    unsetenv("MORVANTA_HOSTILE");
    audio = Start();
    Volume(audio, "recovered");
    Morvanta_DestroyAudioManagerHandle(audio);
    Say("uninitialize rc=" + std::to_string(Morvanta_Uninitialize()));
    return 0;
  }
  if (mode == "exit-in-callback") {
    MorvantaAudioManager_T* audio = Start();
    Morvanta_Audio_GetSpeakerVolume(audio, &ExitFromCallback, nullptr);
    std::this_thread::sleep_for(std::chrono::seconds(30));
    return 9;
  }
  if (mode == "exit-in-listener") {
    MorvantaAudioManager_T* audio = Start();
    MorvantaGlobalEventListener listener{&ExitFromListener, nullptr, nullptr, nullptr};
    if (Morvanta_AddGlobalEventListener(&listener) != 0) return 4;
    // The service listener is attached just after the call returns.
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    Mute(audio, "trigger");
    std::this_thread::sleep_for(std::chrono::seconds(30));
    return 9;
  }
  if (mode == "return-during-call") {
    // Static: the call may still be answered while the process exits, after
    // main's frame is gone.
    static MorvantaAudioManager_T* audio = Start();
    static Slot slot;
    Morvanta_Audio_MuteMyAudio(audio, &OnDone, &slot);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    Say("returning from main with the call running");
    return 0;
  }
  if (mode == "return-with-pending") {
    static MorvantaAudioManager_T* audio = Start();
    static Slot slots[20];
    for (Slot& slot : slots) Morvanta_Audio_MuteMyAudio(audio, &OnUnexpected, &slot);
    // Taken by the worker after all of them, so they are all in flight.
    Volume(audio, "behind");
    Say("returning from main with 20 calls pending");
    return 0;
  }
  if (mode == "answers") {
    MorvantaAudioManager_T* audio = Start();
    Mute(audio, "rejection");
    Say("lone surrogate " + Hex(DeviceId(audio)));
    // A stray byte, an overlong quote, a UTF-8 encoded surrogate, a cut-off
    // sequence at the end.
    if (!SetDevice(audio, "x\x80y\xC0\xA2z\xED\xA0\x80w\xE2\x82")) return 4;
    Say("host string " + Hex(DeviceId(audio)));
    // JSON text as the whole answer, nested beyond the parser's limit.
    if (!SetDevice(audio, std::string(600, '[') + std::string(600, ']'))) return 4;
    std::string outcome;
    DeviceId(audio, &outcome);
    Say("deep json " + outcome);
    Morvanta_DestroyAudioManagerHandle(audio);
    Say("uninitialize rc=" + std::to_string(Morvanta_Uninitialize()));
    return 0;
  }
  Say("unknown mode");
  return 2;
}
