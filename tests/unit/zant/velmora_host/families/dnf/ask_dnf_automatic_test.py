"""What the program that asks dnf-automatic does by itself, without DNF."""

import importlib
import sys
import tempfile
import types
import unittest
import xml.etree.ElementTree as xml
from pathlib import Path
from unittest import mock

PROGRAM = Path(__file__).parents[6] / "src/zant/velmora_host/families/dnf/ask_dnf_automatic"
RPM = "{http://linux.duke.edu/metadata/rpm}"
COMMON = "{http://linux.duke.edu/metadata/common}"


def load(path):
    """DNF's modules are on no machine but the hosts."""
    names = ("dnf", "dnf.automatic", "dnf.automatic.main", "dnf.cli", "dnf.cli.cli", "dnf.exceptions", "dnf.repo", "dnf.subject", "dnf.transaction",
             "hawkey", "libdnf", "libdnf.conf", "rpm")
    for name in names:
        module = sys.modules.setdefault(name, types.ModuleType(name))
        module.__path__ = []
        parent, _, child = name.rpartition(".")
        if parent:
            setattr(sys.modules[parent], child, module)
    # What default arguments name.
    sys.modules["hawkey"].APPLY_EXCLUDES = 0
    sys.path.insert(0, str(path))
    modules = [importlib.import_module(file.stem) for file in sorted(path.glob("*.py")) if file.stem != "__main__"]
    return types.SimpleNamespace(**{name: thing for module in modules for name, thing in vars(module).items() if callable(thing)})


program = load(PROGRAM)
package_look = sys.modules["package_look"]


class PlaceOfOption(unittest.TestCase):
    TEXT = "[main]\n# exclude=no\nexclude = one two,\n   three\ngpgcheck=1\n\n[other]\nexclude=four\n"

    def setUp(self):
        self._directory = tempfile.TemporaryDirectory()
        self.addCleanup(self._directory.cleanup)
        self.file = str(Path(self._directory.name) / "dnf.conf")
        Path(self.file).write_text(self.TEXT)

    def test_it_is_in_its_section_with_its_further_lines(self):
        self.assertEqual(program.lines_of_option(self.file, "main", ("exclude", "excludepkgs")), [(3, "exclude = one two,"), (4, "   three")])
        self.assertEqual(program.lines_of_option(self.file, "other", ("exclude",)), [(8, "exclude=four")])
        self.assertEqual(program.lines_of_option(self.file, "none", ("exclude",)), [])

    def test_it_is_the_line_with_the_word(self):
        places = [(self.file, "main"), (self.file, "other")]
        self.assertEqual(program.place_of_option(places, ("exclude",), "two"), {"file": self.file, "line": 3, "text": "exclude = one two,"})
        self.assertEqual(program.place_of_option(places, ("exclude",), "three"), {"file": self.file, "line": 4, "text": "three"})
        self.assertEqual(program.place_of_option(places, ("exclude",), "thr"), {"file": "", "line": 0, "text": ""})

    def test_the_last_one_wins(self):
        places = [(self.file, "main"), (self.file, "other")]
        self.assertEqual(program.place_of_option(places, ("exclude",))["line"], 8)

    def test_it_is_nowhere_in_a_missing_file(self):
        self.assertEqual(program.lines_of_option(self.file + ".none", "main", ("exclude",)), [])


class NextVersions(unittest.TestCase):
    def test_one_differs_in_the_first_number_and_one_in_the_last(self):
        self.assertEqual(program.next_versions("1.2.3"), ["2.0", "1.2.4"])
        self.assertEqual(program.next_versions("1.2rc"), ["2.0", "1.3rc"])

    def test_one_is_enough_where_they_are_the_same(self):
        self.assertEqual(program.next_versions("1"), ["2.0", "2"])
        self.assertEqual(program.next_versions("beta"), ["beta.1"])


class MadeUpRepository(unittest.TestCase):
    def package(self, **fields):
        usual = {
            "name": "zant&velmora", "arch": "x86_64", "epoch": 0, "version": "1.0", "release": "1", "downloadsize": 10, "installsize": 20,
            "provides": ["zant&velmora = 1.0-1"], "requires": ["rpmlib(CompressedFileNames) <= 3.0.4-1", "libc.so.6", "(a if b)"],
            "conflicts": [], "obsoletes": ["old < 1.0"], "files": ["/usr/bin/zant", "/usr/share/doc"],
        }
        return types.SimpleNamespace(**{**usual, **fields})

    def made(self, *versions):
        with tempfile.TemporaryDirectory() as directory:
            program.make_next_repository(directory, [self.package()], versions)
            data = Path(directory, "repodata")
            return xml.parse(data / "primary.xml").getroot(), (data / "repomd.xml").read_text()

    def test_it_has_each_version_once(self):
        root, index = self.made("2.0", "1.1")

        self.assertEqual(root.get("packages"), "2")
        self.assertEqual([version.get("ver") for version in root.iter(f"{COMMON}version")], ["2.0", "1.1"])
        self.assertEqual(len({checksum.text for checksum in root.iter(f"{COMMON}checksum")}), 2)
        self.assertIn('<location href="repodata/primary.xml"/>', index)

    def test_what_the_package_says_of_its_own_version_is_said_of_the_new_one(self):
        root, _ = self.made("2.0")

        provides = root.find(f".//{RPM}provides/{RPM}entry")
        self.assertEqual((provides.get("name"), provides.get("flags"), provides.get("ver"), provides.get("rel")), ("zant&velmora", "EQ", "2.0", "1"))
        obsoletes = root.find(f".//{RPM}obsoletes/{RPM}entry")
        self.assertEqual((obsoletes.get("flags"), obsoletes.get("ver"), obsoletes.get("rel")), ("LT", "1.0", None))

    def test_it_needs_what_the_package_needs_but_nothing_of_rpm_itself(self):
        root, _ = self.made("2.0")

        self.assertEqual([entry.get("name") for entry in root.iterfind(f".//{RPM}requires/{RPM}entry")], ["libc.so.6", "(a if b)"])
        self.assertIsNone(root.find(f".//{RPM}conflicts"))
        self.assertEqual([file.text for file in root.iter(f"{COMMON}file")], ["/usr/bin/zant"])


class MissingProgram(unittest.TestCase):
    def kinds(self, path):
        look = program.Look({"package": "zant", "directory": "/none", "arguments": [path]})
        look.run()
        return [obstacle["kind"] for obstacle in look.obstacles]

    def test_it_is_another_obstacle_than_a_program_that_cannot_be_run(self):
        with mock.patch.object(package_look, "NO_AUTOMATIC", "No module named 'dnf.automatic'"):
            self.assertEqual(self.kinds("/none/dnf-automatic")[0], "no_automatic")
        with tempfile.NamedTemporaryFile() as file:
            self.assertEqual(self.kinds(file.name)[0], "no_program")

    def test_it_is_another_obstacle_than_a_module_that_its_program_lacks(self):
        with mock.patch.object(package_look, "NO_AUTOMATIC", "No module named 'dnf.automatic'"), tempfile.NamedTemporaryFile() as file:
            self.assertEqual(self.kinds(file.name), ["failed"])


class SignaturesOfTheRun(unittest.TestCase):
    def setUp(self):
        self._file = tempfile.NamedTemporaryFile()
        self.addCleanup(self._file.close)
        self._file.write(b"package")
        self._file.flush()

    def found(self, *answers, name="rival", size=7):
        asked = iter(answers)
        item = types.SimpleNamespace(name=name, reponame="extras", downloadsize=size, localPkg=lambda: self._file.name)
        base = types.SimpleNamespace(
            repos={"extras": types.SimpleNamespace(gpgkey=["file:///a", "file:///b"])}, package_signature_check=lambda _: next(asked)
        )
        look = program.Look({"package": "zant", "directory": "/none"})
        program.look_at_other_signatures(look, base, [item] * len(answers))
        return [(each["kind"], each["by"], each["other"], each["words"], each["address"]) for each in look.obstacles]

    def test_each_that_rpm_refuses_is_an_obstacle(self):
        self.assertEqual(self.found((0, ""), (2, "not signed")), [("other_refused", "rival", "extras", "not signed", "")])

    def test_a_key_that_is_missing_can_be_had(self):
        self.assertEqual(self.found((1, "no key")), [("other_refused", "rival", "extras", "no key", "file:///a file:///b")])

    def test_those_without_a_whole_file_are_not_asked_about(self):
        self.assertEqual(self.found((2, "not signed"), size=8), [])

    def test_the_package_itself_is_asked_about_elsewhere(self):
        self.assertEqual(self.found((2, "not signed"), name="zant"), [])


class Words(unittest.TestCase):
    def test_they_are_cut_and_never_empty(self):
        self.assertEqual(program.words_of("x" * 2001), "x" * 2000 + " ...")
        self.assertEqual(program.words_of(ValueError()), "ValueError")


class Caches(unittest.TestCase):
    def test_they_are_linked_but_those_of_one_repository(self):
        with tempfile.TemporaryDirectory() as directory:
            source, target = Path(directory, "source"), Path(directory, "target")
            target.mkdir()
            for name in ("one-0123456789abcdef", "two-0123456789abcdef", "one-more-0123456789abcdef"):
                (source / name).mkdir(parents=True)
            for name in ("one.solv", "one-filenames.solvx", "two.solv", "expired_repos.json"):
                (source / name).touch()

            program.link_caches(str(source), str(target), "one")
            program.link_caches(str(source / "none"), str(target), None)

            self.assertEqual(sorted(link.name for link in target.iterdir()), ["one-more-0123456789abcdef", "two-0123456789abcdef", "two.solv"])
            self.assertTrue(all(link.is_symlink() for link in target.iterdir()))

    def test_a_directory_that_is_missing_is_judged_by_the_one_above(self):
        self.assertEqual(program.existing("/usr/none/at/all"), "/usr")


if __name__ == "__main__":
    sys.exit(unittest.main())
