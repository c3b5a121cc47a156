#!/usr/bin/env bash
# The Python package as users install it: `pip install .` into a fresh
# virtual environment (offline, Debian's numpy and setuptools), then, from
# folders outside the repository and with no FENNEL_DSP_* or PYTHONPATH
# variable: the import from /, the version, the README's Python snippet, and
# the example gallery, the message of a failed load, the host's scope.
#   check_python_package.sh <build dir>   (whose lib/ FENNEL_DSP_LIB_DIR names
#   to check the override; pip itself builds in the source tree's build/)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
build=$(cd "$1" && pwd)
scratch=$(mktemp -d "${TMPDIR:-/tmp}/fennel-pip.XXXXXX")
trap 'rm -rf "$scratch"' EXIT
unset PYTHONPATH FENNEL_DSP_LIB_DIR LD_LIBRARY_PATH

fail() { echo "check_python_package: $*" >&2; exit 1; }

/usr/bin/python3 -m venv --system-site-packages "$scratch/venv"
py="$scratch/venv/bin/python"
(cd "$root" && "$py" -m pip install --no-build-isolation --no-index -q .) >"$scratch/pip.log" 2>&1 \
  || { tail -n 40 "$scratch/pip.log"; fail "pip install . failed"; }

version=$(cd / && "$py" -c "import fennel_dsp as fd; print(fd.__version__)") || fail "import from / failed"
header=$(sed -n 's/^#define FENNEL_DSP_VERSION_\(MAJOR\|MINOR\|PATCH\) \([0-9]*\)$/\2/p' "$root/include/fennel_dsp.h" | paste -sd.)
[ "$version" = "$header" ] || fail "fd.__version__ $version, header $header"

# The libraries come from inside the installed package.
(cd / && "$py" -c "
import pathlib, fennel_dsp as fd
assert fd._native._lib_dir() == pathlib.Path(fd.__file__).parent, fd._native._lib_dir()") \
  || fail "libraries not loaded from the package"

awk '/^```python$/ {inside = 1; next} /^```$/ && inside {exit} inside' "$root/README.md" > "$scratch/snippet.py"
[ -s "$scratch/snippet.py" ] || fail "no Python snippet in README.md"
out=$(cd "$scratch" && "$py" snippet.py) || fail "README snippet failed"
case "$out" in *"peak at 1000.0 Hz"*) ;; *) fail "README snippet printed: $out" ;; esac

# The example gallery with the installed package, from a scratch folder.
(cd "$scratch" && "$py" "$root/examples/gallery.py" "$scratch/gallery" >"$scratch/gallery.log" 2>&1) \
  || { cat "$scratch/gallery.log"; fail "examples/gallery.py failed"; }
[ "$(ls "$scratch"/gallery/*.png | wc -l)" -eq 4 ] || fail "the gallery did not write its 4 PNG files"

# FENNEL_DSP_LIB_DIR overrides the package's own libraries.
(cd / && FENNEL_DSP_LIB_DIR="$build/lib" "$py" -c "
import pathlib, fennel_dsp as fd
assert fd._native._lib_dir() == pathlib.Path('$build/lib'), fd._native._lib_dir()") \
  || fail "FENNEL_DSP_LIB_DIR did not override"

# A failed load names the folder tried and the variable.
msg=$(cd / && FENNEL_DSP_LIB_DIR="$scratch/nowhere" "$py" -c "import fennel_dsp" 2>&1) && fail "load from an empty folder succeeded"
case "$msg" in *"$scratch/nowhere"*FENNEL_DSP_LIB_DIR*) ;; *) fail "load error does not name the folder and the variable: $msg" ;; esac

# The host in the global scope: a host already loaded locally is promoted by
# the import; another copy of the host loaded globally first is refused with
# an ImportError rather than ending the process at the first call.
(cd / && "$py" -c "
import ctypes, pathlib, importlib.util
folder = pathlib.Path(importlib.util.find_spec('fennel_dsp').origin).parent
ctypes.CDLL(str(folder / 'libfennel_host.so'))
import fennel_dsp as fd
assert abs(fd.fft([1.0, 2.0])[1] + 1) < 1e-12") || fail "import after a local load of the host failed"
mkdir "$scratch/other" && cp "$scratch"/venv/lib/python3*/site-packages/fennel_dsp/libfennel_host.so "$scratch/other/"
msg=$(cd / && "$py" -c "
import ctypes
ctypes.CDLL('$scratch/other/libfennel_host.so', mode=ctypes.RTLD_GLOBAL)
try:
    import fennel_dsp
except ImportError as err:
    print(err)" 2>&1) || fail "a shadowing host ended the process: $msg"
case "$msg" in *shadowed*) ;; *) fail "a shadowing host was not refused: $msg" ;; esac

echo "check_python_package: pip install ., import from /, version $version, README snippet, gallery, load errors, host scope: ok"
