#!/usr/bin/env python3
"""The workbench page in headless chromium, from file:// with the network off,
checked against the native orvdb: catalogue, lookup, model view, lint count,
and 2,000 random picture calls through window.orvx, answer for answer.

usage: page_test.py ORVDB ORVDB.dat MODELS.json WORKDIR"""
import json, random, subprocess, sys, tempfile
from pathlib import Path
from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

orvdb, sample_db, models_json, work = sys.argv[1:5]
work = Path(work)
work.mkdir(parents=True, exist_ok=True)


def run(*args, stdin=None):
    return subprocess.run([orvdb, *args], input=stdin, capture_output=True, text=True)


def check(ok, what):
    if not ok:
        sys.exit(f"FAIL: {what}")


# Without web assets the command says how to build them and writes nothing.
missing = run("html", sample_db, "-o", str(work / "none.html"), "--web", str(work / "no-such-dir"))
check(missing.returncode == 2 and "--preset wasm" in missing.stderr and not (work / "none.html").exists(),
      f"html without assets: {missing.returncode} {missing.stderr}")

# A JSON source with lint findings: a duplicate name and an empty one.
models = json.loads(Path(models_json).read_text())
models["models"] += [dict(models["models"][1]), dict(models["models"][2], ModelName="")]
lint_src = work / "lint.json"
lint_src.write_text(json.dumps(models))
lint_count = len(json.loads(run("lint", "--json", str(lint_src)).stdout)["findings"])
check(lint_count >= 2, f"lint findings in {lint_src}: {lint_count}")
for src, page in ((sample_db, "sample.html"), (str(lint_src), "lint.html")):
    made = run("html", src, "-o", str(work / page))
    check(made.returncode == 0, f"orvdb html {src}: {made.stderr}")

opts = webdriver.ChromeOptions()
for flag in ("--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
             "--disable-background-networking", "--disable-component-update", "--disable-sync",
             "--window-size=1280,800", f"--user-data-dir={tempfile.mkdtemp(prefix='orvx-chrome-')}"):
    opts.add_argument(flag)
driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=opts)
driver.set_script_timeout(120)
try:
    driver.execute_cdp_cmd("Network.enable", {})
    driver.execute_cdp_cmd("Network.emulateNetworkConditions",
                           {"offline": True, "latency": 0, "downloadThroughput": -1, "uploadThroughput": -1})
    wait = WebDriverWait(driver, 30)

    def load(page):
        driver.get((work / page).resolve().as_uri())
        wait.until(lambda d: d.find_element(By.ID, "main").is_displayed())

    load("lint.html")
    shown = driver.find_element(By.ID, "lint-count").get_attribute("textContent")
    check(shown.startswith(f"{lint_count} finding"), f"lint summary says {shown!r}, orvdb lint {lint_count}")

    load("sample.html")
    rows = driver.find_elements(By.CSS_SELECTOR, "#catalogue-table tbody tr")
    listed = json.loads(run("list", "--json", "--db", sample_db).stdout)
    check(len(rows) == len(listed), f"{len(rows)} catalogue rows, orvdb lists {len(listed)}")

    # The one-click sample is the JSON form, built into a database by the module.
    driver.find_element(By.ID, "open-sample").click()
    said = driver.find_element(By.ID, "status").text
    check(f"{len(listed)} models (JSON form)" in said, f"the sample opened as {said!r}")

    query = "Vantor LP-1200 PCL6"
    driver.find_element(By.ID, "search").send_keys(query)
    answer = json.loads(run("eval", stdin=json.dumps({"op": "lookup", "db": sample_db, "name": query}) + "\n").stdout)
    said = driver.find_element(By.ID, "lookup-result").text
    check(f"record {answer['index']}, “{answer['modelName']}”" in said, f"lookup says {said!r}, orvdb {answer}")
    driver.find_element(By.CSS_SELECTOR, "#lookup-result button").click()
    title = driver.find_element(By.ID, "model-title").text
    check(title.startswith(answer["modelName"]), f"model view shows {title!r}")

    # Random machines over every sample model, from the names the rules know and a few they do not.
    rnd = random.Random(27)
    records = driver.execute_script(
        "const db = orvx.open(Uint8Array.from(atob(document.getElementById('orvx-db').textContent.trim()), c => c.charCodeAt(0)));"
        "window.testDb = db; return db.records().map(r => [r.index, r.name, r.vendor, r.group,"
        " orvx.vocabulary(r.vendor, r.group)]);")
    extra = ["Tray 9", "Optional Cassette 3", "Option Finisher", "Large Capacity Feeder", "", "Manual"]
    calls, lines = [], []
    for _ in range(2000):
        index, name, vendor, group, vocab = rnd.choice(records)
        entry = rnd.choice(["GetPictureID", "GetPictureIDEx"])
        known = {}
        for row in vocab[entry]["rows"]:
            known.setdefault(row["table"], []).extend(row["literals"])
        pick = lambda table: [rnd.choice(known.get(table, []) + extra + ["Optional " + n for n in known.get(table, [])])
                              for _ in range(rnd.randint(0, 4))]
        q = {"entry": entry, "inTrays": pick("inTray"), "outTrays": pick("outTray")}
        if entry == "GetPictureID":
            q.update(duplexUnit=rnd.randint(0, 1), outputUnit=rnd.choice([0, 0, 1, 2, 3]))
        else:
            q.update(options=pick("option"), docOptions=pick("docOption"))
        if rnd.random() < 0.2:
            q["strings"] = {"9481": "Manual Feed", "9482": "Default Tray"}
        calls.append([index, q])
        lines.append(json.dumps(dict(op="picture", vendor=vendor, group=group, model=name, **q)))
    got = driver.execute_script(
        "return arguments[0].map(([i, q]) => { const a = window.testDb.picture(i, q);"
        " const t = (l) => l.map(x => ({name: x.name, id: x.id}));"
        " return JSON.stringify({pictureId: a.pictureId, inTrays: t(a.inTrays), outTrays: t(a.outTrays)}); });", calls)
    want = run("eval", stdin="\n".join(lines) + "\n").stdout.splitlines()
    check(len(want) == len(got), f"{len(want)} eval answers for {len(got)} calls")
    ids = {json.loads(w).get("pictureId") for w in want}
    check(len(ids) > 50, f"the random machines give only {len(ids)} picture IDs")
    for line, w, g in zip(lines, want, got):
        check(w == g, f"request {line}\n  orvdb eval: {w}\n  wasm:       {g}")
    print(f"page test passed: {len(rows)} models, lookup, model view, {lint_count} lint findings, "
          f"{len(got)} picture calls equal to orvdb eval")
finally:
    driver.quit()
