"""The Python module's fixed surface: finding the library, member access by dispatch,
the value mapping and the errors it raises."""

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


def library_found(package_parent, **environment):
    """The library path the module picks when imported from package_parent."""
    env = {k: v for k, v in os.environ.items() if k != "VEXQOM_LIBRARY"}
    env.update(environment)
    env["PYTHONPATH"] = str(package_parent)
    done = subprocess.run(
        [sys.executable, "-c", "import vexqom; print(vexqom._library_path)"],
        env=env, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        return "failed: " + done.stderr.strip().splitlines()[-1]
    return done.stdout.strip()


class DiscoveryTest(unittest.TestCase):
    def test_environment_then_package_then_build_folder(self):
        with tempfile.TemporaryDirectory() as scratch:
            root = pathlib.Path(os.path.realpath(scratch))
            python_dir = root / "python"
            package = python_dir / "vexqom"
            package.mkdir(parents=True)
            shutil.copy(PACKAGE / "__init__.py", package / "__init__.py")
            build = root / "build"
            build.mkdir()
            (build / LIBRARY_FILE).symlink_to(LIBRARY)
            self.assertEqual(library_found(python_dir), str(build / LIBRARY_FILE))

            beside = python_dir / LIBRARY_FILE
            beside.symlink_to(LIBRARY)
            self.assertEqual(library_found(python_dir), str(beside))
            inside = package / LIBRARY_FILE
            inside.symlink_to(LIBRARY)
            self.assertEqual(library_found(python_dir), str(inside))

            chosen = root / "elsewhere" / LIBRARY_FILE
            chosen.parent.mkdir()
            chosen.symlink_to(LIBRARY)
            self.assertEqual(library_found(python_dir, VEXQOM_LIBRARY=str(chosen)), str(chosen))
            self.assertEqual(library_found(python_dir, VEXQOM_LIBRARY=str(chosen.parent)),
                             str(chosen))

            for found in (inside, beside, build / LIBRARY_FILE):
                found.unlink()
            self.assertTrue(library_found(python_dir).startswith("failed: OSError"))


class MemberAccessTest(unittest.TestCase):
    def test_caseless_names_parameters_let_and_set(self):
        item = vexqom.Dispatch("vexqom_PLUMEK2.ICatItem")
        item.description = "Spark Plug"
        self.assertEqual(item.DESCRIPTION, "Spark Plug")
        item.quantitytoorder = 3  # let with the optional location left out: JOBBER
        item.setQuantityToOrder("LOCAL", 5)
        self.assertEqual(item.QuantityToOrder("local"), 5.0)
        self.assertEqual(item.quantityToOrder("JOBBER"), 3.0)
        self.assertEqual(item.QuantityToOrder(), 3.0, "LOCAL is left out of the total")
        self.assertEqual(item.PriceCol.Count, 2)
        self.assertEqual(item.uniquekey(), item.UniqueKey())
        self.assertFalse(item.FlaggedToOrder())

        col = vexqom.Dispatch("vexqom_PLUMEK2.ICatItemCol")
        vehicle = vexqom.Dispatch("vexqom_PLUMEK2.ICatVehicle")
        col.Vehicle = vehicle  # a Dispatch value on the right: set
        self.assertEqual(col.Vehicle, vehicle)
        col.Vehicle = None
        self.assertIsNone(col.Vehicle, "an empty reference reads as None")
        col.SetVehicle(vehicle)
        vehicle.Make = "Ford"
        self.assertEqual(col.vehicle.make, "Ford", "the reference is shared, not copied")

        listing = vexqom.Dispatch("vexqom_PLUMEK2.ICatList")
        listing.Heading = "Brakes"
        self.assertEqual(listing(), "Brakes", "Heading is the default member")

    def test_iteration_events_and_default_members(self):
        col = vexqom.Dispatch("vexqom_PLUMEK2.ICatItemCol")
        seen = []
        cookie = col.advise(lambda: seen.append(col.Count))
        for number in ("1", "2", "3"):
            item = vexqom.Dispatch("vexqom_PLUMEK2.ICatItem")
            item.LineCode, item.ItemNumber, item.Description = "AC", number, "Plug " + number
            col.Add(item, item.UniqueKey())
        self.assertEqual(seen, [1, 2, 3], "one event per added item, after the add")
        col.unadvise(cookie)
        col.Remove("AC1")
        col.Add(vexqom.Dispatch("vexqom_PLUMEK2.ICatItem"), "X")
        self.assertEqual(seen, [1, 2, 3])
        with self.assertRaises(vexqom.Error):
            col.unadvise(cookie)

        self.assertEqual([i.ItemNumber for i in col], ["2", "3", ""])
        self.assertEqual(col[2].ItemNumber, "3")
        self.assertEqual(col("AC2").ItemNumber, "2")
        descriptions = col.GetDescriptions()
        self.assertEqual(list(descriptions), ["Plug 2", "Plug 3", ""])
        self.assertEqual((descriptions.count, descriptions.Item(2)), (3, "Plug 3"))
        self.assertEqual(list(vexqom.Dispatch("vexqom_PLUMEK2.ICatPresetCol")), [])
        with self.assertRaises(vexqom.Error) as caught:
            iter(vexqom.Dispatch("vexqom_PLUMEK2.ICatVehicle")).__next__()
        self.assertEqual(caught.exception.number, -2147352573)


class ValuesTest(unittest.TestCase):
    def test_values_keep_their_kind_through_a_variant(self):
        price = vexqom.Dispatch("vexqom_PLUMEK2.ICatPrice")
        for value in (5, -2147483648, 2.5, decimal.Decimal("2.5"), True, False, None,
                      vexqom.Null, "caf\u00e9 \U0001F697", ""):
            price.Available = value
            back = price.Available
            self.assertIs(type(back), type(value), value)
            self.assertEqual(back, value)
        self.assertFalse(vexqom.Null)
        self.assertEqual(repr(vexqom.Null), "vexqom.Null")

    def test_currency_and_numeric_coercion(self):
        price = vexqom.Dispatch("vexqom_PLUMEK2.ICatPrice")
        for given, expected in ((decimal.Decimal("0.00005"), "0"),
                                (decimal.Decimal("0.00015"), "0.0002"),
                                (decimal.Decimal("-1.23455"), "-1.2346"),
                                (decimal.Decimal("922337203685477.5807"),
                                 "922337203685477.5807"),
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
        price.Rank = 1e20
        self.assertEqual(price.Rank, "1E+20")
        price.Rank = True
        self.assertEqual(price.Rank, "True")
        price.UrgentFlag = "true"
        self.assertIs(price.UrgentFlag, True)

        item = vexqom.Dispatch("vexqom_PLUMEK2.ICatItem")
        item.ItemGroup = 2.5
        self.assertEqual(item.ItemGroup, 2)
        item.ItemGroup = decimal.Decimal("3.5")
        self.assertEqual(item.ItemGroup, 4)

    def test_errors_carry_number_source_and_description(self):
        price = vexqom.Dispatch("vexqom_PLUMEK2.ICatPrice")
        price.Cost = 1
        cases = ((decimal.Decimal(2 ** 62), 6), (decimal.Decimal("-922337203685477.5809"), 6),
                 (decimal.Decimal("NaN"), 6), (decimal.Decimal("Infinity"), 6),
                 (2 ** 40, 6), (2 ** 70, 6), ("3.5 dollars", 13), (price, 13), ([1], 13))
        for value, number in cases:
            with self.assertRaises(vexqom.Error, msg=repr(value)) as caught:
                price.Cost = value
            self.assertEqual(caught.exception.number, number, value)
            self.assertEqual(caught.exception.source, "vexqom_PLUMEK2")
            self.assertEqual(caught.exception.description,
                             "Overflow" if number == 6 else "Type mismatch")
        self.assertEqual(price.Cost, 1, "a refused value leaves the field")
        with self.assertRaises(TypeError):
            price.Cost = object()

        with self.assertRaises(vexqom.Error) as caught:
            price.NoSuchMember
        self.assertEqual(caught.exception.number, -2147352573)
        self.assertIsInstance(caught.exception, AttributeError)
        self.assertFalse(hasattr(price, "NoSuchMember"))
        with self.assertRaises(vexqom.Error) as caught:
            price.NoSuchMember = 1
        self.assertEqual(caught.exception.number, -2147352573)
        with self.assertRaises(vexqom.Error) as caught:
            vexqom.Dispatch("vexqom_PLUMEK2.ICatItemCol").Count = 3
        self.assertEqual(caught.exception.number, -2147352573, "Count has no let")
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

    def test_every_class_by_creation_name_and_identifier(self):
        names = ["ICatItemCol", "ICatItem", "ICatPriceCol", "ICatPrice", "ICatVehicle",
                 "ICatPresetCol", "ICatPreset", "ICatListCol", "ICatList"]
        for n, name in enumerate(names):
            by_name = vexqom.Dispatch("vexqom_PLUMEK2." + name)
            by_id = vexqom.Dispatch("{%08X-3C5D-4F21-9A1B-527E0C44D1%02X}"
                                    % (0x6B1E2A41 + n, 0x11 + n))
            self.assertEqual(by_name.XML, by_id.XML, name)
            self.assertIsInstance(by_name.XML, str)



class PythonHabitsTest(unittest.TestCase):
    def test_a_class_per_library_class_with_every_member(self):
        library = json.loads(vexqom._lib.vq_type_library())
        members = {i["name"]: {m["name"] for m in i["members"] if not m["hidden"]}
                   for i in library["interfaces"]}
        for c in library["classes"]:
            obj = vexqom.Dispatch(c["creation_name"])
            self.assertIs(type(obj), getattr(vexqom, c["name"]))
            self.assertTrue(members[c["interface"]] <= set(dir(obj)), c["name"])
            self.assertTrue(repr(obj).startswith(f"<vexqom.{c['name']} object at 0x"))
        self.assertEqual(str(inspect.signature(vexqom.ICatItemCol.Clear)),
                         "(self, /, xbDestroyObject: bool = False) -> None")
        self.assertEqual(str(inspect.signature(vexqom.ICatItem.SetQuantityToOrder)),
                         "(self, /, xsLocation: str, xvQuantity: Any) -> None")
        self.assertIn("Count\n |      Long: get; dispatch id 0x68030000",
                      pydoc.render_doc(vexqom.ICatPriceCol, renderer=pydoc.plaintext))
        completer = rlcompleter.Completer({"col": vexqom.ICatItemCol()})
        self.assertIn("col.ItemsTotalCost", [completer.complete("col.Items", i)
                                             for i in range(3)])
        self.assertEqual(vexqom.__version__, vexqom._lib.vq_version().decode())

    def test_collections_have_a_length_and_stay_true(self):
        col = vexqom.ICatItemCol()
        self.assertEqual((len(col), bool(col)), (0, True))
        for key in ("A", "B"):
            item = vexqom.ICatItem()
            item.Description = key
            col.Add(item, key)
        self.assertEqual((len(col), len(col.GetDescriptions()), len(col.Item(1).PriceCol)),
                         (2, 2, 2))
        self.assertEqual(col.Item(1).QuantityToOrder(xsLocation="MSRP"), 0)

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
