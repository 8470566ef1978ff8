"""The vexqom tool as a person at a terminal uses it: subcommands, standard input,
help, byte-exact output and exit statuses."""
import json
import os
import subprocess
import tempfile
import unittest

TOOL = os.environ["VEXQOM_TOOL"]
SAMPLE = os.environ["VEXQOM_SAMPLE"]


def run(*args, stdin=b""):
    return subprocess.run([TOOL, *args], input=stdin, capture_output=True, timeout=60)


class ShowAndSummary(unittest.TestCase):
    def test_show_prints_vehicle_rows_and_totals(self):
        r = run("show", SAMPLE)
        self.assertEqual(r.returncode, 0, r.stderr)
        lines = r.stdout.decode().splitlines()
        self.assertEqual(lines[0], "Vehicle: 2004 Chevrolet Silverado 1500 5.3L V8")
        rows = [l for l in lines if l[:1].isdigit()]
        self.assertEqual(len(rows), 5)
        self.assertRegex(rows[1], r"^2  Part +NLNPF48 +Oil Filter +BACK ORDER +1 +6\.75$")
        self.assertRegex(rows[3], r"^4  Labor +Spark Plug +0 +0\.00$")
        # Columns line up: every row is as wide as the heading's rule.
        rule = next(l for l in lines if l.startswith("-  "))
        self.assertTrue(all(len(row) == len(rule) for row in rows[:3]))
        self.assertIn("Items: 5   Total quantity: 10   Total cost: 64.87", lines)

    def test_show_reads_standard_input(self):
        with open(SAMPLE, "rb") as f:
            text = f.read()
        self.assertEqual(run("show", "-", stdin=text).stdout, run("show", SAMPLE).stdout)

    def test_show_of_an_empty_selection(self):
        r = run("show", "-", stdin=b"<Items></Items>")
        self.assertEqual(r.returncode, 0)
        self.assertIn("Vehicle: (none)", r.stdout.decode())
        self.assertIn("Items: 0   Total quantity: 0   Total cost: 0.00", r.stdout.decode())

    def test_summary_lists_descriptions_with_groups(self):
        out = run("summary", SAMPLE).stdout.decode().splitlines()
        self.assertRegex(out[2], r"^ +30  Spark Plug$")
        self.assertEqual(out[-1], "4 descriptions")


class TextReshaping(unittest.TestCase):
    def test_pretty_is_byte_exact_without_added_line_end(self):
        r = run("pretty", "-", stdin=b"<a><b>1</b><c/></a>")
        self.assertEqual(r.stdout, b"\r\n<a>\r\n  <b>1</b>\r\n  <c/>\r\n</a>")

    def test_pretty_keeps_utf8(self):
        r = run("pretty", "-", stdin="<a>Stra\u00dfe \u20ac</a>".encode())
        self.assertEqual(r.stdout.decode(), "\r\n<a>Stra\u00dfe \u20ac</a>")

    def test_compress_uses_engine_defaults(self):
        # Not formatted by default: line breaks stay, blanks around a removed element go.
        r = run("compress", "-", stdin=b"  <a>\r\n  <b></b>\r\n  <c>x</c>\r\n</a> ")
        self.assertEqual(r.returncode, 0)
        self.assertEqual(r.stdout, b"<a>\r\n\r\n  <c>x</c>\r\n</a>")
        self.assertEqual(run("compress", "-", stdin=b"<r><a></a></r>").stdout, b"")

    def test_large_input_is_read_whole_from_a_file_and_standard_input(self):
        # Several times the first block read from a stream.
        text = ("<r>" + "".join("<i>%d</i>" % n for n in range(30000)) + "</r>").encode()
        with tempfile.NamedTemporaryFile(suffix=".xml", delete=False) as f:
            f.write(text)
        try:
            self.assertEqual(run("compress", "-", stdin=text).stdout, text)
            self.assertEqual(run("compress", f.name).stdout, text)
        finally:
            os.unlink(f.name)

    def test_validate_is_silent_on_good_text(self):
        r = run("validate", SAMPLE)
        self.assertEqual((r.returncode, r.stdout, r.stderr), (0, b"", b""))


class Failures(unittest.TestCase):
    def test_malformed_text_gives_the_composed_message_and_status_1(self):
        for command in ("validate", "pretty"):
            r = run(command, "-", stdin=b"<a><b></a>")
            self.assertEqual(r.returncode, 1, command)
            err = r.stderr.decode()
            self.assertIn("clsXML | DocumentCreate, Error # -2147221504", err)
            self.assertIn("Reason: ", err)
            self.assertEqual(r.stdout, b"")

    def test_missing_file_is_status_1(self):
        r = run("show", "/nonexistent/selection.xml")
        self.assertEqual(r.returncode, 1)
        self.assertIn("/nonexistent/selection.xml", r.stderr.decode())

    def test_wrong_usage_is_status_2(self):
        for args in [(), ("frobnicate",), ("show",), ("show", "a", "b"), ("demo", "x")]:
            r = run(*args)
            self.assertEqual(r.returncode, 2, args)
            self.assertIn("usage: vexqom", r.stderr.decode(), args)

    def test_help_everywhere(self):
        r = run("--help")
        self.assertEqual(r.returncode, 0)
        for command in ("show", "summary", "pretty", "compress", "validate", "demo", "typelib"):
            self.assertIn(command, r.stdout.decode())
            h = run(command, "--help")
            self.assertEqual(h.returncode, 0, command)
            self.assertTrue(h.stdout.decode().startswith("usage: vexqom " + command), command)


class DemoAndTypelib(unittest.TestCase):
    def test_demo_prints_a_report_and_its_loadable_xml(self):
        out = run("demo").stdout.decode()
        report, xml = out.split("\nXML:\n")
        self.assertIn("Total cost: 64.87", report)
        again = run("show", "-", stdin=xml.strip().encode()).stdout.decode()
        self.assertIn("Total cost: 64.87", again)

    def test_typelib_is_json_with_every_class(self):
        lib = json.loads(run("typelib").stdout)
        names = {c["creation_name"] for c in lib["classes"]}
        self.assertEqual(len(names), 9)
        self.assertIn("vexqom_PLUMEK2.ICatVehicle", names)


if __name__ == "__main__":
    unittest.main()
