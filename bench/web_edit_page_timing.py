#!/usr/bin/python3
"""Edits in the workbench page (opened with --edit) for the sample and 10,000 models:
a field, a flag and a move, each 12 times; time to everything redrawn (the
handler returns) and to the next painted frame. usage: ORVDB SAMPLE.dat MODELS.json WORKDIR [WEB]"""
import json, statistics, subprocess, sys, tempfile
from pathlib import Path
from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.support.ui import WebDriverWait

orvdb, sample_db, models_json, work = sys.argv[1:5]
web = sys.argv[5:6]
work = Path(work); work.mkdir(parents=True, exist_ok=True)
models = json.loads(Path(models_json).read_text())["models"]
big = [dict(models[i % len(models)], ModelName=f"{models[i % len(models)]['ModelName']} #{i:05d}") for i in range(10000)]
(work / "big.json").write_text(json.dumps({"models": big}))
subprocess.run([orvdb, "build", str(work / "big.json"), "-o", str(work / "big.dat")], check=True)
for db, page in ((sample_db, "sample.html"), (str(work / "big.dat"), "big.html")):
    subprocess.run([orvdb, "html", db, "-o", str(work / page), "--edit", *(["--web", web[0]] if web else [])], check=True)
opts = webdriver.ChromeOptions()
for flag in ("--headless", "--no-sandbox", "--disable-gpu", "--window-size=1280,800", f"--user-data-dir={tempfile.mkdtemp(prefix='orvx-chrome-')}"):
    opts.add_argument(flag)
driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=opts)
driver.set_script_timeout(300)
EDIT = """const [kind, k, done] = arguments;
  const frame = (t0, t1) => requestAnimationFrame(() => setTimeout(() => done([t1 - t0, performance.now() - t0])));
  const t0 = performance.now();
  if (kind === 'field') { const el = document.querySelector('[data-key="IconBaseIdx"]'); el.value = String(10 + k % 5); el.dispatchEvent(new Event('change', {bubbles: true})); }
  else if (kind === 'flag') document.querySelector('[data-flag="IsColorPrinter"]').click();
  else document.querySelector(k % 2 ? '[data-op="up"]' : '[data-op="down"]').click();
  frame(t0, performance.now()); console.log(JSON.stringify(globalThis.refreshParts));"""
try:
    for page in ("sample.html", "big.html"):
        driver.get((work / page).resolve().as_uri())
        WebDriverWait(driver, 120).until(lambda d: d.execute_script("return globalThis.orvxShownAt"))
        print(page, "catalogue shown", round(driver.execute_script("return globalThis.orvxShownAt")), "ms after navigation")
        driver.execute_script("localStorage.clear(); document.querySelector('#catalogue-table tr[data-index=\"2\"]').click()")
        for kind in ("field", "flag", "move"):
            got = [driver.execute_async_script(EDIT, kind, k) for k in range(12)][2:]
            drawn, painted = zip(*got)
            if len(sys.argv) > 6: print(driver.execute_script("return [globalThis.refreshParts, globalThis.catParts, globalThis.measureMs]"))
            print(f"{page} {kind:5}: redrawn median {statistics.median(drawn):.0f} ms (max {max(drawn):.0f}), "
                  f"next frame median {statistics.median(painted):.0f} ms (max {max(painted):.0f})")
        print("  rows in the DOM:", driver.execute_script("return document.querySelectorAll('#catalogue-table tbody tr[data-index]').length"))
finally:
    driver.quit()
