#include <sstream>

#include "commandline/CommandModel.h"
#include "specfile/SpecFile.h"

namespace quillmark::control {
namespace {

// Literal text: escapes backslashes, hyphens and leading control characters.
std::string Plain(const std::string& text) {
  std::string plain;
  bool atLineStart = true;
  for (const char c : text) {
    if (atLineStart && (c == '.' || c == '\'')) plain += "\\&";
    plain += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
    atLineStart = c == '\n';
  }
  return plain;
}

// The page's title and its NAME section.
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

// Each line is a paragraph.
std::string NotesSection(const std::string& notes) {
  std::istringstream lines(notes);
  std::string text;
  for (std::string line; std::getline(lines, line);) text += Plain(line) + "\n.br\n";
  return text;
}

std::string OptionsSection(const CommandModel& command) {
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
       << OptionsSection(tool) << ".SH COMMANDS\n";
  for (const CommandModel& command : commands) {
    page << ".SS " << Plain(command.name) << "\n"
         << Usage(command) << "\n.PP\n"
         << Plain(command.help) << "\n"
         << OptionsSection(command) << ".PP\n"
         << NotesSection(command.notes);
  }
  page << ".SH EXIT STATUS AND JSON\n"
       << NotesSection(tool.notes) << R"(.SH ENVIRONMENT
.TP
\fBNO_COLOR\fR
If set and not empty, the output is not coloured.
.TP
\fBDISPLAY\fR, \fBXDG_RUNTIME_DIR\fR
On Linux, the session that the tool and the worker share.
.SH SEE ALSO
\fBQuillmark\fR(1), \fBquillmark\-specs\fR(5)
)";
  return page.str();
}

std::string WorkerPage() {
  return Head("Quillmark", "1", "User Commands", "watch the screen for known images") +
         R"(.SH SYNOPSIS
\fBQuillmark\fR
.SH DESCRIPTION
A worker without a window. A controlling program sends it template images, target windows and regions through
shared memory; the worker compares every changed frame of the monitors with them and reports through shared memory
where it sees them. \fBquillmarkctl\fR(1) sends it commands by hand. It has no configuration file, reads no input,
opens no network connection and ignores its arguments.
.PP
It runs until it is terminated, and knows no specs when it starts. There is one worker per session, that is, per
user and display: a second instance shows a message box, waits until it is closed, and exits. Without a display,
the message goes to standard error.
.PP
While the X server is unavailable, the worker takes commands but sees no monitors; it reconnects by itself.
.SH EXIT STATUS
.TP
\fB1\fR
The session's shared objects are not available, or an error occurred; then the worker prints it on standard error,
waits 5 seconds and exits.
.TP
\fB2\fR
A worker is already running in this session.
.SH SIGNALS
SIGPIPE is ignored; all other signals have their default action. SIGTERM and SIGINT end the worker at once;
another can then be started, and controllers continue with it.
.SH ENVIRONMENT
.TP
\fBDISPLAY\fR
The X server to watch. It is part of the session.
.TP
\fBXDG_RUNTIME_DIR\fR
The parent folder of the session's shared objects.
.SH FILES
.TP
\fI$XDG_RUNTIME_DIR/quillmark/\fR
A folder per display with the shared objects; \fI/dev/shm/quillmark\-UID/\fR without that variable.
.TP
\fIprobe_log.txt\fR
In the folder where the worker was started: one line per start.
.PP
Relative paths of template images also start there.
.SH DIAGNOSTICS
The log goes to standard error. Template images that cannot be read are reported on standard output.
\fBquillmarkctl doctor\fR checks session, display and worker.
.SH SEE ALSO
\fBquillmarkctl\fR(1), \fBquillmark\-specs\fR(5), \fI/usr/share/doc/quillmark/README.md\fR
)";
}

std::string SpecFilePage() {
  std::ostringstream page;
  page << Head("quillmark-specs", "5", "File Formats", "spec file of Quillmark") << R"(.SH DESCRIPTION
A TOML file that declares specs: template images and where to search for them. Its name does not matter.
\fBquillmarkctl apply\fR syncs the worker with it; other commands read it with \fB\-\-specs\fR.
.PP
Each spec is a table \fB[[spec]]\fR. The optional table \fB[defaults]\fR supplies values for keys that a spec
leaves out. Name, target, path and region are required. An unknown key makes its entry invalid or, in
\fB[defaults]\fR, the whole file.
.SH KEYS
)";
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
