#include "host/Session.h"

#include <windows.h>

namespace quillmark::control::host {
namespace {

Finding SessionNumber() {
  DWORD session = 0;
  if (!::ProcessIdToSessionId(::GetCurrentProcessId(), &session)) session = 0;
  Finding finding{.topic = "session",
                  .text = "session " + std::to_string(session) + "; the named objects are Local\\ to it",
                  .facts = {{"session", session}}};
  if (session == 0) {
    finding.level = Level::Problem;
    finding.consequence = "session 0 is that of services; it has no desktop to watch";
    finding.remedy = "start worker and controller in the user's session, for example by a task at log-on";
  } else if (::GetSystemMetrics(SM_REMOTESESSION) != 0) {
    finding.level = Level::Warning;
    finding.text += ", seen over a remote connection";
    finding.consequence = "frames stop while the connection is closed or its window is minimised";
    finding.remedy = "keep the connection open, or use the machine's own screen";
  }
  return finding;
}

Finding InputDesktop() {
  const HDESK desktop = ::OpenInputDesktop(0, FALSE, DESKTOP_READOBJECTS);
  if (desktop != nullptr) {
    ::CloseDesktop(desktop);
    return {.topic = "desktop", .text = "this session's desktop is the one that is shown"};
  }
  return {.level = Level::Problem,
          .topic = "desktop",
          .text = "another desktop is shown: the screen is locked, or a prompt of the system is open",
          .consequence = "no frame is delivered until it is gone",
          .remedy = "unlock the screen"};
}

}  // namespace

Findings ExamineSession() {
  return {SessionNumber(), InputDesktop()};
}

}  // namespace quillmark::control::host
