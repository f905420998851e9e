"""tools/torture notices what goes wrong: each test lets a small program fail that has one fault."""

import collections
import importlib.machinery
import importlib.util
import os
import pathlib
import signal
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
BUILD = pathlib.Path(os.environ["OPENHOST_BUILD"])
LOADER = importlib.machinery.SourceFileLoader("torture", str(ROOT / "tools" / "torture"))
torture = importlib.util.module_from_spec(importlib.util.spec_from_loader("torture", LOADER))
LOADER.exec_module(torture)


class Careless(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        for name in ("bin", "lib"):
            (self.folder / name).mkdir()
        (self.folder / "bin" / "openhost").symlink_to(BUILD / "bin" / "velmart_torture_careless")
        (self.folder / "lib" / "libvelmart_torture.so").symlink_to(BUILD / "lib" / "libvelmart_torture.so")
        (self.folder / "items").symlink_to(BUILD / "items")
        catalogue = self.folder / "bin" / "velmart-catalogue"
        catalogue.write_text("#!/bin/sh\necho listening on nowhere\n")
        catalogue.chmod(0o755)
        self.bench = torture.Bench(self.folder)
        self.addCleanup(self.bench.end)

    def judge(self, fault):
        session = self.folder / "session"
        session.write_text(fault)
        judge = torture.Judge(self.bench, torture.Session("careless", session))
        self.assertIsNone(judge.problem)
        return judge

    def complaints(self, fault, case, imposed=()):
        """What is said of a program with a fault, in which a call fails."""
        operation, number, how = case.split(":")
        judge = self.judge(fault)
        result = torture.torture(judge, torture.Case("careless", "openhost", operation, int(number), how), imposed)
        self.assertTrue(result.reached, "the call has not come")
        return " ".join(result.complaints)

    def test_finds_nothing_wrong_with_a_careful_program(self):
        judge = self.judge("none")
        cases = [case for case in judge.cases() if case.operation not in torture.MEMORY]
        self.assertGreater(len(cases), 20)
        for case in cases:
            result = torture.torture(judge, case, [])
            self.assertEqual([], result.complaints, torture.name_of(case))

    def test_notices_half_a_file(self):
        self.assertIn("half: parts/note.txt", self.complaints("writes in place", "write:2:ENOSPC"))
        self.assertIn("half: parts/note.txt", self.complaints("writes in place", "write:2:kill"))

    def test_notices_that_a_file_is_gone(self):
        self.assertIn("gone: parts/note.txt", self.complaints("deletes first", "rename:1:EIO"))
        self.assertIn("gone: parts/note.txt", self.complaints("deletes first", "rename:1:kill"))

    def test_notices_that_nobody_was_told(self):
        self.assertIn("silent: ", self.complaints("is silent", "write:1:EIO"))

    def test_notices_what_is_left_behind(self):
        self.assertIn("left: parts/note.txt.next", self.complaints("leaves a file", "rename:1:EACCES"))

    def test_notices_a_crash(self):
        self.assertIn("crashed: SIGABRT", self.complaints("crashes", "write:1:EIO"))

    def test_notices_a_hang(self):
        deadline = torture.DEADLINE
        self.addCleanup(setattr, torture, "DEADLINE", deadline)
        torture.DEADLINE = 1
        self.assertIn("hangs: ", self.complaints("hangs", "write:1:EIO"))

    def test_notices_a_process_that_goes_on(self):
        gshift = torture.GRACE
        self.addCleanup(setattr, torture, "GRACE", gshift)
        torture.GRACE = 0.2
        self.assertIn("alive: openhost", self.complaints("leaves a process", "write:1:EIO"))

    def test_notices_that_the_next_play_fails(self):
        complaints = self.complaints("takes a lock", "rename:1:kill")
        self.assertIn("again: status 1", complaints)
        self.assertIn("again left: tmp/lock", complaints)

    def test_notices_reports_of_sanitizers(self):
        leak = "==1==ERROR: LeakSanitizer: detected memory leaks"
        block = "Direct leak of 16 byte(s) in 1 object(s) allocated from:\n    #0 0x1 in malloc a.cpp:1\n    #1 0x2 in "
        ours, library = block + "Read b.cpp:2", block + "CRYPTO_zalloc (/lib/libcrypto.so.3+0x3)"
        shift = "a.cpp:1:2: runtime error: shift exponent"
        self.assertEqual([shift], torture.reports("one\n" + shift + "\ntwo"))
        self.assertEqual([leak], torture.reports("\n".join([leak, ours, "", library]), "malloc"))
        self.assertEqual([leak], torture.reports("\n".join([leak, library]), "new"))
        self.assertEqual([], torture.reports("\n".join([leak, library]), "malloc"))

    def test_excuses_what_is_imposed_and_nothing_else(self):
        imposed = [{"sessions": ["careless"], "calls": ["openhost/rename:*:EIO"], "complaints": ["gone: parts/note.txt"]}]
        self.assertEqual("", self.complaints("deletes first", "rename:1:EIO", imposed))
        self.assertIn("gone: ", self.complaints("deletes first", "rename:1:EACCES", imposed))
        self.assertIn("half: ", self.complaints("writes in place", "write:2:EIO", imposed))

    def test_excuses_calls_from_a_function_alone(self):
        def imposed(function):
            return [{"sessions": ["careless"], "calls": ["openhost/write:*:EIO in " + function], "complaints": ["silent: *"]}]
        self.assertEqual("", self.complaints("is silent", "write:1:EIO", imposed("main")))
        self.assertIn("silent: ", self.complaints("is silent", "write:1:EIO", imposed("Fail")))

    def test_fails_an_allocation_once_for_each_place(self):
        cases = {fault: [case for case in self.judge(fault).cases() if case.operation == "new"]
                 for fault in ("none", "allocates often")}
        self.assertGreater(len(cases["none"]), 1)
        self.assertEqual(len(cases["none"]) + 1, len(cases["allocates often"]))
        calls = self.judge("allocates often").calls["openhost", "new"]
        self.assertGreaterEqual(calls, len(cases["none"]) + 100)

    def test_leaves_out_places_of_other_sessions(self):
        seen = collections.defaultdict(set)
        first, second = (list(self.judge("none").cases(seen)) for _ in range(2))
        self.assertEqual([case for case in first if case.operation != "new"], second)

    def test_plays_once_again_from_the_same_files(self):
        judge = self.judge("none")
        case = torture.Case("careless", "openhost", "write", 1, "EIO")
        self.assertIsNotNone(torture.torture(judge, case, []).second)
        self.assertIsNone(torture.torture(judge, case, []).second)
        other = torture.Case("careless", "openhost", "write", 2, "kill")
        self.assertIsNotNone(torture.torture(judge, other, []).second)

    def test_remembers_what_has_passed_with_the_same_build(self):
        case = torture.Case("careless", "openhost", "write", 1, "EIO")
        late = case._replace(number=9)
        for result in (torture.Result(case, True, [], [], None, None), torture.Result(late, False, [], [], None, None),
                       torture.Result(case._replace(number=2), True, ["gone: a"], [], None, None),
                       torture.Result(case._replace(number=3), True, [], ["gone: a"], None, None)):
            torture.Passed(self.folder).add(result)
        self.assertEqual({torture.name_of(case): True, torture.name_of(late): False}, torture.Passed(self.folder).cases)
        (self.folder / "lib" / "other.so").write_text("another build")
        self.assertEqual({}, torture.Passed(self.folder).cases)

    def test_draws_the_same_sample_for_the_same_seed(self):
        cases = list(self.judge("none").cases())
        self.assertEqual(torture.sample(cases, "a"), torture.sample(cases, "a"))
        self.assertNotEqual(torture.sample(cases, "a"), torture.sample(cases, "b"))
        self.assertEqual(sorted(cases), sorted(torture.sample(cases, "a")))

    def test_ends_its_catalogue_whatever_ends_it(self):
        for end in (signal.SIGTERM, signal.SIGINT):
            run = subprocess.Popen([ROOT / "tools" / "torture", "--build", BUILD, "--minutes", "1", "--session", "options"],
                                   stdout=subprocess.PIPE, text=True, env=os.environ | {"TMPDIR": str(self.folder)})
            run.stdout.readline()
            catalogue = int(pathlib.Path(f"/proc/{run.pid}/task/{run.pid}/children").read_text().split()[0])
            run.send_signal(end)
            run.stdout.read()
            run.stdout.close()
            self.assertEqual(128 + end, run.wait())
            self.assertFalse(pathlib.Path(f"/proc/{catalogue}").exists())

    def test_tells_wrong_use_at_once(self):
        for arguments in ([], ["--all", "--minutes", "1"], ["--minutes", "0"], ["--minutes", "1441"], ["--case", "a"],
                          ["--case", "none/openhost/open:1:EIO"], ["--all", "--session", "none"], ["--seeds"],
                          ["--all", "--build", "/none"]):
            run = subprocess.run([ROOT / "tools" / "torture", *arguments], stderr=subprocess.PIPE, text=True)
            self.assertEqual(2, run.returncode, arguments)
            self.assertIn("error: ", run.stderr)


if __name__ == "__main__":
    unittest.main()
