// The cases of the figures: seeded templates and screens as image files.
//
// Threading: one thread.
#pragma once

#include <cstdint>
#include <filesystem>

namespace quillmark::testing {

extern const std::uint32_t kCases;

// Desktop pixels per template pixel, across and down. 0 counts as 1.
struct Scale {
  double x, y;
};
Scale ScaleOf(std::uint32_t number);

std::filesystem::path TemplateFile(const std::filesystem::path& folder, std::uint32_t number);
std::filesystem::path ScreenFile(const std::filesystem::path& folder, std::uint32_t number);

// Writes the files of every case. Raises std::runtime_error when one cannot be written.
void MakeFiles(const std::filesystem::path& folder);

}  // namespace quillmark::testing
