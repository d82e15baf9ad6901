#include <windows.h>

#include <stdexcept>
#include <string>

#include "platform/EntryPoint.h"
#include "specs/ImageDecoder.h"
#include "specs/Utf8.h"

namespace quillmark {
namespace {

using Decoder = decltype(&::QuillmarkDecodeImage);

// Found from the program's file, so never in the current folder or by a search path.
std::wstring ModuleFile() {
  constexpr std::size_t kLongestPath = 32767;
  std::wstring path(kLongestPath, L'\0');
  path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return path.substr(0, path.find_last_of(L"/\\") + 1) + L"" QUILLMARK_CODECS;
}

Decoder LoadDecoder() {
  const std::wstring file = ModuleFile();
  const HMODULE module = ::LoadLibraryW(file.c_str());
  const auto decoder = EntryPoint<Decoder>(module, "QuillmarkDecodeImage");
  if (decoder != nullptr) return decoder;
  const DWORD error = ::GetLastError();
  throw std::runtime_error("cannot read images: " + ToUtf8(file) + " cannot be loaded (error " +
                           std::to_string(error) + ")");
}

}  // namespace

cv::Mat DecodeImage(const std::vector<std::uint8_t>& bytes) {
  static const Decoder decoder = LoadDecoder();
  cv::Mat picture;
  decoder(bytes, picture);
  return picture;
}

}  // namespace quillmark
