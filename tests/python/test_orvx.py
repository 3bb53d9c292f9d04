"""The Python package against the built library: the same answers as
`orvdb eval`, errors as orvx.Error, record lifetimes, byte-faithful names.
Environment: ORVX_LIBRARY (the library), ORVX_SAMPLE_DB, ORVDB_BINARY."""
import json
import os
import struct
import subprocess
import unittest

import orvx

SAMPLE = os.environ["ORVX_SAMPLE_DB"]
ORVDB = os.environ["ORVDB_BINARY"]

CONFIGS = [
    (["Multi Purpose Tray", "Optional Cassette 1", "Cassette 2"], ["Face Down Tray"], []),
    (["Bypass", "Cassette 1", "Cassette 2", "Cassette 3"], ["Finisher", "Mailbox"], ["Duplex Unit"]),
    (["Manual", "LCT"], ["Face Up Tray"], ["Stapler"]),
]


def record_bytes(name, block=b"\0"):
    """One record in the file layout: the name, 71 field bytes, the block, 10 more."""
    assert len(name) < 255
    return bytes([len(name)]) + name + bytes(71) + block + bytes(10)


def eval_answers(requests):
    out = subprocess.run([ORVDB, "eval"], input="".join(json.dumps(r) + "\n" for r in requests),
                         capture_output=True, text=True, check=True).stdout
    return [json.loads(line) for line in out.splitlines()]


class AgreesWithEval(unittest.TestCase):
    def test_lookup_size_lists_and_pictures(self):
        with orvx.Database(SAMPLE) as db:
            requests, expected = [], []
            for r in db:
                for query in (r.name, r.name + " PCL6", "nothing like it"):
                    found, how = db.lookup(query)
                    requests.append({"op": "lookup", "db": SAMPLE, "name": query})
                    expected.append({"index": found.index, "modelName": found.name, "match": how})
                block = list(r.size_list_block())
                for tray in [0, 1, 2, 3, 10, "Cassette 1", "multi purpose tray", "Tray 2", "Bypass"]:
                    key = "tray" if isinstance(tray, int) else "trayName"
                    requests.append({"op": "sizelist", "block": block, key: tray})
                    sizes = list(r.size_list(tray))
                    expected.append({"result": len(sizes), "bytes": sizes})
                for ins, outs, options in CONFIGS:
                    for classic in (False, True):
                        trays_in = [orvx.Tray(n) for n in ins]
                        trays_out = [orvx.Tray(n, delivery=3) for n in outs]
                        pid = r.picture_id(trays_in, trays_out, options, classic=classic, duplex_unit=1)
                        request = {"op": "picture", "vendor": r.vendor_id, "group": r.model_group_id,
                                   "model": r.name, "entry": "GetPictureID" if classic else "GetPictureIDEx",
                                   "inTrays": ins, "outTrays": [{"name": n, "derivery": 3} for n in outs],
                                   "duplexUnit": 1, "options": options}
                        requests.append(request)
                        expected.append({"pictureId": pid,
                                         "inTrays": [{"name": t.name, "id": t.id} for t in trays_in],
                                         "outTrays": [{"name": t.name, "id": t.id} for t in trays_out]})
                        requests.append(dict(request, form="names"))
                        expected.append({"pictureId": r.picture_id(ins, outs, options, classic=classic,
                                                                   duplex_unit=1)})
            answers = eval_answers(requests)
        self.assertEqual(len(answers), len(expected))
        for request, answer, want in zip(requests, answers, expected):
            self.assertEqual(answer, want, request)

    def test_how_a_name_matched(self):
        data = struct.pack("<I", 3) + b"".join(record_bytes(n) for n in (b"Default", b"HP", b"Vantor LP-1200"))
        with orvx.Database.from_bytes(data) as db:
            cases = [("Vantor LP-1200", 2, "exact"), ("Vantor LP-1200 PS", 2, "substring"),
                     ("hp LaserJet", 1, "hp"), ("x HP", 0, "default")]
            for query, index, how in cases:
                record, got = db.lookup(query)
                self.assertEqual((record.index, got), (index, how), query)
        with orvx.Database.from_bytes(struct.pack("<I", 0)) as empty:
            self.assertEqual(empty.lookup("anything"), (None, "default"))
            self.assertEqual(len(empty), 0)


class Errors(unittest.TestCase):
    def test_failed_opens_raise_with_message_and_offset(self):
        with open(SAMPLE, "rb") as f:
            data = f.read()
        with self.assertRaises(orvx.Error) as cut:
            orvx.Database.from_bytes(data[:500])
        self.assertEqual(cut.exception.offset, 500)
        self.assertIn("at byte 500", cut.exception.message)
        with self.assertRaises(orvx.Error) as missing:
            orvx.Database("/no/such/ORVDB.dat")
        self.assertIn("/no/such/ORVDB.dat", str(missing.exception))
        with self.assertRaises(orvx.Error):
            orvx.Database.from_bytes(b"\xff\xff\xff\xff")

    def test_records_outlive_nothing(self):
        db = orvx.Database(SAMPLE)
        record = db[2]
        self.assertEqual(record.name, "Vantor LP-1200")
        self.assertEqual(db[-1].index, len(db) - 1)
        self.assertEqual(record.info(0x0D08), 900)
        with self.assertRaises(KeyError):
            record.info(0x9999)
        self.assertEqual(record.flag_names, {"IXDuplexer", "IsOldTypePrinter", "IsVantorPrinter"})
        db.close()
        for use in (lambda: record.name, lambda: record.flags, lambda: record.size_list(1),
                    lambda: record.picture_id(["Cassette 1"]), lambda: len(db), lambda: db.lookup("x")):
            with self.assertRaises(orvx.Error):
                use()
        db.close()  # a second close is harmless
        with self.assertRaises(IndexError):
            orvx.Database(SAMPLE)[10**6]


class Names(unittest.TestCase):
    def test_names_that_are_not_utf8_round_trip(self):
        raw = b"Vantor \xe9\xff LP"
        data = struct.pack("<I", 2) + record_bytes(b"Default") + record_bytes(raw, b"\x05\x01\x02\x05\x07")
        with orvx.Database.from_bytes(data) as db:
            record = db[1]
            self.assertEqual(record.name_bytes, raw)
            self.assertEqual(record.name.encode("utf-8", "surrogateescape"), raw)
            self.assertEqual(db.lookup(raw)[0], record)
            self.assertEqual(db.lookup(record.name), (record, "exact"))
            self.assertEqual(record.size_list(1), b"\x05\x07")
            self.assertEqual(record.size_list_block(), b"\x05\x01\x02\x05\x07")
        self.assertRegex(orvx.version(), r"^\d+\.\d+\.\d+$")


if __name__ == "__main__":
    unittest.main()
