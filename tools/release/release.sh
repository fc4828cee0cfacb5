# shellcheck shell=bash
# shellcheck disable=SC2154
# Making a release: ./dev release, and the rehearsal of an update under Wine. Variables not set here are those of ./dev.

# public_key FILE: the key itself, the second line of a minisign public key file.
public_key() { sed -n 2p "$1" | tr -d '\r\n'; }

# sign_release FOLDER KEY TO VERSION: packs a folder with the program into TO/Release.zip, signs it, and checks the
# signature with the key that is in the packed program, as that program will do with the next release.
sign_release() {
  local folder=$1 key=$2 to=$3 version=$4 compiled
  rm -f "$to"/Release.zip "$to"/Release.zip.minisig "$to"/SHA256SUMS
  python3 tools/release/make_zip.py "$folder" "$to/Release.zip" || return
  # A comment without the time, or no two signatures would be the same.
  minisign -S -s "$key" -m "$to/Release.zip" -x "$to/Release.zip.minisig" \
    -c 'Torvelane release' -t "Torvelane $version" >&2 || return
  compiled=$(unzip -p "$to/Release.zip" '*/Torvelane.exe' | grep -aoE 'RW[A-Za-z0-9+/]{54}' | sort -u)
  if ! minisign -V -q -m "$to/Release.zip" -x "$to/Release.zip.minisig" -P "$compiled"; then
    printf 'The program in the release would refuse this signature\n' >&2
    rm -f "$to"/Release.zip "$to"/Release.zip.minisig
    return 1
  fi
  (cd "$to" && sha256sum Release.zip Release.zip.minisig >SHA256SUMS)
}

# The addresses and the key of this release, as CMake takes them. Those that aren't set stay the neutral ones.
deployment_options() {
  local name
  for name in API_BASE_URL WEB_BASE_URL RELEASE_FEED_URL SPEED_TEST_HOST; do
    name=TORVELANE_$name
    printf -- '-D%s=%s\n' "$name" "${!name:-}"
  done
  printf -- '-DTORVELANE_UPDATE_PUBLIC_KEY=%s\n' "$1"
}

release_lane() {
  local version=${1:-} key='' public='' to=build/release-files tree=build/windows-release known compiled_key options
  [ $# = 0 ] || shift
  while [ $# -gt 0 ]; do
    case $1 in
      --key) key=${2:-} ;;
      --public) public=${2:-} ;;
      *) die "release: what is '$1'?" ;;
    esac
    shift 2 || die "release: a file is missing"
  done
  if [ -z "$version" ] || [ -z "$key" ]; then die "release VERSION --key FILE [--public FILE]"; fi
  public=${public:-${key%.key}.pub}
  [ -r "$key" ] || die "there is no key $key"
  [ -r "$public" ] || die "there is no public key $public (--public names another place)"
  known=$(sed -n 's/^project(Torvelane VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
  [ "$version" = "$known" ] || die "CMakeLists.txt says version $known: change it there first, and commit"
  git diff --quiet HEAD -- || die "there are changes that aren't committed: nobody could build the same again"
  [ -n "${TORVELANE_RELEASE_FEED_URL:-}" ] || die "TORVELANE_RELEASE_FEED_URL isn't set: this release would be the last"

  need g++-mingw-w64-x86-64-posix wine wine64 xvfb xauth xz-utils minisign python3 unzip
  find_kit
  compiled_key=$(public_key "$public")
  # Same sources, same bytes: no times and no paths of this machine in what is built.
  SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
  export SOURCE_DATE_EPOCH QT_RCC_SOURCE_DATE_OVERRIDE=$SOURCE_DATE_EPOCH
  export CCACHE_DIR=${CCACHE_DIR:-$cache_dir/ccache} CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
  mapfile -t options < <(deployment_options "$compiled_key")
  say "Building $tree"
  CXXFLAGS=-ffile-prefix-map=$PWD=. LDFLAGS=-Wl,--no-insert-timestamp \
    cmake --preset windows -B "$tree" --log-level=WARNING -DTORVELANE_TESTS=OFF "${options[@]}" >&2
  cmake --build "$tree" --parallel "$jobs" --target Torvelane -- --quiet >&2
  assemble_windows_folder "$tree"
  mkdir -p "$to"
  say "Signing"
  sign_release "$tree/Torvelane" "$key" "$to" "$version" || die "there is no release"
  say "Release $version is in $to; docs/releasing.md says how to publish it"
  cat "$to/SHA256SUMS"
}
