// The editor window's view on the offscreen platform: open-to-first-colored-paint of a large
// generated XML document (XYLEM_BENCH_MIB, 256 by default; 1024 for the 1 GiB figure), a
// keystroke through the key handler to the repainted screen, a full screen of 60 lines of 120
// columns painted, and paging down through a 100,000-line document. Paints go into an image
// (QWidget::render), so the figures hold the drawing without a display's compositor.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <QApplication>
#include <QImage>
#include <QKeyEvent>
#include <QScrollBar>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

#include "app/TextView.hpp"
#include "editor/Document.hpp"
#include "support/ItemDocument.hpp"

namespace {

using namespace xylem;

// A view shown offscreen with room for Rows lines of Columns columns.
struct TyScreen {
  TxMarkupDocument Document;
  CyTextView View{Document};
  QImage Image;
  TyScreen(int Rows, int Columns) {
    View.resize(View.getGutterWidth() + 8 + static_cast<int>(Columns * View.getCharWidth()) + 20,
                Rows * View.getLineHeight() + 20);
    View.show();
    QApplication::processEvents();
    Image = QImage(View.viewport()->size(), QImage::Format_RGB32);
  }
  void Paint() { View.viewport()->render(&Image); }
};

void BM_OpenToFirstColoredPaint(benchmark::State& State) {
  const uint64_t bytes = bench::BenchBytes(256);
  static const std::string path = bench::MakeItemDocument(bytes, "xylem_app_large.xml");
  for (auto _ : State) {
    auto screen = std::make_unique<TyScreen>(60, 120);
    const auto start = std::chrono::steady_clock::now();
    screen->Document.LoadFromFile(path);
    screen->Paint();
    const auto end = std::chrono::steady_clock::now();
    State.SetIterationTime(std::chrono::duration<double>(end - start).count());
    State.counters["lines"] = static_cast<double>(screen->Document.getLineCount());
  }
  State.counters["file_MiB"] = static_cast<double>(bytes >> 20);
  // This case runs first, so the process's peak is the open document's (plus Qt's baseline).
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  State.counters["peak_rss_per_byte"] = static_cast<double>(usage.ru_maxrss) * 1024.0 / bytes;
}

TyScreen& SmallScreen() {
  static std::unique_ptr<TyScreen> screen = [] {
    auto s = std::make_unique<TyScreen>(60, 120);
    std::string text;
    for (uint64_t i = 0; i < 100000; ++i) text += bench::ItemLine(i);
    s->Document.LoadFromText(std::u16string(text.begin(), text.end()), "bench.xml");
    return s;
  }();
  return *screen;
}

void BM_KeystrokeToPaint(benchmark::State& State) {
  TyScreen& screen = SmallScreen();
  screen.View.GoToLine(5000);
  screen.View.setSelection(TySelection::At({5000, 20}));
  QKeyEvent type(QEvent::KeyPress, Qt::Key_X, Qt::NoModifier, QStringLiteral("x"));
  QKeyEvent erase(QEvent::KeyPress, Qt::Key_Backspace, Qt::NoModifier);
  bool typed = false;
  for (auto _ : State) {
    QApplication::sendEvent(&screen.View, typed ? &erase : &type);
    screen.Paint();
    typed = !typed;
  }
}

void BM_FullScreenPaint(benchmark::State& State) {
  TyScreen& screen = SmallScreen();
  screen.View.GoToLine(20000);
  for (auto _ : State) screen.Paint();
  State.counters["rows"] = screen.View.viewport()->height() / screen.View.getLineHeight();
}

void BM_PageDownWholeDocument(benchmark::State& State) {
  TyScreen& screen = SmallScreen();
  QKeyEvent pageDown(QEvent::KeyPress, Qt::Key_PageDown, Qt::NoModifier);
  int64_t pages = 0;
  for (auto _ : State) {
    screen.View.setSelection(TySelection::At({1, 1}));
    pages = 0;
    while (screen.Document.getSelection().Caret.Line < screen.Document.getLineCount()) {
      QApplication::sendEvent(&screen.View, &pageDown);
      screen.Paint();
      ++pages;
    }
  }
  State.counters["pages"] = static_cast<double>(pages);
  State.counters["per_page_us"] =
      benchmark::Counter(static_cast<double>(pages), benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
}

BENCHMARK(BM_OpenToFirstColoredPaint)
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_KeystrokeToPaint)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FullScreenPaint)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PageDownWholeDocument)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM",
          qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
  QApplication app(argc, argv);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
