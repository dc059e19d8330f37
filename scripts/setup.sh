#!/usr/bin/env bash
# Installs the Debian packages Xylem needs (only those missing), then configures and builds.
#   scripts/setup.sh release   Release build in build/release (the xylem tool)
#   scripts/setup.sh test      ASan+UBSan build in build/test with tests and fuzz targets
#   scripts/setup.sh tsan      ThreadSanitizer build in build/tsan of the parallel stages' tests
#   scripts/setup.sh bench     Release build in build/bench with the benchmarks
#   scripts/setup.sh fuzz      clang libFuzzer build (ASan+UBSan) of every fuzz target in build/fuzz
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(g++ cmake ninja-build ccache pkg-config libpcre2-dev libcli11-dev nlohmann-json3-dev
          libgtest-dev libgmock-dev libxml2-dev default-jdk-headless libsaxonhe-java
          libxerces2-java jing)
case "${1:-release}" in
  bench) packages+=(libbenchmark-dev libexpat1-dev libxml2-utils jq hyperfine python3 time vim tmux) ;;
  test) packages+=(libxml2-utils clang-format qt6-base-dev xvfb xauth xdotool nodejs npm neovim) ;;
  release) packages+=(qt6-base-dev) ;;
  fuzz) packages+=(clang libclang-rt-14-dev) ;;
esac

missing=()
for package in "${packages[@]}"; do
  # Node.js from another source (NodeSource) bundles npm and conflicts with Debian's npm.
  case "$package" in
    nodejs) command -v node >/dev/null && continue ;;
    npm) command -v npm >/dev/null && continue ;;
  esac
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" ||
    missing+=("$package")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}" >/dev/null
fi

jobs=$(nproc)
# ccache, when installed, keeps objects across clones and build folders of the same sources.
launcher=()
if command -v ccache >/dev/null; then
  export CCACHE_DIR=${CCACHE_DIR:-$HOME/.cache/xylem-ccache} CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
fi
# The suites whose code runs parallel stages or background work, run again under ThreadSanitizer.
tsan_suites=(test_common test_text test_xml_lines test_xml_check test_xml_format test_search
             test_services)
case "${1:-release}" in
  release)
    cmake -S . -B build/release -G Ninja "${launcher[@]}" -DCMAKE_BUILD_TYPE=Release -DXYLEM_BUILD_TESTS=OFF >/dev/null
    cmake --build build/release -j "$jobs" ;;
  test)
    cmake -S . -B build/test -G Ninja "${launcher[@]}" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DXYLEM_SANITIZE=address \
      -DXYLEM_WERROR="${XYLEM_WERROR:-OFF}" -DXYLEM_FUZZ_SECONDS="${XYLEM_FUZZ_SECONDS:-5}" >/dev/null
    cmake --build build/test -j "$jobs"
    # The language server's real-client test: its npm packages, pinned by the committed lock.
    mkdir -p build/test/lsp-client
    cp tests/lsp/client/package.json tests/lsp/client/package-lock.json build/test/lsp-client/
    (cd build/test/lsp-client && npm ci --no-audit --no-fund --silent) ;;
  tsan)
    cmake -S . -B build/tsan -G Ninja "${launcher[@]}" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DXYLEM_SANITIZE=thread \
      -DXYLEM_WERROR="${XYLEM_WERROR:-OFF}" >/dev/null
    cmake --build build/tsan -j "$jobs" --target "${tsan_suites[@]}" ;;
  bench)
    cmake -S . -B build/bench -G Ninja "${launcher[@]}" -DCMAKE_BUILD_TYPE=Release -DXYLEM_BUILD_TESTS=OFF \
      -DXYLEM_BUILD_BENCH=ON >/dev/null
    cmake --build build/bench -j "$jobs" ;;
  fuzz)
    # libFuzzer comes with clang only; ccache is used when present.
    launcher=()
    command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    CXX=clang++ cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DXYLEM_SANITIZE=address -DXYLEM_BUILD_FUZZERS=ON -DXYLEM_BUILD_TESTS=OFF \
      "${launcher[@]}" >/dev/null
    targets=$(cmake --build build/fuzz --target help | sed -n 's/^\(fuzz_[A-Za-z0-9_]*\):.*/\1/p')
    # shellcheck disable=SC2086
    cmake --build build/fuzz -j "${XYLEM_JOBS:-$jobs}" --target $targets ;;
  *) echo "usage: scripts/setup.sh release|test|tsan|bench|fuzz" >&2; exit 2 ;;
esac
