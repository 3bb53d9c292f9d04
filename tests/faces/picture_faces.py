#!/usr/bin/env python3
"""One picture contract, every face: the same seeded random picture requests,
valid and refused, go through orvdb eval, `orvdb picture --json`, the C
interface, the Python package and the page's WebAssembly module. Every face
that can express a request answers it as eval does, or refuses it with
eval's message (Python adds the value it refused after it); every trace
credits the whole picture ID and cites rows as `orvdb rules` numbers them.

usage: picture_faces.py ORVDB ORVDB.dat WEB_DIR   (environment: ORVX_LIBRARY)
WEB_DIR holds the wasm preset's orvx_wasm.js and orvx.js; without them the
module's face is left out, and the test says so."""
import ctypes
import functools
import json
import os
import random
import subprocess
import sys

import orvx

orvdb, db_path, web = sys.argv[1:4]
rng = random.Random(33)
rules = json.loads(subprocess.run([orvdb, "rules", "--json"], capture_output=True, check=True).stdout)["rules"]
KNOWN = {kind: sorted({lit for rows in rules.values() for r in rows if r["table"] == kind for lit in r["literals"]})
         for kind in ("in-tray", "out-tray", "option", "doc-option")}
pydb = orvx.Database(db_path)
MODELS = [r.name + suffix for r in pydb for suffix in ("", " PCL6")] + ["nothing like it"]
MANUAL, DEFAULT = str(orvx.MANUAL_TRAY_STRING), str(orvx.DEFAULT_TRAY_STRING)
for number in (orvx.MANUAL_TRAY_STRING, orvx.DEFAULT_TRAY_STRING):  # the C table, which orvx_picture must not read
    orvx._set_string(number, b"Global")


def name(kind, plain):
    """A name the rules know, or not; `plain` ones (none empty) suit `orvdb picture` too."""
    n = rng.choice(KNOWN[kind] + ["Manual", "Default Tray", 'Caf\u00e9 "A" \\'] + [""] * (not plain))
    n += rng.choice(["", "", " 1", "tte 2"])
    return "Optional " + n if rng.random() < 0.15 else n


def tray(out, plain):
    t = {"name": name(("in-tray", "out-tray")[out], plain)}
    for key, values, p in (("id", [-1, 0, 21], 0.2), ("addUnit", [0, 1, 6], 0.2),
                           (rng.choice(["delivery", "derivery"]), [0, 2, 3, 4], 0.3 * out)):
        if not plain and rng.random() < p:
            t[key] = rng.choice(values)
    return t["name"] if len(t) == 1 and rng.random() < 0.7 else t


def valid():
    plain = rng.random() < 0.4
    q = {"op": "picture", **({"db": db_path, "model": rng.choice(MODELS)} if rng.random() < 0.85 else
                             {"vendor": rng.choice([1, 2, 3]), "group": rng.randint(0, 40)})}
    q.update({"entry": rng.choice(["GetPictureID", "GetPictureIDEx"])} if rng.random() < 0.7 else {})
    q.update({"form": "names"} if not plain and rng.random() < 0.15 else {})
    for key, out, most in (("inTrays", False, 6), ("outTrays", True, 3)):
        q[key] = [name(("in-tray", "out-tray")[out], plain) if "form" in q else tray(out, plain) for _ in range(rng.randint(0, most))]
    q.update({key: [name(kind, plain) for _ in range(rng.randint(0, 3))]
              for key, kind in (("options", "option"), ("docOptions", "doc-option")) if rng.random() < 0.6})
    q.update({key: rng.randint(0, 3) for key in ("duplexUnit", "outputUnit") if rng.random() < 0.4})
    q.update({"strings": {k: v for k, v in ((MANUAL, "Hand Feed"), (DEFAULT, "Std")) if rng.random() < 0.7}} if rng.random() < 0.3 else {})
    return {**q, "explain": True} if rng.random() < 0.5 else q


def add(key, item):
    return lambda q: q.setdefault(key, []).append(item)


def record_wrong(q):  # a database without a model, a model alone, both kinds of record, a vendor alone
    q.pop(rng.choice(["db", "model"])) if "db" in q and rng.random() < 0.7 else q.update(vendor=1) if "db" in q else q.pop("group")


# How a valid request goes wrong, and the faces besides eval (and the module,
# for a database's model) that can say it.
BAD = [(lambda q: q.update(colour=1), ""), (add("inTrays", {"name": "A", "delivery": 3}), ""),
       (add("outTrays", {"name": "A", "delivery": 3, "derivery": 4}), ""), (add("outTrays", {"id": 3}), ""),
       (lambda q: q.update(entry=rng.choice([7, "GetPictureIDX"])), ""), (lambda q: q.update(explain="yes"), ""),
       (add("options", 1), ""), (lambda q: q.update(duplexUnit=1.5), ""), (lambda q: q.update(inTrays="A"), ""),
       (lambda q: q.update(form="names", inTrays=[{"name": "A", "id": 1}]), ""),
       (add("inTrays", {"name": "A", "id": 2**31}), "python"), (add("outTrays", {"name": "A", "addUnit": -2**31 - 1}), "python"),
       (lambda q: q.update(outputUnit=2**40), "python"), (lambda q: q.update(duplexUnit=-2**31 - 1), "python"),
       (add("inTrays", "Cassette\0 1"), "python"), (add("docOptions", "NMFR\0"), "python"),
       (lambda q: q.update(strings={DEFAULT: "St\0d"}), "python"),
       (lambda q: q.update(strings={str(rng.choice([1234, 9480, 9483])): "x"}), "cli"), (record_wrong, "record")]
requests = []
for i in range(360):
    q, bad = valid(), rng.choice(BAD) if i % 3 == 0 else (None, "")
    if bad[0]:
        bad[0](q)
    requests.append((q, bad[1]))

# ---- the faces ------------------------------------------------------------------------


def cli(q):
    """`orvdb picture --json` for q, or None: it takes trays and units by name only."""
    lists = [[t if isinstance(t, str) else t["name"] if isinstance(t, dict) and set(t) == {"name"} else None for t in v]
             if isinstance(v, list) else [None] for v in (q.get(k, []) for k in ("inTrays", "outTrays", "options", "docOptions"))]
    if "form" in q or not all(isinstance(n, str) and n and n[0] != "-" for names in lists for n in names):
        return None
    args = ["--db", q["db"], q["model"]] if "db" in q else ["--vendor", str(q["vendor"]), "--group", str(q["group"])]
    for flag, names in zip(("--in", "--out", "--option", "--doc-option"), lists):
        args += [flag, *names] if names else []
    args += ["--classic"] * (q.get("entry") == "GetPictureID") + ["--duplex"] * bool(q.get("duplexUnit"))
    args += ["--output-unit", str(q["outputUnit"])] if "outputUnit" in q else []
    args += [a for k, v in q.get("strings", {}).items() for a in ("--string", f"{k}={v}")] + ["--explain"] * bool(q.get("explain"))
    got = subprocess.run([orvdb, "picture", "--json", *args], capture_output=True, text=True)
    return {"error": got.stderr[7:].rstrip("\n")} if got.returncode == 2 else json.loads(got.stdout)


def trays_of(q, key):
    return [{"name": t} if isinstance(t, str) else t for t in q.get(key, [])]


def answer(q, pid, rule, record_name, index, how, trays, steps):
    """Eval's answer, from the results of the C interface or Python (whose steps give no tray's place)."""
    a = {"pictureId": pid, "rule": rule, "model": record_name, "index": index, "match": how}
    a.update({} if q.get("form") == "names" else dict(zip(("inTrays", "outTrays"), trays)))
    tray = lambda s, **kv: kv if s.kind.endswith("tray") else {}  # noqa: E731
    return a if steps is None else {**a, "trace": [
        {"kind": s.kind, **tray(s, input=s.input_name), **({"name": s.name} if s.kind != "rule" else {}), **tray(s, final=s.final_name),
         "row": None if s.row < 0 else s.row, "test": s.test, "added": s.added, **tray(s, id=s.id)} for s in steps]}


cdb = orvx._P()  # the C functions as the package declares them, called here without it
assert orvx._open_file(db_path.encode(), ctypes.byref(cdb), None) == 0


def c_face(q):
    """The C interface's one call, on the record its lookup finds."""
    how, index, length, pid, trace = ctypes.c_int(), orvx._size(), orvx._size(), ctypes.c_uint32(), orvx._P()
    r = orvx._lookup(cdb, q["model"].encode(), ctypes.byref(how), ctypes.byref(index))
    arrays = []
    for key in ("inTrays", "outTrays"):
        arrays.append(((orvx._CTray * max(1, len(q.get(key, []))))(), len(q.get(key, []))))
        for ct, t in zip(arrays[-1][0], trays_of(q, key)):
            orvx._tray_init(ctypes.byref(ct), None)
            ct.name, ct.id, ct.add_unit = t["name"].encode(), t.get("id", ct.id), t.get("addUnit", ct.add_unit)
            ct.delivery = t.get("delivery", t.get("derivery", ct.delivery))
    strings = {int(k): v.encode() for k, v in q.get("strings", {}).items()}
    call = orvx._CCall(q.get("entry") != "GetPictureID", *arrays[0], *arrays[1], q.get("duplexUnit", 0), q.get("outputUnit", 0),
                       *orvx._name_array(q.get("options", [])), *orvx._name_array(q.get("docOptions", [])),
                       strings.get(orvx.MANUAL_TRAY_STRING), strings.get(orvx.DEFAULT_TRAY_STRING))
    assert orvx._picture(r, ctypes.byref(call), ctypes.byref(pid), ctypes.byref(trace) if q.get("explain") else None, None) == 0
    rule = orvx._rule_for(orvx._vendor(r), orvx._group(r), call.extended, None)
    return answer(q, pid.value, rule and rule.decode(), orvx._text(ctypes.string_at(orvx._name(r, ctypes.byref(length)), length.value)),
                  index.value, orvx._match_name(how.value).decode(),
                  [[{"name": orvx._text(t.final_name), "id": t.id} for t in arr[:n]] for arr, n in arrays],
                  orvx._read_trace(trace)[1] if q.get("explain") else None)


def python_face(q):
    record, how = pydb.lookup(q["model"])
    classic, strings = q.get("entry") == "GetPictureID", q.get("strings", {})
    try:
        ins, outs = ([orvx.Tray(t["name"], **{p: t[k] for k, p in (("id", "id"), ("addUnit", "add_unit"), ("delivery", "delivery"),
                                                                   ("derivery", "delivery")) if k in t})
                      for t in trays_of(q, key)] for key in ("inTrays", "outTrays"))
        got = record.picture_id(ins, outs, q.get("options", []), q.get("docOptions", []), classic=classic,
                                duplex_unit=q.get("duplexUnit", 0), output_unit=q.get("outputUnit", 0),
                                manual_tray_name=strings.get(MANUAL), default_tray_name=strings.get(DEFAULT), explain=bool(q.get("explain")))
    except (ValueError, TypeError, orvx.Error) as e:
        return {"error": str(e)}
    pid, rule, steps = got if q.get("explain") else (got, record.rule(classic=classic), None)
    return answer(q, pid, rule, record.name, record.index, str(how), [[{"name": t.name, "id": t.id} for t in l] for l in (ins, outs)], steps)


def without_places(a):
    return {**a, "trace": [{k: v for k, v in s.items() if k != "tray"} for s in a["trace"]]} if "trace" in a else a


# ---- the run ---------------------------------------------------------------------------

want = [json.loads(l) for l in subprocess.run([orvdb, "eval"], input="".join(json.dumps(q) + "\n" for q, _ in requests),
                                             capture_output=True, text=True, check=True).stdout.splitlines()]
by_db = [i for i, (q, bad) in enumerate(requests) if "db" in q and "model" in q and bad != "record"]
module, failures = {}, []
if os.path.isfile(os.path.join(web, "orvx_wasm.js")):
    feed = "".join(json.dumps({"model": requests[i][0]["model"], "request": {k: v for k, v in requests[i][0].items()
                                                                            if k not in ("op", "db", "model")}}) + "\n" for i in by_db)
    got = subprocess.run(["node", os.path.join(os.path.dirname(__file__), "web_face.mjs"), web, db_path], input=feed, text=True,
                         capture_output=True, env={**os.environ, "NODE_PATH": "/usr/share/nodejs"})
    module = dict(zip(by_db, map(json.loads, got.stdout.splitlines()))) if got.returncode == 0 else {}
    failures += [f"the module's face failed: {got.stderr[-2000:]}"] * (got.returncode != 0)
else:
    print(f"the module's face is left out: no orvx_wasm.js in {web} (build the wasm preset)")
counts = dict.fromkeys(("picture --json", "C", "Python", "module"), 0)
for i, ((q, bad), w) in enumerate(zip(requests, want)):
    refused, faces = "error" in w, {}
    faces.update({"module": (module.get(i), w)} if module and i in by_db else {})
    if not refused or bad == "cli":
        faces.update({"picture --json": (got, w)} if (got := cli(q)) is not None else {})
    if i in by_db and (not refused or bad == "python" and "form" not in q):
        faces["Python"] = (without_places(python_face(q)), without_places(w))
    faces.update({"C": (c_face(q), without_places(w))} if i in by_db and not refused else {})
    rows = {(r["table"], r["index"]) for r in rules.get(w.get("rule"), [])}
    if "trace" in w and (functools.reduce(lambda bits, s: bits | s["added"], w["trace"], 0) != w["pictureId"] or
                         not all((s["kind"], s["row"]) in rows for s in w["trace"] if s["row"] is not None)):
        failures.append(f"the trace credits other bits than {w['pictureId']}, or rows no rule lists: {json.dumps(q)}")
    for face, (got, expected) in faces.items():
        counts[face] += 1
        if got != expected and not (face == "Python" and refused and (got["error"] + ":").startswith(expected["error"] + ":")):
            failures.append(f"{face} and eval differ on {json.dumps(q)}\n  eval: {json.dumps(expected)}\n  {face}: {json.dumps(got)}")
refusals = sum("error" in w for w in want)
if not (100 <= refusals <= 150 and len({w.get("pictureId") for w in want}) > 40 and min(n for face, n in counts.items() if module or face != "module") > 100):
    failures.append(f"the requests do not spread: {refusals} refused, {counts}, {len({w.get('pictureId') for w in want})} IDs")
print("\n".join(failures[:10]) or f"{len(requests)} requests, {refusals} refused: every face agrees with eval {counts}")
sys.exit(1 if failures else 0)
