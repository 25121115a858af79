#!/bin/sh
# Builds the consumer against an installed library, in the way that is named, and holds what it prints to what it should:
#   consume.sh install BUILD      lays BUILD's libraries and headers down and moves them
#   consume.sh pkgconfig|archive|make|cmake|meson
#   consume.sh parent SOURCE L3GEN   takes the source in, with add_subdirectory and FetchContent
# The environment: PREFIX (where the library is; /usr: a package's), WORK (a folder to build in), JSON (empty: without),
# CC, CXX, CMAKE. Exit code 77 means that a tool is missing.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
CC=${CC:-cc} CXX=${CXX:-c++} CMAKE=${CMAKE:-cmake} PREFIX=${PREFIX:-/usr} JSON=${JSON-1}
kind=$1
work=${WORK:?}/$kind
rm -rf "$work"
mkdir -p "$work"
cd "$work"

need()
{
  command -v "$1" >/dev/null 2>&1 && return
  echo "Left out: $1 is missing"
  exit 77
}

# A message of 4 octets: its type, and in JSON if the library is there.
check()
{
  "$@" >out || { echo "$* failed"; exit 1; }
  [ "$(head -1 out)" = "message type 91" ] || { echo "$* printed:"; cat out; exit 1; }
  [ -z "$JSON" ] || grep -q '"octets":"7e005b01"' out || { echo "$* printed no JSON:"; cat out; exit 1; }
}

inPrefix()
{
  [ "$PREFIX" != /usr ] || return 0
  library=$(dirname "$(find "$PREFIX" -name 'libvelnor3gpp.so' -o -name libvelnor3gpp.a | head -1)")
  export LD_LIBRARY_PATH="$library" PKG_CONFIG_PATH="$library/pkgconfig" CMAKE_PREFIX_PATH="$PREFIX"
}

module=velnor3gpp${JSON:+_json} define=${JSON:+-DWITH_JSON}
strict="-Wall -Wextra -pedantic -Werror"
[ $kind = install ] || inPrefix
case $kind in
install)
  rm -rf "$PREFIX" "$work/first"
  for component in runtime dev; do
    "$CMAKE" --install "$2" --prefix "$work/first" --component $component >log || { cat log; exit 1; }
  done
  mv "$work/first" "$PREFIX"
  ;;
pkgconfig)
  need pkg-config
  for form in "$CC -std=c99 -x c" "$CXX -std=c++11 -x c++" "$CXX -std=c++20 -x c++"; do
    $form $strict $define "$here/consumer.c" -x none $(pkg-config --cflags --libs $module) -o consumer
    check ./consumer
  done
  ;;
archive) # a program in C takes nothing but libc along
  need pkg-config
  archives=$(pkg-config --static --libs $module | sed 's/-lvelnor\([a-z0-9_]*\)/-l:libvelnor\1.a/g')
  ls "$(pkg-config --variable=libdir velnor3gpp)"/libvelnor3gpp.a >/dev/null 2>&1 || { echo "Left out: no archive"; exit 77; }
  $CC -std=c99 $strict $define $(pkg-config --cflags $module) "$here/consumer.c" $archives -o consumer
  unset LD_LIBRARY_PATH
  check ./consumer
  ;;
make)
  need make
  need pkg-config
  make -s -f "$here/Makefile" CC="$CC" HERE="$here" MODULE=$module DEFINE=$define
  check ./consumer
  ;;
cmake)
  need "$CMAKE"
  command -v make >/dev/null 2>&1 || export CMAKE_GENERATOR=Ninja
  for standard in "C 99" "CXX 11" "CXX 20"; do
    set -- $standard
    "$CMAKE" -S "$here/installed" -B $1$2 -DLANGUAGE=$1 -DSTANDARD=$2 -DWITH_JSON=${JSON:+ON} -DCMAKE_C_COMPILER="$CC" \
      -DCMAKE_CXX_COMPILER="$CXX" >log 2>&1 && "$CMAKE" --build $1$2 >>log 2>&1 || { cat log; exit 1; }
    check $1$2/consumer
  done
  ;;
meson)
  need meson
  need ninja
  CC="$CC" meson setup build "$here" -Dmodule=$module -Ddefine="$define" >log 2>&1 &&
    ninja -C build >>log 2>&1 || { cat log; exit 1; }
  check build/consumer
  ;;
parent) # configured as a whole; what needs no linked library is compiled
  need ninja
  for way in add_subdirectory FetchContent; do
    for shared in "" OFF; do
      "$CMAKE" -G Ninja -S "$here/parent" -B $way$shared -DSOURCE="$2" -DVELNOR_L3GEN="$3" -DWAY=$way \
        ${shared:+-DBUILD_SHARED_LIBS=$shared} -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" >log 2>&1 ||
        { cat log; exit 1; }
    done
    "$CMAKE" --build $way --target consumer_objects >log 2>&1 || { cat log; exit 1; }
  done
  ;;
*)
  echo "$kind is no way to consume"
  exit 2
  ;;
esac
