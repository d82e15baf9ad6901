#include <sstream>

#include "CommandModel.h"

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

// The notes are written for a terminal: their line ends stay.
std::string Notes(const std::string& notes) {
  return notes.empty() ? "" : ".nf\n" + Plain(notes) + "\n.fi\n";
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
  page << ".TH QUILLMARKCTL 1 \"\" \"Quillmark " QUILLMARK_VERSION "\" \"User Commands\"\n"
       << ".SH NAME\nquillmarkctl \\- control the Quillmark worker\n"
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
          "share.\n";
  return page.str();
}

}  // namespace quillmark::control
