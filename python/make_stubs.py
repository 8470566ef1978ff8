"""Writes the type stubs of the vexqom module (vexqom/__init__.pyi) from the classes the
module makes out of the library's type library, so that editors and type checkers know
every member without loading the library.

    VEXQOM_LIBRARY=build/libvexqom_PLUMEK2.so python3 python/make_stubs.py          # write
    VEXQOM_LIBRARY=build/libvexqom_PLUMEK2.so python3 python/make_stubs.py --check  # compare
"""
import decimal
import inspect
import pathlib
import sys
import typing

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))
import vexqom  # noqa: E402  (the package beside this script)

STUBS = HERE / "vexqom" / "__init__.pyi"

HEAD = '''\
# Type stubs of the vexqom module, written by python/make_stubs.py from the library's
# type library. Do not edit: run it again when the member tables change.
import decimal
from typing import Any, Callable, Iterator, Literal, overload

__version__: str

class Error(Exception):
    number: int
    source: str
    description: str

class MemberNotFoundError(Error, AttributeError): ...
class TypeMismatchError(Error, TypeError): ...

class _NullType: ...

Null: _NullType

class Dispatch:
{creation}
    @overload
    def __new__(cls, creation_name: str) -> Dispatch: ...
    def __getattr__(self, name: str) -> Any: ...
    def __setattr__(self, name: str, value: Any) -> None: ...
    def __call__(self, *args: Any) -> Any: ...
    def __getitem__(self, key: Any) -> Any: ...
    def __iter__(self) -> Iterator[Any]: ...
    def advise(self, callback: Callable[[], None]) -> int: ...
    def unadvise(self, cookie: int) -> None: ...
'''


def spelled(annotation):
    if annotation is None or annotation is inspect.Signature.empty:
        return "None"
    if annotation is typing.Any:
        return "Any"
    if annotation is typing.Iterator:
        return "Iterator[Any]"
    if annotation is decimal.Decimal:
        return "decimal.Decimal"
    return annotation.__name__


def parameters(signature):
    out = []
    for p in signature.parameters.values():
        if p.name == "self":
            out.append("self")
            continue
        text = f"{p.name}: {spelled(p.annotation)}"
        if p.default is not inspect.Parameter.empty:
            text += f" = {p.default!r}"
        out.append(text)
    return ", ".join(out)


def class_stub(cls):
    lines = [f"class {cls.__name__}(Dispatch):"]
    if cls._creation_name:
        lines.append(f"    def __new__(cls) -> {cls.__name__}: ...")
    for name, attribute in vars(cls).items():
        if isinstance(attribute, property):
            result = spelled(attribute.fget.__annotations__["return"])
            lines += ["    @property", f"    def {name}(self) -> {result}: ..."]
            if attribute.fset is not None:
                value = spelled(attribute.fset.__annotations__.get("value", typing.Any))
                lines += [f"    @{name}.setter", f"    def {name}(self, value: {value}) -> None: ..."]
        elif callable(attribute) and hasattr(attribute, "__signature__"):
            signature = attribute.__signature__
            lines.append(f"    def {name}({parameters(signature)}) -> "
                         f"{spelled(signature.return_annotation)}: ...")
    if "__len__" in vars(cls):
        member = spelled(cls.Item.__signature__.return_annotation)
        lines += ["    def __len__(self) -> int: ...",
                  f"    def __iter__(self) -> Iterator[{member}]: ..."]
    return "\n".join(lines) + "\n"


def stubs():
    classes = [c for c in vexqom._CLASSES.values()]
    creation = "\n".join(
        f"    @overload\n    def __new__(cls, creation_name: Literal[{c._creation_name!r}]) "
        f"-> {c.__name__}: ..." for c in classes if c._creation_name)
    return HEAD.format(creation=creation) + "".join("\n" + class_stub(c) for c in classes)


if __name__ == "__main__":
    text = stubs()
    if sys.argv[1:] == ["--check"]:
        if STUBS.read_text(encoding="utf-8") != text:
            sys.exit(f"{STUBS} is out of date: run python/make_stubs.py")
    else:
        STUBS.write_text(text, encoding="utf-8")
