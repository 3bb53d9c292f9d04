#!/usr/bin/env python3
"""The workbench page in headless chromium, from file:// with the network off,
checked against the native orvdb: catalogue, lookup, model view, lint count,
the calculator's tray buttons and its eval line; edits made in the page,
downloaded and compared with orvdb diff, and kept across a reload; then
its layout at 1280x800 and on a phone (390x844), with screenshots of both
in WORKDIR/screens for a person to look at.

usage: page_test.py ORVDB ORVDB.dat MODELS.json WORKDIR
(ORVX_WEB=DIR: the web assets orvdb html inlines, instead of its default folders)"""
import base64, json, os, subprocess, sys, tempfile
from pathlib import Path
from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.support.ui import WebDriverWait

orvdb, sample_db, models_json, work = sys.argv[1:5]
# The Python package over this build's library, for the edit scripts.
here = Path(__file__).resolve().parent
sys.path[:0] = [str(here.parents[1] / "python"), str(here.parent / "faces")]
os.environ.setdefault("ORVX_LIBRARY", str(Path(orvdb).resolve().parents[1] / "src" / "liborvx.so"))
from edit_scripts import scripts as edit_scripts  # noqa: E402
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
for src, page, *edit in ((sample_db, "sample.html"), (str(lint_src), "lint.html"), (sample_db, "edit.html", "--edit")):
    made = run("html", src, "-o", str(work / page), *edit, *(["--web", os.environ["ORVX_WEB"]] if "ORVX_WEB" in os.environ else []))
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
    check(driver.execute_script("return [document.getElementById('edit-bar').hidden, document.querySelectorAll('input.edit').length]")
          == [True, 0], "a page made without --edit opens read-only")
    # The catalogue draws the rows its box shows: more appear on a scroll, and the arrow keys walk
    # past the last drawn row to the end.
    listed = json.loads(run("list", "--json", "--db", sample_db).stdout)
    drawn = "return [...document.querySelectorAll('#catalogue-table tbody tr[data-index]')].map((tr) => +tr.dataset.index)"
    first, rows = driver.execute_script(drawn), int(driver.find_element(By.ID, "catalogue-table").get_attribute("aria-rowcount")) - 1
    driver.find_element(By.CSS_SELECTOR, 'tr[data-index="0"]').send_keys(*[Keys.ARROW_DOWN] * (len(listed) - 1))
    last = driver.execute_script(drawn)
    check(rows == len(listed) and first == list(range(len(first))) and len(first) < rows and last[-1] == rows - 1 and
          driver.execute_script("return document.activeElement.dataset.index") == str(rows - 1), f"{rows} rows, {first} drawn, then {last}")

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
    # Each field's meaning in the model view is the line orvdb show prints for it.
    notes = driver.execute_script("""const v = document.getElementById('model-view'), note = (e) => e.querySelector('.note')?.textContent;
        return Object.fromEntries([['InTraySPSZSizeList', note(v.querySelector('.sizes caption'))], ...[...v.querySelectorAll('.fields dt')].map((dt) =>
          [dt.textContent, note(dt.nextElementSibling)]), ...[...v.querySelectorAll('.info tbody tr')].map((tr) => [tr.cells[1].firstChild.data,
          note(tr.cells[1]) ?? note(v.querySelector('.info caption'))])]);""")
    shown = {l.split()[0]: l.split("  # ")[1] for l in run("show", "--db", sample_db, query).stdout.splitlines() if "  # " in l}
    check(notes == shown, f"field meanings: page {notes}, orvdb show {shown}")

    # Picture calls through window.orvx answer as orvdb eval does: tests/faces/picture_faces.py.
    driver.execute_script("window.testDb = orvx.open(Uint8Array.from(atob(document.getElementById('orvx-db')"
                          ".textContent.trim()), c => c.charCodeAt(0)));")

    # The edit differential's first scripts (tests/faces/edit_scripts.py: Python and `orvdb build`
    # agree on their bytes) through window.orvx in the browser.
    for number, (script, expected) in enumerate(edit_scripts(orvdb, sample_db, 5, 35)[0]):
        got = driver.execute_script("""const db = orvx.open(testDb.save('dat')); db.apply(arguments[0]);
            const b = db.save('dat'); db.close(); return btoa(Array.from(b, (c) => String.fromCharCode(c)).join(''));""", script)
        check(base64.b64decode(got) == expected, f"edit script {number} through window.orvx")

    # In the bundled ORVDB.dat: flag badges by their full names, as export names the flags; every
    # chip of the calculator is a name its rule takes (alone, or as the last of four trays for rows
    # that want a place), and a prefix is the start of a name to type, which adds no tray.
    badges, offers = driver.execute_script("""document.getElementById('search').value = ''; document.getElementById('open-bundled').click();
        const badges = [], out = [];
        for (let k = 0; k < document.getElementById('catalogue-table').getAttribute('aria-rowcount') - 1; k++) {
          const tr = workbench.row(k);
          badges.push([...tr.querySelectorAll('.badge')].map((b) => b.textContent));
          for (const entry of ['GetPictureIDEx', 'GetPictureID']) {
          tr.click(); document.querySelector(`input[name=entry][value=${entry}]`).click();
          for (const {dataset: {add, name}} of document.querySelectorAll('#picture-form .chip'))
            out.push([tr.dataset.index + entry, name, Math.max(-1, ...[[name], ['-', '-', '-', name]].flatMap((names) => testDb.picture(
              +tr.dataset.index, {entry, [add]: names, explain: true}).trace.filter((s) => s.kind !== 'rule' && (s.input ?? s.name) === name)
              .map((s) => s.row ?? -1)))]);
        } }
        workbench.row(0);
        return [badges, out];""")
    check(badges == [m["FlagNames"] for m in json.loads(run("export", "--db", sample_db).stdout)["models"]], f"badges {badges[:3]}")
    chips = {name for at, name, _ in offers if at == "2GetPictureIDEx"}
    check(len(offers) > 100 and min(row for *_, row in offers) >= 0 and {"Default Tray", "Top Tray"} <= chips
          and not chips & {"Defa", "Top Tr", "Pape", "Face-u"}, f"{[o for o in offers if o[2] < 0][:5]} {chips}")
    for click in ('tr[data-index="2"]', "#tab-picture", "input[value=GetPictureIDEx]", *(f'[data-list=inTrays] .chip[data-name="{n}"]'
                  for n in ("Cassette 1", "Cassette 2", "Default Tray", "Cassette 3")), '[data-prefix=outTrays][data-name="Pape"]'):
        driver.find_element(By.CSS_SELECTOR, click).click()
    # The eval line of a database's model names the file and the model, and eval gives the page's ID.
    typed, chosen, line, shown = driver.execute_script("return ['input[data-type=outTrays]', '[data-list=outTrays] .chosen', '#eval-line',"
                                                      " '#picture-id'].map((q) => document.querySelector(q)).map((e) => e.value ?? e.textContent.trim())")
    answer = subprocess.run([Path(orvdb).resolve(), "eval"], input=line + "\n", capture_output=True, text=True, cwd=Path(sample_db).parent).stdout
    check((typed, chosen) == ("Pape", "none") and json.loads(line).keys() >= {"db", "model"}
          and json.loads(answer).get("pictureId") == int(shown, 16), f"{typed!r} {chosen!r}: {line} gives {answer}")

    # Layout: scroll containers shown per pane, sideways scrolling, rule names broken inside a word,
    # phone cells out of sight, and whether the Bits heading and the first bit are seen once scrolled to.
    layout = """const shown = (e) => e.getClientRects().length > 0, page = document.documentElement, all = (q) => [...document.querySelectorAll(q)];
        const scrolls = (e) => shown(e) && !e.matches('textarea') && /(auto|scroll)/.test(getComputedStyle(e).overflowX + getComputedStyle(e).overflowY);
        const broken = all('#catalogue-table td:nth-child(5), #catalogue-table td:nth-child(6)').filter((td) => {
          const chars = [...td.childNodes].filter((c) => c.nodeType === 3).flatMap((n) => [...n.data].map((ch, i) => {
            const r = document.createRange(); r.setStart(n, i); r.setEnd(n, i + 1); return [ch, r.getClientRects()[0]?.top]; }));
          return chars.some(([, top], i) => i && top > chars[i - 1][1] + 2 && !/[_ ]/.test(chars[i - 1][0])); }).length;
        return {panes: ['#catalogue', '#detail'].map((p) => all(`${p}, ${p} *`).filter(scrolls).length), broken,
          sideways: all('*').filter((e) => scrolls(e) && e.scrollWidth > e.clientWidth + 1).length, wide: page.scrollWidth > innerWidth,
          hidden: all('#catalogue-table tbody tr:nth-child(-n+5) td').filter((td) => td.textContent && (!shown(td) ||
            td.getBoundingClientRect().right > innerWidth || td.getBoundingClientRect().left < 0)).length, tall: page.scrollHeight > innerHeight,
          covered: all('#picture-result h3, #picture-result .bits li').filter(shown).slice(0, 2).filter((e) => { e.scrollIntoView();
            const r = e.getBoundingClientRect(); return !e.contains(document.elementFromPoint(r.left + 5, r.top + r.height / 2)); }).length};"""
    screens = work / "screens"
    screens.mkdir(exist_ok=True)
    for width, height, phone, tab in [(w, h, w < 900, t) for w, h in ((1280, 800), (390, 844)) for t in ("model", "picture")]:
        driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": phone})
        driver.execute_script(f"document.getElementById('tab-{tab}').click(); scrollTo(0, 0);"
                              " if (arguments[0]) document.getElementById('detail').scrollIntoView();", tab == "picture")
        driver.save_screenshot(str(screens / f"{width}x{height}-{tab}.png"))
        seen = driver.execute_script(layout)
        check(not (seen["broken"] or seen["sideways"] or seen["covered"] or seen["wide"]) and (
              seen["hidden"] == 0 if phone else seen["panes"] == [1, 1] and not seen["tall"]), f"{width}x{height} {tab}: {seen}")
    # Editing: a field, a flag, an information value and a size list, typed into the page opened by --edit.
    driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {"width": 1280, "height": 800, "deviceScaleFactor": 1, "mobile": False})
    downloads = (work / "downloads").resolve()
    downloads.mkdir(exist_ok=True)
    driver.execute_cdp_cmd("Browser.setDownloadBehavior", {"behavior": "allow", "downloadPath": str(downloads)})
    js = lambda code: driver.execute_script("return " + code)

    def fetch(button, name):  # a download by the page's button, as bytes
        for f in downloads.iterdir():
            f.unlink()
        driver.find_element(By.ID, button).click()
        wait.until(lambda d: (downloads / name).exists() and not list(downloads.glob("*.crdownload")))
        return (downloads / name).read_bytes()

    def put(css, text):  # select the field's text, type over it, commit with Enter
        driver.find_element(By.CSS_SELECTOR, css).send_keys(Keys.CONTROL, "a", Keys.NULL, text, Keys.ENTER)

    def diff(data):  # orvdb diff --json of the original and `data`, without the file labels
        (work / "edited.dat").write_bytes(data)
        return {k: v for k, v in json.loads(run("diff", "--json", sample_db, str(work / "edited.dat")).stdout).items() if k not in ("old", "new")}

    load("edit.html")
    check(fetch("save-dat", "ORVDB.dat") == Path(sample_db).read_bytes(), "with no edit the download is the opened file")
    driver.find_element(By.CSS_SELECTOR, 'tr[data-index="2"]').click()
    put('[data-key="IconBaseIdx"]', "12")
    driver.find_element(By.CSS_SELECTOR, '[data-flag="IsColorPrinter"]').click()
    put('[data-key="Info0301"]', "3")
    put('[data-focus="codes-0"]', "1 2")
    # A refused edit: the library's message (as build words it) beside the field, and no edit made.
    before = js("workbench.db.edits()")
    put('[data-key="Info0301"]', "300")
    said = driver.find_element(By.CSS_SELECTOR, ".edit-error").text
    bad = json.loads(Path(models_json).read_text())
    bad["models"][2]["Info0301"] = 300
    (work / "bad.json").write_text(json.dumps(bad))
    check(said and said in run("build", str(work / "bad.json"), "-o", str(work / "bad.dat")).stderr and js("workbench.db.edits()") == before,
          f"refused edit: page {said!r}, {len(before)} edits before")
    changes = diff(fetch("save-dat", "ORVDB.dat"))
    check(changes["summary"] == dict(changes["summary"], changed=1, added=0, removed=0, moved=0) and [
          (c["field"], c["new"]) for c in changes["changed"][0]["changes"]] == [("IconBaseIdx", 12), ("Flags", models["models"][2]["Flags"] ^ 0x8), ("Info0301", 3),
          ("InTraySPSZSizeList", [1, 2])], f"orvdb diff of the download: {changes}")

    # A copy of record 3 renamed to a prefix of its name, then moved before it, takes the lookup of
    # "Vantor LP-1300C PCL6": the Changes tab says what orvdb diff says.
    driver.find_element(By.CSS_SELECTOR, 'tr[data-index="3"]').click()
    driver.find_element(By.CSS_SELECTOR, '[data-op="copy"]').click()
    put('[data-key="ModelName"]', "Vantor LP-1300")
    drift_before = js("workbench.db.changes().lookupDrift.length")
    driver.find_element(By.CSS_SELECTOR, '[data-op="up"]').click()
    page, listed = js("[workbench.db.changes(), document.querySelectorAll('#changes-lookups + ul > li').length]")
    changes = diff(fetch("save-dat", "ORVDB.dat"))
    check(drift_before == 0 and changes["lookupDrift"] and listed == len(changes["lookupDrift"]) and
          {k: v for k, v in page.items() if k not in ("old", "new")} == changes, f"moved: page {page}, orvdb diff {changes}")
    (work / "edited.json").write_bytes(fetch("save-json", "ORVDB.json"))
    check(run("build", str(work / "edited.json"), "-o", str(work / "rebuilt.dat")).returncode == 0
          and (work / "rebuilt.dat").read_bytes() == (work / "edited.dat").read_bytes(), "the JSON download builds the same bytes")

    # Ctrl+Z undoes the move; leaving warns (not after a download), a reload offers the unsaved edits back and restores them.
    warns = "(() => { const e = new Event('beforeunload', {cancelable: true}); dispatchEvent(e); return e.defaultPrevented; })()"
    saved_warns = js(warns)
    ActionChains(driver).key_down(Keys.CONTROL).send_keys("z").key_up(Keys.CONTROL).perform()
    kept = js("workbench.db.edits()")
    check(not saved_warns and js(warns) and kept[-1][0] == "set", f"beforeunload: {saved_warns} after a download; {kept[-1]} after Ctrl+Z")
    driver.execute_script("location.reload()")
    wait.until(lambda d: d.find_element(By.ID, "restore").is_displayed())
    offer = driver.find_element(By.ID, "restore-text").text
    driver.find_element(By.ID, "restore-yes").click()
    check(offer.startswith(f"Restore {len(kept)} unsaved edits?") and js("workbench.db.edits()") == kept, f"{offer!r}: {kept}")
    for width, height in ((1280, 800), (390, 844)):
        driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": width < 900})
        driver.execute_script("document.getElementById('tab-model').click(); document.getElementById('detail').scrollIntoView();")
        driver.save_screenshot(str(screens / f"{width}x{height}-edit.png"))
        seen = driver.execute_script(layout)
        check(not (seen["sideways"] or seen["wide"]), f"{width}x{height} edit mode: {seen}")
    print(f"page test passed: {rows} models, lookup, model view, {lint_count} lint findings, "
          f"the calculator, layout at 1280x800 and 390x844 (screenshots in {screens})")
finally:
    driver.quit()
