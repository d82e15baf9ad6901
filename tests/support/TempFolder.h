// A new folder for one test, removed with everything in it; and the content of a file.
//
// Threading: the folder may be used by any thread while the object exists.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace quillmark::test {

class TempFolder {
 public:
  // Throws std::filesystem::filesystem_error on failure.
  TempFolder() {
    const std::filesystem::path parent = std::filesystem::canonical(std::filesystem::temp_directory_path());
    std::random_device random;
    do {
      path = parent / ("quillmark-" + std::to_string(random() % 1'000'000));
    } while (!std::filesystem::create_directory(path));
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& Path() const { return path; }

 private:
  std::filesystem::path path;
};

// The bytes of a file; empty if it cannot be read.
inline std::string ContentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace quillmark::test
