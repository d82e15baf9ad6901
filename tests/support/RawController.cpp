#include "support/RawController.h"

#include <cstring>
#include <stdexcept>

namespace quillmark::test {

namespace {

constexpr std::size_t HeaderBytes = 16, CommandSlotBytes = 320, HitSlotBytes = 128;

UniqueHandle Checked(HANDLE handle, const char* call) {
  if (handle == nullptr) {
    throw std::runtime_error(std::string(call) + " failed, err=" + std::to_string(::GetLastError()));
  }
  return UniqueHandle(handle);
}

UniqueHandle OpenSection(const wchar_t* name, std::size_t size) {
  return Checked(
      ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, static_cast<DWORD>(size), name),
      "CreateFileMappingW");
}

UniqueView MapWhole(const UniqueHandle& mapping) {
  void* view = ::MapViewOfFile(mapping.Get(), FILE_MAP_ALL_ACCESS, 0, 0, 0);
  if (view == nullptr) throw std::runtime_error("MapViewOfFile failed");
  return UniqueView(view);
}

template <typename T>
void Put(std::byte* at, T value) {
  std::memcpy(at, &value, sizeof value);
}

template <typename T>
T Get(const std::byte* at) {
  T value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

void PutText(std::byte* at, std::size_t units, const std::wstring& text) {
  for (std::size_t i = 0; i < units; ++i) {
    Put(at + 2 * i, static_cast<std::uint16_t>(i < text.size() ? text[i] : 0));
  }
}

}  // namespace

RawController::RawController()
    : commandMapping(OpenSection(L"Local\\CmdRingMMF", CommandBytes)),
      commandEvent(Checked(::CreateEventW(nullptr, FALSE, FALSE, L"Local\\CmdRingEvent"), "CreateEventW")),
      hitMapping(OpenSection(L"Local\\HitRingMMF", HitBytes)),
      hitEvent(Checked(::CreateEventW(nullptr, FALSE, FALSE, L"Local\\HitRingEvent"), "CreateEventW")),
      commandView(MapWhole(commandMapping)),
      hitView(MapWhole(hitMapping)) {}

bool RawController::Send(const RawCommand& command) {
  if (PendingCommands() >= 64) return false;
  const std::uint32_t record = CommandWord(WriteIndex);
  FillCommand(record, command);
  SetCommandWord(WriteIndex, record + 1);
  SignalCommands();
  return true;
}

void RawController::FillCommand(std::uint32_t record, const RawCommand& command) {
  std::byte* const slot = Commands() + HeaderBytes + CommandSlotBytes * (record % 64);
  Put(slot, command.kind);
  PutText(slot + 8, 16, command.target);
  PutText(slot + 40, 32, command.name);
  PutText(slot + 104, 64, command.path);
  Put(slot + 232, command.x);
  Put(slot + 236, command.y);
  Put(slot + 240, command.width);
  Put(slot + 244, command.height);
  Put(slot + 248, command.edgeMin);
  Put(slot + 252, command.threshold);
}

std::vector<RawHit> RawController::TakeHits() {
  std::vector<RawHit> hits;
  const std::uint32_t end = HitWord(WriteIndex);
  for (std::uint32_t record = HitWord(ReadIndex); record != end; ++record) hits.push_back(ReadHit(record));
  SetHitWord(ReadIndex, end);
  return hits;
}

std::optional<RawHit> RawController::WaitForHit(const std::function<bool(const RawHit&)>& wanted,
                                                Clock::time_point deadline) {
  for (;;) {
    for (RawHit& hit : TakeHits()) {
      if (wanted(hit)) return std::move(hit);
    }
    const auto now = Clock::now();
    if (now >= deadline) return std::nullopt;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - now);
    ::WaitForSingleObject(hitEvent.Get(), static_cast<DWORD>(left.count()));
  }
}

std::optional<RawHit> RawController::WaitForHit(const std::wstring& name, Clock::time_point deadline) {
  return WaitForHit([&](const RawHit& hit) { return hit.name == name; }, deadline);
}

RawHit RawController::ReadHit(std::uint32_t record) const {
  const std::byte* const slot = Hits() + HeaderBytes + HitSlotBytes * (record % 64);
  RawHit hit{Get<std::uint64_t>(slot),     Get<std::int32_t>(slot + 8),
             Get<std::int32_t>(slot + 12), Get<std::int32_t>(slot + 16),
             Get<std::int32_t>(slot + 20), Get<float>(slot + 32),
             Get<float>(slot + 36),        {}};
  for (std::size_t i = 0; i < 32; ++i) {
    const auto unit = Get<std::uint16_t>(slot + 40 + 2 * i);
    if (unit == 0) break;
    hit.name.push_back(static_cast<wchar_t>(unit));
  }
  return hit;
}

}  // namespace quillmark::test
