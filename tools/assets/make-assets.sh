#!/usr/bin/env bash
# Remakes the fonts and icons of others, with their licences, and the pictures of its
# logo:
#
#   tools/assets/make-assets.sh
#
# The results are committed, so that a build needs none of this. Running it again changes nothing, unless a version
# below or the logo was changed. Debian 12 packages: npm python3-fonttools python3-brotli python3-pil librsvg2-bin.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."

# Name, version and SHA-256 of each package.
packages=(
  '@fontsource/fustat 5.3.0 0d3fc5e6eeaf1da6fb142ccf6306c7060eafbbc96e4c6f22894885f31be46c58'
  '@fontsource/space-grotesk 5.3.0 2adb650694b6387b1862fee8b086a3a47ce9f32c10f20b8ec109aa1fcdfd07b7'
  'lucide-static 1.62.0 386f9080c440d6f5049cefe3456ae8357f7a0c7f76e59670cd1cb83bc7050a44'
)

# The system's own Python: the modules come from its packages.
python=/usr/bin/python3

die() {
  printf 'make-assets: %s\n' "$*" >&2
  exit 1
}

for tool in npm rsvg-convert; do
  command -v "$tool" >/dev/null 2>&1 || die "$tool is missing: apt-get install npm librsvg2-bin"
done
"$python" -c 'import brotli, fontTools, PIL' 2>/dev/null ||
  die "Python modules are missing: apt-get install python3-fonttools python3-brotli python3-pil"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# fetch PACKAGE VERSION SHA256: into a folder of the scratch folder, named after the package without its scope.
fetch() {
  local package=$1 version=$2 sum=$3 archive folder=$scratch/${1##*/}
  archive=$scratch/$(npm pack --silent --pack-destination "$scratch" "$package@$version" 2>/dev/null) ||
    die "$package $version can't be fetched"
  sha256sum --check --quiet - <<<"$sum  $archive" || die "$package $version isn't the archive that was used before"
  mkdir "$folder"
  tar -xzf "$archive" -C "$folder" --strip-components=1
}

for package in "${packages[@]}"; do
  # shellcheck disable=SC2086 # three words
  fetch $package
done

"$python" tools/assets/make_fonts.py "$scratch/fustat" "$scratch/space-grotesk" resources/fonts
"$python" tools/assets/make_icons.py "$scratch/lucide-static/icons" resources/assets/icons
"$python" tools/assets/make_logo.py resources/assets/logo-mark.svg resources/app.ico

install -m 644 "$scratch/fustat/LICENSE" resources/LICENSES/Fustat.txt
install -m 644 "$scratch/space-grotesk/LICENSE" resources/LICENSES/SpaceGrotesk.txt
install -m 644 "$scratch/lucide-static/LICENSE" resources/LICENSES/Lucide.txt
