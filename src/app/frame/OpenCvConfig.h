// Configures OpenCV for the process: optimised code, one thread. The worker pool does the parallel work.
#pragma once

namespace quillmark {

// Only the first call has an effect; a failure is ignored.
// Threading: any thread; a concurrent caller waits for the first.
void ConfigureOpenCvOnce() noexcept;

}  // namespace quillmark
