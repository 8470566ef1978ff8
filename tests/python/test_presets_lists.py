"""Presets and list entries through the Python module, as a script host uses them."""

import os
import pathlib
import unittest

import vexqom

DECLARATION = '<?xml version="1.0" encoding="UTF-8" ?>'


def error_log_lines():
    """Lines in the error log beside the library, or None when its place is unknown."""
    library = os.environ.get("VEXQOM_LIBRARY")
    if not library:
        return None
    log = pathlib.Path(library).parent / "libvexqom_PLUMEK2.error.log"
    if not log.exists():
        return []
    return log.read_bytes().split(b"\r\n")[:-1]


def set_switches(on):
    """The thread's XML writer switches, set the way a host sets them."""
    items = vexqom.Dispatch("vexqom_PLUMEK2.ICatItemCol")
    items.Summarize("HIDEXML" if on else "SHOWXML")


class PresetsTest(unittest.TestCase):
    def setUp(self):
        self.logged = error_log_lines()

    def assertNothingLogged(self):
        if self.logged is not None:
            self.assertEqual(error_log_lines(), self.logged)

    def test_add_item_and_duplicate_keys(self):
        col = vexqom.Dispatch("vexqom_PLUMEK2.ICatPresetCol")
        first = col.Add("Engine", "Spark Plugs", "", "K")
        second = col.Add("Engine", "Spark Plugs", "", "k")
        self.assertIsNotNone(second)
        self.assertNotEqual(first, second, "a new preset, returned although not held")
        self.assertEqual(col.Count, 1)
        self.assertEqual(col("K"), first, "Item is the default member")
        self.assertIsNone(col.AddObject(None))
        loose = vexqom.Dispatch("vexqom_PLUMEK2.ICatPreset")
        loose.Category = "Brakes"
        self.assertEqual(col.AddObject(loose), loose)
        self.assertEqual([p.Category for p in col], ["Engine", "Brakes"])
        for key, number in (("absent", 5), (0, 9)):
            with self.assertRaises(vexqom.Error) as caught:
                col.Item(key)
            self.assertEqual(caught.exception.number, number)
            self.assertNotIn("ICatPresetCol", caught.exception.description)
        col.Remove("K")
        self.assertEqual(col.Count, 1)
        self.assertNothingLogged()

    def test_round_trip_keys_vehicle_and_switches(self):
        set_switches(True)
        col = vexqom.Dispatch("vexqom_PLUMEK2.ICatPresetCol")
        self.assertEqual(col.XML, "<ICatPresetCol><Vehicle></Vehicle></ICatPresetCol>")
        for fields in (("Engine", "Spark Plugs", ""), ("A", "BC", ""), ("AB", "C", ""),
                       ("", "", "")):
            col.Add(*fields)
        host_vehicle = col.Vehicle
        host_vehicle.Make = "Ford"
        copy = vexqom.Dispatch("vexqom_PLUMEK2.ICatPresetCol")
        copy.XML = col.XML
        self.assertEqual(copy.Count, 3)
        self.assertEqual(copy.Item("enginespark plugs").Group, "Spark Plugs")
        self.assertEqual(copy.Item("ABC").Category, "A")
        self.assertEqual(copy.Vehicle.Make, "Ford")
        col.XML = col.XML
        self.assertNotEqual(col.Vehicle, host_vehicle, "a rebuild brings a new vehicle")

        set_switches(False)
        empty = vexqom.Dispatch("vexqom_PLUMEK2.ICatPresetCol")
        self.assertEqual(empty.XML, "<ICatPresetCol><Vehicle></Vehicle></ICatPresetCol>")
        empty.Add("Engine", "", "")
        self.assertIn("<ICatPreset><Category>Engine</Category><Group></Group>"
                      "<Description></Description></ICatPreset>", empty.XML)
        set_switches(True)
        self.assertNothingLogged()

    def test_missing_vehicle_is_logged(self):
        col = vexqom.Dispatch("vexqom_PLUMEK2.ICatPresetCol")
        col.Vehicle = None
        self.assertIsNone(col.Vehicle)
        with self.assertRaises(vexqom.Error) as caught:
            col.XML
        self.assertEqual(caught.exception.number, 91)
        self.assertTrue(caught.exception.description.startswith(
            "ICatPresetCol | Get XML, Error # 91 at line: "))
        if self.logged is not None:
            added = error_log_lines()[len(self.logged):]
            self.assertEqual(len(added), 1)
            self.assertIn(b"ICatPresetCol | Get XML, Error # 91", added[0])


class ListsTest(unittest.TestCase):
    def setUp(self):
        self.logged = error_log_lines()

    def test_entry_text_and_list_id(self):
        entry = vexqom.Dispatch("vexqom_PLUMEK2.ICatList")
        self.assertEqual(entry.XML, DECLARATION + "<ICatList></ICatList>")
        entry.ID = 12
        entry.Heading = "Exhaust"
        self.assertEqual(entry.XML, DECLARATION +
                         "<ICatList><ListID>12</ListID><Heading>Exhaust</Heading></ICatList>")
        self.assertEqual(entry(), "Exhaust", "Heading is the default member")
        for text, number in (("2.5", 2), ("3.5", 4), ("none", 0)):
            entry.XML = "<ICatList><ListID>%s</ListID></ICatList>" % text
            self.assertEqual(entry.ID, number)
        with self.assertRaises(vexqom.Error) as caught:
            entry.XML = "<ListID>3000000000</ListID>"
        self.assertEqual(caught.exception.number, 6)
        self.assertTrue(caught.exception.description.startswith("ICatList | XML, Error # 6"))

    def test_collection_keys_and_duplicates(self):
        col = vexqom.Dispatch("vexqom_PLUMEK2.ICatListCol")
        col.Add("Exhaust", 12)
        col.Add("Brakes", 7)
        col.Add("Again", 7)
        col.Add("None", 0)
        with self.assertRaises(vexqom.Error) as caught:
            col.Item("I#7")
        self.assertEqual(caught.exception.number, 5, "Add derives no key")
        text = col.XML
        self.assertTrue(text.startswith("<ICatListCol><Count>4</Count><Collection>" +
                                         DECLARATION + "<ICatList><ListID>12</ListID>"))
        col.XML = text
        self.assertEqual(col.Count, 3)
        self.assertEqual(col.Item("i#12").Heading, "Exhaust")
        self.assertEqual(col("I#7").Heading, "Brakes")
        self.assertEqual([e.ID for e in col], [12, 7, 0])
        if self.logged is not None:
            self.assertEqual(error_log_lines(), self.logged)


if __name__ == "__main__":
    unittest.main()
