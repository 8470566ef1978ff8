"""The vehicle through the Python module, as a script host uses it."""

import unittest

import vexqom


class VehicleTest(unittest.TestCase):
    def test_fields_and_composed_description(self):
        v = vexqom.Dispatch("vexqom_PLUMEK2.ICatVehicle")
        fields = {"AAIA": "5678", "Year": "2001", "Make": "Ford", "Model": "Taurus",
                  "Engine": "3.0L V6", "VIN": "1FAFP53U51A123456", "Plate": "ABC 123",
                  "CurrentMileage": "120500"}
        for name, value in fields.items():
            setattr(v, name, value)
        for name, value in fields.items():
            self.assertEqual(getattr(v, name), value)
        self.assertEqual(v.Description, "2001 Ford Taurus 3.0L V6")
        self.assertEqual(v.description, "2001 Ford Taurus 3.0L V6", "names are caseless")
        v.Year = 2002  # numbers are coerced to Text
        self.assertEqual(v.Year, "2002")
        v.Clear()
        self.assertEqual(v.Description, "   ")
        self.assertEqual(v.Make, "")

    def test_failures_raise_error_with_number(self):
        v = vexqom.Dispatch("vexqom_PLUMEK2.ICatVehicle")
        with self.assertRaises(vexqom.Error) as caught:
            v.Year = v  # an object where Text is expected
        self.assertEqual(caught.exception.number, 13)
        self.assertEqual(caught.exception.source, "vexqom_PLUMEK2")
        with self.assertRaises(AttributeError):
            v.Mileage
        with self.assertRaises(vexqom.Error) as caught:
            vexqom.Dispatch("vexqom_PLUMEK2.NoSuchClass")
        self.assertEqual(caught.exception.number, -2147221164)


if __name__ == "__main__":
    unittest.main()
