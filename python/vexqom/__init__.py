"""Python host module for the vexqom_PLUMEK2 catalog selection library.

Standard library only: the shared library is reached through its C interface with
ctypes. Objects are created by creation name (or by their class) and used through
dispatch; member names are caseless:

    import vexqom
    vehicle = vexqom.Dispatch("vexqom_PLUMEK2.ICatVehicle")   # or vexqom.ICatVehicle()
    vehicle.Year = "2001"
    print(vehicle.Description)

Each class of the library (ICatItemCol, ICatItem, ...) is a subclass of Dispatch made
from the library's type library when the module is imported, so dir(), help() and
completion list its members with their parameters.

The shared library is found through the environment variable VEXQOM_LIBRARY (a path to
the library, or to the folder holding it), else next to this package (inside its folder,
then beside it), else in the project's build folder, else where the installation put it,
else through the system's loader (after an installation and ldconfig).
"""

import ctypes
import decimal
import inspect
import json
import os
import pathlib
import typing

__version__ = "2.20.0"

__all__ = ["Dispatch", "Error", "MemberNotFoundError", "TypeMismatchError", "Null"]

_LIBRARY_FILE = "libvexqom_PLUMEK2.so"
_LIBRARY_SONAME = _LIBRARY_FILE + "." + __version__.split(".")[0]

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

    def __init__(self, number, source, description, message=None):
        super().__init__(message or f"{description} (error {number})")
        self.number = number
        self.source = source
        self.description = description


class MemberNotFoundError(Error, AttributeError):
    """No member of that name (library error -2147352573, also an AttributeError)."""

    def __init__(self, obj, name):
        Error.__init__(self, _MEMBER_NOT_FOUND, _SOURCE, "Member not found",
                       f"{_class_name(obj)} has no member {name!r} (error {_MEMBER_NOT_FOUND})")
        self.name = name
        self.obj = obj  # with name: lets Python suggest a near member


class TypeMismatchError(Error, TypeError):
    """A Python value with no library counterpart (library error 13, also a TypeError)."""

    def __init__(self, value):
        Error.__init__(self, _TYPE_MISMATCH, _SOURCE, "Type mismatch",
                       f"a {type(value).__name__} cannot be passed to the library; use None, "
                       f"vexqom.Null, int, float, Decimal, bool, str or a vexqom object "
                       f"(error {_TYPE_MISMATCH})")
        self.value = value


# These are what a traceback names.
for _public in (Error, MemberNotFoundError, TypeMismatchError):
    _public.__module__ = __name__


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
    try:  # installed system-wide: the loader knows it by its versioned name
        return _LIBRARY_SONAME, ctypes.CDLL(_LIBRARY_SONAME)
    except OSError:
        tried.append(_LIBRARY_SONAME + " through the system's loader")
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
_lib.vq_class_name.argtypes = [ctypes.c_void_p]
_lib.vq_class_name.restype = ctypes.c_char_p
_lib.vq_type_library.restype = ctypes.c_char_p
_lib.vq_version.restype = ctypes.c_char_p


def _check(status):
    if status != 0:
        raise Error(
            status,
            (_lib.vq_error_source() or b"").decode("utf-8", "replace"),
            (_lib.vq_error_description() or b"").decode("utf-8", "replace"),
        )


def _class_name(obj):
    handle = getattr(obj, "_handle", None)
    return (_lib.vq_class_name(handle) or b"Dispatch").decode() if handle else "Dispatch"


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
        raise TypeMismatchError(py)


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
        return _wrap(value.obj)
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
    """A member reached by a caseless name and called with arguments: obj.item("K1")."""

    __slots__ = ("_owner", "_dispid", "_flags")

    def __init__(self, owner, dispid, flags):
        self._owner, self._dispid, self._flags = owner, dispid, flags

    def __call__(self, *args):
        return _invoke(self._owner._handle, self._dispid, self._flags, args)


def _wrap(handle):
    """A Python object of the right class for a handle that holds one reference."""
    name = (_lib.vq_class_name(handle) or b"").decode()
    self = object.__new__(_CLASSES.get(name, Dispatch))
    object.__setattr__(self, "_handle", handle)
    object.__setattr__(self, "_sinks", {})
    return self


class Dispatch:
    """A library object reached by dispatch. Member names are caseless.

    Dispatch("vexqom_PLUMEK2.ICatItemCol") creates an object by creation name (or
    class identifier) and gives it as its class, here vexqom.ICatItemCol.
    """

    __slots__ = ("_handle", "_sinks", "__weakref__")
    _creation_name = None

    def __new__(cls, *args):
        if cls._creation_name is not None:  # vexqom.ICatItemCol()
            if args:
                raise TypeError(f"{cls.__name__}() takes no arguments ({len(args)} given)")
            creation_name = cls._creation_name
        elif len(args) != 1 or not isinstance(args[0], str):
            given = f"{len(args)} arguments" if len(args) != 1 else repr(args[0])
            raise TypeError("Dispatch() takes one creation name such as "
                            f"'vexqom_PLUMEK2.ICatItemCol', not {given}")
        else:
            creation_name = args[0]
        handle = ctypes.c_void_p()
        _check(_lib.vq_create(creation_name.encode("utf-8"), ctypes.byref(handle)))
        return _wrap(handle.value)

    def __init__(self, *args):
        pass  # all done by __new__

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

    def __bool__(self):
        return True  # an object, whatever its Count: the empty reference is None

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
        # Reached for names the class does not spell exactly: dispatch is caseless.
        if name.startswith("__") or name in Dispatch.__slots__:
            raise AttributeError(name)
        dispid = self._dispid(name)
        if dispid is None:
            if name[:3].lower() == "set":
                target = self._dispid(name[3:])
                if target is not None:
                    return self._setter(target)
            raise MemberNotFoundError(self, name)
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
            raise MemberNotFoundError(self, name)
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
        return "<vexqom.%s object at 0x%x>" % (_class_name(self), self._handle or 0)

    # The object lives inside the library: a pickle would hold a dangling pointer and a
    # shallow copy a second owner of one reference.
    def __reduce_ex__(self, protocol):
        raise TypeError(f"cannot pickle a vexqom {_class_name(self)} object: it lives in "
                        "the library; pickle its XML text instead")

    def __copy__(self):
        raise TypeError(f"cannot copy a vexqom {_class_name(self)} object: create a new one "
                        "and assign it this one's XML text")

    def __deepcopy__(self, memo):
        return self.__copy__()


# ---- Classes made from the type library ----

_TYPES = {"Text": str, "Long": int, "Integer": int, "Double": float,
          "Currency": decimal.Decimal, "Boolean": bool, "Variant": typing.Any,
          "vexCatalogItemType": int, "enumerator": typing.Iterator, "none": None}

# The keyed collection GetDescriptions returns is the platform's, not in the type library.
_COLLECTION = [
    {"name": "Item", "accessor": "get", "dispid": 0, "hidden": False, "result": "Variant",
     "params": [{"name": "Index", "type": "Variant", "optional": False}]},
    {"name": "Add", "accessor": "method", "dispid": 1, "hidden": False, "result": "none",
     "params": [{"name": "Item", "type": "Variant", "optional": False},
                {"name": "Key", "type": "Variant", "optional": True, "default": None}]},
    {"name": "Count", "accessor": "get", "dispid": 2, "hidden": False, "result": "Long",
     "params": []},
    {"name": "Remove", "accessor": "method", "dispid": 3, "hidden": False, "result": "none",
     "params": [{"name": "Index", "type": "Variant", "optional": False}]},
    {"name": "NewEnum", "accessor": "get", "dispid": -4, "hidden": True,
     "result": "enumerator", "params": []},
]


def _annotation(type_name):
    return _TYPES[type_name] if type_name in _TYPES else _CLASSES.get(type_name, Dispatch)


def _signature(params, result):
    parameters = [inspect.Parameter("self", inspect.Parameter.POSITIONAL_ONLY)]
    for i, p in enumerate(params):
        # An optional parameter before a required one (a let's location before its value)
        # is given like a required one.
        optional = all(q["optional"] for q in params[i:])
        parameters.append(inspect.Parameter(
            p["name"], inspect.Parameter.POSITIONAL_OR_KEYWORD,
            default=p.get("default") if optional else inspect.Parameter.empty,
            annotation=_annotation(p["type"])))
    return inspect.Signature(parameters, return_annotation=_annotation(result))


def _caller(class_name, name, dispid, flags, signature):
    """A method that checks its arguments against the member's parameters, then invokes."""
    params = list(signature.parameters.values())[1:]

    def member(self, *args, **kwargs):
        try:
            bound = signature.bind(self, *args, **kwargs)
        except TypeError as e:
            raise TypeError(f"{class_name}.{name}(): {e}") from None
        # Optional parameters left out at the end stay out; one left out before a given
        # one takes its default.
        given = [i for i, p in enumerate(params) if p.name in bound.arguments]
        values = [bound.arguments.get(p.name, p.default) for p in params[:given[-1] + 1]] \
            if given else []
        return _invoke(self._handle, dispid, flags, values)

    member.__name__ = name
    member.__qualname__ = f"{class_name}.{name}"
    member.__signature__ = signature
    return member


def _add_members(cls, entries):
    """Gives a class one attribute per member: a property for a get without parameters,
    a method otherwise, and Set<Name> for a let that takes parameters."""
    members = {}  # name -> {accessor: entry}, in slot order
    for entry in entries:
        members.setdefault(entry["name"], {})[entry["accessor"]] = entry
    for name, accessors in members.items():
        first = next(iter(accessors.values()))
        if first["hidden"]:
            continue  # NewEnum: iter(obj)
        dispid = first["dispid"]
        kinds = ", ".join(accessors)
        reader = accessors.get("get") or accessors.get("method")
        if reader is not None and (reader["params"] or "get" not in accessors):
            function = _caller(cls.__name__, name, dispid, VQ_METHOD | VQ_GET,
                               _signature(reader["params"], reader["result"]))
            function.__doc__ = f"{kinds}; dispatch id {dispid & 0xFFFFFFFF:#010x}"
            setattr(cls, name, function)
        else:
            def fget(self, _dispid=dispid):
                return _invoke(self._handle, _dispid, VQ_GET, ())

            def fset(self, value, _name=name):
                Dispatch.__setattr__(self, _name, value)

            result = reader["result"] if reader else "none"
            fget.__annotations__ = {"return": _annotation(result)}
            writer = accessors.get("let") or accessors.get("set")
            if writer is not None:
                fset.__annotations__ = {"value": _annotation(writer["params"][-1]["type"])}
            writable = writer is not None
            setattr(cls, name, property(fget, fset if writable else None,
                                        doc=f"{result}: {kinds}; dispatch id "
                                            f"{dispid & 0xFFFFFFFF:#010x}"))
        writer = accessors.get("let") or accessors.get("set")
        if writer is not None and len(writer["params"]) > 1:
            flags = VQ_LET if "let" in accessors else VQ_SET
            function = _caller(cls.__name__, "Set" + name, dispid, flags,
                               _signature(writer["params"], "none"))
            function.__doc__ = f"{name}: {'let' if flags == VQ_LET else 'set'} with parameters"
            setattr(cls, "Set" + name, function)
    if "Count" in members and "NewEnum" in members:
        def length(self):
            """The number of members (Count)."""
            return self.Count

        cls.__len__ = length


def _make_classes():
    """One Dispatch subclass per class of the type library, and the keyed collection's."""
    library = json.loads(_lib.vq_type_library().decode("utf-8"))
    interfaces = {i["name"]: i for i in library["interfaces"]}
    described = [(c["name"], c["creation_name"], interfaces[c["interface"]]["members"])
                 for c in library["classes"]] + [("Collection", None, _COLLECTION)]
    # All classes first: members name other classes in their annotations.
    for name, creation_name, _ in described:
        doc = f"The library's {name}" + (
            f", created as {name}() or Dispatch({creation_name!r})." if creation_name
            else ", as the library hands it out.")
        _CLASSES[name] = type(name, (Dispatch,), {"__slots__": (), "__doc__": doc,
                                                  "__module__": __name__,
                                                  "_creation_name": creation_name})
        if creation_name:
            _CLASSES[name].__signature__ = inspect.Signature()  # help(): ICatItemCol()
    for name, _, members in described:
        _add_members(_CLASSES[name], members)


_CLASSES = {}
_make_classes()
globals().update(_CLASSES)
__all__ += list(_CLASSES)
