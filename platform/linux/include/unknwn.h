// The root of the platform's component model, for Linux: reference-counted objects asked for their interfaces
// by id. Only interfaces that the product asks for by id have one here; asking for another does not compile.
//
// The order of the virtual functions is not the platform's: objects are never passed to foreign binaries.
#pragma once

#include <windows.h>

struct GUID {
  DWORD Data1;
  WORD Data2;
  WORD Data3;
  BYTE Data4[8];

  friend bool operator==(const GUID&, const GUID&) = default;
};
using IID = GUID;
using REFIID = const IID&;

struct IUnknown {
  // E_NOINTERFACE if the object lacks the interface; E_POINTER without a place for the result.
  virtual HRESULT QueryInterface(REFIID id, void** object) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

 protected:
  virtual ~IUnknown() = default;
};

namespace quillmark::layer {

// The id of an interface; specialised beside each interface that can be asked for.
template <typename Interface>
inline constexpr GUID interfaceId = Interface::hasNoId;
template <>
inline constexpr GUID interfaceId<IUnknown>{
    0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

template <typename Interface>
const GUID& IdOfTarget(Interface**) {
  return interfaceId<Interface>;
}
template <typename Interface>
void** UntypedTarget(Interface** target) {
  return reinterpret_cast<void**>(target);
}

}  // namespace quillmark::layer

// The id of the interface that `target` points to, and `target` itself untyped: two arguments of a call.
#define IID_PPV_ARGS(target) ::quillmark::layer::IdOfTarget(target), ::quillmark::layer::UntypedTarget(target)
