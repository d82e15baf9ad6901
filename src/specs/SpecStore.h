// The process's ordered list of specs and the operations behind the controller's commands.
//
// Threading: the operations run on the command pump's thread; the capture loop copies the list under
// specMutex and waits for changes. Nothing else reads it. Log lines are queued under specMutex.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "specs/TemplateSpec.h"

namespace quillmark {

struct SpecStore {
  // Announces a change; specMutex is held.
  void NoteChange() {
    ++changes;
    wakeup.notify_all();
  }
  // Lets every thread that waits on `wakeup` test its condition again. What it tests outside the store is set
  // before this call, so no waiting thread misses it.
  void Wake() {
    { const std::lock_guard lock(specMutex); }
    wakeup.notify_all();
  }

  std::mutex specMutex;             // guards specs and changes
  std::vector<TemplateSpec> specs;  // in order of first addition; names are unique
  std::uint64_t changes = 0;        // made so far
  std::condition_variable wakeup;   // waits with specMutex; notified by the two above
};

// The process's store.
SpecStore& Specs();

// The spec of a command, with the name's suffix applied but not its options, and without the image.
// `threshold` in (0.5, 1] becomes minScore, in [0, 0.5] maxDiff; any other value leaves both at their
// defaults.
[[nodiscard]] TemplateSpec SpecOfCommand(const std::wstring& target, const std::wstring& name,
                                         const std::wstring& path, int x, int y, int width, int height,
                                         float edgeMin, float threshold);

// Executes a spec command: makes the spec, prepares its template, applies the name's options and adds or
// replaces it. Prints a line on standard output when the image cannot be read. When preparation raises, logs
// the cause and passes the exception on (see PrepareTemplate). Both leave the store unchanged.
void LoadSpec(const std::wstring& target, const std::wstring& name, const std::wstring& path, int x, int y,
              int width, int height, float edgeMin, float threshold);

// Prepares `spec`, applies its name's options, gives it its revision and moves it into the store, in place of
// the spec of that name or at the end. An image that cannot be read is logged; that or an exception of
// PrepareTemplate leaves the store unchanged.
void AddOrReplaceSpec(TemplateSpec& spec);

// Removes the spec of exactly that name.
void RemoveSpec(const std::wstring& name);

// Empties the store; `reason` goes into the log line.
void ClearSpecs(const wchar_t* reason);

// `path` as log lines show it: weakly canonical, else absolute, else unchanged. Raises std::system_error for
// an unpaired surrogate.
[[nodiscard]] std::wstring DisplayPath(const std::wstring& path);

}  // namespace quillmark
