#!/bin/bash
# Builds and runs one consumer by each way that the library can be had. Prints a line for each.
# Usage: install_test.sh SOURCE-DIR BUILD-DIR WORK-DIR; the work directory keeps what was compiled
# from source, which makes the second run short.
set -eu -o pipefail
source=$1 build=$2 work=$3
consumer=$source/tests/consumer
trees=$(mktemp -d)
trap 'rm -rf "$trees"' EXIT

fail() { echo "FAILED: $*" >&2 && exit 1; }
# attempt COMMAND...: its result in $status. Any part of a function may fail it, so it must not be
# called where a result is asked for, in `if` or before `||`: there bash goes on after a failure.
attempt() {
  set +e
  (set -e; "$@") >"$trees/log" 2>&1
  status=$?
  set -e
}
# run ROUTE COMMAND...: shows what went wrong only.
run() {
  attempt "${@:2}"
  [ $status = 0 ] || { cat "$trees/log" >&2 && fail "$*"; }
  echo "ok: $1"
}
# refuse ROUTE TEXT COMMAND...: the command has to fail, with the text in what it says.
refuse() {
  attempt "${@:3}"
  [ $status != 0 ] || fail "$* did not fail"
  grep -q "$2" "$trees/log" || { cat "$trees/log" >&2 && fail "$1: it does not name $2"; }
  echo "ok: $1"
}
dynamic() { readelf -dW "$1"; }
needed() { dynamic "$1" | sed -nE 's/.*\(NEEDED\).*\[libvexo_(.*)\.so\..*/\1/p' | xargs; }
# The flags of the installed tree $prefix and of no other.
flags() { PKG_CONFIG_LIBDIR=$(dirname "$(find "$prefix" -name vexo_variant.pc)") pkg-config "$@"; }

with_cmake() {
  cmake -S "$consumer" -B "$trees/cmake" --fresh -DCMAKE_PREFIX_PATH="$prefix;$trees/platform"
  cmake --build "$trees/cmake"
  "$trees/cmake/consumer"
}
# with_pkg_config COMPILER OPTION...
with_pkg_config() {
  "$1" $(flags --cflags vexo_variant) "$consumer/main.cpp" "${@:2}" -o "$trees/consumer" \
    $(flags --libs vexo_variant)
  LD_LIBRARY_PATH=$library_dir:$platform_dir "$trees/consumer"
}
# use ROUTE PREFIX NEEDED REQUIRED: what holds for every installed tree, given which library it
# loads (`platform` or nothing) and which its pkg-config file requires besides.
use() {
  prefix=$2
  local library=$(find "$prefix" -name libvexo_variant.so)
  [ -n "$library" ] || fail "$1: no libvexo_variant.so"
  library_dir=$(dirname "$library")
  dynamic "$library" | grep -q 'SONAME.*\[libvexo_variant\.so\.0\]' || fail "$1: SONAME"
  [ "$(needed "$library")" = "$3" ] || fail "$1: libvexo_variant needs '$(needed "$library")'"
  # What is exported belongs to the library: no helper of ours and no template of somebody else's
  # that a host could collide with.
  local strange=$(nm -DC --defined-only "$library" | awk '$2 ~ /[TBDR]/' | cut -d' ' -f3- |
    grep -Ev '^(vexo::variant::|(vtable|typeinfo|typeinfo name) for vexo::variant::)' || true)
  [ -z "$strange" ] || fail "$1: exported beside the interface: $strange"
  # There is nothing more for a static link.
  local static flag libraries="$library_dir -lvexo_variant${4:+ -lvexo_$4}"
  for static in '' --static; do
    for flag in $(flags $static --libs vexo_variant); do
      case $flag in -L*) realpath "${flag#-L}" ;; *) echo "$flag" ;; esac
    done | xargs | diff - <(echo "$libraries") || fail "$1: pkg-config $static --libs"
  done
  ! grep -rq "$source" "$prefix" --include='*.cmake' --include='*.pc' --include='*.h' ||
    fail "$1: a path of this machine is in it"
}
tool() { [ "$(echo '{"a":[1,2]}' | "$prefix/bin/vexo-variant" -c)" = '{"a":[1,2]}' ]; }

# Ways to an installed tree.
cmake --install "$build" --prefix "$trees/first" >/dev/null
mv "$trees/first" "$trees/moved"
# gdb looks for the printers by the path of the library, which is that of the first prefix.
run 'installed, printers for gdb' cmp "$trees/moved/share/vexo_variant/gdb/vexo_variant.py" \
  "$(find "$trees/moved/share/gdb/auto-load$trees/first" -name 'libvexo_variant.so.*-gdb.py')"
platform_dir=
use installed "$trees/moved" platform platform
run 'installed and moved, find_package' with_cmake
# Clang 14 begins with C++14.
for compiler in "g++" "g++ -std=c++17" "g++ -std=c++20" "clang++-14"; do
  run "installed and moved, pkg-config, $compiler" with_pkg_config $compiler
done
[ ! -x "$prefix/bin/vexo-variant" ] || run 'installed and moved, vexo-variant' tool

# contents PACKAGE: its files, without triplets and versions, so that one list serves all targets.
contents() {
  dpkg-deb --fsys-tarfile "$debs/$1"_*.deb | tar -t | grep -v '/$' |
    sed -E "s,^\./usr/,,; s,lib/$triplet/,LIB/,;
      s/(\.so\.0\.).*/\1*/; s/Targets-[a-z]+/Targets-*/" |
    LC_ALL=C sort
}
field() { dpkg-deb -f "$debs/$1"_*.deb "$2"; }
packages_hold() {
  local docs package name
  for package in libvexo-variant0 libvexo-variant-dev vexo-variant; do
    docs="share/doc/$package/changelog.gz share/doc/$package/copyright"
    case $package in
      libvexo-variant0)
        expected="LIB/libvexo_platform.so.0 LIB/libvexo_platform.so.0.* LIB/libvexo_variant.so.0
          LIB/libvexo_variant.so.0.* share/doc/$package/CHANGELOG.md" ;;
      libvexo-variant-dev)
        expected="$(cd "$source/include" && printf 'include/%s ' vexo_variant/*.h)
          $(cd "$source/platform/include" && printf 'include/%s ' */*.h)
          include/vexo_variant/config.h LIB/libvexo_platform.so LIB/libvexo_variant.so
          share/gdb/auto-load/usr/LIB/libvexo_variant.so.0.* share/vexo_variant/gdb/vexo_variant.py
          LIB/pkgconfig/vexo_platform.pc LIB/pkgconfig/vexo_variant.pc
          $(printf 'LIB/cmake/vexo_variant/vexo_variant%s.cmake ' Config ConfigVersion Targets \
            'Targets-*')" ;;
      vexo-variant)
        expected="bin/vexo-variant share/man/man1/vexo-variant.1
          share/bash-completion/completions/vexo-variant
          share/fish/vendor_completions.d/vexo-variant.fish
          share/zsh/vendor-completions/_vexo-variant" ;;
    esac
    diff <(printf '%s\n' $expected $docs | LC_ALL=C sort) <(contents $package) || return 1
  done
}
packages_depend() {
  local version=$(field libvexo-variant0 Version)
  local same="libvexo-variant0 (= $version)"
  [ "$(field libvexo-variant-dev Depends)" = "$same" ] &&
    [[ $(field vexo-variant Depends) == "$same, libc6 "*libstdc++6* ]] &&
    [[ $(field libvexo-variant0 Depends) == libc6*libstdc++6* ]] &&
    dpkg-deb -I "$debs"/libvexo-variant0_*.deb shlibs |
      diff - <(printf "libvexo_%s 0 libvexo-variant0 (>= $version)\n" platform variant)
}
debs=$trees/debs
triplet=$(dpkg-architecture --query DEB_HOST_MULTIARCH)
run 'packages are made' cpack --config "$build/CPackConfig.cmake" -B "$debs"
run 'packages hold what belongs to them' packages_hold
run 'packages depend on each other and on what they use' packages_depend
for package in "$debs"/*.deb; do dpkg-deb -x "$package" "$trees/root"; done
use packages "$trees/root/usr" platform platform
run 'packages, find_package' with_cmake
run 'packages, pkg-config' with_pkg_config g++ -std=c++17
run 'packages, vexo-variant' tool

# Ways from source. The first compiles, the platforms after it only link anew.
# from_source OPTION...
from_source() {
  cmake -S "$consumer" -B "$work" -DVEXO_SOURCE="$source" "$@"
  cmake --build "$work"
}
# install_from_source PLATFORM OPTION...
install_from_source() {
  from_source -DVEXO_PLATFORM="$1" "${@:2}"
  cmake --install "$work" --prefix "$trees/$1"
}
with_own_headers() {
  cmake -S "$source" -B "$trees/own-build" -DVEXO_PLATFORM=host -DVEXO_PLATFORM_HEADERS="$1" \
    -DVEXO_BUILD_TESTS=OFF -DVEXO_BUILD_TOOL=OFF
  cmake --build "$trees/own-build"
}
run 'add_subdirectory, compiled' install_from_source stand-in -DONLY_LIBRARY=OFF
run 'add_subdirectory' "$work/consumer"
use add_subdirectory "$trees/stand-in" platform platform
mkdir -p "$trees/platform/objects"
platform_dir=$(dirname "$(find "$trees/stand-in" -name libvexo_platform.so)")
find "$work" -path '*/vexo_platform.dir/*.o' -exec cp {} "$trees/platform/objects" \;

# The host's own package of the platform library.
cat >"$trees/platform/vexo_platform-config.cmake" <<END
add_library(vexo_platform SHARED IMPORTED)
set_target_properties(vexo_platform PROPERTIES IMPORTED_LOCATION $platform_dir/libvexo_platform.so.0
  INTERFACE_INCLUDE_DIRECTORIES $source/platform/include IMPORTED_NO_SYSTEM ON)
END
run 'platform of a package, linked' \
  install_from_source package -Dvexo_platform_DIR="$trees/platform"
run 'platform of a package, add_subdirectory' "$work/consumer"
use 'platform of a package' "$trees/package" platform ''
run 'platform of a package, find_package' with_cmake
run 'platform of a package, pkg-config' \
  with_pkg_config g++ -I"$source/platform/include" "$platform_dir/libvexo_platform.so"

# The host program itself, linked with the library or with a plug-in that is.
host_objects=("$trees"/platform/objects/*.o)
[ ${#host_objects[@]} -gt 5 ] || fail "no objects of the platform library"
run 'platform of the host, linked' install_from_source host -DONLY_LIBRARY=ON
use 'platform of the host' "$trees/host" '' ''
refuse 'platform of the host, without it' 'undefined reference to .logInternal' with_pkg_config g++
run 'platform of the host, pkg-config' with_pkg_config g++ -rdynamic "${host_objects[@]}"
run 'platform of the host, plug-in' g++ -shared -fPIC $(flags --cflags vexo_variant) \
  "$consumer/main.cpp" -o "$trees/plugin.so" $(flags --libs vexo_variant) -Wl,-rpath,"$library_dir"
for export in -rdynamic ''; do
  g++ $export "$consumer/host.cpp" "${host_objects[@]}" -o "$trees/host-program"
  if [ -n "$export" ]; then
    run 'platform of the host, plug-in, -rdynamic' "$trees/host-program" "$trees/plugin.so"
  else
    refuse 'platform of the host, plug-in, no -rdynamic' 'undefined symbol' \
      "$trees/host-program" "$trees/plugin.so"
  fi
done
cp -r "$source/platform/include" "$trees/own"
echo '#error this is of the host' >>"$trees/own/vexo_host/host.h"
refuse 'platform of the host, its own headers' 'this is of the host' \
  with_own_headers "$trees/own"
