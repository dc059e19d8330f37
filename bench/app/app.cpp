// The editor window's view on the offscreen platform: open-to-first-colored-paint of a large
// generated XML document (256 MiB and 1 GiB; XYLEM_BENCH_MIB adds a size), with the jump to its
// end while it loads, the time until the whole file is loaded and scanned and the peak memory
// per byte; the same file opened in vim (syntax on, in a tmux terminal) until its last screen
// is coloured, and the ratio; a keystroke through the key handler to the repainted screen, a
// full screen of 60 lines of 120 columns painted, and paging down through a 100,000-line
// document. Paints go into an image (QWidget::render), so the figures hold the drawing without
// a display's compositor.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QKeyEvent>
#include <QScrollBar>
#include <QThread>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "app/EditorTab.hpp"
#include "app/TextView.hpp"
#include "editor/Document.hpp"
#include "support/ItemDocument.hpp"
#include "text/PageMemory.hpp"

namespace {

using namespace xylem;

using TyClock = std::chrono::steady_clock;

double SecondsSince(TyClock::time_point Start) {
  return std::chrono::duration<double>(TyClock::now() - Start).count();
}

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

// The item document of MiB mebibytes, written once per process.
const std::string& ItemDocument(uint64_t MiB) {
  static std::map<uint64_t, std::string> paths;
  auto it = paths.find(MiB);
  if (it == paths.end())
    it = paths
             .emplace(MiB, bench::MakeItemDocument(MiB << 20,
                                                   "xylem_app_" + std::to_string(MiB) + "mib.xml"))
             .first;
  return it->second;
}

// Median first paints per size, for the ratio against vim.
std::map<uint64_t, std::vector<double>>& FirstPaints() {
  static std::map<uint64_t, std::vector<double>> paints;
  return paints;
}

double Median(std::vector<double> Values) {
  if (Values.empty()) return 0;
  std::sort(Values.begin(), Values.end());
  return Values[Values.size() / 2];
}

// A tab as the window holds it, 60 rows of 120 columns.
struct TyTabScreen {
  CyEditorTab Tab;
  QImage Image;
  TyTabScreen() {
    CyTextView* view = Tab.getView();
    Tab.resize(view->getGutterWidth() + 8 + static_cast<int>(120 * view->getCharWidth()) + 40,
               60 * view->getLineHeight() + 20);
    Tab.show();
    QApplication::processEvents();
    Image = QImage(view->viewport()->size(), QImage::Format_RGB32);
  }
  void Paint() { Tab.getView()->viewport()->render(&Image); }
};

// Open to the first coloured screen (the preview), Ctrl+End to the last screen shown while the
// file still loads (and to its line numbers), and the rest of the load until the whole
// document is in place.
void BM_OpenToFirstColoredPaint(benchmark::State& State) {
  const uint64_t mib = static_cast<uint64_t>(State.range(0));
  const std::string& path = ItemDocument(mib);
  std::vector<double> ends, numbered, loaded, switches;
  int64_t lines = 0;
  // Blocks kept from a smaller size's loads would only add to this size's peak.
  CyPageMemory::ReleaseRetained();
  for (auto _ : State) {
    auto screen = std::make_unique<TyTabScreen>();
    const auto start = TyClock::now();
    screen->Tab.Open(QString::fromStdString(path));
    screen->Paint();
    const double firstPaint = SecondsSince(start);
    State.SetIterationTime(firstPaint);
    FirstPaints()[mib].push_back(firstPaint);

    const auto endStart = TyClock::now();
    QKeyEvent end(QEvent::KeyPress, Qt::Key_End, Qt::ControlModifier);
    QApplication::sendEvent(screen->Tab.getView(), &end);
    screen->Paint();
    ends.push_back(SecondsSince(endStart));
    if (!screen->Tab.getShowsEnd()) State.SkipWithError("no preview of the end");
    // Its line numbers follow from a worker's count of the line ends before it.
    while (screen->Tab.getLoading() && screen->Tab.getView()->getLineNumberBase() < 0) {
      QApplication::processEvents(QEventLoop::AllEvents, 5);
      QThread::msleep(1);
    }
    numbered.push_back(SecondsSince(endStart));

    // The longest the window is busy meanwhile: the switch to the loaded document.
    double busy = 0;
    while (screen->Tab.getLoading()) {
      const auto step = TyClock::now();
      QApplication::processEvents(QEventLoop::AllEvents, 20);
      busy = std::max(busy, SecondsSince(step));
      QThread::msleep(5);
    }
    switches.push_back(busy);
    screen->Paint();
    loaded.push_back(SecondsSince(start));
    lines = screen->Tab.getDocument().getLineCount();
    if (screen->Tab.getView()->getTopLine() < lines - 100)
      State.SkipWithError("the loaded document did not keep the end on screen");
  }
  State.counters["file_MiB"] = static_cast<double>(mib);
  State.counters["lines"] = static_cast<double>(lines);
  // Medians of the iterations (the time column is their mean).
  State.counters["first_paint_ms"] = 1000 * Median(FirstPaints()[mib]);
  State.counters["end_while_loading_ms"] = 1000 * Median(ends);
  State.counters["end_numbered_ms"] = 1000 * Median(numbered);
  State.counters["loaded_s"] = Median(loaded);
  State.counters["switch_ms"] = 1000 * Median(switches);
  // The sizes run smallest first, so the process's peak is this size's (plus Qt's baseline).
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  State.counters["peak_rss_per_byte"] =
      static_cast<double>(usage.ru_maxrss) * 1024.0 / static_cast<double>(mib << 20);
}

// The same file in vim 9 (syntax on) in a 120 x 60 tmux terminal: start to the last screen
// coloured. The figure is wall time; ratio: vim's time over our first paint (median of the
// case above, run before this one).
void BM_VimOpenToLastColoredScreen(benchmark::State& State) {
  const uint64_t mib = static_cast<uint64_t>(State.range(0));
  const std::string& path = ItemDocument(mib);
  // The last item's id, which only the last screen shows.
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  const auto size = static_cast<std::streamoff>(in.tellg());
  std::string tail(static_cast<size_t>(std::min<std::streamoff>(size, 4096)), '\0');
  in.seekg(size - static_cast<std::streamoff>(tail.size()));
  in.read(tail.data(), static_cast<std::streamsize>(tail.size()));
  const size_t idAt = tail.rfind("id=\"");
  if (idAt == std::string::npos) return State.SkipWithError("no item in the file");
  // Quoted, as it stands between colour escapes on vim's screen.
  const std::string id = tail.substr(idAt + 3, tail.find('"', idAt + 4) - idAt - 2);
  const std::string tmux = "tmux -L xylem_bench_vim ";
  if (std::system((tmux + "-V >/dev/null 2>&1").c_str()) != 0 ||
      std::system("vim --version >/dev/null 2>&1") != 0)
    return State.SkipWithError("vim or tmux is not installed");
  double vimSeconds = 0;
  for (auto _ : State) {
    const auto start = TyClock::now();
    const std::string launch = tmux +
                               "new-session -d -x 120 -y 60 \"vim -N -u NONE -i NONE -n "
                               "'+syntax on' '+normal G' " +
                               path + "\"";
    if (std::system(launch.c_str()) != 0) return State.SkipWithError("tmux did not start");
    bool shown = false;
    while (!shown && SecondsSince(start) < 600) {
      FILE* pane = popen((tmux + "capture-pane -p -e 2>/dev/null").c_str(), "r");
      if (!pane) break;
      char line[4096];
      while (fgets(line, sizeof line, pane))
        if (std::string_view(line).find(id) != std::string_view::npos &&
            std::string_view(line).find('\x1b') != std::string_view::npos)
          shown = true;
      pclose(pane);
      if (!shown) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    vimSeconds = SecondsSince(start);
    State.SetIterationTime(vimSeconds);
    std::system((tmux + "kill-session >/dev/null 2>&1").c_str());
    if (!shown) return State.SkipWithError("vim did not show the last screen coloured");
  }
  std::vector<double> ours = FirstPaints()[mib];
  State.counters["file_MiB"] = static_cast<double>(mib);
  State.counters["our_first_paint_ms"] = 1000 * Median(ours);
  if (!ours.empty()) State.counters["vim_over_ours"] = vimSeconds / Median(ours);
}

// Destroyed by main before the application object.
std::unique_ptr<TyScreen> SmallScreen_;

TyScreen& SmallScreen() {
  if (!SmallScreen_) {
    SmallScreen_ = std::make_unique<TyScreen>(60, 120);
    std::string text;
    for (uint64_t i = 0; i < 100000; ++i) text += bench::ItemLine(i);
    SmallScreen_->Document.LoadFromText(std::u16string(text.begin(), text.end()), "bench.xml");
  }
  return *SmallScreen_;
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

// The sizes: 256 MiB and 1 GiB, and XYLEM_BENCH_MIB when it names another; smallest first.
std::vector<int64_t> Sizes() {
  std::vector<int64_t> sizes{256, 1024};
  const auto extra = static_cast<int64_t>(bench::BenchBytes(0) >> 20);
  if (extra > 0 && std::find(sizes.begin(), sizes.end(), extra) == sizes.end())
    sizes.push_back(extra);
  std::sort(sizes.begin(), sizes.end());
  return sizes;
}

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM",
          qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
  QApplication app(argc, argv);
  for (const int64_t mib : Sizes())
    benchmark::RegisterBenchmark("BM_OpenToFirstColoredPaint", BM_OpenToFirstColoredPaint)
        ->Arg(mib)
        ->UseManualTime()
        ->Iterations(3)
        ->Unit(benchmark::kMillisecond);
  for (const int64_t mib : Sizes())
    benchmark::RegisterBenchmark("BM_VimOpenToLastColoredScreen", BM_VimOpenToLastColoredScreen)
        ->Arg(mib)
        ->UseManualTime()
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("BM_KeystrokeToPaint", BM_KeystrokeToPaint)
      ->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark("BM_FullScreenPaint", BM_FullScreenPaint)
      ->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark("BM_PageDownWholeDocument", BM_PageDownWholeDocument)
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  SmallScreen_.reset();
  return 0;
}
