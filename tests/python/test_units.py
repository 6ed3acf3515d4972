# SPDX-License-Identifier: MIT
"""Units: what they are, what they convert to, how they compare, print and pickle."""

import pickle
import unittest

import numpy as np

import kvx


class Units(unittest.TestCase):
    def test_values_convert(self):
        # Factors by definition: g 9.80665 m/s2, inch 25.4 mm, pound-force per square inch 6894.757... Pa.
        for value, a, b, wanted in ((1.0, "g", "m/s2", 9.80665), (1.0, "g2/Hz", "(m/s2)2/Hz", 9.80665**2),
                                    (0.0, "degC", "K", 273.15), (100.0, "kPa", "Pa", 1e5), (1.0, "g", "kg", 1e-3),
                                    (14.5, "psi", "kPa", 14.5 * 6.894757293168361), (1000.0, "mm/s2", "m/s2", 1.0)):
            self.assertAlmostEqual(kvx.convert(value, a, b), wanted, delta=1e-12 * abs(wanted))
        array = np.array([[1, 2], [3, 4]], dtype=np.int16)
        np.testing.assert_allclose(kvx.convert(array, "g", "m/s2"), array * 9.80665)
        self.assertEqual(kvx.convert(array.T[::-1], "m", "mm").shape, (2, 2))
        self.assertEqual(kvx.Unit("V").convert(2, "mV"), 2000.0)
        self.assertEqual(kvx.Unit("g").from_standard(kvx.Unit("g").to_standard(0.5)), 0.5)
        self.assertTrue(np.isnan(kvx.convert(float("nan"), "m", "mm")))
        self.assertEqual(kvx.convert(np.float32(2), "m", "mm"), 2000.0)

    def test_units_compare_by_what_they_are(self):
        g = kvx.Unit("g")
        self.assertEqual(g, kvx.Unit(" g "))
        self.assertNotEqual(g, kvx.Unit("g", "mass"))
        self.assertNotEqual(g, "g")
        self.assertEqual({g: 1}[kvx.Unit("g")], 1)
        self.assertEqual(kvx.Unit(), kvx.Unit(None))
        self.assertEqual((g.dimension, kvx.Unit("g", "mass").dimension), ("acceleration", "mass"))

    def test_units_join(self):
        self.assertEqual(kvx.Unit("g") ** 2 / "Hz", kvx.Unit("g2/Hz"))
        self.assertEqual(kvx.Unit("g").density, kvx.Unit("g2/Hz"))
        self.assertEqual(kvx.Unit("m/s2").over("N").name, "(m/s2)/N")
        self.assertEqual(kvx.Unit() / "s", kvx.Unit("1/s"))
        self.assertEqual(kvx.Unit("N") * "m", kvx.Unit("N") * kvx.Unit("m"))
        self.assertRaises(kvx.UnsupportedError, lambda: kvx.Unit("g2/Hz").density)
        self.assertRaises(kvx.UnsupportedError, lambda: kvx.Unit("g2/Hz") ** 2)

    def test_every_unit_prints_reads_back_and_pickles(self):
        every = kvx.units()
        self.assertEqual(len(every), 165)
        for unit in every:
            self.assertEqual(pickle.loads(pickle.dumps(unit)), unit)
            self.assertEqual(pickle.loads(pickle.dumps(unit / "Hz")), unit / "Hz")
            self.assertEqual(eval(repr(unit), {"Unit": kvx.Unit}), unit)
            self.assertEqual(str(unit), unit.name)
        self.assertEqual(sum(len(kvx.units(name)) for name in kvx.dimensions()), 165)

    def test_texts(self):
        self.assertEqual(kvx.parse_heading("top [m/s2]"), ("top", kvx.Unit("m/s2"), ""))
        self.assertEqual(kvx.column_heading("peak", "g", "0-p"), "peak [g 0-p]")
        self.assertIn("Hz", kvx.Unit("Hz").show(12.5))
        self.assertEqual([unit.dimension for unit in kvx.find_units("g")], ["acceleration", "mass"])
        psi = kvx.entry_unit("psi")
        self.assertEqual((psi.unit.dimension, psi.converted), ("pressure", "psi"))
        self.assertEqual(kvx.standard_unit("acceleration").name, "m/s2")

    def test_what_is_no_unit_is_refused(self):
        for wrong in ("furlong", "g/", "m" * 1000, "ħ"):
            self.assertRaises(kvx.UnknownNameError, kvx.Unit, wrong)
        self.assertRaises(kvx.BadValueError, kvx.convert, 1.0, "g", "V")
        self.assertRaises(kvx.BadValueError, kvx.Unit, 3.0)
        self.assertRaises(kvx.UnknownNameError, kvx.Unit, 3)
        self.assertRaises(kvx.UnknownNameError, kvx.Unit, "g", "beauty")
        self.assertRaises(kvx.BadValueError, kvx.convert, "three", "m", "mm")
        for take in (kvx.Unit, kvx.entry_unit, lambda text: kvx.convert(1.0, text, "kPa")):
            with self.assertRaisesRegex(kvx.UnknownNameError, r"^'kpsii' is not a unit \(did you mean 'ksi' or 'psi'"):
                take("kpsii")
        with self.assertRaisesRegex(kvx.BadValueError, "values in 'psi' are read, .* can be kept in is 'kPa'"):
            kvx.Unit("psi")
        with self.assertRaisesRegex(kvx.UnknownNameError, "m/s2"):
            kvx.Unit("m/s3")


if __name__ == "__main__":
    unittest.main()
