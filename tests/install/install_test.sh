#!/usr/bin/env bash
# Installs the build tree into a scratch prefix and uses the result as integrators do: a
# separate CMake project that does not set the C++ standard (find_package), C and C++
# programs built through pkg-config, the Python module where the interpreter looks for the
# prefix, pip from the source tree, and the tool with its schemas.
# usage: install_test.sh BUILD_DIR SCRATCH_DIR PYTHON
set -euo pipefail
build=$1
scratch=$2
python=$3
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
prefix=$scratch/prefix
rm -rf "$scratch"
mkdir -p "$scratch"
fail() { echo "$*"; exit 1; }

cmake --install "$build" --prefix "$prefix" >/dev/null
purelib=$("$python" "$root/cmake/python_purelib.py" "$prefix")
for f in bin/vexqom include/vexqom.h include/vexqom/ICatItemCol.h lib/libvexqom_PLUMEK2.so \
         lib/libvexqom_PLUMEK2.so.2 lib/cmake/vexqom/vexqomConfig.cmake lib/pkgconfig/vexqom.pc \
         share/vexqom/schema/item-document.xsd "${purelib#"$prefix"/}/vexqom/__init__.pyi"; do
  [ -e "$prefix/$f" ] || fail "missing after install: $f"
done
readelf -d "$prefix/lib/libvexqom_PLUMEK2.so" | grep -q 'SONAME.*\[libvexqom_PLUMEK2\.so\.2\]' ||
  fail "no versioned SONAME"
! readelf -S "$prefix/lib/libvexqom_PLUMEK2.so" | grep -q '\.debug_info' || fail "not stripped"

# The consumer leaves the standard to the package; C++ through pkg-config adds cxxflags.
cmake -S "$here/consumer" -B "$scratch/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/consumer" >/dev/null
out=$("$scratch/consumer/consumer")
[ "$out" = $'2004 Chevrolet  |\ncount 0' ] || fail "consumer printed: $out"
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
rpath=-Wl,-rpath,$(pkg-config --variable=libdir vexqom)
cc "$here/pkgconfig_consumer.c" -o "$scratch/pkgconfig_consumer" $(pkg-config --cflags --libs vexqom) "$rpath"
out=$("$scratch/pkgconfig_consumer")
[ "$out" = "unknown class: -2147221164" ] || fail "pkg-config consumer printed: $out"
c++ $(pkg-config --variable=cxxflags vexqom) "$here/consumer/consumer.cpp" -o "$scratch/pkgconfig_cxx" \
    $(pkg-config --cflags --libs vexqom) "$rpath"
[ "$("$scratch/pkgconfig_cxx")" = $'2004 Chevrolet  |\ncount 0' ] || fail "pkg-config C++ consumer failed"

# Where the interpreter installs by default, it also looks.
"$python" -c 'import subprocess, sys
script = sys.argv[1]
where = subprocess.check_output([sys.executable, script, "--default-prefix"], text=True).strip()
folder = subprocess.check_output([sys.executable, script, where], text=True).strip()
sys.exit(None if folder in sys.path else f"{folder} is not searched")' "$root/cmake/python_purelib.py"
out=$(cd "$scratch" && env -u VEXQOM_LIBRARY PYTHONPATH="$purelib" "$python" -c 'import vexqom
v = vexqom.ICatVehicle(); v.Make = "Ford"
print(vexqom._library_path, v.Description, vexqom.__version__, "Make" in dir(v))')
[ "$out" = "$prefix/lib/libvexqom_PLUMEK2.so.2  Ford   2.20.0 True" ] || fail "python printed: $out"

# pip from the source tree as the README says, with Debian's own setuptools and no network.
if /usr/bin/python3 -c 'import ensurepip, wheel' 2>/dev/null; then
  cp -r "$root/python" "$scratch/python-source"  # pip builds in place: not in the tree
  /usr/bin/python3 -m venv --system-site-packages "$scratch/venv"
  "$scratch/venv/bin/pip" install -q --no-build-isolation --no-index "$scratch/python-source"
  out=$(cd "$scratch" && VEXQOM_LIBRARY="$prefix/lib/libvexqom_PLUMEK2.so" \
        "$scratch/venv/bin/python" -c 'import vexqom; print(len(vexqom.ICatItemCol()))')
  [ "$out" = 0 ] || fail "pip-installed module printed: $out"
  ls "$scratch"/venv/lib/python3*/site-packages/vexqom/__init__.pyi >/dev/null ||
    fail "pip left out the type stubs"
fi

tool=$prefix/bin/vexqom
"$tool" show "$root/examples/selection.xml" | grep -q "Total cost: 64.87"
"$tool" --version | grep -q "^vexqom 2.20.0 "
"$tool" validate --schema "$root/examples/selection.xml"
# The installed tool reads the installed schemas: a broken copy there is what it reports.
echo broken > "$prefix/share/vexqom/schema/item-document.xsd"
out=$("$tool" validate --schema "$root/examples/selection.xml" 2>&1 || true)
[[ $out == *"cannot read the schema $prefix/share/vexqom/schema/item-document.xsd"* ]] ||
  fail "the installed tool did not use the installed schemas: $out"
echo "installed package usable from CMake, pkg-config (C and C++), Python, pip and the tool"
