# Read by ./run and ./test: what a build needs, and getting what is missing. On Debian, as root, missing packages are
# installed; otherwise they are named and the script ends with 2.

missing=""

say() { echo "$*" >&2; }

miss() { missing="$missing $1"; }

needProgram() { command -v "$1" >/dev/null 2>&1 || miss "$2"; }

needHeader()
{
  command -v g++ >/dev/null 2>&1 && printf '#include <%s>\n' "$1" | g++ -std=c++20 -E -x c++ - >/dev/null 2>&1 || miss "$2"
}

needBuild()
{
  needProgram g++ g++
  needProgram cmake cmake
  # ninja builds faster; without make, "cmake -S . -B build" of the README finds no program to build with.
  command -v ninja >/dev/null 2>&1 || command -v make >/dev/null 2>&1 || miss "ninja-build make"
  needHeader CLI/CLI.hpp libcli11-dev
  needHeader rapidjson/reader.h rapidjson-dev
}

needTests()
{
  needHeader gtest/gtest.h libgtest-dev
  needHeader openssl/evp.h libssl-dev
  needHeader sqlite3ext.h libsqlite3-dev
  needProgram tshark tshark
  needProgram doxygen doxygen
  needProgram pkg-config pkgconf
  needProgram meson meson
  python3 -c 'import jsonschema' >/dev/null 2>&1 || miss python3-jsonschema
  needProgram parallel parallel
  # What the program writes for others, they judge: man pages, completion, the syntax file of Vim.
  for program in mandoc zsh fish vim; do needProgram $program $program; done
  for module in pytest hypothesis mypy pandas; do
    /usr/bin/python3 -c "import $module" >/dev/null 2>&1 || miss "$(echo python3-$module | sed s/python3-mypy/mypy/)"
  done
  /usr/bin/python3 -c 'import distributed' >/dev/null 2>&1 || miss python3-distributed
}

needCoverage()
{
  needProgram gcovr gcovr
}

needFuzz()
{
  needProgram clang++ clang
  ls /usr/lib/llvm-*/lib/clang/*/lib/linux/libclang_rt.fuzzer-*.a >/dev/null 2>&1 || miss libclang-rt-14-dev
}

# Installs what was missed, or says what to install.
getMissing()
{
  [ -n "$missing" ] || return 0
  if [ "$(id -u)" != 0 ] || ! command -v apt-get >/dev/null 2>&1; then
    say "Packages of Debian 12 are missing. Install them, then run this again:"
    say "  sudo apt-get update && sudo apt-get install --no-install-recommends$missing"
    exit 2
  fi
  say "Installing:$missing"
  log=$(mktemp)
  if ! { apt-get update && DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends $missing; } >"$log" 2>&1; then
    tail -20 "$log" >&2
    say "The packages could not be installed; the log is $log"
    exit 2
  fi
  rm -f "$log"
  missing=""
}

# build PRESET [TARGET]: configures once and builds, quietly unless it fails.
build()
{
  dir="$top/build/$1"
  mkdir -p "$dir"
  if [ ! -f "$dir/CMakeCache.txt" ]; then
    say "Building in build/$1: the first time takes a while"
    if [ -z "${CMAKE_GENERATOR:-}" ] && command -v ninja >/dev/null 2>&1; then
      export CMAKE_GENERATOR=Ninja
    fi
    if command -v ccache >/dev/null 2>&1; then
      export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
    fi
  fi
  if ! { (cd "$top" && cmake --preset "$1") &&
         cmake --build "$dir" -j "$(nproc)" ${2:+--target "$2"}; } >"$dir/build.log" 2>&1; then
    grep -E 'error:|FAILED:|CMake Error|undefined reference' "$dir/build.log" | head -20 >&2 || true
    say "The build failed; the log is build/$1/build.log"
    exit 1
  fi
}
