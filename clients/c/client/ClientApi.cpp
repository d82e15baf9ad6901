// The C functions of a client.
#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "client/ApiCall.h"
#include "client/Client.h"
#include "ipc/WallClock.h"

using namespace quillmark::client;

struct qm_client {
  Client client;
};

namespace {

static_assert(QM_TARGET_UNITS == TargetUnits && QM_NAME_UNITS == NameUnits && QM_PATH_UNITS == PathUnits &&
              QM_HIT_NAME_UNITS == HitNameUnits);
static_assert(QM_MODE_GRAY == Number(Mode::Gray) && QM_MODE_HS == Number(Mode::HS));
static_assert(QM_PRESET_FAST == Number(Preset::Fast) && QM_PRESET_STRICT == Number(Preset::Strict));

qm_status StatusOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::Done:
      return QM_OK;
    case Outcome::NoWorker:
      return Fail(QM_NO_WORKER, "no worker is running");
    case Outcome::Stalled:
      return Fail(QM_STALLED, "timed out: a worker is running, but did not take the command or reply");
    case Outcome::Busy:
      return Fail(QM_BUSY, "another client kept writing commands");
  }
  return QM_SYSTEM;
}

Deadline After(std::uint32_t timeoutMs) {
  if (timeoutMs == QM_FOREVER) return Deadline::max();
  return std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
}

std::optional<double> Given(double value) {
  return std::isnan(value) ? std::nullopt : std::optional(value);
}

Spec SpecOf(const qm_spec* given) {
  RequireAll(given);
  const qm_spec all = Complete(*given, qm_spec_init);
  Spec spec;
  spec.target = TextOf(all.target);
  spec.name = TextOf(all.name);
  spec.path = TextOf(all.path);
  spec.x = all.x;
  spec.y = all.y;
  spec.width = all.width;
  spec.height = all.height;
  spec.maxDifference = Given(all.max_difference);
  spec.minScore = Given(all.min_score);
  spec.edgeMin = all.edge_min;
  spec.mode = EnumOf(all.mode, Mode::HS, "mode");
  spec.preset = EnumOf(all.preset, Preset::Strict, "preset");
  spec.red = all.red != 0;
  spec.intervalMs = all.interval_ms;
  spec.everyNthFrame = all.every_nth_frame;
  spec.monitor = all.monitor;
  return spec;
}

qm_status Send(qm_client* client, const Command& command, std::uint32_t timeoutMs) {
  return StatusOf(client->client.Send(command, After(timeoutMs)));
}

}  // namespace

const char* qm_library_version() {
  return QUILLMARK_VERSION;
}

void qm_spec_init(qm_spec* spec) {
  if (spec == nullptr) return;
  *spec = {};
  spec->size = sizeof *spec;
  spec->max_difference = spec->min_score = std::numeric_limits<double>::quiet_NaN();
  spec->edge_min = Spec{}.edgeMin;
  spec->every_nth_frame = 1;
}

qm_status qm_spec_check(const qm_spec* spec) {
  return Guarded([&] {
    (void)CommandFor(SpecOf(spec));
    return QM_OK;
  });
}

qm_status qm_open(uint32_t flags, qm_client** client) {
  return Guarded([&] {
    RequireAll(client);
    if ((flags & ~static_cast<std::uint32_t>(QM_KEEP_UNREAD)) != 0) throw BadCall{"an unknown flag is set"};
    *client = new qm_client{Client((flags & QM_KEEP_UNREAD) != 0)};
    return QM_OK;
  });
}

void qm_close(qm_client* client) {
  delete client;
}

qm_status qm_add(qm_client* client, const qm_spec* spec, uint32_t timeout_ms) {
  return Guarded([&] {
    RequireAll(client);
    return Send(client, CommandFor(SpecOf(spec)), timeout_ms);
  });
}

qm_status qm_remove(qm_client* client, const char* name, uint32_t timeout_ms) {
  return Guarded([&] {
    RequireAll(client, name);
    return Send(client, RemovalOf(name), timeout_ms);
  });
}

qm_status qm_clear(qm_client* client, uint32_t timeout_ms) {
  return Guarded([&] {
    RequireAll(client);
    return Send(client, Command{.kind = quillmark::CmdKind::Clear}, timeout_ms);
  });
}

qm_status qm_barrier(qm_client* client, uint32_t timeout_ms) {
  return Guarded([&] {
    RequireAll(client);
    return StatusOf(client->client.Barrier(After(timeout_ms)));
  });
}

qm_status qm_version(qm_client* client, char* version, size_t capacity, uint32_t timeout_ms) {
  return Guarded([&] {
    RequireAll(client, version);
    std::string text;
    const qm_status status = StatusOf(client->client.Version(After(timeout_ms), text));
    if (status != QM_OK) return status;
    if (text.size() >= capacity) return Fail(QM_TOO_LONG, "the version does not fit");
    std::memcpy(version, text.c_str(), text.size() + 1);
    return QM_OK;
  });
}

qm_status qm_read(qm_client* client, qm_record* records, size_t capacity, size_t* count,
                  uint32_t timeout_ms) {
  return Guarded([&] {
    RequireAll(client, records, count);
    if (capacity == 0) throw BadCall{"the capacity is 0"};
    std::vector<Record> read(std::min(capacity, std::size_t{1024}));
    *count = client->client.Read(read, After(timeout_ms));
    std::transform(read.begin(), read.begin() + static_cast<std::ptrdiff_t>(*count), records, ToC);
    return QM_OK;
  });
}

qm_status qm_look(qm_client* client, qm_state* state) {
  return Guarded([&] {
    RequireAll(client, state);
    const State now = client->client.Look();
    *state = {now.workerRunning ? 1 : 0, now.workerStarts, now.unreadCommands, now.queuedRecords,
              now.dropped};
    return QM_OK;
  });
}

uint64_t qm_now_ms() {
  return quillmark::WallClockMs();
}
