// The process's one OpenCV configuration: optimised code, one thread. Parallel work is the worker pool's.
#pragma once

namespace quillmark {

// Configures OpenCV on the first call of the process, later calls do nothing; a failure is ignored.
// Threading: any thread; a concurrent second caller waits for the first.
void ConfigureOpenCvOnce() noexcept;

}  // namespace quillmark
