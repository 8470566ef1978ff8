"""The vexqom tool as a person at a terminal uses it: subcommands, standard input,
help, byte-exact output and exit statuses."""
import json
import os
import subprocess
import tempfile
import unittest

TOOL = os.environ["VEXQOM_TOOL"]
SAMPLE = os.environ["VEXQOM_SAMPLE"]
PRESETS = os.path.join(os.path.dirname(SAMPLE), "presets.xml")


def run(*args, stdin=b"", env=None):
    return subprocess.run([TOOL, *args], input=stdin, capture_output=True, timeout=60,
                          env=None if env is None else {**os.environ, **env})


def refused(test, result, file, *fragments):
    """Status 1, nothing on standard output, every error line under "vexqom: FILE: "."""
    test.assertEqual((result.returncode, result.stdout), (1, b""), result.stderr)
    err = result.stderr.decode()
    test.assertNotIn("\r", err)
    for line in err.splitlines():
        test.assertTrue(line.startswith(f"vexqom: {file}: "), line)
    for fragment in fragments:
        test.assertIn(fragment, err)


class Reports(unittest.TestCase):
    def test_show_and_summary_from_a_file_or_standard_input(self):
        # The sample's whole report is the README's, which its snippet test compares.
        r = run("show", SAMPLE)
        self.assertEqual(r.returncode, 0, r.stderr)
        with open(SAMPLE, "rb") as f:
            self.assertEqual(run("show", "-", stdin=f.read()).stdout, r.stdout)
        empty = run("show", "-", stdin=b"<Items></Items>").stdout.decode()
        self.assertIn("Vehicle: (none)", empty)
        self.assertIn("Items: 0   Total quantity: 0   Total cost: 0.00", empty)
        summary = run("summary", SAMPLE).stdout.decode().splitlines()
        self.assertRegex(summary[2], r"^ +30  Spark Plug$")

    def test_characters_beyond_windows_1252_need_the_utf8_setting(self):
        doc = ("<Items><Count>1</Count><Collection><Item><Description>\u706b\u82b1\u585e "
               "\u0142</Description></Item></Collection></Items>").encode()
        for env, shown in (({}, "??? ?"), ({"VEXQOM_CODE_PAGE": "utf-8"}, "\u706b\u82b1\u585e \u0142")):
            r = run("show", "-", stdin=doc, env=env)
            self.assertEqual(r.returncode, 0, r.stderr)
            self.assertIn(shown, r.stdout.decode(), env)

    def test_reports_as_json(self):
        show = json.loads(run("show", "--json", SAMPLE).stdout)
        self.assertEqual(show["vehicle"]["description"], "2004 Chevrolet Silverado 1500 5.3L V8")
        self.assertEqual(show["items"][2], {
            "position": 3, "kind": "Part", "vendor_number": "STWZD785",
            "description": "Brake Pad Set", "status": "HOLD", "quantity": "1",
            "jobber_cost": "38.2"})
        self.assertEqual(show["totals"], {"items": 5, "quantity": "10", "cost": "64.87",
                                          "flagged_quantity": "9", "flagged_cost": "26.67"})
        summary = json.loads(run("summary", "--json", SAMPLE).stdout)["descriptions"]
        self.assertEqual([(d["group"], d["description"]) for d in summary][:2],
                         [(30, "Spark Plug"), (20, "Oil Filter")])


class TextReshaping(unittest.TestCase):
    def test_pretty_compress_and_validate_are_byte_exact(self):
        cases = [(("pretty", "-"), b"<a><b>1</b><c/></a>", b"\r\n<a>\r\n  <b>1</b>\r\n  <c/>\r\n</a>"),
                 (("pretty", "-"), "<a>Stra\u00dfe \u20ac</a>".encode(),
                  "\r\n<a>Stra\u00dfe \u20ac</a>".encode()),
                 # Not formatted by default: line breaks stay, blanks around a removed element go.
                 (("compress", "-"), b"  <a>\r\n  <b></b>\r\n  <c>x</c>\r\n</a> ",
                  b"<a>\r\n\r\n  <c>x</c>\r\n</a>"),
                 (("compress", "-"), b"<r><a></a></r>", b""),
                 (("validate", SAMPLE), b"", b"")]
        for args, stdin, out in cases:
            r = run(*args, stdin=stdin)
            self.assertEqual((r.returncode, r.stdout, r.stderr), (0, out, b""), args)

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


class Failures(unittest.TestCase):
    def test_input_no_command_can_use_is_refused_naming_the_file(self):
        with tempfile.TemporaryDirectory() as scratch:
            def file(name, data):
                path = os.path.join(scratch, name)
                with open(path, "wb") as f:
                    f.write(data)
                return path
            cases = [
                (("show", scratch), b"", scratch, "is a directory"),
                (("summary", file("empty.xml", b"")), b"", None, "empty input"),
                (("show", "-"), b"", "-", "empty input"),
                (("validate", file("latin.xml", b"<a>\n<b>caf\xe9</b></a>")), b"", None,
                 "not UTF-8 text: byte 0xE9 at line 2, column 7"),
                (("show", file("wide.xml", "<Items/>".encode("utf-16"))), b"", None,
                 "UTF-16 byte order mark"),
                (("show", "/nonexistent/s.xml"), b"", None, "cannot open: No such file"),
                (("summary", PRESETS), b"", None, "not an item document"),
                (("show", "-"), b"plain text", "-", "Error # -2147221504 at line: 3",
                 "Reason: Start tag expected"),
                (("pretty", "-"), b"<a><b></a>", "-", "clsXML | DocumentCreate", "Reason: "),
                (("validate", "--schema", "-"), b"<Items><Count>x</Count></Items>", "-",
                 "line 1: Element 'Count': 'x' is not a valid value",
                 "Element 'Items': Missing child element(s)"),
                (("validate", "--schema", "-"), b"<Foo/>", "-",
                 'no shipped schema describes the root element "Foo"'),
                (("validate", "--schema=/none.xsd", SAMPLE), b"", SAMPLE,
                 "cannot read the schema /none.xsd")]
            for args, stdin, name, *fragments in cases:
                with self.subTest(args=args):
                    refused(self, run(*args, stdin=stdin), name or args[-1], *fragments)
        for path in (SAMPLE, PRESETS):
            self.assertEqual(run("validate", "--schema", path).returncode, 0, path)

    def test_wrong_usage_help_and_version(self):
        for args in [(), ("frobnicate",), ("show",), ("show", "a", "b"), ("demo", "x"),
                     ("show", "--jsn", "a"), ("pretty", "--json", "a")]:
            r = run(*args)
            self.assertEqual(r.returncode, 2, args)
            self.assertIn("usage: vexqom", r.stderr.decode(), args)
        r = run("--help")
        self.assertEqual(r.returncode, 0)
        for command in ("show", "summary", "pretty", "compress", "validate", "json", "xml",
                        "demo", "typelib"):
            self.assertIn(command, r.stdout.decode())
            h = run(command, "--help")
            self.assertEqual(h.returncode, 0, command)
            self.assertTrue(h.stdout.decode().startswith("usage: vexqom " + command), command)
        self.assertIn("empty\nelement (<Name></Name>) removed", run("compress", "--help").stdout.decode())


class JsonDemoAndTypelib(unittest.TestCase):
    def test_json_form_goes_back_to_the_same_document(self):
        report, demo = run("demo").stdout.decode().split("\nXML:\n")
        self.assertIn("Total cost: 64.87", report)
        self.assertIn("Total cost: 64.87", run("show", "-", stdin=demo.strip().encode()).stdout.decode())
        odd = ("<Items><XDocVersion>v2.20</XDocVersion><Count>1</Count><Collection><Item>"
               "<Description><b>bold</b> &amp; <i a=\"1\"></i></Description><Prices><Count>2"
               "</Count><Collection><Price><Location>JOBBER</Location><UrgentFlag>False"
               "</UrgentFlag></Price><Price><Location>MSRP</Location><UrgentFlag>False"
               "</UrgentFlag></Price></Collection></Prices><Comment>line 1\r\nline 2 &amp; "
               "&quot;q&quot; &lt;x&gt; caf\u00e9 \u20ac</Comment></Item></Collection><Vehicle>"
               "<Make>A&amp;B</Make></Vehicle></Items>").encode()
        for document in (demo[:-1].encode(), odd):
            form = run("json", "-", stdin=document)
            self.assertEqual(form.returncode, 0, form.stderr)
            back = run("xml", "-", stdin=form.stdout)
            self.assertEqual((back.returncode, back.stdout), (0, document), back.stderr)
        item = json.loads(run("json", "-", stdin=odd).stdout)["Items"][0]
        self.assertEqual(item["Comment"], "line 1\r\nline 2 & \"q\" <x> caf\u00e9 \u20ac")
        self.assertEqual(item["Description"], '<b>bold</b> &amp; <i a="1"></i>')
        self.assertEqual(item["Prices"][1], {"Location": "MSRP", "UrgentFlag": "False"})
        for bad, fragment in (("{", "not JSON"), ("[]", "an object is expected"),
                              ('{"Items": {}}', '"Items" must be an array'),
                              ('{"Items": [{"Prices": 5}]}', 'item 1 "Prices" must be an array'),
                              ('{"Vehicle": {"a b": "x"}}', '"a b" is not a field name'),
                              ('{"Items": [{"Cost": [1]}]}', 'item 1: "Cost" must be a string')):
            refused(self, run("xml", "-", stdin=bad.encode()), "-", fragment)
        # The type library is what hosts are written against: every name, slot and dispatch id.
        golden = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "data", "typelib.json")
        with open(golden, "rb") as f:
            self.assertEqual(run("typelib").stdout, f.read())


if __name__ == "__main__":
    unittest.main()
