// The fields of one command; their lengths are not checked yet.
//
// Threading: plain values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>

#include "ipc/WireFormat.h"

namespace quillmark::client {

// Lengths of the text fields in UTF-16 units. A hit's name is one unit shorter than a command's.
inline constexpr std::size_t TargetUnits = std::size(CmdSlot{}.target);
inline constexpr std::size_t NameUnits = std::size(CmdSlot{}.name);
inline constexpr std::size_t PathUnits = std::size(CmdSlot{}.path);
inline constexpr std::size_t HitNameUnits = std::size(HitSlot{}.name) - 1;

// Outside 0 to 1, the worker uses its own limits.
inline constexpr float NoThreshold = -1.0f;
inline constexpr float DefaultEdgeMin = 0.75f;

struct Command {
  CmdKind kind = CmdKind::Clear;
  std::wstring target{}, name{}, path{};
  std::int32_t roiX = 0, roiY = 0, roiW = 0, roiH = 0;
  float edgeMin = 0.0f, threshold = 0.0f;
};

}  // namespace quillmark::client
