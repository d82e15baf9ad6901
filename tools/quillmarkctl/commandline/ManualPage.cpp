#include <sstream>

#include "commandline/CommandModel.h"
#include "specfile/SpecFile.h"

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

std::string Term(const Argument& option) {
  std::string term;
  for (const std::string& name : option.Names()) term += (term.empty() ? "\\fB" : "\\fR, \\fB") + Plain(name);
  term += "\\fR";
  if (!option.IsPositional() && !option.Value().empty()) term += " \\fI" + Plain(option.Value()) + "\\fR";
  return term;
}

std::string Usage(const CommandModel& command) {
  std::string usage = "\\fBquillmarkctl " + Plain(command.name) + "\\fR [\\fIoptions\\fR]";
  for (const Argument& option : command.arguments) {
    if (!option.IsPositional()) continue;
    usage += (option.rules.required ? " \\fI" : " [\\fI") + Plain(option.name) +
             (option.rules.required ? "\\fR" : "\\fR]");
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
  for (const Argument& option : command.arguments) {
    text += ".TP\n" + Term(option) + "\n" + Plain(option.help) +
            (option.rules.required ? " (required)" : "") + "\n";
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
       << ".SH SEE ALSO\n\\fBQuillmark\\fR(1), \\fBquillmark\\-specs\\fR(5)\n";
  return page.str();
}

std::string WorkerPage() {
  return Head("Quillmark", "1", "User Commands", "watch the screen for known images") +
         R"(.SH SYNOPSIS
\fBQuillmark\fR
.SH DESCRIPTION
A worker without a window. A controlling program gives it template images, target windows and regions through
shared memory; the worker compares each changed frame of the monitors with them and reports through shared
memory where it sees them. \fBquillmarkctl\fR(1) gives it commands by hand. It has no configuration file, takes
no input and opens no network connection; arguments are ignored.
.PP
It runs until it is ended from outside, and knows no specs when it starts. A session, that is one user on one
display, has one worker: another start shows a box that says so, waits until it is closed, and ends. Where there
is no display, that text goes to standard error.
.PP
While the X server is away, the worker takes commands and sees no monitor; it connects again by itself.
.SH EXIT STATUS
.TP
\fB1\fR
The session's shared objects cannot be had; or an error came, which standard error tells of before the worker
waits 5 seconds and ends.
.TP
\fB2\fR
A worker runs in this session already.
.SH SIGNALS
Every signal acts as by default, but SIGPIPE, which is ignored. SIGTERM and SIGINT end the worker at once;
nothing is left that keeps another from starting, and a controller goes on with that one.
.SH ENVIRONMENT
.TP
\fBDISPLAY\fR
The X server whose monitors are watched. It is a part of the session.
.TP
\fBXDG_RUNTIME_DIR\fR
Where the session's shared objects lie.
.SH FILES
.TP
\fI$XDG_RUNTIME_DIR/quillmark/\fR
A folder for each display, with the shared objects; \fI/dev/shm/quillmark\-UID/\fR without that variable.
.TP
\fIprobe_log.txt\fR
In the folder that the worker is started in: one line for each start.
.PP
Relative paths of template images begin at that folder, too.
.SH DIAGNOSTICS
The log goes to standard error. An image that cannot be read is told on standard output.
\fBquillmarkctl doctor\fR examines session, display and worker.
.SH SEE ALSO
\fBquillmarkctl\fR(1), \fBquillmark\-specs\fR(5), \fI/usr/share/doc/quillmark/README.md\fR
)";
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
