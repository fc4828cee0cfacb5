#!/usr/bin/env bash
# Uses Torvelane.exe as an administrator's console would, on the real registry of a Wine prefix, and looks at that
# registry with another program's eyes.
#
#   verbs-under-wine.sh <folder with Torvelane.exe>     in the prefix that WINEPREFIX names; it should be a fresh one
set -uo pipefail

[ -n "${WINEPREFIX:-}" ] || {
  echo "WINEPREFIX has to name the prefix to work in" >&2
  exit 2
}
program=$(realpath "$1")/Torvelane.exe
checks=0
failures=0
output=
code=0
before=

# Log lines go to standard error, which is shown when something fails. Nothing that Qt reads is set, so that the program
# runs as it would at a user's.
log=$WINEPREFIX/verbs.log
torvelane() {
  output=$(env -u QT_QPA_PLATFORM timeout 120 wine "$program" "$@" 2>"$log" </dev/null)
  code=$?
  output=${output//$'\r'/}
  printf '    Torvelane %s -> %s\n' "$*" "$code"
}

# values KEY: the lines of reg.exe that show a value. It reports a missing key as text, too, and an empty key
# that stays behind is no difference.
values() { wine reg query "$1" 2>/dev/null </dev/null | tr -d '\r' | grep ' REG_'; }
lacks_key() { ! wine reg query "$1" >/dev/null 2>&1 </dev/null; }

failed() {
  failures=$((failures + 1))
  printf 'FAILED: %s\n' "$1"
  printf '%s\n' "$output" | cat - "$log" | sed 's/^/    | /'
}

# check WHAT COMMAND...: the command has to succeed.
check() {
  checks=$((checks + 1))
  "${@:2}" || failed "$1"
}
# prints TEXT [code]: the last run printed a line that is, or contains, the text, and ended with the code.
prints() {
  checks=$((checks + 1))
  grep -qF -- "$1" <<<"$output" || failed "prints: $1"
  [ "$code" = "${2:-0}" ] || failed "exit code $code instead of ${2:-0}"
}
# value KEY NAME TYPE DATA: a value as reg.exe shows it.
value() {
  checks=$((checks + 1))
  local shown
  shown=$(values "$1" | sed -n "s/^ *$2 *//p" | tr -s ' ')
  [ "$shown" = "$3 $4" ] || failed "$1 $2 is '$shown' instead of '$3 $4'"
}
same_as_before() {
  checks=$((checks + 1))
  [ "$(values "$1")" = "$before" ] || failed "$1 is not what it was before"
}

profile='HKLM\SOFTWARE\Microsoft\Windows NT\CurrentVersion\Multimedia\SystemProfile'
mouse='HKCU\Control Panel\Mouse'
menu='HKCU\Software\Classes\CLSID\{86ca1aa0-34aa-4e8b-a509-50c905bae2a2}'

torvelane status
prints 'Torvelane 1.0.4 — status'
prints '  Elevated:       yes'
prints '  Authenticated:  yes'
prints '  Current tier:   pro'
prints '  Catalog tweaks: 162'
check 'no tweak is applied at first' grep -qx '  Applied tweaks: ' <<<"$output"
identity=$(sed -n 's/^  Hardware ID:    //p' <<<"$output")
torvelane hwid
check 'hwid and status name the same machine' test "$output" = "$identity" -a -n "$identity"

# Qt's own options would load a library by path.
torvelane status -platformpluginpath 'Z:\nowhere' -platform foreign
prints 'Torvelane 1.0.4 — status'

torvelane LIST
check 'list has a line for each tweak' test "$(grep -c 'requires' <<<"$output")" = 162
prints '  [ ] selftest.toggle  (requires free, SelfTest)'

# A number in HKLM that needs all 32 bits, in a key that isn't there at first.
before=$(values "$profile")
check 'the first key is missing' lacks_key "$profile"
torvelane apply opt.disable-network-throttling
prints 'Applied opt.disable-network-throttling'
value "$profile" NetworkThrottlingIndex REG_DWORD 0xffffffff
torvelane status
prints '  Applied tweaks: opt.disable-network-throttling'
torvelane list
prints '[ ] opt.disable-network-throttling  (requires pro, Latency)  *APPLIED*'
torvelane revert opt.disable-network-throttling
prints 'Reverted opt.disable-network-throttling'
same_as_before "$profile"

# Binary values and texts, over values that the user has.
wine reg add "$mouse" /v SmoothMouseXCurve /t REG_BINARY /d 0102030405 /f >/dev/null 2>&1
wine reg add "$mouse" /v MouseSpeed /t REG_EXPAND_SZ /d '%SystemRoot%' /f >/dev/null 2>&1
before=$(values "$mouse")
torvelane apply torv.periph.kervo-mouse-fix
prints 'Applied torv.periph.kervo-mouse-fix'
value "$mouse" SmoothMouseXCurve REG_BINARY \
  0000000000000000C0CC0C0000000000809919000000000040662600000000000033330000000000
check 'the key has changed' test "$(values "$mouse")" != "$before"
torvelane revert torv.periph.kervo-mouse-fix
prints 'Reverted torv.periph.kervo-mouse-fix'
same_as_before "$mouse"

torvelane selftest
prints 'Self-test OK: apply/capture/revert round-trip succeeded.'
check 'selftest leaves no value' test -z "$(values 'HKCU\Software\Torvelane\SelfTest')"

# Failure shows in the text, not in the code.
torvelane apply no.such.tweak
prints 'Apply failed: '
torvelane apply
prints 'Unknown command: apply' 2
torvelane revert tb.left-align
prints 'Reverted tb.left-align'

# Sign-in, and the undo at its end.
torvelane login Ada free
prints 'Signed in as Ada, tier free'
before=$(values "$profile")
torvelane apply opt.disable-network-throttling
prints 'Apply failed: '
same_as_before "$profile"
torvelane list
prints '  [LOCK] opt.disable-network-throttling'
torvelane heartbeat
prints 'Signed in as Ada, tier free'
torvelane apply explorer.show-hidden-files
prints 'Applied explorer.show-hidden-files'
torvelane logout
prints 'Signed out'
torvelane status
prints '  Authenticated:  no'
prints '  Current tier:   none'
check 'logout reverts' grep -qx '  Applied tweaks: ' <<<"$output"
torvelane login Ada pro
prints 'Signed in as Ada, tier pro'

# The shell sees quotes, & and variables; what the command starts in passing outlives it.
torvelane apply tweaks.classic-context-menu
prints 'Applied tweaks.classic-context-menu'
value "$menu\\InprocServer32" '(Default)' REG_SZ ''
torvelane restore-all
prints 'Restored everything.'
check 'restore-all took the key away' lacks_key "$menu"
torvelane status
check 'nothing is applied at the end' grep -qx '  Applied tweaks: ' <<<"$output"

if [ "$failures" -gt 0 ]; then
  echo "verbs under Wine: $failures of $checks checks failed"
  exit 1
fi
echo "verbs under Wine: all $checks checks passed"
