# shellcheck shell=bash
# shellcheck disable=SC2154
# The Windows lane of ./dev, which reads this file and calls windows_lane. Variables not set here are those of ./dev.

kit_recipe=tools/windows-kit
wine_prefix=
display_pid=

# Ends the processes of this run, and no others.
leave_prefix() {
  [ -z "$wine_prefix" ] || {
    WINEPREFIX=$wine_prefix wineserver -k 2>/dev/null || true
    WINEPREFIX=$wine_prefix wineserver -w 2>/dev/null || true
    rm -rf "$wine_prefix"
  }
  wine_prefix=
}

leave_wine() {
  leave_prefix
  [ -z "$display_pid" ] || kill "$display_pid" 2>/dev/null || true
}

# Sets WINDOWS_SDK. A kit is kept under the hash of its origin.
find_kit() {
  local archive=${TORVELANE_WINDOWS_KIT:-} kits=$cache_dir/windows-kit place
  mkdir -p "$kits"
  if [ -n "$archive" ]; then
    [ -r "$archive" ] || die "TORVELANE_WINDOWS_KIT names no readable file: $archive"
    place=$kits/$(sha256sum "$archive" | cut -c1-16)
    if [ ! -e "$place/KIT.txt" ]; then
      say "Unpacking the Windows kit"
      local fresh
      fresh=$(mktemp -d "$kits/unpack.XXXXXX")
      tar -xf "$archive" -C "$fresh" --strip-components=1
      chmod 755 "$fresh"
      rm -rf "$place"
      mv "$fresh" "$place"
    fi
  else
    place=$kits/$(cat "$kit_recipe"/{build.sh,mingw-w64.cmake,wine-run,*.patch} | sha256sum | cut -c1-16)
    if [ ! -e "$place/KIT.txt" ]; then
      say "Building the Windows kit: about 20 minutes, once (TORVELANE_WINDOWS_KIT would name an archive of it)"
      WORK=$kits/build TARBALL=$kits/windows-kit.tar.xz JOBS=$jobs "$kit_recipe/build.sh" "$place" >&2
      rm -rf "$kits/build"
    fi
  fi
  [ -e "$place/KIT.txt" ] || die "there is no Windows kit in $place"
  export WINDOWS_SDK=$place
  # CMake keeps the kit that it was configured with.
  if [ -e build/windows/CMakeCache.txt ] && ! grep -qF "$place" build/windows/CMakeCache.txt; then
    rm -rf build/windows
  fi
}

# One display for the whole run.
enter_display() {
  trap leave_wine EXIT
  local number=$cache_dir/display.$$
  unset WAYLAND_DISPLAY
  Xvfb -displayfd 3 -screen 0 1600x1000x24 -nolisten tcp 3>"$number" >/dev/null 2>&1 </dev/null &
  display_pid=$!
  local tries=0
  until [ -s "$number" ]; do
    if ! kill -0 "$display_pid" 2>/dev/null || [ $((tries += 1)) -gt 100 ]; then die "the virtual display didn't start"; fi
    sleep 0.1
  done
  DISPLAY=:$(cat "$number")
  export DISPLAY
  rm -f "$number"
}

# A fresh Wine prefix, as Windows 10, in place of the one before: nothing that ran earlier has left a key in there.
enter_prefix() {
  leave_prefix
  wine_prefix=$(mktemp -d "${TMPDIR:-/var/tmp}/torvelane-wine.XXXXXX")
  # Mono and Gecko would be asked for in a window.
  # A test empties the recycle bin, which Wine keeps among the data of whoever runs it unless it is given another place.
  export XDG_DATA_HOME=$wine_prefix/data
  export WINEPREFIX=$wine_prefix WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml=
  say "Making a Wine prefix"
  wine wineboot --init >/dev/null 2>&1 </dev/null
  # A fresh prefix says that it is Windows 7.
  wine winecfg -v win10 >/dev/null 2>&1 </dev/null
  wineserver -w
  # Stays up between the programs, which start faster so.
  wineserver --persistent
  # The first program brings up Wine's services, which keep its standard output open for as long as they live: whoever
  # waits for the end of that output, as ctest does, would wait for ever.
  wine cmd /c exit >/dev/null 2>&1 </dev/null
}

# assemble_windows_folder BUILD: the user's folder, BUILD/Torvelane: the program with its libraries beside it, and nothing
# more.
assemble_windows_folder() {
  local build=$1 to=$1/Torvelane from=$WINDOWS_SDK name
  say "Putting $to together"
  rm -rf "$to"
  mkdir -p "$to/licenses"
  cp "$build/bin/Torvelane.exe" resources/windows/qt.conf "$to/"
  x86_64-w64-mingw32-strip "$to/Torvelane.exe"
  mkdir "$to"/{platforms,styles,sqldrivers,imageformats,iconengines,tls}
  cp "$from/plugins/platforms/qwindows.dll" "$to/platforms/"
  for name in styles sqldrivers imageformats iconengines tls; do
    [ ! -d "$from/plugins/$name" ] || cp "$from/plugins/$name"/*.dll "$to/$name/"
  done
  cp "$from/bin/minisign.exe" "$to/"
  # Those of the kit's libraries that the program, a plug-in, or another of the libraries names.
  local queue=("$to"/*.exe "$to"/*/*.dll) file
  while [ ${#queue[@]} -gt 0 ]; do
    file=${queue[0]}
    queue=("${queue[@]:1}")
    while read -r name; do
      if [ -e "$from/bin/$name" ] && [ ! -e "$to/$name" ]; then
        cp "$from/bin/$name" "$to/"
        queue+=("$to/$name")
      fi
    done < <(x86_64-w64-mingw32-objdump -p "$file" | sed -n 's/^[[:space:]]*DLL Name: //p')
  done
  cp -r "$from/licenses/." "$from/KIT.txt" "$to/licenses/"
  [ ! -e LICENSE ] || cp LICENSE "$to/licenses/Torvelane.txt"
  cp -r resources/LICENSES "$to/licenses/assets"
}

windows_lane() {
  need g++-mingw-w64-x86-64-posix wine wine64 xvfb xauth xz-utils minisign openssl python3 unzip
  find_kit
  build windows
  enter_display
  enter_prefix
  say "Testing build/windows under $(wine --version 2>/dev/null)"
  run_ctest build/windows --timeout 900 "$@"
  assemble_windows_folder build/windows
  enter_prefix
  say "Running the program's verbs under Wine"
  "$kit_recipe/verbs-under-wine.sh" build/windows/Torvelane
  say "Rehearsing an update under Wine"
  JOBS=$jobs "$kit_recipe/update-under-wine.sh" build/windows/Torvelane build/windows
  say "Windows lane passed; the program is in build/windows/Torvelane"
}
