#!/usr/bin/env bash
# Installs the build into a temporary prefix, then builds two C99 hosts
# against the installed tree only (one with CMake's find_package, one with
# pkg-config) and runs each against the installed sandbox SDK.
#   consumer_test.sh <build dir> <this folder>
set -euo pipefail
build="$1"
here="$2"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"

cmake --install "$build" --prefix "$prefix" >/dev/null
libdir="$(dirname "$(find "$prefix" -name morvanta.pc -print -quit)")/.."
for f in "$prefix/include/morvanta.h" "$prefix/include/morvanta_glib.h" "$libdir/libmorvanta.so" "$libdir/libmorvanta.so.0" \
         "$libdir/libmorvanta.so.0.1.0" "$libdir/cmake/Morvanta/MorvantaConfig.cmake" \
         "$libdir/cmake/Morvanta/MorvantaConfigVersion.cmake" "$prefix/share/morvanta/sandbox/index.js" \
         "$prefix/bin/morvanta-demo"; do
  [ -e "$f" ] || { echo "missing from the installed tree: $f" >&2; exit 1; }
done
# The internal archive is not part of the package.
if grep -rq morvanta_internal "$libdir/cmake/Morvanta"; then
  echo "the CMake package names the internal archive" >&2
  exit 1
fi

# The hosts see the installed tree and nothing of the source tree.
cp "$here/consumer_host.c" "$here/CMakeLists.txt" "$work/"
export MORVANTA_SDK_PATH="$prefix/share/morvanta/sandbox/index.js"

cmake -S "$work" -B "$work/cmake-build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$work/cmake-build" >/dev/null
"$work/cmake-build/consumer_cmake"

export PKG_CONFIG_PATH="$libdir/pkgconfig"
cc -std=c99 -Wall -Wextra -pedantic -Werror -o "$work/consumer_pkgconfig" "$work/consumer_host.c" \
  $(pkg-config --cflags --libs morvanta) -lpthread -Wl,-rpath,"$(pkg-config --variable=libdir morvanta)"
"$work/consumer_pkgconfig"

# The GLib helper compiles as strict C99 from the installed tree alone.
if pkg-config --exists glib-2.0; then
  echo '#include <morvanta_glib.h>' | cc -std=c99 -Wall -Wextra -pedantic -Werror -fsyntax-only -x c - \
    $(pkg-config --cflags morvanta glib-2.0)
fi
