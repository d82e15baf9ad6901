#include "advice/NameOptions.h"

#include "specs/SpecOptions.h"

namespace quillmark::advice {

NameOptions ReadNameOptions(const std::wstring& name) {
  std::size_t colon = name.find(L':');
  NameOptions options{name.substr(0, colon), {}, false};
  if (colon == std::wstring::npos) return options;
  TemplateSpec record;
  record.name = name;
  ApplyNameSuffix(record);
  if (record.name.size() < name.size()) return {options.base, {name.substr(colon + 1)}, true};
  while (colon != std::wstring::npos) {
    const std::size_t next = name.find(L':', colon + 1);
    options.words.push_back(name.substr(colon + 1, next == std::wstring::npos ? next : next - colon - 1));
    colon = next;
  }
  return options;
}

std::wstring Joined(const std::wstring& base, const std::vector<std::wstring>& words) {
  std::wstring name = base;
  for (const std::wstring& word : words) name += L':' + word;
  return name;
}

std::wstring Lowered(std::wstring text) {
  for (wchar_t& unit : text) {
    if (unit >= L'A' && unit <= L'Z') unit = static_cast<wchar_t>(unit - L'A' + L'a');
  }
  return text;
}

}  // namespace quillmark::advice
