// Watches one template in one window and prints hits and events.
//
//   watch_template TARGET IMAGE X,Y,W,H [WITNESS]
//
// TARGET is part of the window's title or a program's file name ending in .exe. IMAGE and WITNESS are
// template images. The witness is something else that the window always shows: its hits distinguish a lost
// object from an unchanged screen. Stop it with Ctrl-C.
#include <csignal>
#include <cstdio>
#include <iomanip>
#include <iostream>
#include <vector>

#include "quillmark.hpp"

namespace {

volatile std::sig_atomic_t interrupted = 0;

const char* const Kinds[] = {"appeared", "moved", "stable", "lost", "unknown"};
const char* const Reasons[] = {"a hit", "a witness", "silence", "the worker's end", "a new worker"};

void Print(const std::vector<quillmark::Event>& events) {
  for (const quillmark::Event& event : events) {
    std::cout << "event " << event.Name() << ' ' << Kinds[event.kind] << " at " << event.hit.cx << ','
              << event.hit.cy << " by " << Reasons[event.reason];
    if (event.kind == QM_STABLE) std::cout << " for " << event.stable_ms << " ms";
    std::cout << std::endl;
  }
}

void Print(const quillmark::Record& record) {
  switch (record.kind) {
    case QM_HIT:
      std::cout << "hit " << record.Name() << " at " << record.cx << ',' << record.cy << " score "
                << record.score << std::endl;
      break;
    case QM_DROPPED:
      std::cout << record.count << " hits were lost" << std::endl;
      break;
    case QM_WORKER_GONE:
      std::cout << "no worker is running" << std::endl;
      break;
    case QM_WORKER_STARTED:
      std::cout << "a new worker is running" << std::endl;
      break;
    default:
      break;
  }
}

}  // namespace

int main(int argc, char** argv) try {
  quillmark::Spec thing{.target = argc > 1 ? argv[1] : "", .name = "thing", .path = argc > 2 ? argv[2] : ""};
  auto& [x, y, width, height] = thing.region;
  if (argc < 4 || std::sscanf(argv[3], "%d,%d,%d,%d", &x, &y, &width, &height) != 4) {
    std::cerr << "usage: watch_template TARGET IMAGE X,Y,W,H [WITNESS]\n";
    return 2;
  }
  thing.minScore = 0.95;
  std::vector<quillmark::Spec> specs{thing};
  quillmark::Watch watch{.name = "thing", .stable = quillmark::Milliseconds(500)};
  if (argc > 4) {
    quillmark::Spec witness = thing;
    witness.name = "witness";
    witness.path = argv[4];
    witness.region = {0, 0, 10000, 10000};  // clipped to the window
    specs.push_back(witness);
    watch.witnesses = {"witness"};
  }

  std::cout << std::fixed << std::setprecision(3);
  std::signal(SIGINT, [](int) { interrupted = 1; });
  quillmark::Client client;
  quillmark::Tracker tracker;
  const auto sendAll = [&] {
    for (const quillmark::Spec& spec : specs) client.Add(spec);
  };
  tracker.Begin(watch);
  sendAll();

  while (interrupted == 0) {
    for (const quillmark::Record& record : client.Read(quillmark::Milliseconds(200))) {
      Print(record);
      Print(tracker.Feed(record));
      if (record.kind == QM_WORKER_STARTED) sendAll();  // it knows no specs
    }
    Print(tracker.Advance());
  }
  for (const quillmark::Spec& spec : specs) client.Remove(spec.name);
  return 0;
} catch (const quillmark::Error& error) {
  std::cerr << "watch_template: " << error.what() << '\n';
  return 1;
}
