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

void LoadSpec(const std::wstring& target, const std::wstring& name, const std::wstring& path, int x, int y,
              int width, int height, float edgeMin, float threshold);
void AddOrReplaceSpec(TemplateSpec& spec);
void RemoveSpec(const std::wstring& name);
void ClearSpecs(const wchar_t* reason);

}  // namespace quillmark
