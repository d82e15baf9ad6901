// The desktop of a host without a screen: no monitor, no window, no capture.
//
// Threading: stateless, callable from any thread.
#pragma once

#include "desktop/Desktop.h"

namespace quillmark::layer {

class EmptyDesktop final : public Desktop {
 public:
  std::vector<MonitorFacts> Monitors() override { return {}; }
  std::vector<WindowId> TopLevelWindows() override { return {}; }
  bool Exists(WindowId) override { return false; }
  bool Visible(WindowId) override { return false; }
  bool Iconic(WindowId) override { return false; }
  WindowId Root(WindowId) override { return 0; }
  std::uint32_t ProcessId(WindowId) override { return 0; }
  std::wstring Title(WindowId) override { return {}; }
  std::optional<RECT> OuterRect(WindowId) override { return std::nullopt; }
  std::optional<RECT> ClientRect(WindowId) override { return std::nullopt; }
  std::optional<POINT> ClientOrigin(WindowId) override { return std::nullopt; }
  DPI_AWARENESS Awareness(WindowId) override { return DPI_AWARENESS_INVALID; }
  std::uint32_t DpiOfWindow(WindowId) override { return 0; }
  HRESULT OpenDevice() override { return E_FAIL; }
  HRESULT Duplicate(MonitorId, std::unique_ptr<Duplication>&) override { return E_FAIL; }
  void OnDisplayChange(std::function<void()>) override {}
};

}  // namespace quillmark::layer
