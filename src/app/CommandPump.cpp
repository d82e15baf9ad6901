#include "app/CommandPump.h"

#include <chrono>
#include <string>
#include <thread>

#include "core/engine/AutoRebinder.h"
#include "ipc/CmdRingReader.h"
#include "ipc/HitRing.h"
#include "log/AsyncLogger.h"
#include "specs/SpecStore.h"

namespace quillmark {

namespace {

constexpr auto kPollInterval = std::chrono::milliseconds(50);

void OnRemove(const std::wstring& name, const std::wstring& /*path*/) {
  RemoveSpec(name);
}

void OnClear() {
  ClearSpecs(L"cmd");
}

}  // namespace

int RunCommandPump(const std::function<void()>& afterPoll) {
  HitRing::Instance().EnsureInit();  // reports its own failure; the worker goes on without hits
  AsyncLogger& logger = AsyncLogger::Instance();
  logger.Log(L"[INFO] AsyncLogger started.");

  CmdRingReader reader;
  if (!reader.Init(0)) {
    logger.Log(L"CmdRingReader Init failed!");
    reader.Close();
    return 1;
  }
  reader.SetHandlers(&LoadSpec, &OnClear, &OnRemove);

  AutoRebinder engine;  // after the reader: an exception stops the engine first
  engine.SetTrackingTarget(L"");
  engine.Start();
  logger.Log(L"[INFO] ESC to exit (No preview, performance mode)");

  for (;;) {
    reader.Poll(0);
    if (afterPoll) afterPoll();
    std::this_thread::sleep_until(std::chrono::steady_clock::now() + kPollInterval);
  }
}

}  // namespace quillmark
