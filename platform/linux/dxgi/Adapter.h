// The layer's one adapter and its outputs, one for each monitor that existed when the factory was created.
//
// Threading: callable from any thread; nothing changes after construction.
#pragma once

#include <dxgi1_2.h>

#include <memory>
#include <vector>

#include "desktop/Desktop.h"
#include "dxgi/ComObject.h"

namespace quillmark::layer {

class Adapter final : public ComObject<IDXGIAdapter1> {
 public:
  Adapter(std::shared_ptr<Desktop> ofDesktop, std::vector<MonitorFacts> itsMonitors);

  HRESULT EnumOutputs(UINT index, IDXGIOutput** output) override;

  const std::shared_ptr<Desktop> desktop;

 private:
  const std::vector<MonitorFacts> monitors;
};

class Output final : public ComObject<IDXGIOutput1> {
 public:
  Output(std::shared_ptr<Desktop> ofDesktop, MonitorFacts itsMonitor);

  HRESULT GetDesc(DXGI_OUTPUT_DESC* desc) override;
  HRESULT DuplicateOutput(IUnknown* device, IDXGIOutputDuplication** duplication) override;

 protected:
  void* Find(REFIID id) override;

 private:
  const std::shared_ptr<Desktop> desktop;
  const MonitorFacts monitor;
};

}  // namespace quillmark::layer
