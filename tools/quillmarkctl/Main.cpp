// quillmarkctl: sends commands to the worker and prints the hits it reports.
#include "commandline/CommandLine.h"
#include "host/Utf8.h"

int main(int argc, char** argv) {
  using namespace quillmark::control;
  const std::vector<std::string> arguments = host::Arguments(argc, argv);
  std::vector<const char*> texts;
  for (const std::string& argument : arguments) texts.push_back(argument.c_str());
  host::PrintUtf8();
  return CommandLine().Run(static_cast<int>(texts.size()), texts.data());
}
