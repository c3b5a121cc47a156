#!/usr/bin/env bash
# Runs the Windows build's tests under Wine: lays out the module folders,
# runs the test program (load rules, environment, registry, missing core),
# and compares the sampled results with the Linux build's.
#   run_wine_tests.sh <linux build dir> <windows build dir>
set -euo pipefail
linux=$(cd "$1" && pwd)
win=$(cd "$2" && pwd)
wine=/usr/lib/wine/wine64
[ -x "$wine" ] || wine=$(command -v wine64 || command -v wine)

layout="$win/wine-layout"
rm -rf "$layout"
mkdir -p "$layout/moddir" "$layout/regdir/13.0.0" "$layout/nocore"
tw="$win/test-modules"
cp "$tw/ZORVA_FFT.dll" "$tw/libiomp5md.dll" "$tw/zorva_core_130000.dll" "$layout/moddir/"
cp "$tw/libiomp5md.dll" "$tw/zorva_core_130000.dll" "$layout/regdir/13.0.0/"
cp "$tw/ZORVA_FFT.dll" "$tw/libiomp5md.dll" "$layout/nocore/"

winpath() { echo "Z:$1" | tr '/' '\\'; }

export WINEPREFIX="$win/wineprefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
[ -d "$WINEPREFIX" ] || "$wine" wineboot --init >/dev/null 2>&1 || true

status=0
"$wine" "$win/bin/wine_test.exe" "$(winpath "$win/bin")" "$(winpath "$layout")" "$(winpath "$win/windows-samples.txt")" \
  | tr -d '\r' | sed '/ passed, .* failed$/d' > "$win/wine-test.log" || status=1
FENNEL_DSP_PLANNER=estimate "$linux/bin/fennel_sampler" > "$win/linux-samples.txt"
/usr/bin/python3 "$(dirname "$0")/compare_samples.py" "$win/linux-samples.txt" "$win/windows-samples.txt" \
  >> "$win/wine-test.log" || status=1
tail -n +2 "$win/wine-test.log" | grep -v '^ok: [a-zA-Z]' || true
checks_failed=$(grep -c '^FAILED' "$win/wine-test.log" || true)
checks_passed=$(grep -c '^ok' "$win/wine-test.log" || true)
echo "windows: $checks_passed passed, $checks_failed failed"
[ "$checks_failed" -eq 0 ] || status=1
exit $status
