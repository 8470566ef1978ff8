"""The Python module's fixed surface, as a script host uses it: finding the library, member
access by dispatch, the value mapping, iteration, events and the errors it raises."""

import copy
import decimal
import inspect
import json
import os
import pathlib
import pickle
import pydoc
import rlcompleter
import shutil
import subprocess
import sys
import tempfile
import traceback
import unittest

import vexqom

PACKAGE = pathlib.Path(vexqom.__file__).resolve().parent
LIBRARY = pathlib.Path(vexqom._library_path).resolve()
LIBRARY_FILE = "libvexqom_PLUMEK2.so"
SAMPLE = pathlib.Path(__file__).resolve().parents[2] / "examples" / "selection.xml"


def library_found(package_parent, **environment):
    """The library path the module picks when imported from package_parent."""
    env = {k: v for k, v in os.environ.items() if k != "VEXQOM_LIBRARY"}
    env.update(environment, PYTHONPATH=str(package_parent))
    done = subprocess.run([sys.executable, "-c", "import vexqom; print(vexqom._library_path)"],
                          env=env, capture_output=True, text=True, check=False)
    return done.stdout.strip() if done.returncode == 0 else "failed: " + done.stderr.split("\n")[-2]


class DiscoveryTest(unittest.TestCase):
    def test_environment_then_package_then_build_folder(self):
        with tempfile.TemporaryDirectory() as scratch:
            root = pathlib.Path(os.path.realpath(scratch))
            python_dir, build, elsewhere = root / "python", root / "build", root / "elsewhere"
            (python_dir / "vexqom").mkdir(parents=True)
            shutil.copy(PACKAGE / "__init__.py", python_dir / "vexqom" / "__init__.py")
            places = [build / LIBRARY_FILE, python_dir / LIBRARY_FILE,
                      python_dir / "vexqom" / LIBRARY_FILE]
            for place in places:  # each found before the ones made earlier
                place.parent.mkdir(exist_ok=True)
                place.symlink_to(LIBRARY)
                self.assertEqual(library_found(python_dir), str(place))
            elsewhere.mkdir()
            (elsewhere / LIBRARY_FILE).symlink_to(LIBRARY)
            for chosen in (elsewhere / LIBRARY_FILE, elsewhere):
                self.assertEqual(library_found(python_dir, VEXQOM_LIBRARY=str(chosen)),
                                 str(elsewhere / LIBRARY_FILE))
            for place in places:
                place.unlink()
            self.assertTrue(library_found(python_dir).startswith("failed: OSError"))


class MemberAccessTest(unittest.TestCase):
    def test_caseless_names_parameters_let_and_set(self):
        item = vexqom.Dispatch("vexqom_PLUMEK2.ICatItem")
        item.description = "Spark Plug"
        self.assertEqual(item.DESCRIPTION, "Spark Plug")
        item.quantitytoorder = 3  # let with the optional location left out: JOBBER
        item.setQuantityToOrder("LOCAL", 5)
        self.assertEqual((item.QuantityToOrder("local"), item.QuantityToOrder()), (5.0, 3.0))

        col = vexqom.Dispatch("vexqom_PLUMEK2.ICatItemCol")
        vehicle = vexqom.Dispatch("vexqom_PLUMEK2.ICatVehicle")
        col.Vehicle = vehicle  # a Dispatch value on the right: set
        self.assertEqual(col.Vehicle, vehicle)
        col.Vehicle = None
        self.assertIsNone(col.Vehicle, "an empty reference reads as None")
        col.SetVehicle(vehicle)
        vehicle.Year = 2002  # numbers are coerced to Text
        self.assertEqual(col.vehicle.year, "2002")

    def test_a_stored_selection_iteration_events_and_default_members(self):
        col = vexqom.Dispatch("vexqom_PLUMEK2.ICatItemCol")
        seen = []
        cookie = col.advise(lambda: seen.append(col.Count))
        col.XML = SAMPLE.read_text(encoding="utf-8")
        self.assertEqual(seen, [1, 2, 3, 4, 5], "one event per added item, after the add")
        self.assertEqual((col.ItemsTotalCount, col.ItemsSelectedCost()),
                         (10, decimal.Decimal("26.67")))
        self.assertEqual(col.Item("nln\t41-962").Description, "Spark Plug")
        self.assertEqual(col("NLNPF48").ItemGroup, 20, "Item is the default member")
        self.assertEqual(col[2].ItemNumber, "PF48")
        self.assertIsNone(col.Item(99))
        descriptions = col.GetDescriptions()
        self.assertEqual((list(descriptions)[0], descriptions.count, descriptions.Item(2)),
                         ("Spark Plug", 4, "Oil Filter"))
        self.assertEqual((len(col), len(descriptions), len(col[1].PriceCol)), (5, 4, 3))
        self.assertEqual(col.Item(1).QuantityToOrder(xsLocation="MSRP"), 0)
        col.unadvise(cookie)
        col.Add(vexqom.Dispatch("vexqom_PLUMEK2.ICatItem"), "X")
        self.assertEqual(len(seen), 5, "no calls after unadvise")
        with self.assertRaises(vexqom.Error):
            col.unadvise(cookie)
        presets = vexqom.Dispatch("vexqom_PLUMEK2.ICatPresetCol")
        self.assertEqual((list(presets), len(presets), bool(presets)), ([], 0, True))
        presets.Add("Engine", "Spark Plugs", "", "K")
        self.assertEqual((presets.Count, presets("k").Group), (1, "Spark Plugs"))
        with self.assertRaises(vexqom.Error) as caught:
            iter(vexqom.Dispatch("vexqom_PLUMEK2.ICatVehicle")).__next__()
        self.assertEqual(caught.exception.number, -2147352573)


class ValuesTest(unittest.TestCase):
    def test_values_keep_their_kind_through_a_variant(self):
        price = vexqom.Dispatch("vexqom_PLUMEK2.ICatPrice")
        for value in (5, -2147483648, 2.5, decimal.Decimal("2.5"), True, False, None,
                      vexqom.Null, "caf\u00e9 \U0001F697", ""):
            price.Available = value
            self.assertIs(type(price.Available), type(value), value)
            self.assertEqual(price.Available, value)
        self.assertEqual((bool(vexqom.Null), repr(vexqom.Null)), (False, "vexqom.Null"))

    def test_currency_and_numeric_coercion(self):
        price = vexqom.Dispatch("vexqom_PLUMEK2.ICatPrice")
        for given, expected in ((decimal.Decimal("0.00005"), "0"),
                                (decimal.Decimal("0.00015"), "0.0002"),
                                (decimal.Decimal("922337203685477.5807"), "922337203685477.5807"),
                                (7, "7"), ("12.5", "12.5"), (0.25, "0.25")):
            price.Cost = given
            self.assertIsInstance(price.Cost, decimal.Decimal)
            self.assertEqual(str(price.Cost), expected, given)
        with decimal.localcontext() as context:
            context.prec = 3  # the caller's context does not round amounts
            price.Cost = decimal.Decimal("12345.6789")
            self.assertEqual(price.Cost, decimal.Decimal("12345.6789"))
        price.Rank = decimal.Decimal("0.8")
        self.assertEqual(price.Rank, "0.8", "Currency text always with a full stop")

    def test_errors_carry_number_source_and_description(self):
        price = vexqom.Dispatch("vexqom_PLUMEK2.ICatPrice")
        price.Cost = 1
        cases = ((decimal.Decimal("-922337203685477.5809"), 6), (decimal.Decimal("NaN"), 6),
                 (2 ** 40, 6), (2 ** 70, 6), ("3.5 dollars", 13), (price, 13))
        for value, number in cases:
            with self.assertRaises(vexqom.Error, msg=repr(value)) as caught:
                price.Cost = value
            self.assertEqual((caught.exception.number, caught.exception.source,
                              caught.exception.description),
                             (number, "vexqom_PLUMEK2", "Overflow" if number == 6 else "Type mismatch"))
        self.assertEqual(price.Cost, 1, "a refused value leaves the field")
        with self.assertRaises(TypeError):
            price.Cost = object()
        with self.assertRaises(vexqom.Error) as caught:
            vexqom.ICatItemCol().Count = 3  # Count has no let
        self.assertEqual(caught.exception.number, -2147352573)
        self.assertFalse(hasattr(price, "NoSuchMember"), "a missing member is an AttributeError")
        done = subprocess.run(  # a refused creation raises once and leaves no noise
            [sys.executable, "-c", "import vexqom\ntry:\n vexqom.Dispatch('vexqom_PLUMEK2.clsXML')\n"
             "except vexqom.Error as e:\n print(e.number)"],
            capture_output=True, text=True, check=False)
        self.assertEqual((done.stdout, done.stderr), ("-2147221164\n", ""))
        item = vexqom.Dispatch("vexqom_PLUMEK2.ICatItem")
        item.Clear(True)
        with self.assertRaises(vexqom.Error) as caught:
            item.QuantityToOrder()
        self.assertEqual(caught.exception.number, 91)
        self.assertTrue(caught.exception.description.startswith(
            "ICatItem | Get QuantityToOrder, Error # 91 at line: "))


class PythonHabitsTest(unittest.TestCase):
    def test_a_class_per_library_class_with_every_member(self):
        library = json.loads(vexqom._lib.vq_type_library())
        members = {i["name"]: {m["name"] for m in i["members"] if not m["hidden"]}
                   for i in library["interfaces"]}
        for interface in library["interfaces"]:  # a dispatch id names one member only
            ids = {(m["name"], m["dispid"]) for m in interface["members"]}
            self.assertEqual(len({d for _, d in ids}), len(ids), interface["name"])
        for n, c in enumerate(library["classes"]):
            obj = vexqom.Dispatch(c["creation_name"])
            by_id = vexqom.Dispatch("{%08X-3C5D-4F21-9A1B-527E0C44D1%02X}" % (0x6B1E2A41 + n, 0x11 + n))
            self.assertIs(type(obj), getattr(vexqom, c["name"]))
            self.assertIs(type(by_id), type(obj))
            self.assertTrue(members[c["interface"]] <= set(dir(obj)), c["name"])
            self.assertTrue(repr(obj).startswith(f"<vexqom.{c['name']} object at 0x"))
        self.assertEqual(str(inspect.signature(vexqom.ICatItemCol.Clear)),
                         "(self, /, xbDestroyObject: bool = False) -> None")
        self.assertIn("Count\n |      Long: get; dispatch id 0x68030000",
                      pydoc.render_doc(vexqom.ICatPriceCol, renderer=pydoc.plaintext))
        completer = rlcompleter.Completer({"col": vexqom.ICatItemCol()})
        self.assertIn("col.ItemsTotalCost", [completer.complete("col.Items", i) for i in range(3)])

    def test_misuse_raises_clear_public_errors(self):
        col, price = vexqom.ICatItemCol(), vexqom.ICatPrice()
        cases = [(lambda: vexqom.Dispatch(None), TypeError, "takes one creation name"),
                 (lambda: vexqom.ICatItem("x"), TypeError, "ICatItem() takes no arguments"),
                 (lambda: col.Item(), TypeError, "ICatItemCol.Item(): missing a required"),
                 (lambda: col.Item(1, 2), TypeError, "ICatItemCol.Item(): too many"),
                 (lambda: setattr(price, "Cost", [1]), vexqom.TypeMismatchError,
                  "a list cannot be passed"),
                 (lambda: price.Nope, vexqom.MemberNotFoundError, "ICatPrice has no member"),
                 (lambda: pickle.dumps(col), TypeError, "cannot pickle a vexqom ICatItemCol"),
                 (lambda: copy.copy(col), TypeError, "cannot copy"),
                 (lambda: copy.deepcopy(price), TypeError, "cannot copy")]
        for call, kind, message in cases:
            with self.assertRaises(kind) as caught:
                call()
            shown = traceback.format_exception_only(caught.exception)[-1]
            self.assertIn(message, shown)
            self.assertNotRegex(shown.split(":")[0], r"(^|\.)_", "a private name in the traceback")

    def test_log_folder_from_the_environment(self):
        with tempfile.TemporaryDirectory() as logs:
            pathlib.Path(logs, "libvexqom_PLUMEK2.trace.flg").touch()
            subprocess.run([sys.executable, "-c", "import vexqom\nitem = vexqom.ICatItem()\n"
                            "item.Clear(True)\ntry: item.QuantityToOrder()\n"
                            "except vexqom.Error: vexqom.ICatItemCol()"],
                           env=dict(os.environ, VEXQOM_LOG_DIR=logs), check=True)
            # Named after the versioned library file the module loaded, up to ".so".
            self.assertIn("ICatItem | Get QuantityToOrder, Error # 91",
                          pathlib.Path(logs, "libvexqom_PLUMEK2.error.log").read_text())
            self.assertIn("ICatItemCol | Class_Initialize",
                          pathlib.Path(logs, "libvexqom_PLUMEK2.trace.log").read_text())


if __name__ == "__main__":
    unittest.main()
