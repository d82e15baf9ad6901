#include "dxgi/Adapter.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "dxgi/Device.h"
#include "dxgi/OutputDuplication.h"
#include "user32/Handles.h"

namespace quillmark::layer {
namespace {

class Factory final : public ComObject<IDXGIFactory1> {
 public:
  Factory() : desktop(CurrentDesktop()), monitors(desktop->Monitors()) {}

  HRESULT EnumAdapters1(UINT index, IDXGIAdapter1** adapter) override {
    if (adapter == nullptr) return DXGI_ERROR_INVALID_CALL;
    *adapter = nullptr;
    return index == 0 ? Give<Adapter>(adapter, desktop, monitors) : DXGI_ERROR_NOT_FOUND;
  }

 protected:
  void* Find(REFIID id) override {
    return id == interfaceId<IDXGIFactory1> ? static_cast<IDXGIFactory1*>(this) : nullptr;
  }

 private:
  const std::shared_ptr<Desktop> desktop;
  const std::vector<MonitorFacts> monitors;
};

}  // namespace

Adapter::Adapter(std::shared_ptr<Desktop> ofDesktop, std::vector<MonitorFacts> itsMonitors)
    : desktop(std::move(ofDesktop)), monitors(std::move(itsMonitors)) {}

HRESULT Adapter::EnumOutputs(UINT index, IDXGIOutput** output) {
  if (output == nullptr) return DXGI_ERROR_INVALID_CALL;
  *output = nullptr;
  return index < monitors.size() ? Give<Output>(output, desktop, monitors[index]) : DXGI_ERROR_NOT_FOUND;
}

Output::Output(std::shared_ptr<Desktop> ofDesktop, MonitorFacts itsMonitor)
    : desktop(std::move(ofDesktop)), monitor(std::move(itsMonitor)) {}

HRESULT Output::GetDesc(DXGI_OUTPUT_DESC* desc) {
  if (desc == nullptr) return E_INVALIDARG;
  *desc = {};
  const std::size_t length = std::min(monitor.deviceName.size(), std::size(desc->DeviceName) - 1);
  std::copy_n(monitor.deviceName.begin(), length, desc->DeviceName);
  desc->DesktopCoordinates = monitor.rect;
  desc->AttachedToDesktop = TRUE;
  desc->Rotation = monitor.rotation;
  desc->Monitor = ToMonitorHandle(monitor.id);
  return S_OK;
}

HRESULT Output::DuplicateOutput(IUnknown* device, IDXGIOutputDuplication** duplication) {
  if (dynamic_cast<Device*>(device) == nullptr || duplication == nullptr) return E_INVALIDARG;
  *duplication = nullptr;
  auto source = std::make_shared<FrameSource>();
  const HRESULT result = desktop->Duplicate(monitor.id, source->duplication);
  if (FAILED(result)) return result;
  return Give<OutputDuplication>(duplication, std::move(source), monitor.rotation);
}

void* Output::Find(REFIID id) {
  return id == interfaceId<IDXGIOutput1> ? static_cast<IDXGIOutput1*>(this) : nullptr;
}

}  // namespace quillmark::layer

HRESULT WINAPI CreateDXGIFactory1(REFIID id, void** factory) {
  using namespace quillmark::layer;
  if (factory == nullptr) return E_POINTER;
  *factory = nullptr;
  if (id != interfaceId<IDXGIFactory1>) return E_NOINTERFACE;
  IDXGIFactory1* made = nullptr;
  const HRESULT result = Give<Factory>(&made);
  *factory = made;
  return result;
}
