#!/usr/bin/env bash
# The library as C and C++ users consume it: `make install PREFIX=<scratch>`,
# then the README's C program built in a scratch folder with pkg-config, with
# find_package(fennel_dsp), and against the build tree, each run with no
# LD_LIBRARY_PATH; and the source tree added as a subdirectory with
# googletest and google benchmark unavailable.
#   check_install.sh <build dir>
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=$(cd "$1" && pwd)
scratch=$(mktemp -d "${TMPDIR:-/tmp}/fennel-consumers.XXXXXX")
trap 'rm -rf "$scratch"' EXIT
prefix="$scratch/prefix"
unset LD_LIBRARY_PATH PKG_CONFIG_PATH CMAKE_PREFIX_PATH

fail() { echo "check_install: $*" >&2; exit 1; }

# The README's first C block.
awk '/^```c$/ {inside = 1; next} /^```$/ && inside {exit} inside' "$root/README.md" > "$scratch/main.c"
[ -s "$scratch/main.c" ] || fail "no C program in README.md"

# Runs a consumer from the scratch folder and checks what the program prints.
run() {
  local name=$1 program=$2 out
  out=$(cd "$scratch" && "$program") || fail "$name: exit status $?"
  case "$out" in
    *"peak at bin 128 = 1000.0 Hz"*) ;;
    *) fail "$name: unexpected output: $out" ;;
  esac
}

make -C "$root" --no-print-directory install PREFIX="$prefix" BUILD="$build" >/dev/null
for f in lib/libfennel_dsp.so.1 lib/libfennel_host.so.1 include/fennel_dsp.h include/fennel_host.h \
         lib/cmake/fennel_dsp/fennel_dspConfig.cmake lib/cmake/fennel_dsp/fennel_dspConfigVersion.cmake \
         lib/pkgconfig/fennel_dsp.pc; do
  [ -e "$prefix/$f" ] || fail "not installed: $f"
done
version=$(sed -n 's/^#define FENNEL_DSP_VERSION_\(MAJOR\|MINOR\|PATCH\) \([0-9]*\)$/\2/p' \
  "$root/include/fennel_dsp.h" | paste -sd.)
for lib in fennel_dsp fennel_host; do
  [ "$(readlink -f "$prefix/lib/lib$lib.so")" = "$prefix/lib/lib$lib.so.$version" ] \
    || fail "lib$lib.so does not lead to lib$lib.so.$version"
  soname=$(readelf -d "$prefix/lib/lib$lib.so" | sed -n 's/.*Library soname: \[\(.*\)\]/\1/p')
  [ "$soname" = "lib$lib.so.1" ] || fail "lib$lib.so has SONAME '$soname'"
done

# pkg-config
mkdir "$scratch/pc" && cp "$here/pkgconfig/Makefile" "$scratch/main.c" "$scratch/pc/"
PKG_CONFIG_PATH="$prefix/lib/pkgconfig" make -s -C "$scratch/pc" >"$scratch/pc.log" 2>&1 \
  || { cat "$scratch/pc.log"; fail "pkg-config consumer did not build"; }
run pkg-config "$scratch/pc/consumer"

# find_package
mkdir "$scratch/cm" && cp "$here/cmake/CMakeLists.txt" "$scratch/main.c" "$scratch/cm/"
{ cmake -S "$scratch/cm" -B "$scratch/cm/build" -DCMAKE_PREFIX_PATH="$prefix" &&
  cmake --build "$scratch/cm/build"; } >"$scratch/cm.log" 2>&1 \
  || { cat "$scratch/cm.log"; fail "find_package consumer did not build"; }
run find_package "$scratch/cm/build/consumer"

# the build tree
cc -o "$scratch/tree" "$scratch/main.c" -I"$root/include" -L"$build/lib" -Wl,-rpath,"$build/lib" \
   -lfennel_dsp -lfennel_host -lm || fail "README program did not build against $build"
run build-tree "$scratch/tree"

# add_subdirectory: configuring must not look for googletest or benchmark.
mkdir "$scratch/sub" && cp "$here/subdirectory/CMakeLists.txt" "$scratch/main.c" "$scratch/sub/"
cmake -S "$scratch/sub" -B "$scratch/sub/build" -DFENNEL_DSP_SOURCE_DIR="$root" \
  -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON -DCMAKE_DISABLE_FIND_PACKAGE_benchmark=ON \
  >"$scratch/sub.log" 2>&1 || { cat "$scratch/sub.log"; fail "add_subdirectory consumer did not configure"; }

echo "check_install: make install, pkg-config, find_package, build tree, add_subdirectory: ok"
