#!/usr/bin/env bash
# Builds the packages from an existing build (cpack into a temporary folder),
# unpacks the .tar.gz (tar) and the .deb (dpkg-deb -x) into temporary roots,
# and proves that each unpacked tree stands on its own:
#  - no installed file names a folder of this machine: the library's RUNPATH
#    is $ORIGIN/morvanta, where the libnode the build used is bundled (unless
#    libnode is the system's, when nothing is bundled);
#  - every executable and shared object in it resolves all its libraries,
#    none inside the source tree, the build tree or the build's libnode folder;
#  - hosts built against it (C99 with pkg-config, C++17 with CMake) run with
#    no LD_LIBRARY_PATH and load libnode from the tree;
#  - the tarball's tree still works once moved elsewhere;
#  - both packages carry the same files; the .deb is named and versioned after
#    the project and depends on the Debian package of every system library
#    its files need, and of every JavaScript builtin libnode reads from disk.
#   package_test.sh <build dir> <source dir>
set -euo pipefail
build="$(cd "$1" && pwd -P)"
src="$(cd "$2" && pwd -P)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
fail() { echo "package test: $*" >&2; exit 1; }
source "$src/tests/install/hosts.sh"

version="$(sed -n 's/^project(morvanta VERSION \([0-9.]*\).*/\1/p' "$src/CMakeLists.txt")"
[ -n "$version" ] || fail "no project version in $src/CMakeLists.txt"
node_lib="$(readlink -f "$(sed -n 's/^NODE_LIBRARY:[A-Z]*=//p' "$build/CMakeCache.txt")")"
bundled=OFF
grep -q '^MORVANTA_BUNDLE_LIBNODE:BOOL=ON' "$build/CMakeCache.txt" && bundled=ON
# Folders that nothing installed may resolve into.
forbidden=("$src/" "$build/")
[ "$bundled" = ON ] && forbidden+=("$(dirname "$node_lib")/")

is_elf() { [ "$(head -c 4 "$1" | tail -c 3)" = ELF ]; }
elves() { find "$1" -type f | while read -r f; do if is_elf "$f"; then echo "$f"; fi; done; }
runpaths() { readelf -d "$1" | sed -n 's/.*(\(RUNPATH\|RPATH\)).*\[\(.*\)\]$/\1=\2/p'; }
needed() { readelf -d "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]$/\1/p'; }
ldd_of() { env -u LD_LIBRARY_PATH ldd "$1"; }
# The folder that holds morvanta.pc's parent, i.e. the tree's libdir.
libdir_of() { (cd "$(dirname "$(find "$1" -name morvanta.pc -print -quit)")/.." && pwd); }

# Every ELF file of the tree: RUNPATHs relative to itself only, every library
# resolved, none in a forbidden folder.
check_links() {
  local prefix="$1" kind="$2" f entry bad libs
  while read -r f; do
    while IFS= read -r entry; do
      for dir in $(echo "${entry#*=}" | tr ':' ' '); do
        case "$dir" in \$ORIGIN*) ;; *) fail "$kind: ${f#"$prefix"/} has $entry";; esac
      done
    done < <(runpaths "$f")
    libs="$(ldd_of "$f")" || fail "$kind: ldd ${f#"$prefix"/} failed"
    case "$libs" in *"not found"*) echo "$libs" >&2; fail "$kind: ${f#"$prefix"/} has unresolved libraries";; esac
    for bad in "${forbidden[@]}"; do
      case "$libs" in *"=> $bad"*) echo "$libs" >&2; fail "$kind: ${f#"$prefix"/} resolves a library into $bad";; esac
    done
  done < <(elves "$prefix")
}

# The layout of an installed tree and how it finds libnode.
check_tree() {
  local prefix="$1" kind="$2" libdir lib node f
  libdir="$(libdir_of "$prefix")"
  for f in include/morvanta.h share/morvanta/sandbox/index.js bin/morvanta-demo; do
    [ -e "$prefix/$f" ] || fail "$kind: $f is missing"
  done
  for f in "$src"/include/*; do
    [ -e "$prefix/include/$(basename "$f")" ] || fail "$kind: include/$(basename "$f") is missing"
  done
  for f in libmorvanta.so libmorvanta.so.0 "libmorvanta.so.$version" pkgconfig/morvanta.pc \
           cmake/Morvanta/MorvantaConfig.cmake cmake/Morvanta/MorvantaConfigVersion.cmake; do
    [ -e "$libdir/$f" ] || fail "$kind: ${libdir#"$prefix"/}/$f is missing"
  done
  lib="$libdir/libmorvanta.so.$version"
  node="$(needed "$lib" | grep '^libnode')" || fail "$kind: libmorvanta does not need libnode"
  if [ "$bundled" = ON ]; then
    [ -f "$libdir/morvanta/$node" ] || fail "$kind: $node is not bundled in ${libdir#"$prefix"/}/morvanta"
    [ "$(runpaths "$lib")" = 'RUNPATH=$ORIGIN/morvanta' ] \
      || fail "$kind: libmorvanta's run path is '$(runpaths "$lib")', not RUNPATH=\$ORIGIN/morvanta"
    case "$(ldd_of "$lib")" in *"$node => $libdir/morvanta/$node "*) ;; *) fail "$kind: libnode does not resolve into the tree";; esac
    cmp -s "$libdir/morvanta/$node" "$node_lib" || fail "$kind: the bundled $node is not the build's"
  else
    [ ! -e "$libdir/morvanta" ] || fail "$kind: something is bundled beside the system's libnode"
  fi
  check_links "$prefix" "$kind"
}

# Builds the hosts against the tree, the pkg-config one into its bin/ with a
# RUNPATH relative to itself, and runs them; libnode must come from the tree.
check_hosts() {
  local prefix="$1" kind="$2" libdir host log loaded
  libdir="$(libdir_of "$prefix")"
  build_hosts "$prefix" "$work/hosts-$kind" "\$ORIGIN/$(realpath --relative-to="$prefix/bin" "$libdir")"
  cp "$work/hosts-$kind/consumer_pkgconfig" "$prefix/bin/"
  check_links "$prefix" "$kind"
  # (The C host built with CMake runs in install_consumers.)
  run_host "$prefix" "$work/hosts-$kind/cmake-build/consumer_cxx" || fail "$kind: consumer_cxx failed"
  log="$work/ld-$kind.log"
  LD_DEBUG=libs run_host "$prefix" "$prefix/bin/consumer_pkgconfig" 2>"$log" || fail "$kind: consumer_pkgconfig failed"
  loaded="$(sed -n 's/.*calling init: \(.*\/libnode[^/]*\)$/\1/p;T;q' "$log")"
  [ -n "$loaded" ] || fail "$kind: the host did not load libnode"
  if [ "$bundled" = ON ] && [ "$(readlink -f "$loaded")" != "$(readlink -f "$libdir/morvanta")/$(basename "$loaded")" ]; then
    fail "$kind: the host loaded $loaded, not the bundled libnode"
  fi
  for bad in "${forbidden[@]}"; do
    if grep -F "$bad" "$log" >&2; then fail "$kind: the host looked into $bad"; fi
  done
}

files_of() { (cd "$1" && find . -type f -o -type l | sort); }

cpack --config "$build/CPackConfig.cmake" -B "$work/packages" >"$work/cpack.log" 2>&1 \
  || { cat "$work/cpack.log" >&2; fail "cpack failed"; }
tgz="$work/packages/morvanta-$version-linux-$(uname -m).tar.gz"
deb="$work/packages/morvanta_${version}_$(dpkg --print-architecture).deb"
[ -f "$tgz" ] || fail "no $(basename "$tgz") among: $(ls "$work/packages")"
[ -f "$deb" ] || fail "no $(basename "$deb") among: $(ls "$work/packages")"

# ---- the tarball: one folder, relocatable ----
mkdir "$work/tgz"
tar -xzf "$tgz" -C "$work/tgz"
[ "$(ls "$work/tgz")" = "morvanta-$version-linux-$(uname -m)" ] || fail "the tarball does not unpack into one folder"
tree="$work/tgz/morvanta-$version-linux-$(uname -m)"
check_tree "$tree" tgz

# ---- the .deb: the same files under /usr ----
mkdir "$work/deb"
dpkg-deb -x "$deb" "$work/deb"
[ "$(ls "$work/deb")" = usr ] || fail "the .deb installs outside /usr: $(ls "$work/deb")"
check_tree "$work/deb/usr" deb
diff <(files_of "$tree") <(files_of "$work/deb/usr") >&2 || fail "the tarball and the .deb carry different files"

[ "$(dpkg-deb -f "$deb" Package)" = morvanta ] || fail "the .deb is named $(dpkg-deb -f "$deb" Package)"
[ "$(dpkg-deb -f "$deb" Version)" = "$version" ] || fail "the .deb's version is $(dpkg-deb -f "$deb" Version)"
depends=",$(dpkg-deb -f "$deb" Depends | tr -d ' ' | sed 's/([^)]*)//g' | tr '|' ','),"
# owner <path>: the Debian package that ships the file (merged /usr aware).
owner() {
  local p="$1"
  dpkg -S "$p" 2>/dev/null || dpkg -S "${p#/usr}" 2>/dev/null || dpkg -S "/usr$p" 2>/dev/null \
    || dpkg -S "$(readlink -f "$p")" 2>/dev/null || return 1
}
requires() {  # requires <what> <path>
  local pkg
  pkg="$(owner "$2")" || fail "no Debian package ships $2 ($1)"
  pkg="${pkg%%:*}"
  case "$depends" in *",$pkg,"*) ;; *) fail "the .deb does not depend on $pkg ($1: $2); Depends: $depends";; esac
}
while read -r f; do
  while read -r soname; do
    [ -n "$(find "$work/deb" -name "$soname" -print -quit)" ] && continue   # shipped in the package
    path="$(ldd_of "$f" | awk -v s="$soname" '$1 == s && $2 == "=>" { print $3 }
      $1 ~ /^\// { n = split($1, part, "/"); if (part[n] == s) print $1 }')"
    [ -n "$path" ] || fail "$soname, needed by ${f#"$work/deb"/}, does not resolve"
    requires "needed by $(basename "$f")" "$path"
  done < <(needed "$f")
done < <(elves "$work/deb/usr")
if [ "$bundled" = ON ]; then
  while read -r js; do
    requires "read by libnode" "$js"
  done < <(strings "$node_lib" | grep -E '^/usr/share/nodejs/.*\.js$' | sort -u)
fi
# The .deb's tree was checked in place; hosts are built once per package.
check_hosts "$work/deb/usr" deb
check_hosts "$tree" tgz

# ---- the tarball's tree, moved: still whole ----
mv "$tree" "$work/moved"
check_links "$work/moved" moved
run_host "$work/moved" "$work/moved/bin/consumer_pkgconfig" || fail "the moved tree's host failed"
echo "package test: $(basename "$tgz") and $(basename "$deb") stand on their own"
