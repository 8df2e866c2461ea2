#!/usr/bin/python3
"""Checks that what the documents name is in the tree: folders, files, links, tests, targets, commands.

tree.py CHECKOUT PROGRAM
"""

import json
import re
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

CHECKOUT = Path(sys.argv[1])
PROGRAM = sys.argv[2]

GUIDES = {path: path.read_text(encoding="utf-8")
          for path in (CHECKOUT / "README.md", CHECKOUT / "CONTRIBUTING.md", *sorted((CHECKOUT / "docs").rglob("*.md")))}
ARCHITECTURE = GUIDES[CHECKOUT / "docs" / "architecture.md"]
HOST_LIBRARY = CHECKOUT / "src" / "zant" / "velmora_host"

# Folders that mirror others, that hold one system's or one family's part of the folder above, or that hold data.
UNNAMED = re.compile(r"/(posix|windows)$|^tests/\w+/|^(fuzz|staging|examples|packaging/debian)/|/velmora_host/families/")

# Commands of hosts and of Windows, and tools that this machine need not have.
FOREIGN_COMMANDS = {"package-minder", "systemctl", "apt-get", "dnf", "rpm", "schtasks.exe", "pre-commit"}


def tracked_files():
    listing = subprocess.run(["git", "-C", CHECKOUT, "ls-files"], check=True, capture_output=True, text=True).stdout
    return [Path(line) for line in listing.splitlines()]


def section(text, heading):
    return re.search(rf"(?ms)^## {re.escape(heading)}\n(.*?)(?=^## |\Z)", text)[1]


def rows(text):
    """The cells of each row of each table, without the headings."""
    for line in re.findall(r"(?m)^\| (.*) ?\|$", text):
        cells = [cell.strip() for cell in re.split(r"(?<!\\)\|", line)]
        if not set(cells[0]) <= set("-"):
            yield cells


def code_spans(text):
    return re.findall(r"`([^`\n]+)`", text)


def command_lines():
    """Each line that a guide has somebody type: of the shell's blocks, and of the tables of CONTRIBUTING."""
    for text in GUIDES.values():
        for block in re.findall(r"```sh\n(.*?)```", text, re.DOTALL):
            yield from (line.split("#")[0].strip() for line in block.splitlines())
    for span in code_spans(GUIDES[CHECKOUT / "CONTRIBUTING.md"]):
        if " " in span or span.startswith("script/"):
            yield from (part.strip() for part in span.split("&&"))


class Folders(unittest.TestCase):
    def test_the_readme_names_each(self):
        layout = section(GUIDES[CHECKOUT / "README.md"], "How it is laid out")
        table = [(code_spans(cells[0]), set(code_spans("|".join(cells)))) for cells in rows(layout)]

        def is_named(folder):
            """By its path, or by its name in the row of a folder above it."""
            name = f"{folder.name}/"
            return any(f"{folder}/" in names or (name in names and any(f"{folder}/".startswith(top) for top in tops))
                       for tops, names in table)

        folders = {path.parent for path in tracked_files()} - {Path("."), Path("src")}
        missing = [str(folder) for folder in sorted(folders)
                   if not is_named(folder) and not (UNNAMED.search(f"{folder}") and any(map(is_named, folder.parents)))]

        self.assertEqual(missing, [])

    def test_the_readme_names_no_others(self):
        layout = section(GUIDES[CHECKOUT / "README.md"], "How it is laid out")

        for cells in rows(layout):
            for folder in (span for span in code_spans(cells[0]) if span.endswith("/")):
                self.assertTrue((CHECKOUT / folder).is_dir(), folder)

    def test_each_of_the_host_library_includes_only_what_the_architecture_says(self):
        allowed = {}
        for cells in rows(section(ARCHITECTURE, "Folders of the host library")):
            if cells[0].startswith("`"):
                folder = cells[0].strip("`/")
                allowed[folder] = set(allowed) if "all of the above" in cells[-1] else {span.strip("/") for span in code_spans(cells[-1])}

        self.assertEqual(set(allowed), {path.name for path in HOST_LIBRARY.iterdir() if path.is_dir()})
        for folder, includes in allowed.items():
            for path in (path for path in (HOST_LIBRARY / folder).rglob("*.[ch]pp")):
                for included in re.findall(r"<zant/velmora_host/(\w+)/", path.read_text(encoding="utf-8")):
                    self.assertIn(included, includes | {folder}, path)

    def test_none_of_the_libraries_includes_one_above_it(self):
        for path in (CHECKOUT / "src").rglob("*.[ch]pp"):
            text = path.read_text(encoding="utf-8")
            self.assertNotIn("<program/", text, path)
            if not path.is_relative_to(HOST_LIBRARY):
                self.assertNotIn("<zant/velmora_host/", text, path)


class Places(unittest.TestCase):
    def test_each_path_exists(self):
        top = {path.parts[0] for path in tracked_files() if len(path.parts) > 1}
        for guide, text in GUIDES.items():
            for span in code_spans(text):
                path = span.split(" ")[0].split(":")[0].strip("()")
                if path.split("/")[0] in top and "/" in path and not re.search(r"[*{…A-Z]", path.removeprefix("docs/")):
                    self.assertTrue((CHECKOUT / path).exists(), f"{guide}: {span}")

    def test_each_link_leads_somewhere(self):
        for guide, text in GUIDES.items():
            for target in re.findall(r"\]\(([^)#\s]+)(?:#[^)]*)?\)", text):
                if not target.startswith("http"):
                    self.assertTrue((guide.parent / target).exists(), f"{guide}: {target}")


class Fuzzers(unittest.TestCase):
    def test_each_is_listed_with_seeds_and_with_sources_that_are_there(self):
        listed = [line.split("|") for line in (CHECKOUT / "fuzz" / "fuzzers.txt").read_text(encoding="utf-8").splitlines()
                  if line and not line.startswith("#")]

        self.assertEqual([name.strip() for name, _, _ in listed],
                         sorted(path.name.removesuffix("_fuzzer.cpp") for path in (CHECKOUT / "fuzz").glob("*_fuzzer.cpp")))
        for name, _, sources in listed:
            self.assertTrue(any((CHECKOUT / "fuzz" / "seeds" / name.strip()).iterdir()), name)
            for source in sources.split():
                folder = CHECKOUT if source.startswith("program/") else HOST_LIBRARY
                self.assertTrue((folder / source).is_file(), source)


class CommandLines(unittest.TestCase):
    def test_each_command_exists(self):
        for line in command_lines():
            command = line.split(" ")[0]
            if command and command not in FOREIGN_COMMANDS | {"cd"}:
                is_there = (CHECKOUT / command).is_file() if "/" in command and not command.startswith("/") else shutil.which(command)
                self.assertTrue(is_there, line)

    def test_each_preset_and_target_exists(self):
        presets = json.loads((CHECKOUT / "CMakePresets.json").read_text(encoding="utf-8"))
        names = {preset["name"] for kind in ("configurePresets", "buildPresets", "testPresets") for preset in presets[kind]}
        cmake = "\n".join(path.read_text(encoding="utf-8") for path in CHECKOUT.rglob("CMakeLists.txt") if "build" not in path.parts)
        for line in command_lines():
            for preset in re.findall(r"--preset (\S+)", line):
                self.assertIn(preset, names, line)
            for target in re.findall(r"--target (\S+)", line):
                self.assertRegex(cmake, rf"\b{re.escape(target)}\b", line)

    def test_each_test_exists(self):
        texts = {path: path.read_text(encoding="utf-8") for path in (CHECKOUT / "tests").rglob("*") if path.suffix in (".cpp", ".py", ".txt")}
        for line in command_lines():
            for name in re.findall(r"(?:ctest.*|test-windows) -R (\w+)", line):
                self.assertTrue(any(name in text for text in texts.values()), line)
            for path, selection in re.findall(r"pytest (\S+) -k (\w+)", line):
                self.assertRegex(texts[CHECKOUT / path], rf"def test_\w*{selection}", line)

    def test_each_option_of_a_script_is_in_its_usage(self):
        for line in command_lines():
            words = line.split()
            if words and words[0].startswith("script/"):
                script = (CHECKOUT / words[0]).read_text(encoding="utf-8")
                for option in (word for word in words[1:] if word.startswith("--")):
                    self.assertIn(option.split("=")[0], script, line)

    def test_each_command_of_the_program_is_in_its_help(self):
        usage = subprocess.run([PROGRAM, "--help"], check=True, capture_output=True, text=True).stdout
        commands = set(re.findall(r"^  ([a-z]+) ", usage, re.MULTILINE)) | {"service"}  # of Windows
        for guide, text in GUIDES.items():
            for block in (*code_spans(text), *re.findall(r"```(?:sh|bat)\n(.*?)```", text, re.DOTALL)):
                for command in re.findall(r"(?m)^package-minder ([a-z]+)\b", block):
                    self.assertIn(command, commands, f"{guide}: {block}")


unittest.main(argv=sys.argv[:1])
