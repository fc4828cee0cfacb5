#!/bin/bash
# Builds the Windows kit of Torvelane from Debian's source packages: Qt 6 for
# 64-bit Windows (Core, Gui, Widgets, Network, Sql with SQLite, Concurrent,
# Test, Xml, Svg), the compiler's runtime DLLs, minisign.exe and tar.exe.
#
#   build.sh [prefix]        default prefix: /opt/windows-sdk
#
# Wants Debian 12 (amd64), root and about 3 GB; takes about 20 minutes on two
# cores. A second run goes on where the first stopped: what is done is noted in
# $WORK/done. Remove $WORK to start over.
#
# Environment:
#   WORK     scratch folder          (default /var/tmp/windows-sdk-build)
#   TARBALL  where the archive goes  (default windows-sdk.tar.xz in the scratch folder)
#   JOBS     parallel jobs           (default: all cores)
set -euo pipefail
export LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive
export SOURCE_DATE_EPOCH=1735689600     # the date in all DLLs: the same build gives the same archive
umask 022

PREFIX=$(realpath -m "${1:-/opt/windows-sdk}")
HERE=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd -P)
WORK=$(realpath -m "${WORK:-/var/tmp/windows-sdk-build}")
TARBALL=$(realpath -m "${TARBALL:-$WORK/windows-sdk.tar.xz}")
JOBS=${JOBS:-$(nproc)}
TRIPLE=x86_64-w64-mingw32

QT_VERSION=6.4.2                # has to be the version of the host's qt6-base-dev
SVG_VERSION=5.15.8-3
SQLITE_VERSION=3.53.4-2
SQLITE_MINIMUM=3.51.3           # first one without the WAL-reset corruption bug
SODIUM_VERSION=1.0.18-1+deb12u1
MINISIGN_VERSION=0.12-1
LIBARCHIVE_VERSION=3.6.2-1+deb12u5

PACKAGES=(
  build-essential cmake ninja-build perl patch xz-utils pkgconf dpkg-dev
  autoconf automake libtool python3
  gcc-mingw-w64-x86-64-posix g++-mingw-w64-x86-64-posix
  binutils-mingw-w64-x86-64 mingw-w64-x86-64-dev libz-mingw-w64-dev
  qt6-base-dev qt6-base-dev-tools
  wine wine64 xvfb xauth
)

SRC=$WORK/src                   # unpacked sources
APT=$WORK/apt                   # private apt state
DEPS=$WORK/deps                 # static SQLite
STAGE=$WORK/stage/opt/windows-sdk   # everything Qt installs
KIT=$WORK/kit                   # what is shipped
NO_PATHS=-ffile-prefix-map=$WORK/=  # keeps the scratch folder's name out of the DLLs

started=$SECONDS
say() { printf '\n[%02d:%02d] %s\n' $(((SECONDS - started) / 60)) $(((SECONDS - started) % 60)) "$*"; }
die() { printf 'build.sh: %s\n' "$*" >&2; exit 1; }

# logged NAME TEXT FUNCTION: runs FUNCTION with its output in a log, the end of
# which is shown when it fails.
logged() {
  local rc
  say "$2"
  # not in an if or || context: set -e has to stay in force inside FUNCTION
  set +e
  (set -e; "$3") >"$WORK/log/$1.log" 2>&1
  rc=$?
  set -e
  [ $rc = 0 ] && return
  tail -n 40 "$WORK/log/$1.log" >&2
  die "step $1 failed (all of it: $WORK/log/$1.log)"
}

# step NAME TEXT FUNCTION: the same, unless it was done before.
step() {
  if [ -e "$WORK/done/$1" ]; then say "$2: already done"; return; fi
  logged "$@"
  touch "$WORK/done/$1"
}

# ---------------------------------------------------------------- packages

install_packages() {
  local missing=() p
  for p in "${PACKAGES[@]}"; do
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$p" 2>/dev/null || true)" = installed ] || missing+=("$p")
  done
  if [ ${#missing[@]} = 0 ]; then say "Debian packages: all there"; return; fi
  say "Debian packages: ${missing[*]}"
  [ "$(id -u)" = 0 ] || die "has to be root to install: ${missing[*]}"
  apt-get -q update >"$WORK/log/apt.log" 2>&1 || { tail "$WORK/log/apt.log" >&2; die "apt-get update failed"; }
  apt-get -q -y -o DPkg::Lock::Timeout=300 install --no-install-recommends "${missing[@]}" >>"$WORK/log/apt.log" 2>&1 ||
    { tail -n 20 "$WORK/log/apt.log" >&2; die "apt-get install failed"; }
}

# ----------------------------------------------------------------- sources

# apt with source lists of its own, made from the machine's: its mirror and its
# keyring, source packages, and the newer suites for SQLite and minisign. The
# machine's apt configuration stays as it is.
apt_private() {
  local command=$1; shift
  "$command" -q -o Dir::Etc::sourcelist=/dev/null -o Dir::Etc::sourceparts="$APT/lists.d" \
    -o Dir::State::lists="$APT/lists" -o Dir::Cache="$APT/cache" \
    -o APT::Sandbox::User=root "$@"
}

source_lists() {
  local deb822=/etc/apt/sources.list.d/debian.sources plain=/etc/apt/sources.list
  rm -rf "$APT"
  mkdir -p "$APT/lists.d" "$APT/lists/partial" "$APT/cache/archives/partial"
  if [ -e $deb822 ]; then
    awk -v RS= -v ORS='\n\n' '{ sub(/Types:[^\n]*/, "Types: deb-src"); print }' \
      $deb822 >"$APT/lists.d/stable.sources"
    awk -v RS= -v ORS='\n\n' '/Types:/ && !/-security/ {
        sub(/Types:[^\n]*/, "Types: deb-src"); sub(/Suites:[^\n]*/, "Suites: trixie sid"); print; exit }' \
      $deb822 >"$APT/lists.d/newer.sources"
  elif grep -qE '^deb .*bookworm' $plain 2>/dev/null; then
    sed -nE 's/^deb( .*bookworm.*)/deb-src\1/p' $plain >"$APT/lists.d/stable.list"
    local suite
    for suite in trixie sid; do
      sed -nE "s/^deb( .*) bookworm( .*)/deb-src\1 $suite\2/p" $plain | head -n 1
    done >"$APT/lists.d/newer.list"
  else
    die "found no Debian source list to start from"
  fi
  apt_private apt-get update
}

# All versions apt knows of a source package, newest first.
versions() {
  local v list=()
  while read -r v; do
    local i=0
    while [ $i -lt ${#list[@]} ] && dpkg --compare-versions "${list[$i]}" ge "$v"; do i=$((i + 1)); done
    list=("${list[@]:0:$i}" "$v" "${list[@]:$i}")
  done < <(apt_private apt-cache showsrc --only-source "$1" | sed -n 's/^Version: //p' | sort -u)
  printf '%s\n' "${list[@]}"
}

# fetch NAME WANTED MINIMUM BELOW FOLDER [tar]: unpacks a source package
# (Debian's patches applied) as $SRC/FOLDER. WANTED first, then the newest
# versions from MINIMUM up to, but not including, BELOW (empty: no limit). With
# "tar", where Debian's part of a version cannot be had its pristine tar will do.
fetch() {
  local name=$1 wanted=$2 minimum=$3 below=$4 to=${SRC:?}/$5 tar_will_do=${6:-} v dir
  dir=$WORK/download/$name
  for v in "$wanted" $(versions "$name"); do
    dpkg --compare-versions "$v" ge "$minimum" || continue
    [ -z "$below" ] || dpkg --compare-versions "$v" lt "$below" || continue
    rm -rf "$dir" "$to"
    mkdir -p "$dir"
    if (cd "$dir" && apt_private apt-get source --download-only "$name=$v"); then
      dpkg-source --no-check -x "$dir"/*.dsc "$to"   # apt has checked the hashes
    elif [ -n "$tar_will_do" ] &&
        (cd "$dir" && apt_private apt-get source --download-only --tar-only "$name=$v"); then
      mkdir "$to"
      tar -xf "$dir"/*.orig.tar.* -C "$to" --strip-components=1
      v="$v (pristine tar)"
    else
      continue
    fi
    printf '%s\n' "$v" >"$WORK/done/version-$name"
    echo "== $name $v"
    return
  done
  echo "no usable version of $name (wanted $wanted, at least $minimum)"
  return 1
}

get_qtbase() {
  local host
  host=$(dpkg-query -W -f='${source:Version}' qt6-base-dev)
  fetch qt6-base "$host" "$QT_VERSION" "$QT_VERSION.99" qtbase
}
get_svg() { fetch qtsvg-opensource-src $SVG_VERSION 5.15.8 5.15.99 qtsvg; }
get_sqlite() { fetch sqlite3 $SQLITE_VERSION $SQLITE_MINIMUM '' sqlite; }
get_sodium() { fetch libsodium $SODIUM_VERSION 1.0.18 '' libsodium; }
get_minisign() { fetch minisign $MINISIGN_VERSION 0.11 '' minisign tar; }
get_libarchive() { fetch libarchive $LIBARCHIVE_VERSION 3.6.2 3.7 libarchive; }

# ------------------------------------------------------------------ builds

# SQLite builds its one-file form with its own Tcl (jimsh), on the host; that
# file is then compiled for Windows.
build_sqlite() {
  local b=$WORK/build-sqlite
  rm -rf "$b" "$DEPS"
  mkdir -p "$b" "$DEPS/include" "$DEPS/lib"
  cd "$b"
  "$SRC/sqlite/configure" --disable-tcl --disable-readline
  make -j"$JOBS" sqlite3.c
  $TRIPLE-gcc-posix -c -O2 -o sqlite3-windows.o \
    -DSQLITE_THREADSAFE=1 \
    -DSQLITE_ENABLE_COLUMN_METADATA \
    -DSQLITE_ENABLE_FTS3 -DSQLITE_ENABLE_FTS3_PARENTHESIS -DSQLITE_ENABLE_FTS5 \
    -DSQLITE_ENABLE_RTREE -DSQLITE_ENABLE_DBSTAT_VTAB -DSQLITE_ENABLE_MATH_FUNCTIONS \
    -DSQLITE_MAX_VARIABLE_NUMBER=250000 \
    -DSQLITE_OMIT_LOAD_EXTENSION \
    sqlite3.c
  $TRIPLE-ar rcs "$DEPS/lib/libsqlite3.a" sqlite3-windows.o
  cp sqlite3.h sqlite3ext.h "$DEPS/include/"
}

# The prefix written into Qt is the default one whatever $PREFIX is; Qt looks
# for its parts relative to its DLLs, so the kit may be moved.
# QT_AVOID_CMAKE_ARCHIVING_API: CMake would store the time of the build with the
# list of file types in Qt6Core.dll.
configure_qtbase() {
  rm -rf "$WORK/build-qtbase"
  cmake -G Ninja -S "$SRC/qtbase" -B "$WORK/build-qtbase" \
    -DCMAKE_TOOLCHAIN_FILE="$HERE/mingw-w64.cmake" -DWINDOWS_SDK="$DEPS" \
    -DCMAKE_INSTALL_PREFIX=/opt/windows-sdk -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_C_FLAGS="$NO_PATHS" -DCMAKE_CXX_FLAGS="$NO_PATHS" \
    -DBUILD_SHARED_LIBS=ON -DQT_BUILD_TESTS=OFF -DQT_BUILD_EXAMPLES=OFF \
    -DQT_AVOID_CMAKE_ARCHIVING_API=ON \
    -DINPUT_opengl=no -DFEATURE_pkg_config=OFF -DFEATURE_dbus=OFF \
    -DFEATURE_printsupport=OFF -DFEATURE_androiddeployqt=OFF -DFEATURE_tabletevent=OFF \
    -DFEATURE_sql_odbc=OFF -DFEATURE_sql_sqlite=ON -DFEATURE_system_sqlite=ON \
    -DFEATURE_system_zlib=OFF     # that of libz-mingw-w64-dev is for tar.exe; the SVG module couldn't find it
}
build_qtbase() { ninja -C "$WORK/build-qtbase" -j"$JOBS"; }
install_qtbase() {
  rm -rf "$WORK/stage"
  DESTDIR=$WORK/stage ninja -C "$WORK/build-qtbase" install/strip
}

port_svg() {
  cd "$SRC/qtsvg"
  rm -rf include src/svg/qsvgwidget.* src/svg/qgraphicssvgitem.* src/svg/qsvggenerator.*
  sed -i 's/QXmlStreamStringRef/QString/g; s/QStringRef/QStringView/g' src/svg/*.cpp src/svg/*.h
  patch -p1 --no-backup-if-mismatch <"$HERE/qtsvg-5.15-for-qt6.patch"
}
build_svg() {
  rm -rf "$WORK/build-svg"
  cmake -G Ninja -S "$SRC/qtsvg" -B "$WORK/build-svg" \
    -DCMAKE_TOOLCHAIN_FILE="$HERE/mingw-w64.cmake" -DWINDOWS_SDK="$STAGE" \
    -DCMAKE_INSTALL_PREFIX=/opt/windows-sdk -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_C_FLAGS="$NO_PATHS" -DCMAKE_CXX_FLAGS="$NO_PATHS"
  ninja -C "$WORK/build-svg" -j"$JOBS"
  DESTDIR=$WORK/stage ninja -C "$WORK/build-svg" install/strip
}

build_minisign() {
  local b=$WORK/build-sodium i=$WORK/sodium
  rm -rf "$b" "$i"
  cp -r "$SRC/libsodium" "$b"
  cd "$b"
  autoreconf -fi
  ./configure --host=$TRIPLE --prefix="$i" --disable-shared --enable-static \
    CC=$TRIPLE-gcc-posix AR=$TRIPLE-ar RANLIB=$TRIPLE-ranlib CFLAGS=-O2
  make -j"$JOBS" install
  cd "$SRC/minisign"
  $TRIPLE-gcc-posix -O2 -s -static -D_GNU_SOURCE -DSODIUM_STATIC -I"$i/include" \
    -o "$WORK/minisign.exe" src/base64.c src/get_line.c src/helpers.c src/minisign.c \
    -L"$i/lib" -lsodium
}

# The tar.exe that Windows ships is bsdtar; Wine has none. With zip and deflate
# only, and for tests: it isn't shipped with the program.
build_tar() {
  local b=$WORK/build-libarchive
  rm -rf "$b"
  cp -r "$SRC/libarchive" "$b"
  cd "$b"
  autoreconf -fi
  ./configure --host=$TRIPLE CC=$TRIPLE-gcc-posix CFLAGS=-O2 LDFLAGS=-static \
    --disable-shared --enable-static --enable-bsdtar=static --disable-bsdcpio --disable-bsdcat \
    --without-bz2lib --without-lzma --without-zstd --without-lz4 --without-openssl --without-xml2 \
    --without-expat --without-iconv --without-libb2 --disable-acl --disable-xattr
  make -j"$JOBS" bsdtar.exe
  $TRIPLE-strip -o "$WORK/tar.exe" bsdtar.exe
}

# A Wine prefix of the script's own, as Windows 10.
use_wine() {
  export WINEPREFIX=$WORK/wine WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml=
  unset DISPLAY WAYLAND_DISPLAY QT_QPA_PLATFORM
  trap 'wineserver -k || true' EXIT
  wine winecfg -v win10
}

# Signs and verifies under Wine; a changed file must not pass.
check_minisign() {
  local t=$WORK/check-minisign key
  rm -rf "$t"
  mkdir -p "$t"
  cd "$t"
  use_wine
  echo "release 1" >file
  wine "$WORK/minisign.exe" -G -W -p key.pub -s key.sec
  wine "$WORK/minisign.exe" -S -s key.sec -m file -x sig
  key=$(tail -n 1 key.pub | tr -d '\r\n')
  wine "$WORK/minisign.exe" -V -q -m file -x sig -P "$key"
  echo "release 2" >file
  if wine "$WORK/minisign.exe" -V -q -m file -x sig -P "$key"; then
    echo "a changed file was accepted"
    return 1
  fi
}

# Lists and unpacks a zip under Wine.
check_tar() {
  local t=$WORK/check-tar
  rm -rf "$t"
  mkdir -p "$t/out"
  cd "$t"
  use_wine
  python3 -c 'import zipfile
with zipfile.ZipFile("file.zip", "w", zipfile.ZIP_DEFLATED) as archive:
    archive.writestr("folder/text", "release " * 1000)'
  [ "$(wine "$WORK/tar.exe" -tf file.zip | tr -d '\r')" = folder/text ]
  wine "$WORK/tar.exe" -xf file.zip -C out
  [ "$(wc -c <out/folder/text)" = 8000 ]
}

# ---------------------------------------------------------------- assembly

assemble() {
  local f d
  rm -rf "$KIT"
  mkdir -p "$KIT/bin" "$KIT/lib"

  cp -a "$STAGE"/bin/*.dll "$KIT/bin/"
  for f in libgcc_s_seh-1.dll libstdc++-6.dll; do
    cp -L "$($TRIPLE-g++-posix -print-file-name=$f)" "$KIT/bin/"
  done
  cp -L "$($TRIPLE-g++-posix -print-file-name=libwinpthread-1.dll)" "$KIT/bin/"
  chmod 755 "$KIT"/bin/*.dll
  $TRIPLE-strip --preserve-dates "$KIT"/bin/lib*.dll
  cp "$WORK/minisign.exe" "$WORK/tar.exe" "$KIT/bin/"
  install -m 755 "$HERE/wine-run" "$KIT/bin/"
  install -m 644 "$HERE/mingw-w64.cmake" "$KIT/"

  cp -a "$STAGE/plugins" "$KIT/"
  find "$KIT" -name '*.debug' -delete

  # public headers only
  cp -a "$STAGE/include" "$KIT/"
  rm -rf "$KIT"/include/Qt*/"$QT_VERSION" "$KIT"/include/sqlite3*.h
  for d in DeviceDiscoverySupport FbSupport Freetype Harfbuzz Jpeg Png Zlib; do
    rm -rf "$KIT/include/Qt$d"
  done

  for f in win32-g++ common/c89; do
    mkdir -p "$KIT/mkspecs/$f"
    cp "$STAGE/mkspecs/$f/qplatformdefs.h" "$KIT/mkspecs/$f/"
  done

  # import libraries and the entry point, no static leftovers
  for f in "$STAGE"/lib/libQt6*.a; do
    case ${f##*/} in
      libQt6Bundled*|libQt6DeviceDiscoverySupport.a|libQt6FbSupport.a) ;;
      *) cp -a "$f" "$KIT/lib/" ;;
    esac
  done
  cp -a "$STAGE/lib/cmake" "$KIT/lib/"
  rm -rf "$KIT"/lib/cmake/Qt6BuildInternals "$KIT"/lib/cmake/Qt6Bundled* \
    "$KIT"/lib/cmake/Qt6{DeviceDiscoverySupport,FbSupport,Freetype,Harfbuzz,Jpeg,Png}Private

  # licences and versions
  mkdir -p "$KIT/licenses"
  cp -a "$SRC/qtbase/LICENSES" "$KIT/licenses/qtbase"
  for d in "$SRC"/qtbase/src/3rdparty/*/; do
    f=$KIT/licenses/qtbase-3rdparty/$(basename "$d")
    mkdir -p "$f"
    find "$d" -maxdepth 2 -type f \( -iname '*LICEN[CS]E*' -o -iname 'COPYING*' -o -iname 'FTL.TXT' \) \
      -exec cp -t "$f" {} +
    rmdir --ignore-fail-on-non-empty "$f"
  done
  mkdir -p "$KIT"/licenses/{qtsvg,sqlite,libsodium,minisign,libarchive,zlib,gcc-runtime,mingw-w64}
  cp "$SRC"/qtsvg/LICENSE.* "$SRC/qtsvg/src/svg/XSVG_LICENSE.txt" "$KIT/licenses/qtsvg/"
  cp "$SRC/sqlite/LICENSE.md" "$KIT/licenses/sqlite/"
  cp "$SRC/libsodium/LICENSE" "$KIT/licenses/libsodium/"
  cp "$SRC/minisign/LICENSE" "$KIT/licenses/minisign/"
  cp "$SRC/libarchive/COPYING" "$KIT/licenses/libarchive/"
  cp -L /usr/share/doc/libz-mingw-w64-dev/copyright "$KIT/licenses/zlib/"
  cp -L /usr/share/doc/gcc-mingw-w64-base/copyright "$KIT/licenses/gcc-runtime/"
  cp -L /usr/share/doc/mingw-w64-x86-64-dev/copyright "$KIT/licenses/mingw-w64/"
  chmod -R u=rwX,go=rX "$KIT"

  # qt.toolchain.cmake names the build's folders; mingw-w64.cmake is used instead
  rm -f "$KIT/lib/cmake/Qt6/qt.toolchain.cmake"
  if grep -rlF -e "$WORK" -e "$HERE" "$KIT/lib/cmake" "$KIT/include"; then
    echo "the files above name the build's folders"
    return 1
  fi
  {
    echo "Windows kit of Torvelane, built from these Debian source packages:"
    for f in qt6-base qtsvg-opensource-src sqlite3 libsodium minisign libarchive; do
      echo "  $f $(cat "$WORK/done/version-$f")"
    done
    echo "Compiler: $($TRIPLE-g++-posix -dumpfullversion) ($(dpkg-query -W -f='${Package} ${Version}' g++-mingw-w64-x86-64-posix)),"
    echo "  $(dpkg-query -W -f='${Package} ${Version}' mingw-w64-x86-64-dev)"
    echo "Qt is under the LGPL 3 and linked dynamically; see licenses/."
  } >"$KIT/KIT.txt"
}

# KIT.txt marks a folder that a later run may replace.
install_kit() {
  if [ -e "$PREFIX" ] && [ -n "$(ls -A "$PREFIX")" ] && [ ! -e "$PREFIX/KIT.txt" ]; then
    die "$PREFIX is not empty and is not a kit: not replaced"
  fi
  mkdir -p "$PREFIX"
  rm -rf "${PREFIX:?}"/{bin,include,lib,licenses,mkspecs,plugins,KIT.txt,mingw-w64.cmake}
  cp -a "$KIT"/. "$PREFIX/"
}

# Builds the test in check/ against the installed kit and runs it under Wine.
check_kit() {
  rm -rf "$WORK/build-check"
  use_wine
  cmake -G Ninja -S "$HERE/check" -B "$WORK/build-check" \
    -DCMAKE_TOOLCHAIN_FILE="$PREFIX/mingw-w64.cmake" -DCMAKE_BUILD_TYPE=Release
  ninja -C "$WORK/build-check" -j"$JOBS"
  ctest --test-dir "$WORK/build-check" --verbose
}

make_tarball() {
  local t=$WORK/archive.tar.xz
  tar -C "$KIT" --transform 's,^\.,windows-sdk,' --sort=name --owner=0 --group=0 --numeric-owner \
    --mtime="@$SOURCE_DATE_EPOCH" -cf - . | xz -9e -T1 >"$t"
  mv "$t" "$TARBALL"
}

# -------------------------------------------------------------------- main

mkdir -p "$WORK"/{done,log,download} "$SRC"
say "Kit for $PREFIX, working in $WORK with $JOBS jobs"
install_packages
host_qt=$(dpkg-query -W -f='${Version}' qt6-base-dev)
case $host_qt in
  "$QT_VERSION"*) ;;
  *) die "the host's Qt is $host_qt; this kit is for $QT_VERSION" ;;
esac

step source-lists      "Source lists"                         source_lists
step get-qtbase        "Source of Qt"                         get_qtbase
step get-svg           "Source of Qt SVG"                     get_svg
step get-sqlite        "Source of SQLite"                     get_sqlite
step get-sodium        "Source of libsodium"                  get_sodium
step get-minisign      "Source of minisign"                   get_minisign
step get-libarchive    "Source of libarchive"                 get_libarchive
step sqlite            "SQLite"                               build_sqlite
step minisign          "libsodium and minisign"               build_minisign
logged minisign-check  "minisign under Wine"                  check_minisign
step tar               "tar.exe of libarchive"                build_tar
logged tar-check       "tar.exe under Wine"                   check_tar
step qtbase-configure  "Qt: configure"                        configure_qtbase
step qtbase-build      "Qt: build (the long one)"             build_qtbase
step qtbase-install    "Qt: install"                          install_qtbase
step svg-port          "Qt SVG: port to Qt 6"                 port_svg
step svg               "Qt SVG: build and install"            build_svg

logged assemble "Assembling the kit" assemble
logged install  "Installing into $PREFIX" install_kit
logged check    "Checking it under Wine" check_kit
logged tarball  "Packing $TARBALL" make_tarball
say "Done: $(du -sh "$PREFIX" | cut -f1) in $PREFIX, $(du -h --apparent-size "$TARBALL" | cut -f1) archive"
cat "$PREFIX/KIT.txt"
