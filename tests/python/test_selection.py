"""A selection through the Python module, as a script host uses it."""

import decimal
import unittest

import vexqom

SELECTION = (
    "<Items><XDocVersion>v2.20</XDocVersion><Count>3</Count><Collection>"
    "<Item><ItemStatus>ORDER</ItemStatus><LineCode>ACD</LineCode><ItemNumber>012345</ItemNumber>"
    "<Description>Spark Plug</Description><ItemGroup>3</ItemGroup>"
    "<Prices><Count>1</Count><Collection><Price><Location>JOBBER</Location>"
    "<QuantityToOrder>2</QuantityToOrder><Cost>3.5</Cost></Price></Collection></Prices></Item>"
    "<Item><ItemType>1</ItemType><ItemStatus>ORDER</ItemStatus>"
    "<Description>Replace plugs</Description><Prices></Prices>"
    "<LaborOperation>R&amp;R</LaborOperation></Item>"
    "<Item><ItemStatus>back order</ItemStatus><LineCode>FRA</LineCode><ItemNumber>PH8A</ItemNumber>"
    "<Description>spark plug</Description><ItemGroup>7</ItemGroup>"
    "<Prices><Count>1</Count><Collection><Price><Location>JOBBER</Location>"
    "<QuantityToOrder>1</QuantityToOrder><Cost>10</Cost></Price></Collection></Prices></Item>"
    "</Collection><Vehicle><Year>2001</Year><Make>Ford</Make></Vehicle></Items>"
)


def new_part(line_code, number, quantity, cost, status="ORDER"):
    item = vexqom.Dispatch("vexqom_PLUMEK2.ICatItem")
    item.LineCode = line_code
    item.ItemNumber = number
    item.ItemStatus = status
    item.SetQuantityToOrder("", quantity)
    item.PriceCol.Item("JOBBER").Cost = decimal.Decimal(cost)
    return item


class SelectionTest(unittest.TestCase):
    def setUp(self):
        self.col = vexqom.Dispatch("vexqom_PLUMEK2.ICatItemCol")
        self.events = 0

        def on_count_changed():
            self.events += 1

        self.cookie = self.col.advise(on_count_changed)

    def test_load_totals_iteration_and_rewrite(self):
        col = self.col
        col.XML = SELECTION
        self.assertEqual(self.events, 3)
        self.assertEqual(col.Count, 3)
        self.assertEqual(col.XDocVersion, "v2.20")
        self.assertEqual(col.ItemsTotalCount, decimal.Decimal(3))
        self.assertEqual(col.ItemsTotalCost, decimal.Decimal(17))
        self.assertIsInstance(col.ItemsTotalCost, decimal.Decimal)
        self.assertEqual(col.ItemsSelectedCost(), decimal.Decimal(17))
        self.assertEqual([i.UniqueKey() for i in col], ["ACD012345", "Replace plugs R&R", "FRAPH8A"])
        self.assertEqual(col.Vehicle.Make, "Ford")
        self.assertEqual(col.Item("acd\t012345").Description, "Spark Plug")
        self.assertEqual(col("FRAPH8A").ItemGroup, 7, "Item is the default member")
        self.assertIsNone(col.Item(99))
        self.assertFalse(col.ItemExists(0))

        copy = vexqom.Dispatch("vexqom_PLUMEK2.ICatItemCol")
        copy.XML = col.XML
        self.assertEqual(copy.XML, col.XML)
        self.assertEqual(copy.ItemsTotalCost, col.ItemsTotalCost)

    def test_add_remove_and_events(self):
        col = self.col
        first = new_part("ACD", "1", 2, "3.5")
        self.assertEqual(col.Add(first, "K1"), first)
        self.assertEqual((col.ItemsTotalCount, col.ItemsTotalCost), (2, decimal.Decimal("7")))
        self.assertIsNone(col.Add(new_part("X", "2", 4, "1"), "k1"))
        self.assertEqual((col.Count, self.events), (1, 1))
        col.Add(new_part("B", "2", 1, "10", "HOLD"), "")
        self.assertEqual(self.events, 2)
        self.assertEqual(col.ItemsSelectedCount(), 2)
        first.SetQuantityToOrder("", 5)
        col.Remove("K1")
        col.Remove("absent")
        self.assertEqual(col.Count, 1)
        self.assertEqual(col.ItemsTotalCount, 0, "2 + 1 - 5 stops at zero")
        self.assertEqual(self.events, 2)
        self.col.unadvise(self.cookie)
        col.Add(new_part("C", "3", 1, "1"), "C3")
        self.assertEqual(self.events, 2, "no calls after unadvise")

    def test_summaries(self):
        col = self.col
        col.XML = SELECTION
        descriptions = col.GetDescriptions()
        self.assertEqual(descriptions.Count, 2)
        self.assertEqual(list(descriptions), ["Spark Plug", "Replace plugs"])
        self.assertEqual(descriptions.Item("SPARK PLUG"), "Spark Plug")
        self.assertEqual(col.GetItemGroup("SPARK PLUG"), 3)
        self.assertEqual(col.GetItemGroup("nothing"), 0)
        col.Item(2).ItemStatus = "   "
        col.Summarize("")
        self.assertEqual(col.Count, 2)
        self.assertEqual(col.ItemsTotalCount, 3, "pruning leaves the totals")
        self.assertEqual(self.events, 3)

    def test_destroyed_member_list(self):
        col = self.col
        col.Clear(True)
        with self.assertRaises(vexqom.Error) as caught:
            col.Count
        self.assertEqual(caught.exception.number, 91)
        with self.assertRaises(vexqom.Error) as caught:
            col.GetItemGroup("x")
        self.assertEqual(caught.exception.number, 91)
        self.assertTrue(caught.exception.description.startswith(
            "ICatItemCol | GetItemGroup, Error # 91 at line: "))
        col.Clear()
        self.assertEqual(col.Count, 0)


if __name__ == "__main__":
    unittest.main()
