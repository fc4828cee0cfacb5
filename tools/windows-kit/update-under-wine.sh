#!/usr/bin/env bash
# Rehearses updates in a Wine prefix: an older version finds a newer one on a feed of this machine, and replaces itself.
# First with a signature by somebody else, where it has to start as if nothing had been.
#
#   update-under-wine.sh <folder with Torvelane.exe> <build folder>    in the prefix that WINEPREFIX names
set -euo pipefail

[ -n "${WINEPREFIX:-}" ] || {
  echo "WINEPREFIX has to name the prefix to work in" >&2
  exit 2
}
program_folder=$(realpath "$1")
build=$(realpath "$2")
here=$(realpath "$(dirname "${BASH_SOURCE[0]}")")
cd "$here/../.."
# shellcheck source=tools/release/release.sh
. tools/release/release.sh

new_version=$(sed -n 's/^project(Torvelane VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
old_version=0.9.9
work=$WINEPREFIX/rehearsal
system=$WINEPREFIX/drive_c/windows/system32
common_temp=$WINEPREFIX/drive_c/windows/temp
installation="$WINEPREFIX/drive_c/Program Files/Torvelane"
feed_path=repos/torvelane/torvelane/releases/latest
server_pid=
program_pid=
# Wine prefers its own stubs to files of the same name.
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:+$WINEDLLOVERRIDES;}robocopy.exe,findstr.exe,powershell.exe=n"
mkdir -p "$work/served/$(dirname "$feed_path")"

leave() {
  [ -z "$server_pid" ] || kill "$server_pid" 2>/dev/null || true
  [ -z "$program_pid" ] || end_program || true
}
trap leave EXIT

log=
failed() {
  printf 'FAILED: %s\n' "$1"
  tail -n 40 "$log" "$update_log" 2>/dev/null | sed 's/^/    | /'
  find "$common_temp" -maxdepth 2 -ls | sed 's/^/    | /'
  exit 1
}
# await WHAT SECONDS COMMAND...: the command has to succeed within the time.
await() {
  local what=$1 until=$((SECONDS + $2))
  shift 2
  until "$@"; do
    [ "$SECONDS" -lt "$until" ] || failed "$what"
    sleep 0.2
  done
  printf '    %s\n' "$what"
}
check() { "${@:2}" || failed "$1"; }
says() { grep -qF -- "$1" "$log" 2>/dev/null; }
is_gone() { [ ! -e "$1" ]; }
windows_path() { wine winepath -u "$1" 2>/dev/null | tr -d '\r\n'; }

make_authority() {
  local name
  openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj '/CN=Torvelane rehearsal' \
    -keyout "$work/ca.key" -out "$work/ca.pem" 2>/dev/null
  openssl req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj '/CN=localhost' \
    -addext 'subjectAltName=DNS:localhost' -keyout "$work/server.key" -out "$work/server.csr" 2>/dev/null
  openssl x509 -req -in "$work/server.csr" -CA "$work/ca.pem" -CAkey "$work/ca.key" -CAcreateserial -days 2 \
    -copy_extensions copy -out "$work/server.pem" 2>/dev/null
  openssl x509 -in "$work/ca.pem" -outform DER -out "$work/ca.der"
  for name in ours foreign; do minisign -G -W -p "$work/$name.pub" -s "$work/$name.key" >/dev/null; done
}

# deployment AGE VERSION: what cmake/Deployment.cmake would have put into that version.
deployment() {
  mkdir -p "$build/rehearsal/$1"
  sed -e "s|@PROJECT_VERSION@|$2|" -e "s|@TORVELANE_RELEASE_FEED_URL_VALUE@|$url/$feed_path|" \
    -e "s|@TORVELANE_UPDATE_PUBLIC_KEY_VALUE@|$(public_key "$work/ours.pub")|" \
    -e 's|@TORVELANE_HAS_RELEASE_FEED_VALUE@|true|' -e 's|@TORVELANE_HAS_[A-Z_]*@|false|' -e 's|@TORVELANE_[A-Z_]*@||' \
    src/core/Deployment.cpp.in >"$build/rehearsal/$1/Deployment.cpp"
}

install_tools() {
  local tool
  cp "$WINDOWS_SDK/bin/tar.exe" "$system/"
  for tool in "$system"/{robocopy,findstr,trust-authority,hold-file}.exe \
    "$system/WindowsPowerShell/v1.0/powershell.exe"; do
    mkdir -p "$(dirname "$tool")"
    rm -f "$tool"
    cp "$build/bin/rehearsal_tools.exe" "$tool"
  done
  wine "$system/trust-authority.exe" "Z:$work/ca.der" || failed 'the authority is trusted'
}

# publish KEY: the new version, signed with that key.
publish() {
  local folder=$work/new/Torvelane
  if [ ! -e "$folder" ]; then
    mkdir -p "$work/new"
    cp -r "$program_folder" "$folder"
    x86_64-w64-mingw32-strip -o "$folder/Torvelane.exe" "$build/bin/rehearsal_new.exe"
    sign_release "$folder" "$work/ours.key" "$work/served" "$new_version" || failed 'the release is signed'
  fi
  minisign -S -s "$work/$1.key" -m "$work/served/Release.zip" -x "$work/served/Release.zip.minisig" >/dev/null
  printf '{"tag_name": "v%s", "assets": [{"name": "Release.zip", "browser_download_url": "%s/Release.zip"}, {"name": "Release.zip.minisig", "browser_download_url": "%s/Release.zip.minisig"}]}' \
    "$new_version" "$url" "$url" >"$work/served/$feed_path"
}

start_program() {
  (cd "$installation" && exec env -u QT_QPA_PLATFORM wine Torvelane.exe) >/dev/null 2>&1 </dev/null &
  program_pid=$!
}
end_program() {
  wine taskkill /f /im Torvelane.exe >/dev/null 2>&1 </dev/null || true
  wait "$program_pid" 2>/dev/null || true
  program_pid=
}

make_authority
python3 "$here/feed_server.py" "$work/served" "$work/server.pem" "$work/server.key" "$work/port" 2>"$work/served.log" &
server_pid=$!
until [ -e "$work/port" ]; do
  kill -0 "$server_pid" 2>/dev/null || { cat "$work/served.log" && exit 1; }
  sleep 0.1
done
url=https://localhost:$(cat "$work/port")
deployment old "$old_version"
deployment new "$new_version"
cmake --build "$build" --parallel "${JOBS:-2}" --target rehearsal_old rehearsal_new rehearsal_tools -- --quiet >&2
log=$(windows_path "$(wine cmd /c 'echo %LOCALAPPDATA%' 2>/dev/null | tr -d '\r')")/Torvelane/torvelane.log
update_log=$(windows_path "$(wine cmd /c 'echo %TEMP%' 2>/dev/null | tr -d '\r')")/torvelane_update.log
install_tools
cp -r "$program_folder" "$installation"
x86_64-w64-mingw32-strip -o "$installation/Torvelane.exe" "$build/bin/rehearsal_old.exe"
cp "$installation/Torvelane.exe" "$work/old.exe"

echo "  A signature by somebody else"
publish foreign
rm -f "$log"
start_program
await 'the update is refused' 60 says 'Update signature INVALID — refusing to install — starting normally on current version'
await 'the old version starts as ever' 60 says 'Session restored; showing main window'
check 'and is still the old one' cmp -s "$installation/Torvelane.exe" "$work/old.exe"
check 'without a script' is_gone "$common_temp/torvelane_update.bat"
end_program
# Wine keeps no owners, so that the next run would take what this one left for another program's.
rm -rf "$common_temp/torvelane_update"

echo "  Our own signature, with a file of the installation in use"
rm -f "$log" "$update_log"
touch "$work/held"
wine "$system/hold-file.exe" 'C:\Program Files\Torvelane\qt.conf' "Z:$work/held" >/dev/null 2>&1 </dev/null &
publish ours
start_program
await 'the signature is verified' 60 says 'Update signature verified against the pinned key'
await 'the updater takes over' 60 says 'Updater launched — exiting so files can be replaced'
wait "$program_pid" || failed 'the old version ends'
await 'a file in use keeps the copy waiting' 60 grep -q '^ERROR .* copying' "$update_log"
rm "$work/held"
await 'the script copies and starts the new version' 60 grep -q 'update ok, relaunching' "$update_log"
await 'which finds that it is up to date' 60 says "Version matches the published release (v$new_version) — no update"
check 'it is the new version that starts' says "Checking for updates (current $new_version)"
await 'it shows its window' 60 says 'Session restored; showing main window'
check 'its file is the new one' cmp -s "$installation/Torvelane.exe" "$work/new/Torvelane/Torvelane.exe"
await 'the staging folder is gone' 30 is_gone "$common_temp/torvelane_update"
end_program
output=$(wine "$installation/Torvelane.exe" status 2>/dev/null </dev/null | tr -d '\r')
check 'it reports its version' grep -qxF "Torvelane $new_version — status" <<<"$output"
echo "  Passed"
