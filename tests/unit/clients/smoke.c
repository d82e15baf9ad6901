/* The header in plain C, with the installed library. */
#include <math.h>
#include <quillmark.h>
#include <stdio.h>
#include <string.h>

#define REQUIRE(condition)                                                         \
  do {                                                                             \
    if (!(condition)) {                                                            \
      fprintf(stderr, "line %d: %s; %s\n", __LINE__, #condition, qm_error_text()); \
      return 1;                                                                    \
    }                                                                              \
  } while (0)

int main(void) {
  qm_client* client = NULL;
  qm_tracker* tracker = NULL;
  qm_spec spec;
  qm_watch watch;
  qm_record records[4];
  qm_event event;
  qm_state state;
  size_t count = 1;

  REQUIRE(strcmp(qm_library_version(), QUILLMARK_VERSION) == 0);
  REQUIRE(qm_open(0, NULL) == QM_BAD_CALL);
  REQUIRE(qm_open(64, &client) == QM_BAD_CALL);
  REQUIRE(qm_open(0, &client) == QM_OK);
  qm_spec_init(&spec);
  REQUIRE(isnan(spec.max_difference));
  REQUIRE(qm_add(client, &spec, 0) == QM_BAD_TEXT);
  spec.target = spec.name = spec.path = "x";
  spec.width = spec.height = 1;
  REQUIRE(qm_add(client, &spec, 0) == QM_OK);
  spec.interval_ms = -1;
  REQUIRE(qm_spec_check(&spec) == QM_BAD_VALUE);
  spec.interval_ms = 0;
  spec.mode = 99;
  REQUIRE(qm_add(client, &spec, 0) == QM_BAD_VALUE);
  spec.size = 0;
  REQUIRE(qm_add(client, &spec, 0) == QM_BAD_CALL);
  REQUIRE(qm_remove(client, NULL, 0) == QM_BAD_CALL);
  REQUIRE(qm_barrier(client, 10) == QM_NO_WORKER && strlen(qm_error_text()) > 0);
  REQUIRE(qm_read(client, records, 4, &count, 10) == QM_OK && count == 0);
  REQUIRE(qm_read(client, records, 0, &count, 10) == QM_BAD_CALL);
  REQUIRE(qm_look(client, &state) == QM_OK && state.unread_commands == 2 && !state.worker_running);

  REQUIRE(qm_tracker_create(&tracker) == QM_OK);
  qm_watch_init(&watch);
  REQUIRE(qm_tracker_watch(tracker, &watch) == QM_BAD_TEXT);
  watch.name = "x";
  watch.witness_count = 1;
  REQUIRE(qm_tracker_watch(tracker, &watch) == QM_BAD_CALL);
  watch.witnesses = &watch.name;
  REQUIRE(qm_tracker_watch(tracker, &watch) == QM_BAD_VALUE);
  watch.witness_count = 0;
  REQUIRE(qm_tracker_watch(tracker, &watch) == QM_OK);
  memset(records, 0, sizeof records);
  strcpy(records[0].name, "x");
  REQUIRE(qm_tracker_feed(tracker, &records[0]) == QM_OK);
  REQUIRE(qm_tracker_sight(tracker, "x") == QM_SIGHT_PRESENT);
  REQUIRE(qm_tracker_next(tracker, &event) == 1 && event.kind == QM_APPEARED);
  REQUIRE(qm_tracker_next(tracker, &event) == 0);
  records[0].kind = 99;
  REQUIRE(qm_tracker_feed(tracker, &records[0]) == QM_BAD_VALUE);

  qm_tracker_destroy(tracker);
  qm_close(client);
  qm_close(NULL);
  return 0;
}
