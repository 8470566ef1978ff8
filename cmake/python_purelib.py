"""Prints the folder where this Python interpreter looks for pure-Python packages installed
under PREFIX (its "purelib" for that prefix).

    python3 python_purelib.py PREFIX
    python3 python_purelib.py --default-prefix   # the prefix the interpreter installs to

Debian's interpreter installs into /usr/local by its "posix_local" scheme, whose paths are
written as {base}/local/lib/python3.X/dist-packages with base /usr: for another prefix the
"local/" part belongs to the prefix, not to the folder below it. Its own prefix, /usr, is
the system's ("deb_system": /usr/lib/python3/dist-packages).
"""
import os
import sys
import sysconfig


def debian_local():
    return sysconfig.get_preferred_scheme("prefix") == "posix_local"


def default_prefix():
    return os.path.join(sys.base_prefix, "local") if debian_local() else sys.prefix


def purelib(prefix):
    if debian_local() and os.path.normpath(prefix) == sys.base_prefix:
        return sysconfig.get_paths("deb_system", vars={"base": prefix})["purelib"]
    if debian_local():
        local = sysconfig.get_paths("posix_local", vars={"base": sys.base_prefix})["purelib"]
        return os.path.join(prefix, os.path.relpath(local, default_prefix()))
    scheme = sysconfig.get_preferred_scheme("prefix")
    return sysconfig.get_paths(scheme, vars={"base": prefix, "platbase": prefix})["purelib"]


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    print(default_prefix() if sys.argv[1] == "--default-prefix" else purelib(sys.argv[1]))
