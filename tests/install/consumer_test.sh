#!/usr/bin/env bash
# Installs the build into a temporary prefix, then builds hosts against the
# installed tree only (a C99 host and a C++17 host of morvanta.hpp with
# CMake's find_package, the C99 host with pkg-config) and runs each against
# the installed sandbox SDK.
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

# The hosts: C99 and C++17 with CMake's find_package, C99 with pkg-config.
source "$here/hosts.sh"
build_hosts "$prefix" "$work" "$libdir"
for host in "$work/cmake-build/consumer_cmake" "$work/cmake-build/consumer_cxx" "$work/consumer_pkgconfig"; do
  run_host "$prefix" "$host"
done

# The GLib helper compiles as strict C99 from the installed tree alone.
if pkg-config --exists glib-2.0; then
  # shellcheck disable=SC2046
  echo '#include <morvanta_glib.h>' | cc -std=c99 -Wall -Wextra -pedantic -Werror -fsyntax-only -x c - \
    $(PKG_CONFIG_PATH="$libdir/pkgconfig" pkg-config --cflags morvanta glib-2.0)
fi
