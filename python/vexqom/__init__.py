"""Python host module for the vexqom_PLUMEK2 catalog selection library.

Standard library only: the shared library is reached through its C interface with
ctypes. Objects are created by creation name and used through dispatch:

    import vexqom
    vehicle = vexqom.Dispatch("vexqom_PLUMEK2.ICatVehicle")
    vehicle.Year = "2001"
    print(vehicle.Description)

The shared library is found through the environment variable VEXQOM_LIBRARY (a path to
the library, or to the folder holding it), else next to this package (inside its folder,
then beside it), else in the project's build folder, else where the installation put it.
"""

import ctypes
import decimal
import os
import pathlib

__all__ = ["Dispatch", "Error", "Null"]

_LIBRARY_FILE = "libvexqom_PLUMEK2.so"

VQ_EMPTY, VQ_NULL, VQ_INTEGER, VQ_LONG, VQ_DOUBLE = 0, 1, 2, 3, 5
VQ_CURRENCY, VQ_TEXT, VQ_OBJECT, VQ_BOOLEAN = 6, 8, 9, 11
VQ_METHOD, VQ_GET, VQ_LET, VQ_SET = 1, 2, 4, 8
_DISPID_VALUE = 0
_DISPID_NEWENUM = -4
_MEMBER_NOT_FOUND = -2147352573
_OVERFLOW = 6
_TYPE_MISMATCH = 13
_SOURCE = "vexqom_PLUMEK2"
# Currency: value x 10,000 in a signed 64-bit integer.
_CURRENCY_MIN, _CURRENCY_MAX = -(2 ** 63), 2 ** 63 - 1
# Enough digits for any Currency amount, whatever the caller's decimal context.
_DECIMAL_CONTEXT = decimal.Context(prec=40, rounding=decimal.ROUND_HALF_EVEN)


class _NullType:
    """The null value (distinct from None, which is the empty value)."""

    _instance = None

    def __new__(cls):
        if cls._instance is None:
            cls._instance = super().__new__(cls)
        return cls._instance

    def __repr__(self):
        return "vexqom.Null"

    def __bool__(self):
        return False


Null = _NullType()


class Error(Exception):
    """A failure raised by the library: number, source and description."""

    def __init__(self, number, source, description):
        super().__init__(f"{description} (error {number})")
        self.number = number
        self.source = source
        self.description = description


class _MemberNotFound(Error, AttributeError):
    """No member of that name: a library error that is also an AttributeError."""

    def __init__(self, name):
        Error.__init__(self, _MEMBER_NOT_FOUND, _SOURCE, "Member not found")
        self.name = name


class _UnmappedValue(Error, TypeError):
    """A Python value with no library counterpart (error 13, also a TypeError)."""

    def __init__(self, value):
        Error.__init__(self, _TYPE_MISMATCH, _SOURCE, "Type mismatch")
        self.value = value


class _Value(ctypes.Structure):
    _fields_ = [
        ("kind", ctypes.c_int32),
        ("i", ctypes.c_int64),
        ("d", ctypes.c_double),
        ("text", ctypes.c_void_p),
        ("text_len", ctypes.c_size_t),
        ("obj", ctypes.c_void_p),
    ]


_EventFn = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int32)


def _candidate_paths():
    explicit = os.environ.get("VEXQOM_LIBRARY")
    if explicit:
        path = pathlib.Path(explicit)
        yield path / _LIBRARY_FILE if path.is_dir() else path
    here = pathlib.Path(__file__).resolve().parent
    yield here / _LIBRARY_FILE
    yield here.parent / _LIBRARY_FILE
    yield here.parent.parent / "build" / _LIBRARY_FILE
    try:  # written by the installation: where the installed library went
        from ._installed import LIBRARY
        yield pathlib.Path(LIBRARY)
    except ImportError:
        pass


def _load_library():
    tried = []
    for path in _candidate_paths():
        tried.append(str(path))
        if path.is_file():
            return str(path), ctypes.CDLL(str(path))
    raise OSError("cannot find %s; tried: %s" % (_LIBRARY_FILE, ", ".join(tried)))


_library_path, _lib = _load_library()
_libc = ctypes.CDLL(None)
_libc.malloc.restype = ctypes.c_void_p
_libc.malloc.argtypes = [ctypes.c_size_t]

_lib.vq_create.argtypes = [ctypes.c_char_p, ctypes.POINTER(ctypes.c_void_p)]
_lib.vq_create.restype = ctypes.c_int32
_lib.vq_addref.argtypes = [ctypes.c_void_p]
_lib.vq_addref.restype = ctypes.c_uint32
_lib.vq_release.argtypes = [ctypes.c_void_p]
_lib.vq_release.restype = ctypes.c_uint32
_lib.vq_get_dispid.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.POINTER(ctypes.c_int32)]
_lib.vq_get_dispid.restype = ctypes.c_int32
_lib.vq_invoke.argtypes = [ctypes.c_void_p, ctypes.c_int32, ctypes.c_int32,
                           ctypes.POINTER(_Value), ctypes.c_size_t, ctypes.POINTER(_Value)]
_lib.vq_invoke.restype = ctypes.c_int32
_lib.vq_value_clear.argtypes = [ctypes.POINTER(_Value)]
_lib.vq_value_clear.restype = None
_lib.vq_error_number.restype = ctypes.c_int32
_lib.vq_error_source.restype = ctypes.c_char_p
_lib.vq_error_description.restype = ctypes.c_char_p
_lib.vq_advise.argtypes = [ctypes.c_void_p, _EventFn, ctypes.c_void_p,
                           ctypes.POINTER(ctypes.c_uint32)]
_lib.vq_advise.restype = ctypes.c_int32
_lib.vq_unadvise.argtypes = [ctypes.c_void_p, ctypes.c_uint32]
_lib.vq_unadvise.restype = ctypes.c_int32
_lib.vq_enum_next.argtypes = [ctypes.c_void_p, ctypes.POINTER(_Value)]
_lib.vq_enum_next.restype = ctypes.c_int32
_lib.vq_member_info.argtypes = [ctypes.c_void_p, ctypes.c_int32,
                                ctypes.POINTER(ctypes.c_int32), ctypes.POINTER(ctypes.c_int32)]
_lib.vq_member_info.restype = ctypes.c_int32


def _check(status):
    if status != 0:
        raise Error(
            status,
            (_lib.vq_error_source() or b"").decode("utf-8", "replace"),
            (_lib.vq_error_description() or b"").decode("utf-8", "replace"),
        )


def _to_value(py, out):
    """Fills a C value from a Python value; texts are malloc'ed, objects add a reference."""
    ctypes.memset(ctypes.byref(out), 0, ctypes.sizeof(out))
    if py is None:
        out.kind = VQ_EMPTY
    elif py is Null:
        out.kind = VQ_NULL
    elif isinstance(py, bool):
        out.kind, out.i = VQ_BOOLEAN, (-1 if py else 0)
    elif isinstance(py, int):
        out.kind, out.i = VQ_LONG, py
        if not -(2 ** 63) <= py < 2 ** 63:
            out.kind, out.d = VQ_DOUBLE, float(py)
    elif isinstance(py, float):
        out.kind, out.d = VQ_DOUBLE, py
    elif isinstance(py, decimal.Decimal):
        if not py.is_finite():
            raise Error(_OVERFLOW, _SOURCE, "Overflow")
        raw = int(_DECIMAL_CONTEXT.multiply(py, 10000).to_integral_value(
            rounding=decimal.ROUND_HALF_EVEN, context=_DECIMAL_CONTEXT))
        if not _CURRENCY_MIN <= raw <= _CURRENCY_MAX:
            raise Error(_OVERFLOW, _SOURCE, "Overflow")
        out.kind, out.i = VQ_CURRENCY, raw
    elif isinstance(py, str):
        data = py.encode("utf-8", "surrogatepass")
        buf = _libc.malloc(len(data) + 1)
        if not buf:
            raise MemoryError()
        ctypes.memmove(buf, data, len(data))
        ctypes.memset(buf + len(data), 0, 1)
        out.kind, out.text, out.text_len = VQ_TEXT, buf, len(data)
    elif isinstance(py, Dispatch):
        out.kind, out.obj = VQ_OBJECT, py._handle
        if py._handle:
            _lib.vq_addref(py._handle)
    else:
        raise _UnmappedValue(py)


def _from_value(value):
    """Reads a C value the library filled; the caller clears it afterwards."""
    kind = value.kind
    if kind == VQ_EMPTY:
        return None
    if kind == VQ_NULL:
        return Null
    if kind in (VQ_INTEGER, VQ_LONG):
        return int(value.i)
    if kind == VQ_DOUBLE:
        return float(value.d)
    if kind == VQ_CURRENCY:
        return _DECIMAL_CONTEXT.divide(decimal.Decimal(value.i), 10000)
    if kind == VQ_BOOLEAN:
        return value.i != 0
    if kind == VQ_TEXT:
        return ctypes.string_at(value.text, value.text_len).decode("utf-8", "surrogatepass")
    if kind == VQ_OBJECT:
        if not value.obj:
            return None
        _lib.vq_addref(value.obj)
        return Dispatch._wrap(value.obj)
    raise Error(_TYPE_MISMATCH, _SOURCE, "Type mismatch")


def _invoke(handle, dispid, flags, args):
    n = len(args)
    c_args = (_Value * max(n, 1))()
    result = _Value()
    try:
        for i, a in enumerate(args):
            _to_value(a, c_args[i])
        _check(_lib.vq_invoke(handle, dispid, flags, c_args, n, ctypes.byref(result)))
        return _from_value(result)
    finally:
        for i in range(n):
            _lib.vq_value_clear(ctypes.byref(c_args[i]))
        _lib.vq_value_clear(ctypes.byref(result))


class _Member:
    """A member called with arguments: obj.Item("K1"), obj.Clear()."""

    __slots__ = ("_owner", "_dispid", "_flags")

    def __init__(self, owner, dispid, flags):
        self._owner, self._dispid, self._flags = owner, dispid, flags

    def __call__(self, *args):
        return _invoke(self._owner._handle, self._dispid, self._flags, args)


class Dispatch:
    """A library object reached by dispatch. Member names are caseless."""

    __slots__ = ("_handle", "_sinks", "__weakref__")

    def __init__(self, creation_name):
        # Set before anything can fail, so that a refused creation is cleaned up quietly.
        object.__setattr__(self, "_handle", None)
        object.__setattr__(self, "_sinks", {})
        handle = ctypes.c_void_p()
        _check(_lib.vq_create(creation_name.encode("utf-8"), ctypes.byref(handle)))
        object.__setattr__(self, "_handle", handle.value)
        object.__setattr__(self, "_sinks", {})

    @classmethod
    def _wrap(cls, handle):
        self = object.__new__(cls)
        object.__setattr__(self, "_handle", handle)
        object.__setattr__(self, "_sinks", {})
        return self

    def __del__(self):
        handle = getattr(self, "_handle", None)
        if handle:
            for cookie in list(getattr(self, "_sinks", {})):
                _lib.vq_unadvise(handle, cookie)
            object.__setattr__(self, "_handle", None)
            _lib.vq_release(handle)

    def __eq__(self, other):
        return isinstance(other, Dispatch) and other._handle == self._handle

    def __hash__(self):
        return hash(self._handle)

    def _dispid(self, name):
        dispid = ctypes.c_int32()
        status = _lib.vq_get_dispid(self._handle, name.encode("utf-8"), ctypes.byref(dispid))
        if status == _MEMBER_NOT_FOUND:
            return None
        _check(status)
        return dispid.value

    def _info(self, dispid):
        accessors, params = ctypes.c_int32(), ctypes.c_int32()
        _check(_lib.vq_member_info(self._handle, dispid, ctypes.byref(accessors),
                                   ctypes.byref(params)))
        return accessors.value, params.value

    def __getattr__(self, name):
        if name.startswith("__") or name in Dispatch.__slots__:
            raise AttributeError(name)
        dispid = self._dispid(name)
        if dispid is None:
            if name[:3].lower() == "set":
                target = self._dispid(name[3:])
                if target is not None:
                    return self._setter(target)
            raise _MemberNotFound(name)
        accessors, params = self._info(dispid)
        if accessors & VQ_GET and params == 0:
            return _invoke(self._handle, dispid, VQ_GET, ())
        return _Member(self, dispid, VQ_METHOD | VQ_GET)

    def _setter(self, dispid):
        accessors, _ = self._info(dispid)

        def assign(*args):
            if not args:
                raise TypeError("a value to assign is needed")
            value = args[-1]
            use_set = (isinstance(value, Dispatch) or value is None) and accessors & VQ_SET
            _invoke(self._handle, dispid, VQ_SET if use_set else VQ_LET, args)

        return assign

    def __setattr__(self, name, value):
        dispid = self._dispid(name)
        if dispid is None:
            raise _MemberNotFound(name)
        accessors, _ = self._info(dispid)
        wants_set = isinstance(value, Dispatch) or (value is None and not accessors & VQ_LET)
        _invoke(self._handle, dispid, VQ_SET if wants_set and accessors & VQ_SET else VQ_LET,
                (value,))

    def __call__(self, *args):
        return _invoke(self._handle, _DISPID_VALUE, VQ_METHOD | VQ_GET, args)

    def __getitem__(self, key):
        return _invoke(self._handle, _DISPID_VALUE, VQ_METHOD | VQ_GET, (key,))

    def __iter__(self):
        enumerator = _invoke(self._handle, _DISPID_NEWENUM, VQ_METHOD | VQ_GET, ())
        if enumerator is None:
            return
        value = _Value()
        while True:
            status = _lib.vq_enum_next(enumerator._handle, ctypes.byref(value))
            if status == 0:
                return
            if status != 1:
                _check(status)
            try:
                member = _from_value(value)
            finally:
                _lib.vq_value_clear(ctypes.byref(value))
            yield member

    def advise(self, callback):
        """Calls callback() on each event of this object; returns the cookie."""

        def trampoline(_context, _source, _dispid):
            callback()

        c_callback = _EventFn(trampoline)
        cookie = ctypes.c_uint32()
        _check(_lib.vq_advise(self._handle, c_callback, None, ctypes.byref(cookie)))
        self._sinks[cookie.value] = c_callback  # keeps the C callback alive
        return cookie.value

    def unadvise(self, cookie):
        _check(_lib.vq_unadvise(self._handle, cookie))
        self._sinks.pop(cookie, None)

    def __repr__(self):
        return "<vexqom.Dispatch at 0x%x>" % (self._handle or 0)
