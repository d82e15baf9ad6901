#include "host/SessionFolder.h"

#include <stdexcept>

#include "kernel32/SessionFolder.h"

namespace quillmark::control::host {

// Where the named objects lie.
std::filesystem::path SessionFolder() {
  if (!layer::OpenSessionFolder()) throw std::runtime_error("the session's folder cannot be opened");
  const layer::SessionRoad road = layer::RoadOfSession();
  return std::filesystem::path(road.base) / road.product / road.display;
}

}  // namespace quillmark::control::host
