#!/usr/bin/env bash
# Installs the build tree into a scratch prefix and uses the result three ways: a separate
# CMake project (find_package), a C program built through pkg-config, and the Python module
# without any hint where the library is.
# usage: install_test.sh BUILD_DIR SCRATCH_DIR
set -euo pipefail
build=$1
scratch=$2
here=$(cd "$(dirname "$0")" && pwd)
prefix=$scratch/prefix
rm -rf "$scratch"
mkdir -p "$scratch"

cmake --install "$build" --prefix "$prefix" >/dev/null
for f in bin/vexqom include/vexqom.h include/vexqom/ICatItemCol.h lib/libvexqom_PLUMEK2.so \
         lib/cmake/vexqom/vexqomConfig.cmake lib/pkgconfig/vexqom.pc \
         lib/python3/dist-packages/vexqom/__init__.py; do
  [ -e "$prefix/$f" ] || { echo "missing after install: $f"; exit 1; }
done

cmake -S "$here/consumer" -B "$scratch/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/consumer" >/dev/null
out=$("$scratch/consumer/consumer")
[ "$out" = $'2004 Chevrolet  |\ncount 0' ] || { echo "consumer printed: $out"; exit 1; }

export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
cc "$here/pkgconfig_consumer.c" -o "$scratch/pkgconfig_consumer" $(pkg-config --cflags --libs vexqom) \
   -Wl,-rpath,"$(pkg-config --variable=libdir vexqom)"
out=$("$scratch/pkgconfig_consumer")
[ "$out" = "unknown class: -2147221164" ] || { echo "pkg-config consumer printed: $out"; exit 1; }

out=$(cd "$scratch" && env -u VEXQOM_LIBRARY PYTHONPATH="$prefix/lib/python3/dist-packages" \
      python3 -c 'import vexqom; v = vexqom.Dispatch("vexqom_PLUMEK2.ICatVehicle"); v.Make = "Ford"; print(vexqom._library_path, v.Description)')
[ "$out" = "$prefix/lib/libvexqom_PLUMEK2.so  Ford  " ] || { echo "python printed: $out"; exit 1; }

"$prefix/bin/vexqom" show "$here/../../examples/selection.xml" | grep -q "Total cost: 64.87"
echo "installed package usable from CMake, pkg-config, Python and the tool"
