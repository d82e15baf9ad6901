// The process's one ordered list of specs and the operations behind the controller's commands.
//
// Threading: the operations run on the command pump's thread; the capture loop copies the whole list under
// specMutex and works on its copy. Nothing else reads it. Log lines are written under specMutex.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "specs/TemplateSpec.h"

namespace quillmark {

struct SpecStore {
  std::mutex specMutex;             // guards specs
  std::vector<TemplateSpec> specs;  // in order of first addition; one spec a name
};

// The process's store.
SpecStore& Specs();

// The spec of a spec command's values, with the name's suffix read; its options and its image are still to
// come. `threshold` in (0.5, 1] is the spec's minScore, in [0, 0.5] its maxDiff, and anything else leaves
// both at their defaults; `edgeMin` is taken as it comes.
[[nodiscard]] TemplateSpec SpecOfCommand(const std::wstring& target, const std::wstring& name,
                                         const std::wstring& path, int x, int y, int width, int height,
                                         float edgeMin, float threshold);

// What a spec command asks for: makes that spec, prepares its template, applies the name's options and adds
// or replaces it. An image that cannot be read is reported on the standard wide output, and the store stays
// as it was. So it does when preparation raises: that is logged with the name and the cause, and the
// exception goes on (std::system_error for a path with an unpaired surrogate, cv::Exception for an image of
// more than 8 bits, of two channels, or that the image library refuses).
void LoadSpec(const std::wstring& target, const std::wstring& name, const std::wstring& path, int x, int y,
              int width, int height, float edgeMin, float threshold);

// Prepares `spec`, applies the option words of its name and moves it into the store: in the place of the spec
// of that name, else at the end. An image that cannot be read is logged and leaves the store alone; what the
// preparation raises goes through, before the store is touched.
void AddOrReplaceSpec(TemplateSpec& spec);

// Removes the spec of exactly that name.
void RemoveSpec(const std::wstring& name);

// Empties the store; `reason` goes into the log line.
void ClearSpecs(const wchar_t* reason);

// `path` as log lines show it: weakly canonical, else absolute, else as it is. Raises std::system_error for
// an unpaired surrogate.
[[nodiscard]] std::wstring DisplayPath(const std::wstring& path);

}  // namespace quillmark
