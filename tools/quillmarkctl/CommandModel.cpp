#include "CommandModel.h"

#include <CLI/CLI.hpp>
#include <sstream>

namespace quillmark::control {
namespace {

OptionModel ModelOf(const CLI::Option& option) {
  OptionModel model;
  for (const std::string& name : option.get_snames()) model.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) model.names.push_back("--" + name);
  model.positional = model.names.empty();
  if (model.positional) model.names.push_back(option.get_name(true));
  // Behind the value's name its checks may be listed, a choice as {a,b}.
  const std::string type = option.get_type_name();
  if (option.get_items_expected_max() > 0) model.value = type.substr(0, type.find(':'));
  if (const auto choice = type.find(":{"); choice != std::string::npos) {
    std::istringstream words(type.substr(choice + 2, type.find('}', choice) - choice - 2));
    for (std::string word; std::getline(words, word, ',');) model.words.push_back(word);
  }
  model.help = option.get_description();
  model.required = option.get_required();
  return model;
}

// A group of options is a command without a name.
void AddOptions(const CLI::App& app, std::vector<OptionModel>& options) {
  for (const CLI::Option* option : app.get_options()) options.push_back(ModelOf(*option));
  for (const CLI::App* group :
       app.get_subcommands([](const CLI::App* part) { return part->get_name().empty(); })) {
    for (const CLI::Option* option : group->get_options()) {
      if (!option->get_lnames().empty() && option->get_lnames().front() == "help") continue;
      options.push_back(ModelOf(*option));
    }
  }
}

}  // namespace

CommandModel ModelOf(const CLI::App& app) {
  CommandModel model{app.get_name(), app.get_description(), app.get_footer(), {}};
  AddOptions(app, model.options);
  return model;
}

std::vector<CommandModel> CommandsOf(const CLI::App& app) {
  std::vector<CommandModel> commands;
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (!command->get_name().empty()) commands.push_back(ModelOf(*command));
  }
  return commands;
}

}  // namespace quillmark::control
