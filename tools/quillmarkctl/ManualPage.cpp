#include <sstream>

#include "CommandModel.h"
#include "SpecFile.h"

namespace quillmark::control {
namespace {

// Text that means itself: no escapes, and no line that begins like a request.
std::string Plain(const std::string& text) {
  std::string plain;
  bool atLineStart = true;
  for (const char c : text) {
    if (atLineStart && (c == '.' || c == '\'')) plain += "\\&";
    if (c == '\\') {
      plain += "\\e";
    } else if (c == '-') {
      plain += "\\-";
    } else {
      plain += c;
    }
    atLineStart = c == '\n';
  }
  return plain;
}

// A page's heading and its first section.
std::string Head(const std::string& name, const char* section, const char* manual, const char* what) {
  std::string title = name;
  for (char& c : title) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return ".TH " + Plain(title) + ' ' + section + " \"\" \"Quillmark " QUILLMARK_VERSION "\" \"" + manual +
         "\"\n.nh\n.ad l\n.SH NAME\n" + Plain(name) + " \\- " + what + "\n";
}

std::string Term(const OptionModel& option) {
  std::string term;
  for (const std::string& name : option.names) term += (term.empty() ? "\\fB" : "\\fR, \\fB") + Plain(name);
  term += "\\fR";
  if (!option.positional && !option.value.empty()) term += " \\fI" + Plain(option.value) + "\\fR";
  return term;
}

std::string Usage(const CommandModel& command) {
  std::string usage = "\\fBquillmarkctl " + Plain(command.name) + "\\fR [\\fIoptions\\fR]";
  for (const OptionModel& option : command.options) {
    if (!option.positional) continue;
    usage += (option.required ? " \\fI" : " [\\fI") + Plain(option.names.front()) +
             (option.required ? "\\fR" : "\\fR]");
  }
  return usage;
}

// Each line of the notes is a paragraph.
std::string Notes(const std::string& notes) {
  std::istringstream lines(notes);
  std::string text;
  for (std::string line; std::getline(lines, line);) text += Plain(line) + "\n.br\n";
  return text;
}

std::string Options(const CommandModel& command) {
  std::string text;
  for (const OptionModel& option : command.options) {
    text +=
        ".TP\n" + Term(option) + "\n" + Plain(option.help) + (option.required ? " (required)" : "") + "\n";
  }
  return text;
}

}  // namespace

std::string ManualPage(const CommandModel& tool, const std::vector<CommandModel>& commands) {
  std::ostringstream page;
  page << Head("quillmarkctl", "1", "User Commands", "control the Quillmark worker")
       << ".SH SYNOPSIS\n\\fBquillmarkctl\\fR \\fIcommand\\fR [\\fIoptions\\fR]\n"
       << ".SH DESCRIPTION\n"
       << Plain(tool.help) << "\n"
       << ".SH OPTIONS\n"
       << Options(tool) << ".SH COMMANDS\n";
  for (const CommandModel& command : commands) {
    page << ".SS " << Plain(command.name) << "\n"
         << Usage(command) << "\n.PP\n"
         << Plain(command.help) << "\n"
         << Options(command) << ".PP\n"
         << Notes(command.notes);
  }
  page << ".SH EXIT STATUS AND JSON\n"
       << Notes(tool.notes)
       << ".SH ENVIRONMENT\n.TP\n\\fBNO_COLOR\\fR\nWhen set and not empty, nothing is coloured.\n"
       << ".TP\n\\fBDISPLAY\\fR, \\fBXDG_RUNTIME_DIR\\fR\nOn Linux: which session the tool and the worker "
          "share.\n"
       << ".SH SEE ALSO\n\\fBquillmark\\-specs\\fR(5)\n";
  return page.str();
}

std::string SpecFilePage() {
  std::ostringstream page;
  page << Head("quillmark-specs", "5", "File Formats", "file that declares what Quillmark looks for")
       << ".SH DESCRIPTION\nA TOML file of any name that declares specs: template images and where to look "
          "for "
          "them.\n\\fBquillmarkctl apply\\fR brings the worker's specs to what it declares; other commands "
          "take "
          "it by\n\\fB\\-\\-specs\\fR.\n.PP\nEach spec is a table \\fB[[spec]]\\fR. A table "
          "\\fB[defaults]\\fR, of "
          "which there may be one, gives values for\nkeys that a spec leaves out. Needed are name, target, "
          "path and "
          "region.\nAn unknown key is a fault, of the entry that has it, or, in \\fB[defaults]\\fR, of the "
          "file.\n"
       << ".SH KEYS\n";
  for (const SpecFileKey& key : SpecFileKeys()) {
    page << ".TP\n\\fB" << Plain(std::string(key.name)) << "\\fR = \\fI" << Plain(std::string(key.value))
         << "\\fR\n"
         << Plain(std::string(key.meaning)) << "\n";
  }
  page << ".SH EXAMPLE\n.nf\n"
       << Plain(SpecFileExample) << "\n.fi\n.SH SEE ALSO\n\\fBquillmarkctl\\fR(1), \\fBQuillmark\\fR(1)\n";
  return page.str();
}

}  // namespace quillmark::control
