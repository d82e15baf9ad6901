// Decodes image files. The image codecs and what they need are many times larger than the rest of a program,
// and most runs decode nothing. So, where the libraries are shared, the decoder is a module of ours that is
// loaded with the first image (LoadedDecoder.cpp); where they are static it is linked in (ImageDecoder.cpp).
//
// Threading: any thread.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

namespace quillmark {

// The picture with the file's channels and depth; empty if it is damaged. The image library's own messages
// are not printed. Raises std::runtime_error if the module cannot be loaded (the next call tries again), and
// what the image library raises.
[[nodiscard]] cv::Mat DecodeImage(const std::vector<std::uint8_t>& bytes);

}  // namespace quillmark

// The module's one entry: DecodeImage, with the picture as an argument. Program and module are of one build.
extern "C" void QuillmarkDecodeImage(const std::vector<std::uint8_t>& bytes, cv::Mat& picture);
