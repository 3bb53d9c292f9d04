#!/usr/bin/env python3
"""One editor, every face: seeded random edit scripts (every field kind, the
name, flags, size lists, inserts, removes, moves) applied through the Python
package (the C interface over the library) and, by hand, to the exported
JSON followed by `orvdb build` give byte-identical databases; and through
the page's module when the wasm preset is built. Refused edits change
nothing and say what build says of the same value.

usage: edit_faces.py ORVDB ORVDB.dat WEB_DIR   (environment: ORVX_LIBRARY)"""
import json
import os
import random
import subprocess
import sys
import tempfile

import orvx

orvdb, db_path, web = sys.argv[1:4]
rng = random.Random(35)
WIDTH = dict(orvx.FIELDS)
BITS = {name: int(flag) for name, flag in orvx.Flag.__members__.items()}
work = tempfile.mkdtemp()


def export(path):
    return json.loads(subprocess.run([orvdb, "export", "--db", path], capture_output=True, check=True).stdout)


def build(models):
    """`orvdb build` of a JSON document: (bytes, "") or (None, its message)."""
    src, out = os.path.join(work, "m.json"), os.path.join(work, "m.dat")
    with open(src, "w", encoding="utf-8") as f:
        json.dump({"models": models}, f, ensure_ascii=False)
    run = subprocess.run([orvdb, "build", src, "-o", out], capture_output=True, text=True)
    return (open(out, "rb").read(), "") if run.returncode == 0 else (None, run.stderr)


def tray():
    return {"tray": rng.choice([0, 1, 2, 3, 255, "Cassette 1", "Manual", "Caf\u00e9 \"A\"\n"]),
            "sizes": [rng.randrange(256) for _ in range(rng.choice([0, 1, 3, 40]))]}


def value(key):
    if key == "ModelName":
        return rng.choice(["", "hp LaserJet", "Vantor LP-1100", "Na\u00efve \"x\"\t", "Vantor"])
    if key == "FlagNames":
        return rng.sample(sorted(BITS), rng.randrange(4)) + (["IsNothing"] if rng.random() < 0.1 else [])
    if key == "InTraySPSZSizeList":
        return rng.choice([None, [], [tray() for _ in range(rng.randrange(1, 8))]])
    top = 1 << (8 * WIDTH[key])
    return rng.choice([0, 1, top // 2 - 1, top - 1, -1, top, rng.randrange(top // 2)])


def edit(n):
    i = rng.randrange(n) if n else 0
    kind = rng.choice(["set"] * 4 + ["setFlag", "insert", "remove", "move"]) if n else "insert"
    if kind == "set":
        return ["set", i, rng.choice(list(WIDTH) + ["ModelName", "FlagNames", "InTraySPSZSizeList"] * 3)]
    if kind == "setFlag":
        return ["setFlag", i, rng.choice(sorted(BITS)), rng.random() < 0.5]
    if kind == "insert":
        return ["insert", rng.randrange(n + 1), rng.choice([None, rng.randrange(n)]) if n else None]
    return [kind, i] + ([rng.randrange(n)] if kind == "move" else [])


def by_hand(models, step):
    """The same edit on the JSON form, as a maintainer would make it."""
    op, i = step[0], step[1]
    if op == "set":
        m, key, v = models[i], step[2], step[3]
        m[key] = v
        if key == "ModelName":
            m.pop("ModelNameBytes", None)
        if key == "FlagNames" and all(f in BITS for f in v):
            m["Flags"] = m.get("Flags", 0) & ~0x1FFF | sum(BITS[f] for f in set(v))
        if key == "Flags":
            m.pop("FlagNames", None)
    elif op == "setFlag":
        m = models[i]
        m["Flags"] = m.get("Flags", 0) & ~BITS[step[2]] | (BITS[step[2]] if step[3] else 0)
        m.pop("FlagNames", None)
    elif op == "insert":
        models.insert(i, {} if step[2] is None else dict(step[2]))
    elif op == "remove":
        del models[i]
    else:
        models.insert(step[2], models.pop(i))


scripts, refused = [], 0
for number in range(30):
    db, models = orvx.Database(db_path), export(db_path)["models"]
    script = []
    for _ in range(rng.randrange(1, 25)):
        step = edit(len(models))
        if step[0] == "set":
            step.append(value(step[2]))
        if step[0] == "insert" and step[2] is not None:
            step[2] = db[step[2]].to_dict()  # a copy of a record, as the page sends it
        before = db.save()
        try:
            getattr(db, {"setFlag": "set_flag"}.get(step[0], step[0]))(*step[1:])
        except ValueError as e:
            refused += 1
            assert db.save() == before, f"script {number}: a refused {step} changed the database"
            wrong = json.loads(json.dumps(models))
            by_hand(wrong, step)
            got, message = build(wrong)
            assert got is None and str(e) in message, f"script {number}: {step}: build says {message!r}, Python {e}"
            continue
        by_hand(models, step)
        script.append(step)
    expected, message = build(models)
    assert expected is not None, f"script {number}: build refused the hand edit: {message}"
    assert db.save() == expected, f"script {number}: library and build differ after {script}"
    assert json.loads(db.save(form="json")) == export(os.path.join(work, "m.dat")), f"script {number}: JSON forms differ"
    scripts.append((script, expected))
    db.close()

# No edit: the opened file, byte for byte; edits undone by hand: the same.
with open(db_path, "rb") as f:
    opened = f.read()
db = orvx.Database(db_path)
assert db.save() == opened
db.set(1, "Info0301", db[1].field("Info0301") + 1)
db.set(1, "Info0301", db[1].field("Info0301") - 1)
assert db.save() == opened, "a change undone by hand is not the opened file"

module = os.path.join(os.path.dirname(os.path.abspath(__file__)), "web_edits.mjs")
if os.path.exists(os.path.join(web, "orvx_wasm.js")):
    for number, (script, expected) in enumerate(scripts):
        src, out = os.path.join(work, "s.json"), os.path.join(work, "w.dat")
        with open(src, "w", encoding="utf-8") as f:
            json.dump(script, f)
        subprocess.run(["node", module, web, db_path, "--apply", src, out], check=True,
                       env={**os.environ, "NODE_PATH": "/usr/share/nodejs"})
        assert open(out, "rb").read() == expected, f"script {number}: the page's module differs"
    faces = "Python, build and the page's module"
else:
    faces = f"Python and build (no orvx_wasm.js in {web}: the module's face left out)"
print(f"{len(scripts)} scripts, {sum(map(len, (s for s, _ in scripts)))} edits, {refused} refused: {faces} agree")
