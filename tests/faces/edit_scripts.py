"""Seeded random edit scripts for a database: every field kind, the name,
flags, size lists, inserts, removes and moves, each step tried through the
Python package and made by hand on the exported JSON, which `orvdb build`
then builds. `scripts` gives each script's accepted steps with the bytes both
ways agree on; a refused step must change nothing and say what build says of
the same value, and is left out of the script."""
import json
import os
import random
import subprocess
import tempfile

import orvx

rng = random.Random()
WIDTH = dict(orvx.FIELDS)
BITS = {name: int(flag) for name, flag in orvx.Flag.__members__.items()}
work = tempfile.mkdtemp()


def export(orvdb, path):
    return json.loads(subprocess.run([orvdb, "export", "--db", path], capture_output=True, check=True).stdout)


def build(orvdb, models):
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


def scripts(orvdb, db_path, count, seed):
    """[(steps, database bytes)] for `count` scripts on `db_path`, and how many steps were refused."""
    rng.seed(seed)
    scripts, refused = [], 0
    for number in range(count):
        db, models = orvx.Database(db_path), export(orvdb, db_path)["models"]
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
                got, message = build(orvdb, wrong)
                assert got is None and str(e) in message, f"script {number}: {step}: build says {message!r}, Python {e}"
                continue
            by_hand(models, step)
            script.append(step)
        expected, message = build(orvdb, models)
        assert expected is not None, f"script {number}: build refused the hand edit: {message}"
        assert db.save() == expected, f"script {number}: library and build differ after {script}"
        assert json.loads(db.save(form="json")) == export(orvdb, os.path.join(work, "m.dat")), f"script {number}: JSON forms differ"
        scripts.append((script, expected))
        db.close()
    return scripts, refused
