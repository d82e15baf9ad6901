// Measures the preparation of a template from its file, and each tick's copy of the store.
#include <filesystem>
#include <mutex>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <vector>

#include "Measure.h"
#include "specs/ImageFile.h"
#include "specs/SpecStore.h"
#include "specs/TemplatePreparation.h"
#include "support/Images.h"
#include "support/PrivateSession.h"

namespace quillmark::bench {
namespace {

// Writes a 64x64 picture as a PNG file.
std::wstring WriteIcon(const std::filesystem::path& folder, const std::string& name, int channels) {
  testing::Random random(3);
  cv::Mat icon = testing::Icon(random, {64, 64}, "Qm");
  if (channels == 4) cv::cvtColor(icon, icon, cv::COLOR_BGR2BGRA);
  const std::string path = (folder / name).string();
  if (!cv::imwrite(path, icon)) throw std::runtime_error("cannot write " + path);
  return std::wstring(path.begin(), path.end());
}

void MeasurePreparation(const std::string& name, const std::wstring& path) {
  Measure("template/prepare/" + name, [path](benchmark::State& state) {
    for (auto _ : state) {
      TemplateSpec spec;
      spec.path = path;
      if (!PrepareTemplate(spec)) state.SkipWithError("the template cannot be read");
    }
  });
}

void MeasureStoreCopy(const std::wstring& path) {
  TemplateSpec prepared;
  prepared.path = path;
  if (!PrepareTemplate(prepared)) throw std::runtime_error("the template cannot be read");
  for (int i = 0; i < 16; ++i) {
    TemplateSpec spec = prepared;
    spec.name = L"a spec of a usual length " + std::to_wstring(i);
    spec.target = L"some window";
    Specs().specs.push_back(spec);
  }
  Measure("store/copy-16-specs", [](benchmark::State& state) {
    for (auto _ : state) {
      const std::lock_guard lock(Specs().specMutex);
      std::vector<TemplateSpec> snapshot = Specs().specs;
      benchmark::DoNotOptimize(snapshot);
    }
  });
}

}  // namespace
}  // namespace quillmark::bench

int main(int argc, char** argv) {
  using namespace quillmark;
  const test::PrivateSession session;
  const std::wstring path = bench::WriteIcon(session.Base(), "icon.png", 3);
  bench::Measure("template/read-file/png-64x64", [&](benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(ReadImageFile(path));
  });
  bench::MeasurePreparation("png-64x64", path);
  bench::MeasurePreparation("png-64x64-alpha", bench::WriteIcon(session.Base(), "alpha.png", 4));
  bench::MeasureStoreCopy(path);
  return bench::RunAll(argc, argv);
}
