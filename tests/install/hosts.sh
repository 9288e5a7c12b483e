# Sourced by the install and package tests: builds the consumer hosts against
# an installed tree and runs them. The hosts see nothing of the source tree.
morvanta_hosts_src="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"

# build_hosts <prefix> <out dir> <RUNPATH of the pkg-config host>
# Builds <out>/cmake-build/consumer_cmake and consumer_cxx (CMake's
# find_package) and <out>/consumer_pkgconfig (pkg-config).
build_hosts() {
  local prefix="$1" out="$2" rpath="$3" pcdir
  pcdir="$(dirname "$(find "$prefix" -name morvanta.pc -print -quit)")"
  mkdir -p "$out/src"
  cp "$morvanta_hosts_src/consumer_host.c" "$morvanta_hosts_src/consumer_host.cc" \
     "$morvanta_hosts_src/CMakeLists.txt" "$out/src/"
  cmake -S "$out/src" -B "$out/cmake-build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release >/dev/null
  cmake --build "$out/cmake-build" >/dev/null
  # shellcheck disable=SC2046
  cc -std=c99 -Wall -Wextra -pedantic -Werror -o "$out/consumer_pkgconfig" "$out/src/consumer_host.c" \
    $(PKG_CONFIG_PATH="$pcdir" pkg-config --cflags --libs morvanta) -lpthread -Wl,-rpath,"$rpath"
}

# run_host <prefix> <host executable>: runs it against the tree's sandbox SDK
# with no library path of the caller's.
run_host() {
  env -u LD_LIBRARY_PATH MORVANTA_SDK_PATH="$1/share/morvanta/sandbox/index.js" "$2"
}
