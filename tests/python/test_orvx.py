"""The Python package against the built library: the same answers as
`orvdb eval` (picture calls and lookups: tests/faces), errors as orvx.Error,
record lifetimes, byte-faithful names.
Environment: ORVX_LIBRARY (the library), ORVX_SAMPLE_DB, ORVDB_BINARY,
ORVX_PIP_SOURCE (the build tree's package for pip)."""
import json
import os
import pydoc
import shutil
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest

import orvx

SAMPLE = os.environ["ORVX_SAMPLE_DB"]
STATUSES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "status", "statuses.txt")


def record_bytes(name, block=b"\0"):
    """One record in the file layout: the name, 71 field bytes, the block, 10 more."""
    return bytes([len(name)]) + name + bytes(71) + block + bytes(10)


class Package(unittest.TestCase):
    def test_same_answers_as_eval(self):
        requests, expected = [], []
        with orvx.Database(SAMPLE) as db:
            for r in db:
                for tray in [1, 3, "multi purpose tray", "Bypass"]:
                    requests.append({"op": "sizelist", "block": list(r.size_list_block()),
                                     "tray" if isinstance(tray, int) else "trayName": tray})
                    sizes = r.size_list(tray) or b""  # eval's getters answer an empty list for none
                    expected.append({"result": len(sizes), "bytes": list(sizes)})
        out = subprocess.run([os.environ["ORVDB_BINARY"], "eval"], capture_output=True, text=True, check=True,
                             input="".join(json.dumps(r) + "\n" for r in requests)).stdout
        self.assertEqual([json.loads(line) for line in out.splitlines()], expected)

    def test_errors_and_lifetimes(self):
        with open(SAMPLE, "rb") as f:
            data = f.read()
        with self.assertRaises(orvx.Error) as cut:
            orvx.Database.from_bytes(data[:500])
        self.assertEqual((cut.exception.offset, "at byte 500" in cut.exception.message), (500, True))
        with self.assertRaises(orvx.Error) as missing:
            orvx.Database("/no/such/ORVDB.dat")
        self.assertIn("/no/such/ORVDB.dat", str(missing.exception))
        db = orvx.Database(SAMPLE)
        record = db[2]
        self.assertEqual((record.name, db[-1].index, record.info(0x0D08)), ("Vantor LP-1200", len(db) - 1, 900))
        self.assertEqual(record.flag_names, {"IXDuplexer", "IsOldTypePrinter", "IsVantorPrinter"})
        db.close()
        for use in (lambda: record.name, lambda: record.size_list(1), lambda: record.picture_id(["Cassette 1"]),
                    lambda: len(db), lambda: db.lookup("x")):
            with self.assertRaises(orvx.Error):
                use()
        db.close()  # a second close is harmless
        with self.assertRaises(IndexError):
            orvx.Database(SAMPLE)[10**6]

    def test_hostile_arguments(self):
        with orvx.Database(SAMPLE) as db:
            record = db[2]
            for i, (use, error) in enumerate([(lambda: record.info(0x1_0000_0D08), KeyError),  # not cut to 32 bits
                               (lambda: orvx.Database(SAMPLE + "\0x"), ValueError),
                               (lambda: record.size_list("Cassette\0 1"), ValueError),
                               (lambda: orvx.set_host_string(9481, "Hand\0x"), ValueError),
                               (lambda: orvx.set_host_string(2**32 + 9481, "Hand"), ValueError),
                               # a final tray name longer than the C interface returns is never cut silently
                               (lambda: record.picture_id(["x" * 300]), orvx.Error),
                               (lambda: orvx.Database.from_bytes(3), TypeError)]):
                with self.subTest(row=i), self.assertRaises(error):
                    use()
        # The JSON form, where only a database is read, is named for what it is.
        with self.assertRaisesRegex(orvx.Error, "a JSON document, not a model database.*orvdb build"):
            orvx.Database.from_bytes(b'\xef\xbb\xbf{"models": []}')

    def test_close_while_other_threads_call(self):
        db = orvx.Database(SAMPLE)
        entered, release, order = threading.Event(), threading.Event(), []

        class SlowTray(orvx.Tray):  # its name is read while the picture call holds the database
            name = property(lambda self: entered.set() or release.wait(10) and self._name,
                            lambda self, value: setattr(self, "_name", value))

        call = threading.Thread(target=lambda: order.append(db[2].picture_id([SlowTray("Cassette 1")]) and "call"))
        call.start()
        entered.wait(10)
        closer = threading.Thread(target=lambda: order.append(db.close() or "close"))
        closer.start()
        time.sleep(0.2)  # time enough for a close that does not wait to free the database
        release.set()
        call.join(), closer.join()
        self.assertEqual(order, ["call", "close"])

        db, outcomes = orvx.Database(SAMPLE), []

        def worker(record):
            with self.assertRaises(orvx.Error) as raised:
                while True:
                    record.picture_id([orvx.Tray("Cassette 1")], ["Face Down Tray"])
            outcomes.append(raised.exception.status)
        workers = [threading.Thread(target=worker, args=(db[i],)) for i in range(4)]
        for w in workers:
            w.start()
        time.sleep(0.05)
        db.close()
        for w in workers:
            w.join()
        self.assertEqual(outcomes, [orvx.Status.ARGUMENT] * 4)

    def test_arguments_say_what_is_expected(self):
        with orvx.Database(SAMPLE) as db:
            record = db[2]
            for i, (use, error, text) in enumerate([
                    (lambda: record.picture_id("Cassette 1"), TypeError, "['Cassette 1']"),
                    (lambda: record.info("Info0D08"), TypeError, "record.field('Info0D08')"),
                    (lambda: record.info(0x9999), KeyError, "0x9999"),
                    (lambda: db["Vantor LP-1200"], TypeError, "db.lookup('Vantor LP-1200')"),
                    (lambda: record.size_list(300), ValueError, "0 to 255"),
                    (lambda: record.flag("IsColourPrinter"), KeyError, "IsColorPrinter"),
                    (lambda: db.set(2, "Info0301", 1.5), ValueError, 'key "Info0301": expected an integer'),
                    (lambda: db.set(2, "ModelName", {1}), ValueError, "not JSON serializable"),
                    (lambda: db.move(0, 59), IndexError, "out of range"),
                    (lambda: db.insert(0, "Vantor"), TypeError, "a dict or a Record"),
                    (lambda: db.save(form="xml"), ValueError, '"dat" or "json"')]):
                with self.subTest(row=i), self.assertRaises(error) as raised:
                    use()
                self.assertIn(text, str(raised.exception))
        self.assertNotIn("_data", pydoc.render_doc(orvx.Database))
        self.assertEqual((orvx.Flag.IsColorPrinter, len(orvx.FLAG_NAMES)), (0x0008, 13))

    def test_to_dict_names_fields_as_export_does(self):
        # The sample, and blocks export writes as trays or as bytes (a broken tail, an
        # unnamed key 10, a tray name or a model name that is not UTF-8).
        blocks = [(b"A", bytes([7, 2, 2, 65, 66, 5, 0])), (b"B", bytes([10, 10, 4, 0x43, 0xE9, 0, 7, 3, 1, 8])),
                  (b"C", bytes([7, 10, 2, 7, 8, 4, 5])), (b"E\xff", bytes([1]))]
        data = struct.pack("<I", len(blocks)) + b"".join(record_bytes(name, block) for name, block in blocks)
        with tempfile.NamedTemporaryFile(suffix=".dat") as f:
            f.write(data), f.flush()
            for path in (SAMPLE, f.name):
                out = subprocess.run([os.environ["ORVDB_BINARY"], "export", "--db", path], capture_output=True,
                                     check=True).stdout
                with orvx.Database(path) as db:  # every name, in order
                    self.assertEqual([list(r.to_dict().items()) for r in db], [list(m.items()) for m in json.loads(out)["models"]])
        with orvx.Database.from_bytes(data) as db:
            self.assertEqual([r.size_lists() for r in db],
                             [[(2, b"AB"), (5, b"")], [("C\udce9", b"\x07"), (3, b"\x08")], [(10, b"\x07\x08")], []])
            self.assertEqual([db[0].size_list(t) for t in (2, 5, 3)], [b"AB", b"", None])  # a tray listed without sizes
        with orvx.Database(SAMPLE) as db:
            self.assertEqual((db[0].field("Info040A"), db[0].info(0x040A)), (255, -1))  # as stored, as GetInfo widens

    def test_errors_by_status(self):
        closed = orvx.Database(SAMPLE)
        closed.close()
        for use, cls, builtin in [(lambda: orvx.Database("/no/such/ORVDB.dat"), orvx.NotFoundError, FileNotFoundError),
                                  (lambda: orvx.Database(os.path.dirname(SAMPLE)), orvx.NotRegularError, OSError),
                                  (lambda: orvx.Database.from_bytes(b"\1\0\0\0"), orvx.FormatError, ValueError),
                                  (lambda: len(closed), orvx.ArgumentError, ValueError)]:
            with self.subTest(cls=cls), self.assertRaises(cls) as raised:
                use()
            e = raised.exception
            self.assertEqual((isinstance(e, orvx.Error), isinstance(e, builtin), e.status, str(e)), (True, True, cls.status, e.message))
        # Every kind of failure has its code, text and class, as the table status_test.cpp reads says.
        with open(STATUSES) as f:
            rows = [line.split(None, 5) for line in f if line.strip() and not line.startswith("#")]
        for _, c_name, value, cls, _, text in rows:
            status = orvx.Status(int(value))
            self.assertEqual(("ORVX_E_" if status else "ORVX_") + status.name, c_name)
            self.assertEqual((status.text, type(orvx._error("m", status)).__name__), (text.strip(), cls if status else "Error"))
        self.assertEqual(len(rows), len(orvx.Status))
        # The package shows its public names only.
        self.assertEqual(sorted(n for n in vars(orvx) if not n.startswith("_")), sorted(set(orvx.__all__) - {"__version__"}))

    @unittest.skipUnless(os.environ.get("ORVX_PIP_SOURCE"), "no package for pip in this build")
    def test_venv_install_outlives_the_build_tree(self):
        """pip installs a copy of the build tree's package into a fresh venv; with that copy deleted, the
        venv imports orvx and loads its own library and sample."""
        with tempfile.TemporaryDirectory() as work:
            build, venv, python = (os.path.join(work, *p) for p in (["build"], ["venv"], ["venv", "bin", "python"]))
            shutil.copytree(os.environ["ORVX_PIP_SOURCE"], build, ignore=shutil.ignore_patterns("pip", "_install.py"))
            library = os.path.basename(os.environ["ORVX_LIBRARY"])
            shutil.copy(os.environ["ORVX_LIBRARY"], os.path.join(build, library))
            shutil.copy(SAMPLE, os.path.join(build, "ORVDB.dat"))
            with open(os.path.join(build, "orvx", "_install.py"), "w") as f:
                f.write(f"LIBRARY = '../{library}'\nSAMPLE = '../ORVDB.dat'\n")
            env = {k: v for k, v in os.environ.items() if k not in ("ORVX_LIBRARY", "PYTHONPATH", "LD_LIBRARY_PATH")}
            for command in ([sys.executable, "-m", "venv", venv], [python, "-m", "pip", "install", "-q", "--no-index", build]):
                subprocess.run(command, check=True, env=env, cwd=work)
            shutil.rmtree(build)
            out = subprocess.run([python, "-c", "import orvx; s = orvx.sample_database(); print(orvx.Database(s).lookup('Vantor LP-1200')"
                                  "[0].name, orvx.__file__, s, *{l.split()[-1] for l in open('/proc/self/maps') if 'liborvx' in l}, sep='\\n')"],
                                 capture_output=True, text=True, env=env, cwd=work)
            name, *paths = out.stdout.splitlines()
            self.assertEqual((name, len(paths), [p for p in paths if not p.startswith(venv + os.sep)]), ("Vantor LP-1200", 3, []), out.stderr)

    def test_names_that_are_not_utf8_round_trip(self):
        raw = b"Vantor \xe9\xff LP"
        data = struct.pack("<I", 3) + record_bytes(b"Default") + record_bytes(b"HP") + \
            record_bytes(raw, b"\x05\x01\x02\x05\x07")
        with orvx.Database.from_bytes(data) as db:
            record = db[2]
            self.assertEqual(record.name_bytes, raw)
            self.assertEqual(record.name.encode("utf-8", "surrogateescape"), raw)
            self.assertEqual(db.lookup(raw)[0], record)
            self.assertEqual(db.lookup(record.name), (record, "exact"))
            self.assertEqual(db.lookup("hp LaserJet")[1], "hp")
            self.assertEqual(record.size_list(1), b"\x05\x07")
        with orvx.Database.from_bytes(struct.pack("<I", 0)) as empty:
            self.assertEqual((empty.lookup("anything"), len(empty)), ((None, "default"), 0))
        self.assertRegex(orvx.version(), r"^\d+\.\d+\.\d+$")


if __name__ == "__main__":
    unittest.main()
