"""The Python package against the built library: the same answers as
`orvdb eval`, errors as orvx.Error, record lifetimes, byte-faithful names.
Environment: ORVX_LIBRARY (the library), ORVX_SAMPLE_DB, ORVDB_BINARY."""
import functools
import json
import operator
import os
import pydoc
import random
import struct
import subprocess
import threading
import time
import unittest

import orvx

SAMPLE = os.environ["ORVX_SAMPLE_DB"]
CONFIGS = [(["Multi Purpose Tray", "Optional Cassette 1", "Cassette 2"], ["Face Down Tray"], []),
           (["Bypass", "Cassette 1", "Cassette 2", "Cassette 3"], ["Finisher", "Mailbox"], ["Duplex Unit"])]


def record_bytes(name, block=b"\0"):
    """One record in the file layout: the name, 71 field bytes, the block, 10 more."""
    return bytes([len(name)]) + name + bytes(71) + block + bytes(10)


class Package(unittest.TestCase):
    def test_same_answers_as_eval(self):
        requests, expected = [], []
        with orvx.Database(SAMPLE) as db:
            for r in db:
                for query in (r.name + " PCL6", "nothing like it"):
                    found, how = db.lookup(query)
                    requests.append({"op": "lookup", "db": SAMPLE, "name": query})
                    expected.append({"index": found.index, "modelName": found.name, "match": how})
                for tray in [1, 3, "multi purpose tray", "Bypass"]:
                    requests.append({"op": "sizelist", "block": list(r.size_list_block()),
                                     "tray" if isinstance(tray, int) else "trayName": tray})
                    sizes = r.size_list(tray) or b""  # eval's getters answer an empty list for none
                    expected.append({"result": len(sizes), "bytes": list(sizes)})
                for (ins, outs, options), classic in [(c, k) for c in CONFIGS for k in (False, True)]:
                    trays_in, trays_out = [orvx.Tray(n) for n in ins], [orvx.Tray(n, delivery=3) for n in outs]
                    requests.append({"op": "picture", "vendor": r.vendor_id, "group": r.model_group_id,
                                     "model": r.name, "entry": "GetPictureID" if classic else "GetPictureIDEx",
                                     "inTrays": ins, "outTrays": [{"name": n, "derivery": 3} for n in outs],
                                     "duplexUnit": 1, "options": options})
                    expected.append({"pictureId": r.picture_id(trays_in, trays_out, options, classic=classic,
                                                               duplex_unit=1),
                                     "inTrays": [{"name": t.name, "id": t.id} for t in trays_in],
                                     "outTrays": [{"name": t.name, "id": t.id} for t in trays_out]})
        out = subprocess.run([os.environ["ORVDB_BINARY"], "eval"], capture_output=True, text=True, check=True,
                             input="".join(json.dumps(r) + "\n" for r in requests)).stdout
        self.assertEqual([json.loads(line) for line in out.splitlines()], expected)

    def test_explain_credits_every_bit(self):
        """Over the sample database and random machines, the bits the trace
        credits make up the picture ID, and every unit name has its step."""
        rng = random.Random(3)
        words = ["Multi Purpose Tray", "Optional Cassette 1", "Cassette 2", "Cassette 4", "Bypass", "Tray 1",
                 "Manual", "Default", "Draw", "Large", "GX-268", "GX-261", "HI-331", "HI-372", "RJ-7", "FU-404",
                 "HH-418", "Face Down Tray", "Face-d", "Top Tray", "Finisher Tray A", "Multi F", "IL-2", "NN-93",
                 "NMFR-8", "NMFR-9", "HG-937", "Doc-1", "nothing"]
        with orvx.Database(SAMPLE) as db:
            for r in db:
                for _ in range(12):
                    ins, outs, opts, docs = ([rng.choice(words) for _ in range(rng.randint(0, n))] for n in (6, 4, 3, 2))
                    args = dict(classic=rng.random() < 0.3, duplex_unit=rng.randint(0, 1),
                                output_unit=rng.randint(0, 2), manual_tray_name="Hand")
                    value, rule, steps = r.picture_id(ins, outs, opts, docs, explain=True, **args)
                    self.assertEqual(functools.reduce(operator.or_, (s.added for s in steps), 0), value, steps)
                    self.assertEqual(r.picture_id(ins, outs, opts, docs, **args), value)
                    if not args["classic"]:
                        names = [s.name for s in steps if s.kind in ("option", "doc_option")]
                        self.assertEqual(sorted(names), sorted(opts + docs), rule)
            with self.assertRaises(orvx.Error):  # never cut silently
                db[0].picture_id(["x" * 300])

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
                               (lambda: orvx.Tray("Cassette\0 1"), ValueError),
                               (lambda: record.size_list("Cassette\0 1"), ValueError),
                               (lambda: record.picture_id([orvx.Tray("A")], ["Face\0 Up"]), ValueError),
                               (lambda: orvx.set_host_string(9481, "Hand\0x"), ValueError),
                               (lambda: orvx.set_host_string(2**32 + 9481, "Hand"), ValueError)]):
                with self.subTest(row=i), self.assertRaises(error):
                    use()

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
                    (lambda: record.flag("IsColourPrinter"), KeyError, "IsColorPrinter")]):
                with self.subTest(row=i), self.assertRaises(error) as raised:
                    use()
                self.assertIn(text, str(raised.exception))
        self.assertNotIn("_data", pydoc.render_doc(orvx.Database))
        self.assertEqual((orvx.Flag.IsColorPrinter, len(orvx.FLAG_NAMES), orvx.Status(3)),
                         (0x0008, 13, orvx.Status.FORMAT))

    def test_to_dict_names_fields_as_export_does(self):
        out = subprocess.run([os.environ["ORVDB_BINARY"], "export", "--db", SAMPLE], capture_output=True,
                             check=True).stdout
        exported = json.loads(out)["models"]
        with orvx.Database(SAMPLE) as db:
            dicts = [r.to_dict() for r in db]
            self.assertEqual((db[0].field("Info040A"), db[0].info(0x040A)), (255, -1))  # as stored, as GetInfo widens
        for got, want in zip(dicts, exported, strict=True):
            self.assertEqual(list(got.items())[:-1], list(want.items())[:-1])  # all but the size lists, in order
        # A tray listed without sizes is told from one not listed.
        with orvx.Database.from_bytes(struct.pack("<I", 1) + record_bytes(b"A", bytes([7, 2, 2, 65, 66, 5, 0]))) as db:
            self.assertEqual([db[0].size_list(t) for t in (2, 5, 3)], [b"AB", b"", None])

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
