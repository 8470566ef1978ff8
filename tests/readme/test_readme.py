"""Runs every snippet of the README the way a reader would, and compares the output shown
after it. Blocks of the set-up and installation sections are left to CI and the install
test."""
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ["VEXQOM_BUILD_DIR"])
SKIPPED_SECTIONS = ("Set up", "Installing")
RUNNABLE = ("sh", "cpp", "c", "python")


def snippets():
    """(section, language, code, expected output or None) for every runnable block."""
    text = (ROOT / "README.md").read_text(encoding="utf-8")
    blocks, section = [], ""
    for match in re.finditer(r"^(#+ [^\n]*)$|^```(\w*)\n(.*?)^```$", text, re.M | re.S):
        if match.group(1):
            section = match.group(1).lstrip("# ")
        else:
            blocks.append((section, match.group(2), match.group(3)))
    found = []
    for i, (section, language, code) in enumerate(blocks):
        if language not in RUNNABLE or section.startswith(SKIPPED_SECTIONS):
            continue
        following = blocks[i + 1] if i + 1 < len(blocks) else None
        expected = following[2] if following and following[1] == "text" else None
        found.append((section, language, code, expected))
    return found


def compile_and_run(code, language, scratch):
    source = scratch / ("snippet." + language)
    source.write_text(code, encoding="utf-8")
    program = scratch / "snippet"
    compiler = os.environ["VEXQOM_CXX"] if language == "cpp" else os.environ["VEXQOM_CC"]
    standard = "-std=c++20" if language == "cpp" else "-std=c11"
    subprocess.run([compiler, standard, "-Wall", "-Werror", f"-I{ROOT / 'include'}",
                    str(source), f"-L{BUILD}", "-lvexqom_PLUMEK2", f"-Wl,-rpath,{BUILD}",
                    "-o", str(program)], check=True)
    return [str(program)]


def run_snippet(language, code, scratch):
    env = dict(os.environ, PYTHONPATH=str(ROOT / "python"),
               VEXQOM_LIBRARY=str(BUILD / "libvexqom_PLUMEK2.so"))
    if language == "sh":
        command = ["bash", "-e", "-o", "pipefail", "-c", code.replace("./build/", f"{BUILD}/")]
    elif language == "python":
        command = ["python3", "-c", code]
    else:
        command = compile_and_run(code, language, scratch)
    return subprocess.run(command, cwd=ROOT, env=env, capture_output=True, text=True,
                          timeout=120)


class ReadmeSnippets(unittest.TestCase):
    def test_every_surface_has_a_snippet(self):
        languages = {language for _, language, _, _ in snippets()}
        self.assertEqual(languages, set(RUNNABLE))

    def test_snippets_run_and_print_what_the_readme_shows(self):
        for section, language, code, expected in snippets():
            with self.subTest(section=section, language=language), \
                    tempfile.TemporaryDirectory() as scratch:
                result = run_snippet(language, code, pathlib.Path(scratch))
                self.assertEqual(result.returncode, 0, result.stderr)
                if expected is not None:
                    self.assertEqual(result.stdout, expected)


if __name__ == "__main__":
    unittest.main()
