#!/usr/bin/env bash
# Installs what the build needs and is quick when everything is already present.
#  - Debian packages: compilers, CMake/Ninja, GoogleTest, Google Benchmark, RapidJSON,
#    libuv, and the JavaScript builtins that libnode loads from /usr/share/nodejs;
#    GLib (the main-loop helper's test), Qt 6 (the desktop app), dpkg-dev (packages),
#    and Debian's Python test and packaging tools for /usr/bin/python3.
#  - libnode (Node 18): a real `apt-get install libnode-dev` where the package manager
#    accepts it; otherwise (a newer nodejs package conflicts with it) the .debs are
#    downloaded and unpacked into .deps/libnode, which CMake then uses with an RPATH.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
deps="$root/.deps"
stamp="$deps/.setup-ok"

pkgs=(cmake ninja-build g++ clang libclang-rt-14-dev googletest libgtest-dev libgmock-dev
      libbenchmark-dev rapidjson-dev libuv1-dev libssl-dev zlib1g-dev
      node-acorn node-cjs-module-lexer node-undici python3 valgrind pkg-config
      libglib2.0-dev qt6-base-dev dpkg-dev file
      python3-pytest python3-pytest-asyncio python3-cffi python3-setuptools python3-venv python3-pip mypy)

have_libnode() {
  [ -f /usr/include/node/node.h ] && ls /usr/lib/x86_64-linux-gnu/libnode.so* >/dev/null 2>&1 && return 0
  [ -f "$deps/libnode/usr/include/node/node.h" ] && ls "$deps/libnode/usr/lib/x86_64-linux-gnu/libnode.so."* >/dev/null 2>&1
}

missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ ${#missing[@]} -eq 0 ] && have_libnode && [ -f "$stamp" ]; then
  exit 0
fi

SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive

if [ ${#missing[@]} -gt 0 ]; then
  echo "[setup] installing: ${missing[*]}"
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

if ! have_libnode; then
  echo "[setup] libnode not found; trying the package manager first"
  if ! $SUDO apt-get install -y -qq --no-install-recommends libnode-dev >/dev/null 2>&1; then
    echo "[setup] apt refused libnode-dev (conflicting nodejs); unpacking it into .deps/libnode"
    mkdir -p "$deps/debs" "$deps/libnode"
    (cd "$deps/debs" && apt-get download libnode108 libnode-dev >/dev/null)
    for d in "$deps"/debs/*.deb; do dpkg -x "$d" "$deps/libnode"; done
  fi
fi
have_libnode || { echo "[setup] libnode is still missing" >&2; exit 1; }
mkdir -p "$deps" && touch "$stamp"
echo "[setup] ready"
