"""What the program that asks unattended-upgrade does by itself, without APT."""

import importlib.util
import logging
import sys
import unittest
from pathlib import Path

PROGRAM = Path(__file__).parents[6] / "src/zant/velmora_host/families/apt/ask_unattended_upgrade.py"


def load(path):
    spec = importlib.util.spec_from_file_location(path.stem, path)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


program = load(PROGRAM)


class NextVersion(unittest.TestCase):
    def test_it_is_a_major_one(self):
        self.assertEqual(program.next_version("1.2.3-4"), "2.0")
        self.assertEqual(program.next_version("09.1"), "10.0")

    def test_it_keeps_the_epoch(self):
        self.assertEqual(program.next_version("3:1.2"), "3:2.0")

    def test_it_is_higher_where_there_is_no_number(self):
        self.assertEqual(program.next_version("beta"), "beta+next")


class MadeUpRelease(unittest.TestCase):
    def test_it_matches_the_pattern_of_its_origin(self):
        self.assertEqual(program.release_with("o=Somebody,l=A Label", "stable"), "Suite: stable\nOrigin: Somebody\nLabel: A Label\n")

    def test_it_has_the_suite_that_the_pattern_wants(self):
        self.assertEqual(program.release_with(" origin = Somebody , a=other", "stable"), "Suite: other\nOrigin: Somebody\n")

    def test_it_leaves_out_what_no_release_says(self):
        self.assertEqual(program.release_with("site=repo.velmora.test,component=main,nonsense", "stable"), "Suite: stable\n")


class LackOfAList(unittest.TestCase):
    FIELDS = "Architectures: amd64 riscv64\nComponents: main extra\nSHA256:\n"

    def lack(self, lines, component="main", architecture="amd64"):
        return program.what_lacks(self.FIELDS + lines, component, architecture)

    def test_it_is_none_where_the_list_is_empty(self):
        self.assertIsNone(self.lack(" e3b0 0 main/binary-amd64/Packages\n f61f 20 main/binary-amd64/Packages.gz\n"))
        self.assertIsNone(self.lack(" f61f 32 main/binary-all/Packages.xz\n"))

    def test_it_is_the_list_where_the_release_names_it(self):
        self.assertEqual(self.lack(" e3b0 700 main/binary-amd64/Packages\n"), ["list", ""])

    def test_it_is_the_component_or_the_architecture_that_the_release_does_not_have(self):
        lines = " e3b0 700 extra/binary-amd64/Packages\n"
        self.assertEqual(self.lack(lines), ["component", "Components: main extra"])
        self.assertEqual(self.lack(lines, architecture="arm64"), ["architecture", "Architectures: amd64 riscv64"])
        self.assertEqual(program.what_lacks("Origin: x\n", "main", "amd64"), ["component", ""])


class LongWords(unittest.TestCase):
    def test_they_are_cut(self):
        self.assertEqual(program.shortened("x" * 4000), "x" * 4000)
        self.assertEqual(program.shortened("x" * 4001), "x" * 4000 + " ...")

    def test_an_error_has_its_kind_before_it(self):
        self.assertEqual(program.words_of(ValueError("not good")), "ValueError: not good")


class LogOfUnattendedUpgrade(unittest.TestCase):
    def test_it_is_kept_line_by_line(self):
        words = program.Words()
        logger = logging.Logger("of the test")
        logger.addHandler(words)

        logger.debug("pkg %s is held", "one")
        logger.warning("another line")

        self.assertEqual(words.lines, ["pkg one is held", "another line"])
        self.assertEqual(words.about("held", "nothing"), ["pkg one is held"])


class CacheOfOnePackage(unittest.TestCase):
    def test_it_has_one_package_for_who_goes_through_it_and_all_for_who_asks(self):
        class Cache(dict):
            depcache = "that of all"

        cache = program.OnePackage(Cache(one=1, two=2), "one")

        self.assertEqual(list(cache), [1])
        self.assertEqual(cache["two"], 2)
        self.assertEqual(cache.depcache, "that of all")


class PlannedFile(unittest.TestCase):
    def test_it_is_named_as_the_hosts(self):
        outlook = object.__new__(program.Outlook)
        outlook.request = {"private": "/tmp/private"}

        self.assertEqual(outlook.place_of("/tmp/private/planned/preferences.d/local"), "/etc/apt/preferences.d/local")
        self.assertEqual(outlook.place_of("/etc/apt/preferences"), "/etc/apt/preferences")


if __name__ == "__main__":
    sys.exit(unittest.main())
